//===- Log/LoggerTest.cpp - The registry of log channels ------------------===//
#include "support/TestConfig.h"

#include <cstdlib>
#include <memory>
#include <string>

using Vemlo::Config::ConfigurationManager;
using namespace Vemlo::Log;

namespace {

// One configuration folder for the program (its path is computed once per
// process); cases rewrite its default.config through configure().
class LoggerTest : public testing::Test {
protected:
    static void SetUpTestSuite() { s_config = new VemloTest::TestConfig(); }
    static void TearDownTestSuite() { delete s_config; }
    void TearDown() override { Logger::DestroyLogger(); }

    // default.config holds `entries` only, and is read again.
    static void configure(const VemloTest::ConfigEntries& entries) {
        ASSERT_TRUE(VemloTest::WriteXmlPropertyFile(s_config->file(), entries));
        ConfigurationManager::DestroyManager();
        ASSERT_NE(ConfigurationManager::GetManager()->getInstance(), nullptr);
    }
    static inline VemloTest::TestConfig* s_config = nullptr;
};

} // namespace

TEST_F(LoggerTest, HandsOutOneChannelPerNameWithTheConfiguredLevel) {
    configure({{"Base.Log.Level", "INFO"}, {"Base.Log.BackupRange", "5"}});
    Logger* logger = Logger::getLogger();
    FileLog* log = logger->getLog("app");
    ASSERT_NE(log, nullptr);
    EXPECT_EQ(logger->getLog("app"), log);
    EXPECT_EQ(log->getLevel(), 2);
    EXPECT_EQ(log->getBackupRange(), 10); // the configured range is read, not applied
    EXPECT_EQ(std::string(log->getDirectory()), s_config->workingDirectory() + "/Vemlo/Log/");
    EXPECT_EQ(std::string(logger->getDefaultLog()->getName()), "default");
    EXPECT_EQ(std::string(logger->getCommunicationLog()->getName()), "communication");

    // Generating again replaces the table's channel; the earlier one is the
    // caller's to delete.
    std::unique_ptr<FileLog> earlier(log);
    FileLog* fresh = logger->GenerateLog("app");
    EXPECT_NE(fresh, log);
    EXPECT_EQ(logger->getLog("app"), fresh);
}

TEST_F(LoggerTest, MissingLevelGivesNullAndSaysWhy) {
    configure({{"Base.Log.BackupRange", "5"}});
    VemloTest::ExpectThrown<Vemlo::Log::LogException>(
        [] { Logger::getLogger()->GenerateLog("app"); }, 7252,
        "Error to get configuration value (Base.Log.Level)");
    testing::internal::CaptureStdout();
    EXPECT_EQ(Logger::getLogger()->getLog("app"), nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "[getLog] exception msg(Error to get configuration value (Base.Log.Level))\n");

    configure({{"Base.Log.Level", "ERROR"}}); // once it is there the same name works
    EXPECT_EQ(Logger::getLogger()->getLog("app")->getLevel(), 0);
}
