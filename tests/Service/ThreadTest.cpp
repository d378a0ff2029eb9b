//===- Service/ThreadTest.cpp - The framework thread base -----------------===//
#include "support/Hosts.h"

using Clock = std::chrono::steady_clock;
using namespace VemloTest;
using Worker = Spinner;

TEST(ThreadTest, LifecycleFromParkedToRunningToFinishedAndNeverStartedThreadsEndWithoutRunning) {
    Worker worker;
    ASSERT_TRUE(waitFor([&] { return worker.getState() == 0; })); // parked until Start()
    EXPECT_TRUE(worker.Start());
    ASSERT_TRUE(waitFor([&] { return worker.runs == 1; }));
    EXPECT_TRUE(worker.Start()); // a running thread: nothing changes (event hosts rely on it)
    EXPECT_EQ(worker.runs, 1);

    // Wait gives true also when the time runs out; the state tells which.
    const auto started = Clock::now();
    EXPECT_TRUE(worker.Wait(-5)); // any negative but -1: one sleep
    EXPECT_TRUE(worker.Wait(30)); // 31 sleeps of 1 ms at least
    EXPECT_GE(Clock::now() - started, std::chrono::milliseconds(31));

    worker.release = true;
    EXPECT_TRUE(worker.Wait(10000));
    EXPECT_EQ(worker.getState(), 2);
    EXPECT_TRUE(worker.Stop(true));

    // A restart after Stop: a fresh OS thread, the flag cleared before the new Run().
    worker.release = false;
    ASSERT_TRUE(worker.Start());
    ASSERT_TRUE(waitFor([&] { return worker.runs == 2; }));
    EXPECT_FALSE(worker.stopSeenAtStart);
    EXPECT_TRUE(worker.Stop(true)); // cancellation is disabled: Run() ends on the flag
    EXPECT_EQ(worker.getState(), 2);

    // A Run() that returns before Start() has moved the state to running must
    // keep its 2, or Wait(-1) and the thread reaper would wait for ever. A
    // thread never started ends without running, and no OS thread is left
    // parked on a destroyed object.
    const int before = SettledTaskCount();
    for (int i = 0; i < 300; ++i) {
        Worker quick(true);
        ASSERT_TRUE(waitFor([&] { return quick.getState() == 0; }));
        ASSERT_TRUE(quick.Start());
        ASSERT_TRUE(quick.Wait(10000));
        ASSERT_EQ(quick.getState(), 2) << "round " << i;
        quick.Stop(true);
    }
    {
        Worker destroyed(true); // destroyed right after creation, maybe before it parks
        Worker parked(true);
        ASSERT_TRUE(waitFor([&] { return parked.getState() == 0; }));
        Worker stopped(true);
        EXPECT_TRUE(stopped.Stop(true)); // returns: the parked thread is released
        EXPECT_EQ(stopped.getState(), 2);
        EXPECT_EQ(stopped.runs + parked.runs, 0);
    }
    EXPECT_TRUE(waitFor([&] { return TaskCount() <= before; }))
        << TaskCount() << " threads, " << before;
}
