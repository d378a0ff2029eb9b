//===- Config/ConfigurationManagerTest.cpp - The configuration ------------===//
#include "support/TestConfig.h"

using namespace Vemlo::Config;
using VemloTest::ExpectThrown;
using VemloTest::WriteFile;

namespace {

// One configuration folder for the program (its path is computed once per
// process); every case destroys the manager at its end.
class ConfigurationManagerTest : public testing::Test {
protected:
    static void SetUpTestSuite() {
        s_config = new VemloTest::TestConfig(VemloTest::ConfigEntries{{"App.Name", "demo"}});
    }
    static void TearDownTestSuite() { delete s_config; }
    void SetUp() override { testing::internal::CaptureStdout(); }
    void TearDown() override {
        ConfigurationManager::DestroyManager();
        testing::internal::GetCapturedStdout();
    }
    static std::string folder() { return s_config->folder(); }
    static inline VemloTest::TestConfig* s_config = nullptr;
};

} // namespace

TEST_F(ConfigurationManagerTest, OneManagerReadsEachFileOfTheWorkingDirectoryOnce) {
    ConfigurationManager* manager = ConfigurationManager::GetManager();
    EXPECT_STREQ(manager->getInstance()->getValue("App.Name"), "demo");
    // A cached name ignores the path it is asked with.
    EXPECT_EQ(manager->getInstance("default", "/ignored"), manager->getInstance());

    // Another name is another file of the folder, read once per manager.
    const std::string file = folder() + "changing.config";
    WriteFile(file, "<FileProperty><V>1</V></FileProperty>");
    manager->getInstance("changing");
    WriteFile(file, "<FileProperty><V>2</V></FileProperty>");
    EXPECT_STREQ(manager->getInstance("changing")->getValue("V"), "1");
    ConfigurationManager::DestroyManager();
    EXPECT_STREQ(ConfigurationManager::GetManager()->getInstance("changing")->getValue("V"), "2");
    std::remove(file.c_str());
}

TEST_F(ConfigurationManagerTest, FilesThatCannotBeLoadedGive7201) {
    ConfigurationManager* manager = ConfigurationManager::GetManager();
    const auto cause = [](const std::string& path, const char* why) {
        return "Cannot Load Configuration File : " + path + "/ [" + why + "]";
    };
    ExpectThrown<ConfigurationException>(
        [&] { manager->getInstance("no/such"); }, 7201,
        cause(folder() + "no/such.config", "Cannot Load Property File").c_str());
    ExpectThrown<ConfigurationException>([&] { manager->BuildProperty(nullptr, 0); }, 7201,
                                         cause("", "FIlename is NULL").c_str());
}
