//===- support/TestMain.cpp - main() of every test program ----------------===//
#include <gtest/gtest.h>

#if defined(__SANITIZE_THREAD__)
// UnRegister opens an idle threaded host's gate on the calling thread,
// although the dispatcher's thread locked it: the gate is a signal between
// threads, not a lock around data, and UnRegister must not wait for the
// dispatcher. ThreadSanitizer reports such an unlock; this one is intended.
extern "C" const char* __tsan_default_suppressions() {
    return "mutex:Vemlo::Event::EventHandler::removeActive\n";
}
#endif

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
