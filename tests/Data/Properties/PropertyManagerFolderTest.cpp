//===- Data/Properties/PropertyManagerFolderTest.cpp - The folder path ----===//
//
// The folder path is computed once per process: every case computes it in a
// child process of its own, and this program never computes it itself.
//
//===----------------------------------------------------------------------===//
#include "support/TestConfig.h"

using Vemlo::Config::ConfigurationManager;

namespace {

class OtherManager : public Vemlo::Data::Properties::PropertyManager {
public:
    OtherManager() { m_sFolderName = "First"; }
    Vemlo::Data::Properties::IProperty* BuildProperty(const char*, int) override { return nullptr; }
};

// Leaves bytes other than 0 on the stack below the caller, where the buffers
// of the next call will lie: a buffer used without clearing shows.
__attribute__((noinline)) void dirtyStack() {
    volatile char junk[16384];
    for (auto& c : junk)
        c = 'x';
}

// Whether, in a fresh child process, the folder path after `setup` is
// `expected`; the manager goes before the child ends, so no semaphore set is
// left.
template <class Setup> int folderPathIs(const char* expected, Setup setup) {
    return VemloTest::RunInChild([&] {
        setup();
        ConfigurationManager* manager = ConfigurationManager::GetManager();
        dirtyStack();
        const bool same = manager->getFolderPath() == expected;
        ConfigurationManager::DestroyManager();
        return same ? 0 : 1;
    });
}

} // namespace

// The first manager and the environment of that moment decide for every
// later manager.
TEST(PropertyManagerFolderTest, ComputedOnceFromTheWorkingDirectory) {
    EXPECT_EQ(folderPathIs("/Vemlo/Conf/", [] { unsetenv("VEMLO_WORKING_DIRECTORY"); }), 0);
    EXPECT_EQ(folderPathIs("/first/Vemlo/First/",
                           [] {
                               setenv("VEMLO_WORKING_DIRECTORY", "/first", 1);
                               OtherManager().getFolderPath();
                               setenv("VEMLO_WORKING_DIRECTORY", "/second", 1);
                           }),
              0);
}
