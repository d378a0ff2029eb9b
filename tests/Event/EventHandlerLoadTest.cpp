//===- Event/EventHandlerLoadTest.cpp - Nothing is lost under load --------===//
//
// Four producer threads send 100,000 messages to six generic hosts and 2,000
// to two threaded hosts and two state machines, with broadcasts among them,
// while another thread registers and unregisters hosts. Every message to a
// host that is active must arrive exactly once, in the order each producer
// sent it.
//
// Each delivery to a threaded host that waits costs the dispatcher its 10 ms
// handshake, so the threaded traffic alone takes about 20 s, in every lane.
// VEMLO_LOAD_SCALE=<divisor> divides the counts for slower machines.
//
//===----------------------------------------------------------------------===//
#include "Event/EventTestKit.h"
#include "support/TestConfig.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <numeric>
#include <random>

using EventTestKit::Clock;
using EventTestKit::waitFor;
using std::chrono::milliseconds;
using Vemlo::Event::EventHandler;
using Vemlo::Event::EventHost;
using Vemlo::Event::EventMessage;
using Vemlo::State::StateUnit;
using Vemlo::State::Transition;

namespace {

constexpr int kProducers = 4;
constexpr int kChurnProducer = kProducers; // the churn thread's own messages
constexpr int kGenericHosts = 6, kThreadedHosts = 4;
constexpr int kDirect = 100, kBroadcast = 101; // event ids: to one host, to every host

void* word(int value) {
    return reinterpret_cast<void*>(static_cast<intptr_t>(value));
}
int number(void* word) {
    return static_cast<int>(reinterpret_cast<intptr_t>(word));
}

// What one host received: per producer (parameter 1) the sequence numbers
// (parameter 2), in arrival order.
struct Ledger {
    void note(EventMessage* m) {
        const int producer = number(m->getParam1());
        if (m->getEventId() == 9999)
            started = true;
        else if (m->getEventId() != kDirect && m->getEventId() != kBroadcast)
            return;
        else if (producer < 0 || producer > kChurnProducer)
            bad.fetch_add(1);
        else {
            std::lock_guard<std::mutex> guard(lock);
            seqs[producer].push_back(number(m->getParam2()));
            total.fetch_add(1);
        }
    }
    std::vector<int> from(int producer) {
        std::lock_guard<std::mutex> guard(lock);
        return seqs[producer];
    }
    std::mutex lock;
    std::vector<int> seqs[kChurnProducer + 1];
    std::atomic<int> total{0}, bad{0};
    std::atomic<bool> started{false};
};

struct Generic : Vemlo::Event::EventHostGeneric {
    explicit Generic(const char* name) : EventHostGeneric(name) {}
    int OnRecvMessage(EventMessage* m) override {
        ledger.note(m);
        return 0;
    }
    Ledger ledger;
};

struct Threaded : Vemlo::Event::EventHostThread {
    explicit Threaded(const char* name) : EventHostThread(name) {}
    ~Threaded() override { Stop(true); }
    void Run() override {
        EventMessage m;
        while (WaitMessage(&m))
            ledger.note(&m);
    }
    Ledger ledger;
};

// Flips between two states on every load message; the transitions' action
// keeps the ledger.
struct Machine : Vemlo::State::StateMachine {
    explicit Machine(const char* name) : StateMachine(name) {
        ping.name = "ping";
        pong.name = "pong";
        void* action = reinterpret_cast<void*>(&note);
        for (int event : {kDirect, kBroadcast}) {
            new Transition(&ping, &pong, event, action);
            new Transition(&pong, &ping, event, action);
        }
        new Transition(&ping, &ping, 9999, action);
        setCurrentState(&ping);
    }
    ~Machine() override { Stop(true); } // before the states go
    static void note(EventMessage* m, void* machine, Transition*) {
        static_cast<Machine*>(machine)->ledger.note(m);
    }
    StateUnit ping, pong;
    Ledger ledger;
};

// Hands `host` to `owner`; its ledger.
template <class Host> Ledger* adopt(std::unique_ptr<EventHost>& owner, Host* host) {
    owner.reset(host);
    return &host->ledger;
}

int taskCount() { // threads of this process, as the kernel lists them
    namespace fs = std::filesystem;
    return static_cast<int>(
        std::distance(fs::directory_iterator("/proc/self/task"), fs::directory_iterator()));
}

// Strictly increasing: nothing twice, nothing out of order.
bool increasing(const std::vector<int>& s) {
    return std::adjacent_find(s.begin(), s.end(), std::greater_equal<int>()) == s.end();
}

} // namespace

TEST(EventHandlerLoadTest, EveryMessageToAnActiveHostArrivesOnceAndInOrder) {
    VemloTest::TestConfig config;
    EventTestKit::Watchdog watchdog(110);
    const char* scaleText = std::getenv("VEMLO_LOAD_SCALE");
    const int scale = std::max(1, scaleText ? std::atoi(scaleText) : 1);
    const int perProducer = 25510 / scale, churnRounds = 30 / scale + 4;
    constexpr int kQueueBound = 1500; // clones in flight, each with a semaphore set

    std::thread([] {}).join(); // a sanitizer's helper thread starts with the first thread
    const int threadsBefore = taskCount();
    EventHandler* events = EventHandler::getInstance();

    // Generic, then threaded, then machines.
    std::vector<std::unique_ptr<EventHost>> stable(kGenericHosts + kThreadedHosts);
    std::vector<Ledger*> ledgers;
    for (int i = 0; i < kGenericHosts; ++i)
        ledgers.push_back(adopt(stable[i], new Generic("generic")));
    ledgers.push_back(adopt(stable[kGenericHosts], new Threaded("threaded0")));
    ledgers.push_back(adopt(stable[kGenericHosts + 1], new Threaded("threaded1")));
    ledgers.push_back(adopt(stable[kGenericHosts + 2], new Machine("machine0")));
    ledgers.push_back(adopt(stable[kGenericHosts + 3], new Machine("machine1")));
    for (auto& host : stable)
        events->Register(host.get());
    ASSERT_TRUE(waitFor(
        [&] {
            return std::all_of(ledgers.begin(), ledgers.end(),
                               [](Ledger* l) { return l->started.load(); });
        },
        milliseconds(20000)));

    // What each producer sent to each stable host, in order.
    std::vector<std::vector<int>> sent[kProducers];
    for (auto& perHost : sent)
        perHost.assign(stable.size(), {});
    const auto start = Clock::now(), deadline = start + milliseconds(80000);
    std::atomic<bool> overtime{false};

    auto produce = [&](int producer) {
        EventMessage m(0, kDirect, "load", word(producer), nullptr, nullptr);
        for (int seq = 0; seq < perProducer; ++seq) {
            // One in 51 to a threaded host, ten broadcasts, the rest to the
            // generic hosts: about 100,000, 2,000 and 40 in all.
            const int target = seq % 2551 == 1275 ? -1
                               : seq % 51 == 0
                                   ? kGenericHosts + (seq / 51 + producer) % kThreadedHosts
                                   : (seq + producer) % kGenericHosts;
            m.setTargetId(target < 0 ? 0 : stable[target]->getId());
            m.setEventId(target < 0 ? kBroadcast : kDirect);
            m.setParam2(word(seq));
            for (size_t h = 0; h < stable.size(); ++h)
                if (target < 0 || static_cast<size_t>(target) == h)
                    sent[producer][h].push_back(seq);
            events->SendEventMsg(&m);
            // Kept from racing far ahead of the dispatcher.
            while (seq % 32 == 0 && events->getQueuedCount() > kQueueBound) {
                if (Clock::now() > deadline) {
                    overtime = true;
                    return;
                }
                std::this_thread::sleep_for(std::chrono::microseconds(200));
            }
        }
    };

    // Hosts come and go while the traffic flows; every third has a thread.
    std::atomic<int> churnFailures{0};
    auto churn = [&] {
        std::mt19937 random(7);
        for (int round = 0; round < churnRounds && !overtime; ++round) {
            std::unique_ptr<EventHost> host;
            Ledger* ledger = round % 3 == 0 ? adopt(host, new Threaded("churn-threaded"))
                                            : adopt(host, new Generic("churn"));
            events->Register(host.get());
            const int direct = round % 3 == 0 ? 5 : 50;
            if (!waitFor([&] { return ledger->started.load(); }, milliseconds(20000))) {
                churnFailures.fetch_add(1);
            } else {
                EventMessage m(host->getId(), kDirect, "churn", word(kChurnProducer), nullptr,
                               nullptr);
                for (int seq = 0; seq < direct; ++seq) {
                    m.setParam2(word(seq));
                    events->SendEventMsg(&m);
                }
                if (!waitFor([&] { return ledger->from(kChurnProducer).size() == size_t(direct); },
                             milliseconds(20000)))
                    churnFailures.fetch_add(1);
                std::this_thread::sleep_for(milliseconds(random() % 10));
            }
            // A host not yet caught up is not found; it must not be deleted
            // while the dispatcher still holds it.
            if (!waitFor([&] { return events->UnRegister(host.get()) == 0; },
                         milliseconds(20000))) {
                churnFailures.fetch_add(1);
                host.release(); // left alive: failing is better than crashing
                continue;
            }
            // Nothing twice, nothing out of order, whatever arrived.
            for (int p = 0; p <= kProducers; ++p)
                if (!increasing(ledger->from(p)))
                    churnFailures.fetch_add(1);
            churnFailures += ledger->bad;
        }
    };

    std::vector<std::thread> threads;
    for (int p = 0; p < kProducers; ++p)
        threads.emplace_back(produce, p);
    threads.emplace_back(churn);
    for (std::thread& t : threads)
        t.join();
    ASSERT_FALSE(overtime) << "the producers ran out of time";
    EXPECT_EQ(churnFailures, 0);

    // Everything sent to a stable host arrives: exactly once, in send order.
    std::vector<size_t> expected(stable.size(), 0);
    for (size_t h = 0; h < stable.size(); ++h)
        for (int p = 0; p < kProducers; ++p)
            expected[h] += sent[p][h].size();
    const bool arrived = waitFor(
        [&] {
            for (size_t h = 0; h < stable.size(); ++h)
                if (static_cast<size_t>(ledgers[h]->total.load()) < expected[h])
                    return false;
            return true;
        },
        std::max(milliseconds(1000),
                 std::chrono::duration_cast<milliseconds>(deadline - Clock::now())));
    const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
    EXPECT_TRUE(arrived);
    std::this_thread::sleep_for(milliseconds(50)); // nothing more may come
    for (size_t h = 0; h < stable.size(); ++h) {
        EXPECT_EQ(ledgers[h]->bad, 0);
        EXPECT_EQ(static_cast<size_t>(ledgers[h]->total.load()), expected[h]) << "host " << h;
        for (int p = 0; p < kProducers; ++p)
            EXPECT_TRUE(ledgers[h]->from(p) == sent[p][h]) << "host " << h << " producer " << p;
    }
    printf("%zu deliveries to %zu stable hosts in %.1f s (divisor %d), %d churn rounds\n",
           std::accumulate(expected.begin(), expected.end(), size_t(0)), stable.size(), seconds,
           scale, churnRounds);

    for (auto& host : stable)
        EXPECT_EQ(events->UnRegister(host.get()), 0);
    EXPECT_TRUE(waitFor([&] { return events->getQueuedCount() == 0; }, milliseconds(10000)));
    // Every host thread is stopped and joined with its host, the dispatcher
    // with the instance.
    stable.clear();
    EventHandler::DestroyInstance();
    Vemlo::Log::Logger::DestroyLogger();
    EXPECT_TRUE(waitFor([&] { return taskCount() <= threadsBefore; }, milliseconds(5000)))
        << taskCount() << " threads, " << threadsBefore << " before";
}
