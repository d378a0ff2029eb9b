//===- Config/ConfigurationManagerTest.cpp - The process-wide configuration -===//
#include "support/TestConfig.h"

#include <cstdio>
#include <memory>
#include <string>

using namespace Vemlo::Config;
using Vemlo::Data::Properties::IProperty;
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
    EXPECT_EQ(ConfigurationManager::GetManager(), manager);
    IProperty* defaults = manager->getInstance();
    ASSERT_NE(defaults, nullptr);
    EXPECT_STREQ(defaults->getValue("App.Name"), "demo");
    EXPECT_EQ(manager->getInstanceFromQ("default"), defaults);

    // Another name is another file of the folder, read once per manager.
    const std::string file = folder() + "changing.config";
    WriteFile(file, "<FileProperty><V>1</V></FileProperty>");
    EXPECT_STREQ(manager->getInstance("changing")->getValue("V"), "1");
    WriteFile(file, "<FileProperty><V>2</V></FileProperty>");
    EXPECT_STREQ(manager->getInstance("changing")->getValue("V"), "1");
    ConfigurationManager::DestroyManager();
    ConfigurationManager::DestroyManager(); // nothing left to destroy
    EXPECT_STREQ(ConfigurationManager::GetManager()->getInstance("changing")->getValue("V"), "2");
    std::remove(file.c_str());

    // A missing one is created.
    ASSERT_NE(ConfigurationManager::GetManager()->getInstance("fresh"), nullptr);
    EXPECT_EQ(VemloTest::ReadFile(folder() + "fresh.config"), "<FileProperty></FileProperty>");
    std::remove((folder() + "fresh.config").c_str());
}

TEST_F(ConfigurationManagerTest, FilesThatCannotBeLoadedGive7201) {
    ConfigurationManager* manager = ConfigurationManager::GetManager();
    const auto cause = [](const std::string& path, const char* why) {
        return "Cannot Load Configuration File : " + path + "/ [" + why + "]";
    };
    ExpectThrown<ConfigurationException>([&] { manager->getInstance("no/such"); }, 7201,
                                         cause(folder() + "no/such.config", "Cannot Load Property File").c_str());
    ExpectThrown<ConfigurationException>([&] { manager->BuildProperty(nullptr, 0); }, 7201,
                                         cause("", "FIlename is NULL").c_str());

    // A plain-text configuration: its first build creates the file and fails,
    // the second loads it.
    const std::string text = folder() + "plain.txt";
    ExpectThrown<ConfigurationException>([&] { manager->BuildProperty(text.c_str(), 0); }, 7201,
                                         cause(text, "Cannot Load Property File").c_str());
    std::unique_ptr<IProperty> plain(manager->BuildProperty(text.c_str(), 0));
    EXPECT_STREQ(plain->getValue("Comment"), "Trimlo Configuration File");
    std::remove(text.c_str());

    // Malformed XML passes through as the parser's error; nothing is cached.
    const std::string broken = folder() + "broken.config";
    WriteFile(broken, "<></FileProperty>");
    ExpectThrown<Vemlo::Common::Xml::XmlException>([&] { manager->getInstance("broken"); }, 7241, nullptr);
    EXPECT_EQ(manager->getInstanceFromQ("broken"), nullptr);
    std::remove(broken.c_str());

    Configuration configuration(s_config->file().c_str(), 6301); // reads with a prefix
    configuration.setPrefix("Base.Log");
    EXPECT_STREQ(configuration.getValue("Level"), "DEBUG");
}
