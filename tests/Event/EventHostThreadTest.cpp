//===- Event/EventHostThreadTest.cpp - Messages, threaded hosts, load -----===//
//
// The messages the dispatcher routes, and a host with a thread of its own.
// For the host the test thread plays the dispatcher: it holds the gate and
// calls OnRecvMessage, as EventHandler does.
//
// Under load: four producer threads send 100,000 messages to six generic
// hosts and 2,000 to four threaded hosts, with broadcasts among them, while
// another thread registers and unregisters hosts. Every message to a host
// that is active must arrive exactly once, in the order each producer sent
// it. Each delivery to a threaded host costs the dispatcher its 10 ms
// handshake, so the threaded traffic alone takes about 20 s. (A state
// machine is a threaded host: its transitions are checked on their own.)
//
//===----------------------------------------------------------------------===//
#include "support/Hosts.h"
#include "support/TestConfig.h"

#include <cstdint>

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;
using namespace Vemlo::Event;
using namespace VemloTest;
using Vemlo::Service::Thread;

namespace {

using EventHostThreadTest = ConfiguredTest;

// A value carried by messages; counts its deletions.
int g_deleted = 0;
struct Carried : Vemlo::Data::Object {
    ~Carried() override { ++g_deleted; }
};

// Target, event id, text, the three parameters and the extra values.
auto fields(EventMessage& m) {
    std::vector<void*> extra;
    for (int i = 0; i < m.getExtraValues()->Count(); ++i)
        extra.push_back(m.getExtraValues()->At(i));
    return std::make_tuple(m.getTargetId(), m.getEventId(), std::string(m.getText()), m.getParam1(),
                           m.getParam2(), m.getParam3(), extra);
}
using Fields = decltype(fields(std::declval<EventMessage&>()));

} // namespace

TEST(EventMessageTest, CloneAndCopyCarryTheValuesAndShareTheCarriedObjectsWithoutDeletingThem) {
    g_deleted = 0;
    Carried first, second, theirs;
    int a = 0, c = 0;
    // Target first, event id second: the argument order of the interface.
    EventMessage* original = new EventMessage(3, 9, "text", &a, nullptr, &c);
    original->getExtraValues()->Add(&first);
    original->getExtraValues()->Add(&second);
    EventMessage* clone = original->Clone();
    ASSERT_NE(clone, original);
    EXPECT_EQ(fields(*clone), Fields(3, 9, "text", &a, nullptr, &c, {&first, &second}));

    // Copy overwrites the values and appends the extras after the
    // destination's own.
    EventMessage destination(1, 2, "to", nullptr, &a, nullptr);
    destination.getExtraValues()->Add(&theirs);
    EXPECT_EQ(original->Copy(&destination), 0);
    EXPECT_EQ(fields(destination),
              Fields(3, 9, "text", &a, nullptr, &c, {&theirs, &first, &second}));
    // Bad input: a clear result, no crash. Copying onto itself changes nothing.
    EXPECT_EQ(std::make_pair(clone->Copy(nullptr), clone->Copy(clone)), std::make_pair(-1, 0));
    EXPECT_EQ(clone->getExtraValues()->Count(), 2);
    delete clone;
    delete original;
    EXPECT_EQ(g_deleted, 0);
}

TEST_F(EventHostThreadTest,
       DeliveriesPassTheGateOrWaitQueuedAtMostASecondAndAStopLeavesOutUntouched) {
    ThreadRecorder worker("worker");
    worker.hook = [&](EventMessage*) { // busy with its first message
        if (worker.count() == 1)
            std::this_thread::sleep_for(milliseconds(1200));
    };
    ASSERT_TRUE(waitFor([&] { return worker.getState() == 0; })); // parked
    worker.getMutex()->Lock();                                    // held by the "dispatcher"
    EventMessage m(worker.getId(), 9999, "initialize event", nullptr, nullptr, nullptr);
    EXPECT_EQ(worker.OnRecvMessage(&m), 0); // starts the thread
    ASSERT_TRUE(waitFor([&] { return worker.count() == 1; }));

    // Busy in its handler: the dispatcher does not wait; the copy is queued
    // and taken once the handler is done, without another delivery.
    m.setEventId(2);
    EXPECT_LT(TimeOf([&] { worker.OnRecvMessage(&m); }), milliseconds(500));
    EXPECT_EQ(worker.getQueuedCount(), 1);
    ASSERT_TRUE(waitFor([&] { return worker.events() == std::vector<int>{9999, 2}; }));

    // Back at the gate, the host waits; a delivery costs one 10 ms look.
    ASSERT_TRUE(waitFor([&] { return worker.getWaitStatus() == 1; }));
    m.setEventId(5);
    EXPECT_LT(TimeOf([&] { EXPECT_EQ(worker.OnRecvMessage(&m), 0); }), milliseconds(900));
    ASSERT_TRUE(waitFor([&] { return worker.events() == std::vector<int>{9999, 2, 5}; }));
    EXPECT_EQ(worker.getQueuedCount(), 0); // the copy is dropped once taken

    // A stop seen at the gate: WaitMessage gives false and leaves out alone.
    ASSERT_TRUE(waitFor([&] { return worker.getWaitStatus() == 1; }));
    worker.askToStop();
    worker.getMutex()->Unlock();
    ASSERT_TRUE(waitFor([&] { return worker.ended.load(); }));
    // Then bad input: no crash.
    EXPECT_TRUE(worker.leftAlone && worker.OnRecvMessage(nullptr) == -1);

    // A host whose thread never comes to the gate.
    struct Absent : EventHostThread {
        Absent() : EventHostThread("absent") {}
        ~Absent() override { Stop(true); }
        void Run() override {
            EXPECT_FALSE(WaitMessage(nullptr)); // bad input: no crash
            waitFor([&] { return release.load(); });
        }
        std::atomic<bool> release{false};
    } host;
    // The host is the first base and the thread the second. Deleting through
    // the first runs the whole chain: a parked thread is released and joined,
    // the gate and queue freed (the sanitizers check).
    auto* unstarted = new ThreadRecorder("never started");
    std::unique_ptr<EventHost> asHost(unstarted);
    EXPECT_EQ(static_cast<void*>(asHost.get()), static_cast<void*>(unstarted));
    EXPECT_GT(reinterpret_cast<char*>(static_cast<Thread*>(unstarted)),
              reinterpret_cast<char*>(unstarted));
    ASSERT_TRUE(waitFor([&] { return host.getState() == 0; })); // parked
    host.getMutex()->Lock();
    m.setEventId(1);
    const auto took = TimeOf([&] { EXPECT_EQ(host.OnRecvMessage(&m), 0); });
    // 100 looks 10 ms apart, then the dispatcher goes on; the copy waits in the queue.
    EXPECT_TRUE(took >= milliseconds(990) && took < milliseconds(5000)) << took.count();
    EXPECT_EQ(std::make_pair(host.getWaitStatus(), host.getQueuedCount()), std::make_pair(0, 1));
    host.release = true;
    host.getMutex()->Unlock();
}

constexpr int kProducers = 4, kGenericHosts = 6, kThreadedHosts = 4;
constexpr int kDirect = 100, kBroadcast = 101; // event ids: to one host, to every host

static void* word(int value) {
    return reinterpret_cast<void*>(static_cast<intptr_t>(value));
}

// Per producer (parameter 1; the churn thread is producer kProducers) the
// sequence numbers (parameter 2) of the load a host received, in arrival order.
static std::vector<int> from(Inbox& inbox, int producer) {
    std::vector<int> seqs;
    for (const auto& [target, id, text, p1, p2] : inbox.received())
        if ((id == kDirect || id == kBroadcast) && p1 == word(producer))
            seqs.push_back(static_cast<int>(reinterpret_cast<intptr_t>(p2)));
    return seqs;
}

// Owns and registers `host`; null unless its start-up event came first.
template <class Host> static Inbox* adopt(std::unique_ptr<EventHost>& owner, Host* host) {
    owner.reset(host);
    EventHandler::getInstance()->Register(host);
    const bool started = waitFor([&] { return host->count() >= 1; }, milliseconds(20000));
    return started && host->events()[0] == 9999 ? host : nullptr;
}

using EventHandlerLoadTest = ConfiguredTest;

TEST_F(EventHandlerLoadTest, EveryMessageToAnActiveHostArrivesOnceAndInOrder) {
    Watchdog watchdog(110); // more than the fixture's
    // kQueueBound: clones in flight, each with a semaphore set.
    constexpr int kPerProducer = 25510, kQueueBound = 1500;
    // No log level configured: the dispatcher runs without a log channel.
    ASSERT_TRUE(WriteXmlPropertyFile(m_config.file(), {{"Base.Log.BackupRange", "5"}}));
    EventHandler* events = EventHandler::getInstance();
    std::vector<std::unique_ptr<EventHost>> stable(kGenericHosts + kThreadedHosts);
    std::vector<Inbox*> inboxes;
    for (size_t i = 0; i < stable.size(); ++i) { // generic, then threaded
        inboxes.push_back(i < kGenericHosts ? adopt(stable[i], new Recorder("generic"))
                                            : adopt(stable[i], new ThreadRecorder("threaded")));
        ASSERT_NE(inboxes.back(), nullptr);
    }

    std::vector<std::vector<int>> sent[kProducers]; // per producer, per stable host
    const auto deadline = Clock::now() + milliseconds(80000);
    auto produce = [&](int producer) {
        sent[producer].assign(stable.size(), {});
        EventMessage m(0, kDirect, "load", word(producer), nullptr, nullptr);
        for (int seq = 0; seq < kPerProducer && Clock::now() < deadline; ++seq) {
            // One in 51 to a threaded host, ten broadcasts, the rest to
            // the generic hosts: about 100,000, 2,000 and 40 in all.
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
            while (seq % 32 == 0 && events->getQueuedCount() > kQueueBound &&
                   Clock::now() < deadline)
                std::this_thread::sleep_for(std::chrono::microseconds(200));
        }
    };
    // Hosts come and go while the traffic flows; every third has a thread.
    std::atomic<int> churnFailures{0};
    auto churn = [&] {
        for (int round = 0; round < 34; ++round) {
            std::unique_ptr<EventHost> host;
            Inbox* inbox = round % 3 == 0 ? adopt(host, new ThreadRecorder("churn-threaded"))
                                          : adopt(host, new Recorder("churn"));
            EventMessage m(host->getId(), kDirect, "churn", word(kProducers), nullptr, nullptr);
            std::vector<int> seqs;
            for (int seq = 0; inbox && seq < (round % 3 == 0 ? 5 : 50); seqs.push_back(seq++)) {
                m.setParam2(word(seq));
                events->SendEventMsg(&m);
            }
            // All of it arrives. A host not yet caught up is not found; it must
            // not be deleted while the dispatcher still holds it.
            const auto gone = [&] {
                return from(*inbox, kProducers) == seqs && events->UnRegister(host.get()) == 0;
            };
            if (!inbox || !waitFor(gone, milliseconds(20000))) {
                churnFailures.fetch_add(1);
                host.release(); // left alive: failing is better than crashing
            }
        }
    };
    std::vector<std::thread> threads;
    for (int p = 0; p < kProducers; ++p)
        threads.emplace_back(produce, p);
    threads.emplace_back(churn);
    for (std::thread& t : threads)
        t.join();
    ASSERT_LT(Clock::now(), deadline) << "the producers ran out of time";
    EXPECT_EQ(churnFailures, 0);

    // Everything sent to a stable host arrives: exactly once, in send order.
    for (size_t h = 0; h < stable.size(); ++h)
        for (int p = 0; p < kProducers; ++p)
            EXPECT_TRUE(
                waitFor([&] { return from(*inboxes[h], p) == sent[p][h]; }, milliseconds(25000)));
    std::this_thread::sleep_for(milliseconds(50)); // nothing more may come
    for (size_t h = 0; h < stable.size(); ++h)
        for (int p = 0; p < kProducers; ++p)
            EXPECT_TRUE(from(*inboxes[h], p) == sent[p][h]) << "host " << h << " producer " << p;
    for (auto& host : stable)
        EXPECT_EQ(events->UnRegister(host.get()), 0);
}
