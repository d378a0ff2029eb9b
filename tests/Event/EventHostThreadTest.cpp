//===- Event/EventHostThreadTest.cpp - Host with a thread of its own ------===//
//
// The test thread plays the dispatcher: it holds the gate and calls
// OnRecvMessage, as EventHandler does.
//
//===----------------------------------------------------------------------===//
#include "Event/EventTestKit.h"
#include "support/TestConfig.h"

#include <memory>

using EventTestKit::Clock;
using EventTestKit::waitFor;
using std::chrono::milliseconds;
using Vemlo::Event::EventHost;
using Vemlo::Event::EventHostThread;
using Vemlo::Event::EventMessage;
using Vemlo::Service::Thread;

namespace {

// Records what its loop receives; the first message can keep it busy.
class Worker : public EventHostThread {
public:
    explicit Worker(const char* name, milliseconds busyFirst = milliseconds(0))
        : EventHostThread(name), m_busyFirst(busyFirst) {}
    ~Worker() override { Stop(true); }

    void Run() override {
        for (;;) {
            EventMessage out(-1, -1, "untouched", nullptr, nullptr, nullptr);
            if (!WaitMessage(&out)) {
                falseLeftOut = out.getEventId() == -1 && std::string(out.getText()) == "untouched";
                break;
            }
            if (received.fetch_add(1) == 0)
                std::this_thread::sleep_for(m_busyFirst);
            lastEvent = out.getEventId();
        }
        ended = true;
    }

    // Sets the stop flag only, as a Stop() would before it joins.
    void askToStop() { m_bStop = true; }

    std::atomic<int> received{0};
    std::atomic<int> lastEvent{0};
    std::atomic<bool> falseLeftOut{false};
    std::atomic<bool> ended{false};

private:
    milliseconds m_busyFirst;
};

// A host whose thread never comes to the gate.
class Absent : public EventHostThread {
public:
    Absent() : EventHostThread("absent") {}
    ~Absent() override { Stop(true); }
    void Run() override {
        while (!release)
            std::this_thread::sleep_for(milliseconds(1));
    }
    std::atomic<bool> release{false};
};

class EventHostThreadTest : public testing::Test {
protected:
    void TearDown() override { Vemlo::Log::Logger::DestroyLogger(); }
    VemloTest::TestConfig m_config;
    EventTestKit::Watchdog m_watchdog{milliseconds(60000)};
};

bool parked(const Thread& t) {
    return waitFor([&] { return t.getState() == 0; }, milliseconds(5000));
}

} // namespace

TEST_F(EventHostThreadTest, DeliveryPassesTheGateAndAStopLeavesOutUntouched) {
    Worker worker("worker");
    EXPECT_EQ(worker.getWaitStatus(), 1);
    ASSERT_NE(worker.getMutex(), nullptr);
    const std::string gate = "EventHostThread_Mutex::worker::" + std::to_string(worker.getId());
    EXPECT_EQ(gate, worker.getMutex()->getName());
    ASSERT_TRUE(parked(worker));

    worker.getMutex()->Lock(); // held by the "dispatcher"
    EventMessage first(worker.getId(), 9999, "initialize event", nullptr, nullptr, nullptr);
    EXPECT_EQ(worker.OnRecvMessage(&first), 0); // starts the thread
    EXPECT_EQ(worker.getState(), 1);
    ASSERT_TRUE(waitFor([&] { return worker.received == 1; }, milliseconds(5000)));
    EXPECT_EQ(worker.lastEvent, 9999);

    // Back at the gate, the host waits; a delivery costs one 10 ms look.
    ASSERT_TRUE(waitFor([&] { return worker.getWaitStatus() == 1; }, milliseconds(5000)));
    EventMessage second(worker.getId(), 5, "second", nullptr, nullptr, nullptr);
    const auto start = Clock::now();
    EXPECT_EQ(worker.OnRecvMessage(&second), 0);
    EXPECT_LT(Clock::now() - start, milliseconds(900));
    ASSERT_TRUE(waitFor([&] { return worker.received == 2; }, milliseconds(5000)));
    EXPECT_EQ(worker.lastEvent, 5);
    EXPECT_EQ(worker.getQueuedCount(), 0); // the copy is dropped once taken

    // A stop seen at the gate: WaitMessage gives false and leaves out alone.
    ASSERT_TRUE(waitFor([&] { return worker.getWaitStatus() == 1; }, milliseconds(5000)));
    worker.askToStop();
    worker.getMutex()->Unlock();
    ASSERT_TRUE(waitFor([&] { return worker.ended.load(); }, milliseconds(5000)));
    EXPECT_TRUE(worker.falseLeftOut);

    EXPECT_FALSE(worker.WaitMessage(nullptr)); // bad input: no wait, no crash
    EXPECT_EQ(worker.OnRecvMessage(nullptr), -1);
}

TEST_F(EventHostThreadTest, TheHandshakeWaitsAboutOneSecondAtMost) {
    Absent host;
    ASSERT_TRUE(parked(host));
    host.getMutex()->Lock();
    EventMessage m(host.getId(), 1, "never taken", nullptr, nullptr, nullptr);
    const auto start = Clock::now();
    EXPECT_EQ(host.OnRecvMessage(&m), 0);
    const auto waited = Clock::now() - start;
    // 100 looks 10 ms apart, then the dispatcher goes on; the copy waits in
    // the queue.
    EXPECT_GE(waited, milliseconds(990));
    EXPECT_LT(waited, milliseconds(5000));
    EXPECT_EQ(host.getWaitStatus(), 0);
    EXPECT_EQ(host.getQueuedCount(), 1);
    host.release = true;
    host.getMutex()->Unlock();
}

TEST_F(EventHostThreadTest, AHostBusyForOverASecondStillGetsTheMessageQueued) {
    Worker worker("busy", milliseconds(1200));
    ASSERT_TRUE(parked(worker));
    worker.getMutex()->Lock();
    EventMessage first(worker.getId(), 1, "", nullptr, nullptr, nullptr);
    worker.OnRecvMessage(&first);
    ASSERT_TRUE(waitFor([&] { return worker.received == 1; }, milliseconds(5000)));

    // Busy in its handler: the dispatcher does not wait for it at all.
    EventMessage second(worker.getId(), 2, "", nullptr, nullptr, nullptr);
    const auto start = Clock::now();
    worker.OnRecvMessage(&second);
    EXPECT_LT(Clock::now() - start, milliseconds(500));
    EXPECT_EQ(worker.getQueuedCount(), 1);
    // Taken once the handler is done, without another delivery.
    ASSERT_TRUE(waitFor([&] { return worker.received == 2; }, milliseconds(5000)));
    EXPECT_EQ(worker.lastEvent, 2);

    ASSERT_TRUE(waitFor([&] { return worker.getWaitStatus() == 1; }, milliseconds(5000)));
    worker.askToStop();
    worker.getMutex()->Unlock();
}

TEST_F(EventHostThreadTest, TheHostIsTheFirstBaseAndTheThreadTheSecond) {
    Worker* worker = new Worker("bases");
    EventHost* asHost = worker;
    Thread* asThread = worker;
    // The host part starts the object; the thread part follows it.
    EXPECT_EQ(static_cast<void*>(asHost), static_cast<void*>(worker));
    EXPECT_GT(reinterpret_cast<char*>(asThread), reinterpret_cast<char*>(worker));
    EXPECT_EQ(dynamic_cast<EventHostThread*>(asThread), worker);
    EXPECT_EQ(dynamic_cast<EventHostThread*>(asHost), worker);
    // Deleting through the first base runs the whole chain: the parked thread
    // is released and joined, the gate and queue freed (the sanitizers check).
    delete asHost;

    Worker* another = new Worker("bases2");
    ASSERT_TRUE(parked(*another));
    delete static_cast<Thread*>(another); // and through the second
}
