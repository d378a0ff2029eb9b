//===- Service/ThreadTest.cpp - The framework thread base -----------------===//
#include "support/VemloTest.h"

#include <atomic>
#include <chrono>
#include <thread>

#include <dirent.h>

using Vemlo::Service::Thread;

namespace {

using Clock = std::chrono::steady_clock;

// Polls `done` for up to `limit`; the tests never wait unbounded.
template <class Pred> bool waitFor(Pred done, std::chrono::milliseconds limit) {
    const auto end = Clock::now() + limit;
    while (!done()) {
        if (Clock::now() > end)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

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

// Runs until released or asked to stop; counts its runs.
class Worker : public Thread {
public:
    void Run() override {
        ++runs;
        stopSeenAtStart = m_bStop.load();
        while (!m_bStop && !release)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    std::atomic<int> runs{0};
    std::atomic<bool> release{false};
    std::atomic<bool> stopSeenAtStart{false};
};

// Returns at once.
class Quick : public Thread {
public:
    void Run() override { ++runs; }
    std::atomic<int> runs{0};
};

bool parks(const Thread& t) {
    return waitFor([&] { return t.getState() == 0; }, std::chrono::seconds(10));
}

} // namespace

TEST(ThreadTest, MovesFromParkedToRunningToFinished) {
    Worker worker;
    ASSERT_TRUE(parks(worker));
    EXPECT_EQ(worker.runs, 0); // parked until Start()
    EXPECT_FALSE(worker.isStopRequested());

    EXPECT_TRUE(worker.Start());
    EXPECT_EQ(worker.getState(), 1);
    ASSERT_TRUE(waitFor([&] { return worker.runs == 1; }, std::chrono::seconds(10)));
    // Starting a running thread changes nothing; event hosts do it per message.
    EXPECT_TRUE(worker.Start());
    EXPECT_EQ(worker.runs, 1);

    worker.release = true;
    EXPECT_TRUE(worker.Wait(10000));
    EXPECT_EQ(worker.getState(), 2);
    EXPECT_TRUE(worker.Wait(-1)); // finished: returns without sleeping on
    EXPECT_TRUE(worker.Stop(true));
    EXPECT_TRUE(worker.isStopRequested());
}

TEST(ThreadTest, StopSetsTheFlagThatEndsRunAndJoins) {
    Worker worker;
    ASSERT_TRUE(worker.Start());
    ASSERT_TRUE(waitFor([&] { return worker.runs == 1; }, std::chrono::seconds(10)));
    EXPECT_TRUE(worker.Stop(true)); // cancellation is disabled: Run() ends on the flag
    EXPECT_EQ(worker.getState(), 2);
    EXPECT_EQ(worker.runs, 1);
}

TEST(ThreadTest, WaitReturnsTrueAlsoWhenTheTimeRunsOut) {
    Worker worker;
    ASSERT_TRUE(worker.Start());

    auto started = Clock::now();
    EXPECT_TRUE(worker.Wait(0));
    EXPECT_TRUE(worker.Wait(-5)); // any negative but -1: one sleep
    EXPECT_TRUE(worker.Wait(30)); // 31 sleeps of 1 ms at least
    EXPECT_GE(Clock::now() - started, std::chrono::milliseconds(31));
    EXPECT_EQ(worker.getState(), 1); // the state tells that it timed out

    worker.Stop(true);
}

// A Run() that returns before Start() has moved the state to running must
// keep its 2, or Wait(-1) and the thread reaper would wait for ever.
TEST(ThreadTest, ShortRunIsNotOverwrittenByStart) {
    for (int i = 0; i < 300; ++i) {
        Quick quick;
        ASSERT_TRUE(parks(quick));
        ASSERT_TRUE(quick.Start());
        ASSERT_TRUE(quick.Wait(10000));
        ASSERT_EQ(quick.getState(), 2) << "round " << i;
        ASSERT_EQ(quick.runs, 1);
        quick.Stop(true);
    }
}

TEST(ThreadTest, RestartsAfterStop) {
    Worker worker;
    ASSERT_TRUE(worker.Start());
    ASSERT_TRUE(waitFor([&] { return worker.runs == 1; }, std::chrono::seconds(10)));
    worker.Stop(true);

    // A fresh OS thread, and the flag cleared before the new Run() begins.
    ASSERT_TRUE(worker.Start());
    ASSERT_TRUE(waitFor([&] { return worker.runs == 2; }, std::chrono::seconds(10)));
    EXPECT_FALSE(worker.stopSeenAtStart);
    EXPECT_EQ(worker.getState(), 1);
    worker.Stop(true);
    EXPECT_EQ(worker.getState(), 2);
}

TEST(ThreadTest, NeverStartedThreadEndsWithoutRunning) {
    // A sanitizer runtime starts a helper thread with the first thread, and
    // under qemu a joined thread may linger for a moment.
    std::thread([] {}).join();
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    const int before = taskCount();
    {
        Quick destroyed; // destroyed right after creation, maybe before it parks
        Quick parked;
        ASSERT_TRUE(parks(parked));
        Quick stopped;
        EXPECT_TRUE(stopped.Stop(true)); // returns: the parked thread is released
        EXPECT_EQ(stopped.getState(), 2);
        EXPECT_EQ(stopped.runs, 0);
        EXPECT_EQ(parked.runs, 0);
    }
    // No OS thread is left parked on a destroyed object.
    EXPECT_TRUE(waitFor([&] { return taskCount() <= before; }, std::chrono::seconds(10)))
        << taskCount() << " threads, " << before << " before";
}
