//===- Event/EventHandlerLoadTest.cpp - Nothing is lost under load --------===//
//
// Four producer threads send 100,000 messages to six generic hosts and 2,000
// to two threaded hosts and two state machines, with broadcasts among them,
// while another thread registers and unregisters hosts. Every message to a
// host that is active must arrive exactly once, in the order each producer
// sent it.
//
// Each delivery to a threaded host that waits costs the dispatcher its 10 ms
// handshake, so the threaded traffic alone takes about 20 s, in every lane
// (about 19 s under qemu-arm and 23 s under ThreadSanitizer on the 2-core
// machine). VEMLO_LOAD_SCALE=<divisor> divides the counts for slower
// machines.
//
//===----------------------------------------------------------------------===//
#include "Event/EventTestKit.h"
#include "support/TestConfig.h"

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <random>

#include <dirent.h>

using EventTestKit::Clock;
using EventTestKit::waitFor;
using std::chrono::milliseconds;
using Vemlo::Event::EventHandler;
using Vemlo::Event::EventHost;
using Vemlo::Event::EventHostGeneric;
using Vemlo::Event::EventHostThread;
using Vemlo::Event::EventMessage;
using Vemlo::State::StateMachine;
using Vemlo::State::StateUnit;
using Vemlo::State::Transition;

namespace {

constexpr int kProducers = 4;
constexpr int kChurnProducer = kProducers; // the churn thread's own messages
constexpr int kGenericHosts = 6;
constexpr int kThreadedHosts = 4; // two EventHostThreads, two StateMachines
constexpr int kDirect = 100;      // event id of a message to one host
constexpr int kBroadcast = 101;   // event id of a message to every host

int divisor() {
    if (const char* text = std::getenv("VEMLO_LOAD_SCALE")) {
        const int d = std::atoi(text);
        if (d >= 1)
            return d;
    }
    return 1;
}

void* word(int value) { return reinterpret_cast<void*>(static_cast<intptr_t>(value)); }
int number(void* word) { return static_cast<int>(reinterpret_cast<intptr_t>(word)); }

// What one host received, per producer, in arrival order.
class Ledger {
public:
    void add(EventMessage* m) {
        const int producer = number(m->getParam1());
        if (producer < 0 || producer > kChurnProducer) {
            bad.fetch_add(1);
            return;
        }
        {
            std::lock_guard<std::mutex> guard(m_lock);
            m_seqs[producer].push_back(number(m->getParam2()));
        }
        total.fetch_add(1);
    }
    std::vector<int> from(int producer) {
        std::lock_guard<std::mutex> guard(m_lock);
        return m_seqs[producer];
    }
    std::atomic<int> total{0};
    std::atomic<int> bad{0};
    std::atomic<bool> started{false};

private:
    std::mutex m_lock;
    std::vector<int> m_seqs[kChurnProducer + 1];
};

void note(Ledger& ledger, EventMessage* m) {
    if (m->getEventId() == 9999)
        ledger.started = true;
    else if (m->getEventId() == kDirect || m->getEventId() == kBroadcast)
        ledger.add(m);
}

class Generic : public EventHostGeneric {
public:
    explicit Generic(const char* name) : EventHostGeneric(name) {}
    int OnRecvMessage(EventMessage* m) override {
        note(ledger, m);
        return 0;
    }
    Ledger ledger;
};

class Threaded : public EventHostThread {
public:
    explicit Threaded(const char* name) : EventHostThread(name) {}
    ~Threaded() override { Stop(true); }
    void Run() override {
        EventMessage m;
        while (WaitMessage(&m))
            note(ledger, &m);
    }
    Ledger ledger;
};

// A machine that flips between two states on every load message; the
// transitions' action keeps the ledger.
class Machine : public StateMachine {
public:
    explicit Machine(const char* name) : StateMachine(name) {
        ping.name = "ping";
        pong.name = "pong";
        for (int event : {kDirect, kBroadcast}) {
            new Transition(&ping, &pong, event, reinterpret_cast<void*>(&record));
            new Transition(&pong, &ping, event, reinterpret_cast<void*>(&record));
        }
        new Transition(&ping, &ping, 9999, reinterpret_cast<void*>(&greeted));
        setCurrentState(&ping);
    }
    ~Machine() override { Stop(true); } // before the states go
    static void record(EventMessage* m, void* machine, Transition*) {
        static_cast<Machine*>(machine)->ledger.add(m);
    }
    static void greeted(EventMessage*, void* machine, Transition*) {
        static_cast<Machine*>(machine)->ledger.started = true;
    }
    StateUnit ping, pong;
    Ledger ledger;
};

// Threads of this process, as the kernel lists them.
int taskCount() {
    int count = 0;
    if (DIR* dir = opendir("/proc/self/task")) {
        while (dirent* entry = readdir(dir))
            if (entry->d_name[0] != '.')
                ++count;
        closedir(dir);
    }
    return count;
}

// Strictly increasing: nothing twice, nothing out of order.
bool increasing(const std::vector<int>& seqs) {
    for (size_t i = 1; i < seqs.size(); ++i)
        if (seqs[i] <= seqs[i - 1])
            return false;
    return true;
}

} // namespace

TEST(EventHandlerLoadTest, EveryMessageToAnActiveHostArrivesOnceAndInOrder) {
    VemloTest::TestConfig config;
    EventTestKit::Watchdog watchdog(milliseconds(110000), "the load test");
    const int scale = divisor();
    const int genericPerProducer = 100000 / kProducers / scale;
    const int threadedPerProducer = 2000 / kProducers / scale;
    const int broadcastsPerProducer = 10;
    const int churnRounds = 30 / scale + 4;
    constexpr int kQueueBound = 1500; // clones in flight, each with a semaphore set

    // A sanitizer's helper thread starts with the first thread.
    std::thread([] {}).join();
    const int threadsBefore = taskCount();
    EventHandler* events = EventHandler::getInstance();

    std::vector<std::unique_ptr<Generic>> generic;
    for (int i = 0; i < kGenericHosts; ++i)
        generic.emplace_back(new Generic("generic"));
    std::unique_ptr<Threaded> threaded[2] = {std::make_unique<Threaded>("threaded0"),
                                             std::make_unique<Threaded>("threaded1")};
    std::unique_ptr<Machine> machines[2] = {std::make_unique<Machine>("machine0"),
                                            std::make_unique<Machine>("machine1")};
    std::vector<EventHost*> stable;
    std::vector<Ledger*> ledgers;
    for (auto& g : generic) {
        stable.push_back(g.get());
        ledgers.push_back(&g->ledger);
    }
    for (int i = 0; i < 2; ++i) {
        stable.push_back(threaded[i].get());
        ledgers.push_back(&threaded[i]->ledger);
    }
    for (int i = 0; i < 2; ++i) {
        stable.push_back(machines[i].get());
        ledgers.push_back(&machines[i]->ledger);
    }
    // However the test ends, the hosts leave the dispatcher before they go.
    struct Leave {
        std::vector<EventHost*>& hosts;
        ~Leave() {
            for (EventHost* host : hosts)
                EventHandler::getInstance()->UnRegister(host);
        }
    } leave{stable};
    for (EventHost* host : stable)
        events->Register(host);
    ASSERT_TRUE(waitFor(
        [&] {
            for (Ledger* l : ledgers)
                if (!l->started)
                    return false;
            return true;
        },
        milliseconds(20000)))
        << [&] {
               std::string waiting;
               for (size_t h = 0; h < ledgers.size(); ++h)
                   if (!ledgers[h]->started)
                       waiting += " " + std::to_string(h);
               return "not started:" + waiting;
           }();

    // What each producer sent to each stable host, in order.
    std::vector<std::vector<int>> sent[kProducers];
    for (auto& perHost : sent)
        perHost.assign(stable.size(), {});
    const auto deadline = Clock::now() + milliseconds(80000);
    const auto start = Clock::now();
    std::atomic<bool> overtime{false};

    auto produce = [&](int producer) {
        const int total = genericPerProducer + threadedPerProducer + broadcastsPerProducer;
        const int threadedEvery = total / threadedPerProducer;
        const int broadcastEvery = total / broadcastsPerProducer;
        int genericNext = producer, threadedNext = producer, threadedSent = 0, broadcastSent = 0;
        EventMessage m(0, kDirect, "load", word(producer), nullptr, nullptr);
        for (int seq = 0; seq < total; ++seq) {
            int target; // index into `stable`, or -1 for every host
            if (seq % broadcastEvery == broadcastEvery / 2 && broadcastSent < broadcastsPerProducer) {
                target = -1;
                ++broadcastSent;
            } else if (seq % threadedEvery == 0 && threadedSent < threadedPerProducer) {
                target = kGenericHosts + threadedNext++ % kThreadedHosts;
                ++threadedSent;
            } else {
                target = genericNext++ % kGenericHosts;
            }
            m.setTargetId(target < 0 ? 0 : stable[target]->getId());
            m.setEventId(target < 0 ? kBroadcast : kDirect);
            m.setParam2(word(seq));
            if (target < 0) {
                for (auto& perHost : sent[producer])
                    perHost.push_back(seq);
            } else {
                sent[producer][target].push_back(seq);
            }
            events->SendEventMsg(&m);
            // Kept from racing far ahead of the dispatcher.
            if (seq % 32 == 0) {
                while (events->getQueuedCount() > kQueueBound) {
                    if (Clock::now() > deadline) {
                        overtime = true;
                        return;
                    }
                    std::this_thread::sleep_for(std::chrono::microseconds(200));
                }
            }
        }
    };

    // Hosts come and go while the traffic flows.
    std::atomic<int> churnFailures{0};
    auto churn = [&] {
        std::mt19937 random(7);
        for (int round = 0; round < churnRounds && !overtime; ++round) {
            const bool withThread = round % 3 == 0;
            std::unique_ptr<EventHost> host;
            Ledger* ledger;
            if (withThread) {
                Threaded* t = new Threaded("churn-threaded");
                ledger = &t->ledger;
                host.reset(t);
            } else {
                Generic* g = new Generic("churn");
                ledger = &g->ledger;
                host.reset(g);
            }
            events->Register(host.get());
            if (!waitFor([&] { return ledger->started.load(); }, milliseconds(20000))) {
                churnFailures.fetch_add(1);
            } else {
                const int direct = withThread ? 5 : 50;
                EventMessage m(host->getId(), kDirect, "churn", word(kChurnProducer), nullptr,
                               nullptr);
                for (int seq = 0; seq < direct; ++seq) {
                    m.setParam2(word(seq));
                    events->SendEventMsg(&m);
                }
                if (!waitFor([&] { return static_cast<int>(ledger->from(kChurnProducer).size()) == direct; },
                             milliseconds(20000)))
                    churnFailures.fetch_add(1);
                std::this_thread::sleep_for(milliseconds(random() % 10));
            }
            // A host not yet caught up is not found; it must not be deleted
            // while the dispatcher still holds it.
            if (!waitFor([&] { return events->UnRegister(host.get()) == 0; }, milliseconds(20000))) {
                churnFailures.fetch_add(1);
                host.release(); // left alive: failing is better than crashing
                continue;
            }
            // Nothing twice, nothing out of order, whatever arrived.
            std::vector<int> mine = ledger->from(kChurnProducer);
            if (!increasing(mine) || ledger->bad != 0)
                churnFailures.fetch_add(1);
            for (int p = 0; p < kProducers; ++p)
                if (!increasing(ledger->from(p)))
                    churnFailures.fetch_add(1);
            host.reset();
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
    size_t expectedTotal = 0;
    std::vector<size_t> expected(stable.size(), 0);
    for (size_t h = 0; h < stable.size(); ++h) {
        for (int p = 0; p < kProducers; ++p)
            expected[h] += sent[p][h].size();
        expectedTotal += expected[h];
    }
    const bool arrived = waitFor(
        [&] {
            for (size_t h = 0; h < stable.size(); ++h)
                if (static_cast<size_t>(ledgers[h]->total.load()) < expected[h])
                    return false;
            return true;
        },
        milliseconds(std::max<long long>(
            1000, std::chrono::duration_cast<milliseconds>(deadline - Clock::now()).count())));
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
           expectedTotal, stable.size(), seconds, scale, churnRounds);

    for (EventHost* host : stable)
        EXPECT_EQ(events->UnRegister(host), 0);
    stable.clear(); // nothing left for `leave`
    EXPECT_TRUE(waitFor([&] { return events->getQueuedCount() == 0; }, milliseconds(10000)));
    // Every host thread is stopped and joined with its host, the dispatcher
    // with the instance.
    for (auto& t : threaded)
        t.reset();
    for (auto& m : machines)
        m.reset();
    generic.clear();
    EventHandler::DestroyInstance();
    Vemlo::Log::Logger::DestroyLogger();
    EXPECT_TRUE(waitFor([&] { return taskCount() <= threadsBefore; }, milliseconds(5000)))
        << taskCount() << " threads, " << threadsBefore << " before";
}
