//===- Log/LoggerTest.cpp - The registry of log channels ------------------===//
#include "support/TestConfig.h"
#include "support/VemloTest.h"

#include <memory>
#include <string>

using Vemlo::Config::ConfigurationManager;
using Vemlo::Log::FileLog;
using Vemlo::Log::LogException;
using Vemlo::Log::Logger;

namespace {

// One configuration folder for the whole program: its path is computed once
// per process. Cases that need other values rewrite the file and make the
// manager read it again.
class LoggerTest : public testing::Test {
protected:
    static void SetUpTestSuite() { s_config = new VemloTest::TestConfig(); }
    static void TearDownTestSuite() {
        delete s_config;
        s_config = nullptr;
    }
    void TearDown() override { Logger::DestroyLogger(); }

    // Rewrites default.config with `entries` only and has it read again
    // (which also fixes the process's configuration path).
    static void configure(const VemloTest::ConfigEntries& entries) {
        ASSERT_TRUE(VemloTest::WriteXmlPropertyFile(s_config->file(), entries));
        ConfigurationManager::DestroyManager();
        ASSERT_NE(ConfigurationManager::GetManager()->getInstance(), nullptr);
    }

    static VemloTest::TestConfig* s_config;
};

VemloTest::TestConfig* LoggerTest::s_config = nullptr;

} // namespace

TEST_F(LoggerTest, HandsOutOneChannelPerNameWithTheConfiguredLevel) {
    configure({{"Base.Log.Level", "INFO"}, {"Base.Log.BackupRange", "5"}});
    Logger* logger = Logger::getLogger();
    ASSERT_NE(logger, nullptr);
    EXPECT_EQ(Logger::getLogger(), logger);

    FileLog* log = logger->getLog("app");
    ASSERT_NE(log, nullptr);
    EXPECT_EQ(logger->getLog("app"), log);
    EXPECT_STREQ(log->getName(), "app");
    EXPECT_EQ(log->getLevel(), 2);
    EXPECT_EQ(log->getBackupRange(), 10); // the configured range is read, not applied
    EXPECT_EQ(std::string(log->getDirectory()), s_config->workingDirectory() + "/Vemlo/Log/");

    EXPECT_EQ(logger->getDefaultLog(), logger->getLog("default"));
    ASSERT_NE(logger->getCommunicationLog(), nullptr);
    EXPECT_STREQ(logger->getCommunicationLog()->getName(), "communication");
    EXPECT_NE(logger->getDefaultLog(), logger->getCommunicationLog());

    // Generating again replaces the table's channel; the earlier one is the
    // caller's to delete.
    std::unique_ptr<FileLog> earlier(log);
    FileLog* fresh = logger->GenerateLog("app");
    EXPECT_NE(fresh, log);
    EXPECT_EQ(logger->getLog("app"), fresh);
}

TEST_F(LoggerTest, WorkingDirectoryUnsetGivesTheRootLogFolder) {
    configure({{"Base.Log.Level", "DEBUG"}});
    const std::string saved = s_config->workingDirectory();
    unsetenv("VEMLO_WORKING_DIRECTORY"); // the configuration path is already fixed
    FileLog* log = Logger::getLogger()->getLog("root");
    setenv("VEMLO_WORKING_DIRECTORY", saved.c_str(), 1);
    ASSERT_NE(log, nullptr);
    EXPECT_STREQ(log->getDirectory(), "/Vemlo/Log/");
}

TEST_F(LoggerTest, MissingLevelGivesNullAndSaysWhy) {
    configure({{"Base.Log.BackupRange", "5"}});
    Logger* logger = Logger::getLogger();
    VemloTest::ExpectThrown<LogException>([&] { logger->GenerateLog("app"); }, 7252,
                                          "Error to get configuration value (Base.Log.Level)");

    testing::internal::CaptureStdout();
    FileLog* log = logger->getLog("app");
    const std::string printed = testing::internal::GetCapturedStdout();
    EXPECT_EQ(log, nullptr);
    EXPECT_EQ(printed,
              "[getLog] exception msg(Error to get configuration value (Base.Log.Level))\n");

    // An empty value counts as missing.
    configure({{"Base.Log.Level", ""}, {"Base.Log.BackupRange", "5"}});
    testing::internal::CaptureStdout();
    EXPECT_EQ(Logger::getLogger()->getLog("app"), nullptr);
    testing::internal::GetCapturedStdout();

    // Once the level is there the same name works.
    configure({{"Base.Log.Level", "ERROR"}});
    ASSERT_NE(Logger::getLogger()->getLog("app"), nullptr);
    EXPECT_EQ(Logger::getLogger()->getLog("app")->getLevel(), 0);
}

TEST_F(LoggerTest, DestroyLoggerStartsAfresh) {
    configure({{"Base.Log.Level", "INFO"}});
    Logger::DestroyLogger(); // none yet: nothing happens
    Logger::getLogger()->getLog("first")->setBackupRange(3);
    Logger::DestroyLogger();
    Logger::DestroyLogger();
    // A fresh registry makes a fresh channel.
    FileLog* again = Logger::getLogger()->getLog("first");
    ASSERT_NE(again, nullptr);
    EXPECT_EQ(again->getBackupRange(), 10);
}
