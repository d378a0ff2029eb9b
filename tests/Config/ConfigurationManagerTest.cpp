//===- Config/ConfigurationManagerTest.cpp - The process-wide configuration -===//
#include "support/TestConfig.h"

#include <memory>
#include <string>

#include <sys/stat.h>

using namespace Vemlo::Config;
using Vemlo::Data::Properties::IProperty;
using VemloTest::ExpectThrown;
using VemloTest::ReadFile;
using VemloTest::WriteFile;

namespace {

// One configuration folder for the whole program (the folder path is
// computed once per process); every case destroys the manager at its end.
class ConfigFolder : public testing::Environment {
public:
    void SetUp() override { config.reset(new VemloTest::TestConfig(VemloTest::ConfigEntries{{"App.Name", "demo"}})); }
    void TearDown() override { config.reset(); }
    static std::unique_ptr<VemloTest::TestConfig> config;
};
std::unique_ptr<VemloTest::TestConfig> ConfigFolder::config;
testing::Environment* const configFolder = testing::AddGlobalTestEnvironment(new ConfigFolder);

class ConfigurationManagerTest : public testing::Test {
protected:
    void SetUp() override { testing::internal::CaptureStdout(); }
    void TearDown() override {
        ConfigurationManager::DestroyManager();
        testing::internal::GetCapturedStdout();
    }
    const VemloTest::TestConfig& config() { return *ConfigFolder::config; }
};

} // namespace

TEST_F(ConfigurationManagerTest, ReadsTheDefaultFileOfTheWorkingDirectory) {
    ConfigurationManager* manager = ConfigurationManager::GetManager();
    EXPECT_EQ(manager->getFolderPath(), String(config().folder().c_str()));
    IProperty* defaults = manager->getInstance();
    ASSERT_NE(defaults, nullptr);
    EXPECT_STREQ(defaults->getValue("Base.Log.Level"), "DEBUG");
    EXPECT_EQ(defaults->getIntValue("Base.Log.BackupRange"), 5);
    EXPECT_EQ(std::string(defaults->getValue("Base.Http.TempPath")), config().workingDirectory() + "/http");
    EXPECT_STREQ(defaults->getValue("App.Name"), "demo");
    EXPECT_STREQ(defaults->getValue("Missing.Key"), "");
    EXPECT_EQ(manager->getInstance("default"), defaults);
    EXPECT_EQ(manager->getInstanceFromQ("default"), defaults);

    // Another name is another file of the folder; a missing one is created.
    IProperty* fresh = manager->getInstance("fresh");
    ASSERT_NE(fresh, nullptr);
    EXPECT_EQ(ReadFile(config().folder() + "fresh.config"), "<FileProperty></FileProperty>");
    std::remove((config().folder() + "fresh.config").c_str());
}

TEST_F(ConfigurationManagerTest, OneManagerUntilDestroyed) {
    ConfigurationManager* manager = ConfigurationManager::GetManager();
    EXPECT_EQ(ConfigurationManager::GetManager(), manager);
    const std::string file = config().folder() + "changing.config";
    WriteFile(file, "<FileProperty><V>1</V></FileProperty>");
    EXPECT_STREQ(manager->getInstance("changing")->getValue("V"), "1");
    WriteFile(file, "<FileProperty><V>2</V></FileProperty>");
    EXPECT_STREQ(ConfigurationManager::GetManager()->getInstance("changing")->getValue("V"), "1");

    // A new manager reads the files again.
    ConfigurationManager::DestroyManager();
    ConfigurationManager::DestroyManager(); // nothing left to destroy
    EXPECT_STREQ(ConfigurationManager::GetManager()->getInstance("changing")->getValue("V"), "2");
    std::remove(file.c_str());
}

TEST_F(ConfigurationManagerTest, FilesThatCannotBeLoadedGive7201) {
    ConfigurationManager* manager = ConfigurationManager::GetManager();
    const std::string missing = config().folder() + "no/such.config";
    ExpectThrown<ConfigurationException>([&] { manager->getInstance("no/such"); }, 7201,
                                         ("Cannot Load Configuration File : " + missing +
                                          "/ [Cannot Load Property File]")
                                             .c_str());
    EXPECT_EQ(manager->getInstanceFromQ("no/such"), nullptr);

    // A plain-text configuration: its first build creates the file and fails,
    // the second loads it.
    const std::string text = config().folder() + "plain.txt";
    ExpectThrown<ConfigurationException>([&] { manager->BuildProperty(text.c_str(), 0); }, 7201,
                                         ("Cannot Load Configuration File : " + text +
                                          "/ [Cannot Load Property File]")
                                             .c_str());
    std::unique_ptr<IProperty> plain(manager->BuildProperty(text.c_str(), 0));
    EXPECT_STREQ(plain->getValue("Comment"), "Trimlo Configuration File");
    // A property error of the format itself becomes the cause.
    ExpectThrown<ConfigurationException>([&] { manager->BuildProperty(nullptr, 0); }, 7201,
                                         "Cannot Load Configuration File : / [FIlename is NULL]");
    std::remove(text.c_str());

    // Malformed XML passes through as the parser's error, and nothing is
    // cached.
    const std::string broken = config().folder() + "broken.config";
    WriteFile(broken, "<></FileProperty>");
    ExpectThrown<Vemlo::Common::Xml::XmlException>([&] { manager->getInstance("broken"); }, 7241, nullptr);
    EXPECT_EQ(manager->getInstanceFromQ("broken"), nullptr);
    std::remove(broken.c_str());
}

TEST_F(ConfigurationManagerTest, ConfigurationIsAFilePropertyWithPrefixedReads) {
    Configuration configuration(config().file().c_str(), 6301);
    configuration.setPrefix("Base.Log");
    EXPECT_STREQ(configuration.getValue("Level"), "DEBUG");
    EXPECT_STREQ(configuration.getFileName(), config().file().c_str());
}
