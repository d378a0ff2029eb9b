//===- Service/ThreadMemoryRemoverTest.cpp - The thread reaper ------------===//
#include "support/Hosts.h"
#include "support/SyslogSink.h"
#include "support/TestConfig.h"

#include <ctime>

using Vemlo::Service::ThreadMemoryRemover;
using Clock = std::chrono::steady_clock;
using namespace VemloTest;

namespace {

std::atomic<int> g_deleted{0};

struct Worker : Spinner {
    ~Worker() override { ++g_deleted; }
};

// The reaper logs through the registry, which reads the configuration; its
// debug line goes to the sink.
struct ThreadMemoryRemoverTest : ConfiguredTest {
    SyslogSink m_sink;
};

} // namespace

TEST_F(ThreadMemoryRemoverTest, DeletesFinishedThreadsAndLeavesNothingBehind) {
    SYSLOG_SINK_OR_SKIP(m_sink);
    const int before = SettledTaskCount();

    ThreadMemoryRemover* reaper = ThreadMemoryRemover::GetInstance();
    SyslogRecord started;
    ASSERT_TRUE(m_sink.next(started));
    EXPECT_EQ(started.identity.rfind("[libVemlo] ThreadMemoryRemover(", 0), 0u) << started.raw;
    EXPECT_EQ(started.text, "[DEBUG] [Run] start");

    Worker* running = new Worker();
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
        Worker* worker = new Worker();
        ASSERT_TRUE(waitFor([&] { return worker->getState() == 0; }));
        ASSERT_TRUE(worker->Start());
        worker->release = i % 2 == 1;
        ASSERT_TRUE(worker->release || worker->Stop(true));
        reaper->addThread(worker);
    }
    EXPECT_TRUE(waitFor([] { return g_deleted == 201; }, std::chrono::seconds(20))) << g_deleted;

    // The loop ends on the stop flag and is joined before the delete.
    const auto stopping = Clock::now();
    ThreadMemoryRemover::DestroyInstance();
    EXPECT_LT(Clock::now() - stopping, std::chrono::milliseconds(900));
    ThreadMemoryRemover::DestroyInstance(); // none left: nothing happens
    EXPECT_TRUE(waitFor([&] { return TaskCount() <= before; }))
        << TaskCount() << " threads, " << before;
}
