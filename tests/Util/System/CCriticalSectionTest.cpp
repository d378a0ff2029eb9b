//===- Util/System/CCriticalSectionTest.cpp - Kernel critical sections ----===//
#include "support/VemloTest.h"
#include "Service/ThreadTestKit.h"

#include <fstream>
#include <thread>

#include <sched.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

using Vemlo::Util::System::CCriticalSection;
using Vemlo::Util::System::CSingleLock;

TEST(CCriticalSectionTest, OwnsOneKernelSetWhoseValueTracksTheHolder) {
    int id;
    {
        CCriticalSection section;
        id = section.getSemId();
        ASSERT_GT(id, 0);
        CSingleLock guard(&section);
        EXPECT_EQ(semctl(id, 0, GETVAL), 1);
    }
    errno = 0; // the destructor removed the set
    EXPECT_EQ(semctl(id, 0, GETVAL), -1);
    EXPECT_EQ(errno, EINVAL);
}

TEST(CCriticalSectionTest, ExcludesConcurrentWriters) {
    CCriticalSection section;
    long counter = 0; // deliberately not atomic: only the section protects it
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&] {
            for (int i = 0; i < 2000; ++i) {
                CSingleLock guard(&section);
                long seen = counter;
                if (i % 64 == 0)
                    std::this_thread::yield();
                counter = seen + 1;
            }
        });
    for (auto& t : threads)
        t.join();
    EXPECT_EQ(counter, 4L * 2000);
}

// Runs in a child process inside a fresh IPC namespace, whose objects vanish
// with it.
TEST(CCriticalSectionTest, SetIdZeroIsNeverRemovedAndAnExhaustedLimitGivesAHarmlessSection) {
    const pid_t pid = fork();
    if (pid == 0) {
        if (unshare(CLONE_NEWIPC) != 0)
            _exit(77);
        {
            CCriticalSection first; // the namespace's first set gets id 0
            if (first.getSemId() != 0)
                _exit(10);
        }
        if (semctl(0, 0, GETVAL) != 0) // still there
            _exit(11);
        // semmsl semmns semopm semmni: room for 2 sets, one of them id 0.
        std::ofstream("/proc/sys/kernel/sem") << "250 32000 32 2";
        CCriticalSection last, over;
        over.Lock(); // no effect: neither blocks nor fails loudly
        over.Unlock();
        _exit(last.getSemId() > 0 && over.getSemId() == -1 ? 0 : 20);
    }
    int status = 0;
    if (!VemloTest::waitFor([&] { return waitpid(pid, &status, WNOHANG) == pid; }, std::chrono::seconds(60))) {
        kill(pid, SIGKILL);
        waitpid(pid, &status, 0);
    }
    if (WIFEXITED(status) && WEXITSTATUS(status) == 77)
        GTEST_SKIP() << "cannot create an IPC namespace here";
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
}
