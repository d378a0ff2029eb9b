//===- Log/LoggerTest.cpp - The registry of log channels ------------------===//
#include "support/TestConfig.h"

#include <memory>
#include <string>

using namespace Vemlo::Log;

namespace {

// One case: the configuration folder's path is computed once per process.
// default.config then holds `entries` only, and is read again.
void configure(const VemloTest::TestConfig& config, const VemloTest::ConfigEntries& entries) {
    ASSERT_TRUE(VemloTest::WriteXmlPropertyFile(config.file(), entries));
    Vemlo::Config::ConfigurationManager::DestroyManager();
    ASSERT_NE(Vemlo::Config::ConfigurationManager::GetManager()->getInstance(), nullptr);
}

} // namespace

using LoggerTest = VemloTest::ConfiguredTest;

TEST_F(LoggerTest, HandsOutOneChannelPerNameWithTheConfiguredLevelOrNullAndWhyWithoutOne) {
    configure(m_config, {{"Base.Log.Level", "INFO"}, {"Base.Log.BackupRange", "5"}});
    Logger* logger = Logger::getLogger();
    FileLog* log = logger->getLog("app");
    ASSERT_NE(log, nullptr);
    EXPECT_EQ(logger->getLog("app"), log);
    // The configured range is read, not applied.
    EXPECT_EQ(std::make_pair(log->getLevel(), log->getBackupRange()), std::make_pair(2, 10));
    EXPECT_EQ(std::string(log->getDirectory()), m_config.workingDirectory() + "/Vemlo/Log/");
    EXPECT_EQ(std::string(logger->getDefaultLog()->getName()), "default");
    EXPECT_EQ(std::string(logger->getCommunicationLog()->getName()), "communication");

    // Generating again replaces the table's channel; the earlier one is the
    // caller's to delete.
    std::unique_ptr<FileLog> earlier(log);
    FileLog* fresh = logger->GenerateLog("app");
    EXPECT_TRUE(fresh != log && logger->getLog("app") == fresh);

    Logger::DestroyLogger(); // a fresh registry, without a level
    configure(m_config, {{"Base.Log.BackupRange", "5"}});
    VemloTest::ExpectThrown<Vemlo::Log::LogException>(
        [] { Logger::getLogger()->GenerateLog("app"); }, 7252,
        "Error to get configuration value (Base.Log.Level)");
    testing::internal::CaptureStdout();
    EXPECT_EQ(Logger::getLogger()->getLog("app"), nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "[getLog] exception msg(Error to get configuration value (Base.Log.Level))\n");

    configure(m_config, {{"Base.Log.Level", "ERROR"}}); // once it is there the same name works
    EXPECT_EQ(Logger::getLogger()->getLog("app")->getLevel(), 0);
}
