//===- Event/EventHostThreadTest.cpp - Messages and a host's own thread ---===//
//
// The messages the dispatcher routes, and a host with a thread of its own.
// For the host the test thread plays the dispatcher: it holds the gate and
// calls OnRecvMessage, as EventHandler does.
//
//===----------------------------------------------------------------------===//
#include "support/Hosts.h"
#include "support/TestConfig.h"

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
    EXPECT_EQ(clone->Copy(nullptr), -1);
    EXPECT_EQ(clone->Copy(clone), 0);
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
    EXPECT_TRUE(worker.leftAlone);
    EXPECT_EQ(worker.OnRecvMessage(nullptr), -1); // bad input: no crash

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
