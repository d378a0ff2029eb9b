//===- Data/Properties/PropertyManagerTest.cpp - Property files by name ---===//
#include "support/TestConfig.h"

#include <cstdlib>
#include <string>

#include <sys/stat.h>
#include <unistd.h>

using namespace Vemlo::Data::Properties;
using Vemlo::Config::ConfigurationManager;
using VemloTest::TempDir;
using VemloTest::WriteFile;

namespace {

// A manager of XML files "<name>.xml" in <working directory>/Vemlo/<folder>/
// that counts its builds.
class CountingManager : public PropertyManager {
public:
    explicit CountingManager(const char* folder = "Net") {
        m_sDefaultName = "net";
        m_sFolderName = folder;
        m_sExtension = ".xml";
    }

    IProperty* BuildProperty(const char* path, int type) override {
        ++builds;
        lastType = type;
        lastPath = path;
        if (failNext) {
            failNext = false;
            return nullptr;
        }
        testing::internal::CaptureStdout();
        FileProperty* property = new FileProperty(path);
        testing::internal::GetCapturedStdout();
        return (IProperty*)property; // a manager hands sets out as the interface
    }

    int builds = 0;
    int lastType = 0;
    std::string lastPath;
    bool failNext = false;
};

// One working directory for the whole program: the folder path is computed
// once per process.
class WorkingDirectory : public testing::Environment {
public:
    void SetUp() override {
        m_dir.reset(new TempDir);
        setenv("VEMLO_WORKING_DIRECTORY", m_dir->path().c_str(), 1);
        folder = m_dir->path() + "/Vemlo/Net/";
        mkdir((m_dir->path() + "/Vemlo").c_str(), 0755);
        mkdir(folder.c_str(), 0755);
    }
    void TearDown() override { m_dir.reset(); }

    static std::string folder;

private:
    std::unique_ptr<TempDir> m_dir;
};
std::string WorkingDirectory::folder;
testing::Environment* const workingDirectory = testing::AddGlobalTestEnvironment(new WorkingDirectory);

} // namespace

TEST(PropertyManagerTest, LoadsEachNameOnceAndCachesIt) {
    const std::string file = WorkingDirectory::folder + "net.xml";
    WriteFile(file, "<FileProperty><Port>80</Port></FileProperty>");
    CountingManager manager;
    IProperty* net = manager.getInstance();
    ASSERT_NE(net, nullptr);
    EXPECT_EQ(manager.lastPath, file);
    EXPECT_EQ(manager.lastType, 6301);
    EXPECT_STREQ(net->getValue("Port"), "80");

    // Later changes of the file are not seen.
    WriteFile(file, "<FileProperty><Port>81</Port></FileProperty>");
    EXPECT_EQ(manager.getInstance("net"), net);
    EXPECT_EQ(manager.getInstanceFromQ("net"), net);
    EXPECT_EQ(manager.getInstance("net", "/ignored/for/a/cached/name"), net);
    EXPECT_EQ(manager.builds, 1);
    EXPECT_STREQ(net->getValue("Port"), "80");

    EXPECT_EQ(manager.getInstanceFromQ("never"), nullptr);
    EXPECT_EQ(manager.builds, 1);

    // An explicit path.
    const std::string other = WorkingDirectory::folder + "elsewhere.xml";
    WriteFile(other, "<FileProperty><K>v</K></FileProperty>");
    IProperty* named = manager.getInstance("alias", other.c_str());
    ASSERT_NE(named, nullptr);
    EXPECT_EQ(manager.lastPath, other);
    EXPECT_STREQ(named->getValue("K"), "v");
    EXPECT_EQ(manager.getInstanceFromQ("alias"), named);
}

TEST(PropertyManagerTest, FailedBuildCachesNothing) {
    CountingManager manager;
    manager.failNext = true;
    EXPECT_EQ(manager.getInstance("flaky"), nullptr);
    EXPECT_EQ(manager.getInstanceFromQ("flaky"), nullptr);
    IProperty* flaky = manager.getInstance("flaky"); // tried again
    ASSERT_NE(flaky, nullptr);
    EXPECT_EQ(manager.builds, 2);
    EXPECT_EQ(manager.getInstanceFromQ("flaky"), flaky);
}

TEST(PropertyManagerTest, CopyHasTheSettingsAndACacheOfItsOwn) {
    CountingManager manager;
    IProperty* original = manager.getInstance();
    CountingManager copy(manager);
    EXPECT_EQ(copy.getInstanceFromQ("net"), nullptr);
    IProperty* own = copy.getInstance();
    EXPECT_NE(own, original);
    EXPECT_EQ(copy.lastPath, WorkingDirectory::folder + "net.xml");
    // Both delete only their own sets (the sanitizers check).
}
