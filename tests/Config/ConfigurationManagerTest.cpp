//===- Config/ConfigurationManagerTest.cpp - The configuration ------------===//
#include "support/TestConfig.h"

using namespace Vemlo::Config;
using namespace VemloTest;

// One case: the configuration folder's path is computed once per process.
TEST(ConfigurationManagerTest, OneManagerReadsEachFileOnceAndFilesThatCannotBeLoadedGive7201) {
    TestConfig config(ConfigEntries{{"App.Name", "demo"}});
    ConfigurationManager* manager = ConfigurationManager::GetManager();
    EXPECT_STREQ(manager->getInstance()->getValue("App.Name"), "demo");
    // A cached name ignores the path it is asked with.
    EXPECT_EQ(manager->getInstance("default", "/ignored"), manager->getInstance());

    // Another name is another file of the folder, read once per manager.
    const std::string file = config.folder() + "changing.config";
    WriteFile(file, "<FileProperty><V>1</V></FileProperty>");
    manager->getInstance("changing");
    WriteFile(file, "<FileProperty><V>2</V></FileProperty>");
    EXPECT_STREQ(manager->getInstance("changing")->getValue("V"), "1");
    ConfigurationManager::DestroyManager();
    manager = ConfigurationManager::GetManager();
    EXPECT_STREQ(manager->getInstance("changing")->getValue("V"), "2");

    const std::string missing = "Cannot Load Configuration File : " + config.folder() +
                                "no/such.config/ [Cannot Load Property File]";
    ExpectThrown<ConfigurationException>([&] { manager->getInstance("no/such"); }, 7201,
                                         missing.c_str());
    ExpectThrown<ConfigurationException>([&] { manager->BuildProperty(nullptr, 0); }, 7201,
                                         "Cannot Load Configuration File : / [FIlename is NULL]");
}
