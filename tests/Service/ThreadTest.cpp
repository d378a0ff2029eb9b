//===- Service/ThreadTest.cpp - Framework threads and their reaper --------===//
#include "support/Hosts.h"
#include "support/SyslogSink.h"
#include "support/TestConfig.h"

#include <ctime>

using namespace VemloTest;
using Vemlo::Service::ThreadMemoryRemover;

TEST(ThreadTest, LifecycleFromParkedToRunningToFinishedAndNeverStartedThreadsEndWithoutRunning) {
    Spinner worker;
    ASSERT_TRUE(waitFor([&] { return worker.getState() == 0; })); // parked until Start()
    EXPECT_TRUE(worker.Start());
    ASSERT_TRUE(waitFor([&] { return worker.runs == 1; }));
    // A running thread: nothing changes (event hosts rely on it).
    EXPECT_TRUE(worker.Start() && worker.runs == 1) << worker.runs;

    // Wait gives true also when the time runs out; the state tells which.
    const auto started = std::chrono::steady_clock::now();
    // Any negative but -1: one sleep; 30: 31 sleeps of 1 ms at least.
    EXPECT_TRUE(worker.Wait(-5) && worker.Wait(30));
    EXPECT_GE(std::chrono::steady_clock::now() - started, std::chrono::milliseconds(31));

    worker.release = true;
    EXPECT_TRUE(worker.Wait(10000) && worker.Stop(true));

    // A restart after Stop: a fresh OS thread, the flag cleared before the new Run().
    worker.release = false;
    ASSERT_TRUE(worker.Start());
    ASSERT_TRUE(waitFor([&] { return worker.runs == 2; }));
    // Cancellation is disabled: Run() ends on the flag.
    EXPECT_TRUE(worker.Stop(true) && worker.getState() == 2 && !worker.stopSeenAtStart)
        << worker.getState();

    // A Run() that returns before Start() has moved the state to running must
    // keep its 2, or Wait(-1) and the thread reaper would wait for ever. A
    // thread never started ends without running, and no OS thread is left
    // parked on a destroyed object.
    const int before = SettledTaskCount();
    for (int i = 0; i < 300; ++i) {
        Spinner quick(true);
        ASSERT_TRUE(waitFor([&] { return quick.getState() == 0; }));
        ASSERT_TRUE(quick.Start() && quick.Wait(10000));
        ASSERT_EQ(quick.getState(), 2) << "round " << i;
        quick.Stop(true);
    }
    {
        Spinner destroyed(true); // destroyed right after creation, maybe before it parks
        Spinner parked(true);
        ASSERT_TRUE(waitFor([&] { return parked.getState() == 0; }));
        Spinner stopped(true);
        EXPECT_TRUE(stopped.Stop(true)); // returns: the parked thread is released
        EXPECT_EQ(stopped.getState(), 2);
        EXPECT_EQ(stopped.runs + parked.runs, 0);
    }
    EXPECT_TRUE(waitFor([&] { return TaskCount() <= before; }))
        << TaskCount() << " threads, " << before;
}

namespace {

std::atomic<int> g_deleted{0};

struct Reaped : Spinner {
    ~Reaped() override { ++g_deleted; }
};

// The reaper logs through the registry, which reads the configuration; its
// debug line goes to the sink.
using ThreadMemoryRemoverTest = ConfiguredTest;

} // namespace

TEST_F(ThreadMemoryRemoverTest, DeletesFinishedThreadsAndLeavesNothingBehind) {
    SyslogSink sink;
    SYSLOG_SINK_OR_SKIP(sink);
    const int before = SettledTaskCount();

    ThreadMemoryRemover* reaper = ThreadMemoryRemover::GetInstance();
    SyslogRecord started;
    ASSERT_TRUE(sink.next(started));
    EXPECT_EQ(started.identity.rfind("[libVemlo] ThreadMemoryRemover(", 0), 0u) << started.raw;
    EXPECT_EQ(started.text, "[DEBUG] [Run] start");

    Reaped* running = new Reaped();
    ASSERT_TRUE(running->Start());
    reaper->addThread(running);
    reaper->addThread(nullptr);
    const std::clock_t cpu = std::clock();
    std::this_thread::sleep_for(std::chrono::milliseconds(1200));
    EXPECT_EQ(g_deleted, 0);                           // a running thread stays
    EXPECT_LT(std::clock() - cpu, CLOCKS_PER_SEC / 2); // the reaper sleeps between its scans
    running->release = true;
    EXPECT_TRUE(waitFor([] { return g_deleted == 1; }, std::chrono::milliseconds(2500)));

    // 200 threads, half stopped and half ending by themselves (joined by the
    // reaper). Parked first, so that Start() need not poll in 50 ms steps.
    for (int i = 0; i < 200; ++i) {
        Reaped* worker = new Reaped();
        ASSERT_TRUE(waitFor([&] { return worker->getState() == 0; }));
        ASSERT_TRUE(worker->Start());
        worker->release = i % 2 == 1;
        ASSERT_TRUE(worker->release || worker->Stop(true));
        reaper->addThread(worker);
    }
    EXPECT_TRUE(waitFor([] { return g_deleted == 201; }, std::chrono::seconds(20))) << g_deleted;

    // The loop ends on the stop flag and is joined before the delete.
    EXPECT_LT(TimeOf(&ThreadMemoryRemover::DestroyInstance), std::chrono::milliseconds(900));
    ThreadMemoryRemover::DestroyInstance(); // none left: nothing happens
    EXPECT_TRUE(waitFor([&] { return TaskCount() <= before; }))
        << TaskCount() << " threads, " << before;
}
