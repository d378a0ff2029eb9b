//===- Util/System/CCriticalSectionTest.cpp - Kernel critical sections ----===//
#include "support/VemloTest.h"
#include "Service/ThreadTestKit.h"

#include <atomic>
#include <fstream>
#include <thread>
#include <vector>

#include <sched.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

using Vemlo::Util::System::CCriticalSection;
using Vemlo::Util::System::CSingleLock;

namespace {

int semValue(int id) { return semctl(id, 0, GETVAL); }

} // namespace

TEST(CCriticalSectionTest, OwnsOneKernelSetWhoseValueTracksTheHolder) {
    int id;
    {
        CCriticalSection section;
        id = section.getSemId();
        ASSERT_GT(id, 0);
        EXPECT_EQ(semValue(id), 0);
        {
            CSingleLock guard(&section);
            EXPECT_EQ(semValue(id), 1);
        }
        EXPECT_EQ(semValue(id), 0);
    }
    // The destructor removed the set.
    errno = 0;
    EXPECT_EQ(semValue(id), -1);
    EXPECT_EQ(errno, EINVAL);

    CSingleLock nothing(nullptr); // a null section: no effect either way
}

TEST(CCriticalSectionTest, ExcludesConcurrentWriters) {
    CCriticalSection section;
    long counter = 0; // deliberately not atomic: only the section protects it
    constexpr int kThreads = 4, kRounds = 2000;
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
        threads.emplace_back([&] {
            for (int i = 0; i < kRounds; ++i) {
                CSingleLock guard(&section);
                long seen = counter;
                if (i % 64 == 0)
                    std::this_thread::yield();
                counter = seen + 1;
            }
        });
    for (auto& t : threads)
        t.join();
    EXPECT_EQ(counter, long(kThreads) * kRounds);
}

// Runs `body` in a child process inside a fresh IPC namespace, whose objects
// vanish with it. Returns the child's exit status, or -1 when namespaces
// cannot be made here.
template <class Body> int inFreshIpcNamespace(Body body) {
    pid_t pid = fork();
    if (pid == 0) {
        if (unshare(CLONE_NEWIPC) != 0)
            _exit(77);
        _exit(body());
    }
    int status = 0;
    if (!VemloTest::waitFor([&] { return waitpid(pid, &status, WNOHANG) == pid; }, std::chrono::seconds(60))) {
        kill(pid, SIGKILL);
        waitpid(pid, &status, 0);
        return -2;
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : -3;
}

TEST(CCriticalSectionTest, SetIdZeroIsNeverRemovedAndAnExhaustedLimitGivesAHarmlessSection) {
    int result = inFreshIpcNamespace([] {
        {
            CCriticalSection first; // the namespace's first set gets id 0
            if (first.getSemId() != 0)
                return 10;
        }
        if (semctl(0, 0, GETVAL) != 0) // still there
            return 11;
        // semmsl semmns semopm semmni: room for 3 sets in this namespace,
        // one of them the set left with id 0.
        std::ofstream("/proc/sys/kernel/sem") << "250 32000 32 3";
        std::vector<CCriticalSection*> sections;
        for (int i = 0; i < 2; ++i)
            sections.push_back(new CCriticalSection);
        CCriticalSection over;
        int status = over.getSemId() == -1 ? 0 : 20;
        if (sections.back()->getSemId() < 0)
            status = 21;
        over.Lock(); // no effect: neither blocks nor fails loudly
        over.Lock();
        over.Unlock();
        { CSingleLock guard(&over); }
        for (auto* s : sections)
            delete s;
        return status;
    });
    if (result == 77)
        GTEST_SKIP() << "cannot create an IPC namespace here";
    EXPECT_EQ(result, 0);
}
