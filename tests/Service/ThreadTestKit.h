//===- Service/ThreadTestKit.h - Bounded waits and thread counts ----------===//
#ifndef VEMLO_TESTS_SERVICE_THREADTESTKIT_H
#define VEMLO_TESTS_SERVICE_THREADTESTKIT_H

#include <chrono>
#include <thread>

#include <filesystem>

namespace VemloTest {

// Polls `done` every millisecond for up to `limit`: the tests never wait unbounded.
template <class Pred>
bool waitFor(Pred done, std::chrono::milliseconds limit = std::chrono::seconds(10)) {
    for (const auto end = std::chrono::steady_clock::now() + limit; !done();
         std::this_thread::sleep_for(std::chrono::milliseconds(1)))
        if (std::chrono::steady_clock::now() > end)
            return false;
    return true;
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

} // namespace VemloTest

#endif // VEMLO_TESTS_SERVICE_THREADTESTKIT_H
