//===- support/VemloTest.h - Helpers shared by the test programs ----------===//
#ifndef VEMLO_TESTS_SUPPORT_VEMLOTEST_H
#define VEMLO_TESTS_SUPPORT_VEMLOTEST_H

#include <Vemlo/Vemlo.h>

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <thread>

#include <ftw.h>
#include <sched.h>
#include <sys/wait.h>
#include <sys/resource.h>
#include <unistd.h>
#ifdef __SANITIZE_ADDRESS__
#include <sanitizer/lsan_interface.h>
#endif

// Writes the coverage counts; present in coverage builds only.
extern "C" void __gcov_dump() __attribute__((weak));

namespace VemloTest {

// Runs `body`, which must throw a pointer to exactly `E`; checks its code and
// message and deletes it. A null `message` skips the message check. Works for
// exceptions whose Exception base is private (PropertyException): the C cast
// is the one conversion the language allows there.
template <class E, class Body> void ExpectThrown(Body&& body, int code, const char* message) {
    try {
        body();
    } catch (E* e) {
        ASSERT_NE(e, nullptr) << "a null pointer was thrown";
        EXPECT_EQ(typeid(*e), typeid(E));
        const auto* base = (const Vemlo::Common::Exception*)e;
        EXPECT_EQ(base->GetCode(), code);
        EXPECT_STREQ(message ? base->GetMessage() : nullptr, message);
        delete e;
        return;
    }
    ADD_FAILURE() << "expected a thrown " << typeid(E).name();
}

// A fresh folder under $TMPDIR (or /tmp), removed with its contents when the
// object goes.
class TempDir {
public:
    TempDir() {
        const char* base = std::getenv("TMPDIR");
        m_path = std::string(base && *base ? base : "/tmp") + "/vemlo-test-XXXXXX";
        if (!mkdtemp(&m_path[0]))
            throw std::runtime_error("mkdtemp failed for " + m_path);
    }
    ~TempDir() {
        // nftw, not std::filesystem: a 32-bit-time libstdc++ cannot stat what
        // was made after 2038 (the ARM system lane's clock phases). Links are
        // removed, never followed.
        nftw(
            m_path.c_str(),
            [](const char* path, const struct stat*, int, FTW*) { return ::remove(path); }, 16,
            FTW_DEPTH | FTW_PHYS);
    }
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    const std::string& path() const { return m_path; }
    // path() + "/" + name
    std::string file(const std::string& name) const { return m_path + "/" + name; }

private:
    std::string m_path;
};

// Polls `done` every millisecond for up to `limit`: the tests never wait unbounded.
template <class Pred>
bool waitFor(Pred done, std::chrono::milliseconds limit = std::chrono::seconds(10)) {
    for (const auto end = std::chrono::steady_clock::now() + limit; !done();
         std::this_thread::sleep_for(std::chrono::milliseconds(1)))
        if (std::chrono::steady_clock::now() > end)
            return false;
    return true;
}

// How long `body` took to run.
template <class Body> std::chrono::steady_clock::duration TimeOf(Body&& body) {
    const auto start = std::chrono::steady_clock::now();
    body();
    return std::chrono::steady_clock::now() - start;
}

// Threads of this process, as the kernel lists them.
inline int TaskCount() {
    namespace fs = std::filesystem;
    return static_cast<int>(
        std::distance(fs::directory_iterator("/proc/self/task"), fs::directory_iterator()));
}

// TaskCount() once a sanitizer runtime has started the helper thread it starts
// with the first thread, and a joined thread no longer lingers (under qemu).
inline int SettledTaskCount() {
    std::thread([] {}).join();
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    return TaskCount();
}

// Ends the program (SIGALRM) when it still runs after `seconds`: a hang in
// the code under test becomes a failed test instead of a stuck run.
struct Watchdog {
    explicit Watchdog(unsigned seconds) { alarm(seconds); }
    ~Watchdog() { alarm(0); }
};

// While it lives, the process can open no further descriptor (the soft limit
// is set to the lowest free one), as when a program has used them all up.
// The sanitizers' checks open descriptors of their own: cases that use it
// are built only without them (VEMLO_TEST_WITHOUT_SANITIZER).
struct WithoutFreeDescriptors {
    WithoutFreeDescriptors() {
        getrlimit(RLIMIT_NOFILE, &saved);
        rlimit none{static_cast<rlim_t>(dup(0)), saved.rlim_max}; // every one below it is taken
        close(static_cast<int>(none.rlim_cur));
        EXPECT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
    }
    ~WithoutFreeDescriptors() { setrlimit(RLIMIT_NOFILE, &saved); }
    rlimit saved;
};
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
#define VEMLO_TEST_WITHOUT_SANITIZER 1
#endif

// The whole file ("" when it cannot be read) / replaces it with `text`.
std::string ReadFile(const std::string& path);
void WriteFile(const std::string& path, const std::string& text);

// Runs `body` (returning an int) in a forked child process and gives the
// child's exit code, or -1 when it did not exit normally or had not ended
// after `limit` seconds (it is then killed). The child must release what it
// creates (semaphore sets, files) before `body` returns; in sanitizer builds
// a leak found then makes the exit code 98. With `ownIpc` the child first
// moves to an IPC namespace of its own, whose semaphore sets and segments
// vanish with it (also when it is killed): 77 when it cannot. In coverage
// builds the child's counts are written too: a body may lower the soft file
// size limit only, which is lifted again before they are.
template <class Body> int RunInChild(Body&& body, bool ownIpc = false, int limit = 60) {
    std::fflush(nullptr);
    const pid_t pid = fork();
    if (pid == 0) {
        if (ownIpc && unshare(CLONE_NEWIPC) != 0)
            _exit(77);
        const int code = body();
#ifdef __SANITIZE_ADDRESS__
        if (code == 0 && __lsan_do_recoverable_leak_check() != 0)
            _exit(98);
#endif
        if (__gcov_dump) { // _exit skips the dump at the end of the program
            // Written whole, as the real user, whatever file size limit and
            // effective user the body left.
            [[maybe_unused]] const int back = seteuid(getuid());
            rlimit size;
            getrlimit(RLIMIT_FSIZE, &size);
            size.rlim_cur = size.rlim_max;
            setrlimit(RLIMIT_FSIZE, &size);
            __gcov_dump();
        }
        _exit(code);
    }
    int status = 0;
    if (pid > 0 && !waitFor([&] { return waitpid(pid, &status, WNOHANG) != 0; },
                            std::chrono::seconds(limit))) {
        kill(pid, SIGKILL);
        waitpid(pid, &status, 0);
        return -1;
    }
    return pid > 0 && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

} // namespace VemloTest

#endif // VEMLO_TESTS_SUPPORT_VEMLOTEST_H
