//===- Data/Properties/PropertyManagerFolderTest.cpp - The folder path ----===//
//
// The folder path is computed once per process: every case computes it in a
// child process of its own, and this program never computes it itself.
//
//===----------------------------------------------------------------------===//
#include "support/TestConfig.h"

#include <cstdio>
#include <cstdlib>
#include <string>

using Vemlo::Config::ConfigurationManager;

namespace {

class OtherManager : public Vemlo::Data::Properties::PropertyManager {
public:
    OtherManager() { m_sFolderName = "First"; }
    Vemlo::Data::Properties::IProperty* BuildProperty(const char*, int) override { return nullptr; }
};

// Whether, in a fresh child process, `setup` (which computes a folder path
// first there) gives `expected`.
template <class Setup> bool folderPathInChild(const std::string& expected, Setup&& setup) {
    return VemloTest::RunInChild([&] {
        const std::string path = setup();
        ConfigurationManager::DestroyManager();
        if (path != expected)
            std::fprintf(stderr, "folder path [%s], expected [%s]\n", path.c_str(), expected.c_str());
        return path == expected ? 0 : 1;
    }) == 0;
}

std::string configurationFolder(const char* workingDirectory) {
    if (workingDirectory)
        setenv("VEMLO_WORKING_DIRECTORY", workingDirectory, 1);
    else
        unsetenv("VEMLO_WORKING_DIRECTORY");
    return ConfigurationManager::GetManager()->getFolderPath().str();
}

} // namespace

TEST(PropertyManagerFolderTest, ComputedOnceFromTheWorkingDirectory) {
    EXPECT_TRUE(folderPathInChild("/Vemlo/Conf/", [] { return configurationFolder(nullptr); }));
    // At most 199 bytes of the variable are used.
    const std::string longDirectory = "/" + std::string(300, 'd');
    EXPECT_TRUE(folderPathInChild(longDirectory.substr(0, 199) + "/Vemlo/Conf/",
                                  [&] { return configurationFolder(longDirectory.c_str()); }));
    // The first manager and the environment of that moment decide for every
    // later manager.
    EXPECT_TRUE(folderPathInChild("/first/Vemlo/First/", [] {
        setenv("VEMLO_WORKING_DIRECTORY", "/first", 1);
        OtherManager().getFolderPath();
        return configurationFolder("/second");
    }));
}
