//===- Util/System/MutexTest.cpp - The gate mutex -------------------------===//
#include "support/VemloTest.h"

#include <atomic>
#include <chrono>
#include <thread>

using Vemlo::Util::System::Mutex;

TEST(MutexTest, ActsAsAGateOpenedFromAnotherThread) {
    Mutex gate(nullptr);
    // One thread closes the gate, another opens it: the framework's event
    // hosts hand messages over this way.
    gate.Lock();
    std::atomic<bool> passed{false};
    std::thread waiter([&] {
        gate.Lock(); // waits until the main thread's opener runs
        passed = true;
        gate.Unlock();
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_FALSE(passed);
    std::thread opener([&] { gate.Unlock(); });
    opener.join();
    waiter.join();
    EXPECT_TRUE(passed);
}
