//===- Service/ThreadTestKit.h - Bounded waits and thread counts ----------===//
#ifndef VEMLO_TESTS_SERVICE_THREADTESTKIT_H
#define VEMLO_TESTS_SERVICE_THREADTESTKIT_H

#include <chrono>
#include <thread>

#include <dirent.h>

namespace VemloTest {

// Polls `done` every millisecond for up to `limit`: the tests never wait unbounded.
template <class Pred> bool waitFor(Pred done, std::chrono::milliseconds limit = std::chrono::seconds(10)) {
    for (const auto end = std::chrono::steady_clock::now() + limit; !done();)
        if (std::chrono::steady_clock::now() > end)
            return false;
        else
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
    return true;
}

// Threads of this process, as the kernel lists them.
inline int TaskCount() {
    int count = 0;
    if (DIR* dir = opendir("/proc/self/task")) {
        while (dirent* entry = readdir(dir))
            count += entry->d_name[0] != '.';
        closedir(dir);
    }
    return count;
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
