//===- Log/FileLogTest.cpp - Log channels and their registry --------------===//
#include "support/SyslogSink.h"
#include "support/TestConfig.h"

#include <cstdlib>
#include <memory>
#include <regex>

#include <syslog.h>
#include <unistd.h>

using namespace Vemlo::Log;
using VemloTest::SyslogRecord;
using VemloTest::SyslogSink;

TEST(FileLogTest, EveryWriteReachesTheSystemLogWithPrefixAndPriority) {
    SyslogSink sink;
    SYSLOG_SINK_OR_SKIP(sink);
    FileLog log("/opt/app/Vemlo/Log/", "default"); // no process name without "Vemlo"
    log.WriteEmerg("emerg %d", 0);
    log.WriteCrit("crit %s", "two");
    log.WriteError("error");
    log.WriteWarning("warning %c", 'w');
    log.WriteInfo("info");
    log.WriteDebug("debug %05d", 7);
    log.WriteError("%s", std::string(5000, 'x').c_str()); // cut at 4079 characters
    log.WriteInfo("%s", "100%s %n %d%%");                 // a caller's text is never a format
    using Line = std::pair<int, std::string>; // the text, or the whole datagram if not "default"'s
    const std::vector<Line> expected = {{LOG_EMERG, "[EMERG] emerg 0"},
                                        {LOG_CRIT, "[CRIT] crit two"},
                                        {LOG_ERR, "[ERROR] error"},
                                        {LOG_WARNING, "[WARN] warning w"},
                                        {LOG_INFO, "[INFO] info"},
                                        {LOG_DEBUG, "[DEBUG] debug 00007"},
                                        {LOG_ERR, "[ERROR] " + std::string(4079, 'x')},
                                        {LOG_INFO, "[INFO] 100%s %n %d%%"}};
    std::vector<Line> got;
    for (const SyslogRecord& r : sink.take(8))
        got.emplace_back(r.priority, r.identity == "default" ? r.text : r.raw);
    EXPECT_EQ(got, expected);
}

TEST(FileLogTest, FrameworkChannelsCarryTheProcessNameFromPs) {
    SyslogSink sink;
    SYSLOG_SINK_OR_SKIP(sink);
    FileLog log("", "[Vemlo]");
    // The fourth column of the last `ps` line that mentions the pid: this
    // process's own line, unless another line happens to contain the digits.
    const std::string identity = log.getName(), pid = std::to_string(getpid());
    VemloTest::TempDir dir;
    std::system(("ps | grep '" + pid + "' | grep -v 'grep' >" + dir.file("ps")).c_str());
    const std::string lines = VemloTest::ReadFile(dir.file("ps"));
    std::smatch field;
    ASSERT_TRUE(std::regex_match(identity, field, std::regex(R"(\[Vemlo\]\((.+)\))"))) << identity;
    // A field of its own: last on procps' line, before the arguments on busybox's (the devices').
    EXPECT_TRUE(lines.find(" " + field[1].str() + "\n") != std::string::npos ||
                lines.find(" " + field[1].str() + " ") != std::string::npos)
        << identity << "\n"
        << lines;
    log.WriteInfo("hello from %s", "the framework");
    SyslogRecord record;
    ASSERT_TRUE(sink.next(record));
    EXPECT_EQ(record.identity, identity);
}

TEST(FileLogTest, SettingsFollowTheirRules) {
    FileLog log("/var/log/", "default");
    // Exact, case-sensitive names; anything else (null included) is DEBUG.
    const std::pair<const char*, int> levels[] = {{"ERROR", 0}, {"WARNING", 1}, {"INFO", 2},
                                                  {"DEBUG", 3}, {"warning", 3}, {nullptr, 3}};
    for (const auto& l : levels) {
        log.setLevel(7); // any number is taken as it is
        EXPECT_EQ(log.getLevel(), 7);
        log.setLevel(l.first);
        EXPECT_EQ(log.getLevel(), l.second) << (l.first ? l.first : "(null)");
    }
    for (const auto& [days, range] : {std::pair(30, 10), {29, 29}, {0, 29}, {1, 1}}) {
        log.setBackupRange(days); // only 1 to 29 are taken
        EXPECT_EQ(log.getBackupRange(), range) << days;
    }
    // There is no file: opening and closing succeed doing nothing. The time is
    // "hh:mm:ss:mmm".
    EXPECT_EQ(log.OpenLog("/var/log/x"), 0);
    EXPECT_EQ(log.CloseLog(), 0);
    EXPECT_TRUE(std::regex_match(log.getTimeInfo(), std::regex(R"(\d\d:\d\d:\d\d:\d{3})")))
        << log.getTimeInfo();
    FileLog copy(log); // a copy owns a mutex of its own; assignment changes nothing
    copy = FileLog("/tmp/", "other");
    EXPECT_NE(copy.getMutex(), log.getMutex());
    EXPECT_STREQ(copy.getName(), "default");
}

// One case: the configuration folder's path is computed once per process.
// default.config then holds `entries` only, and is read again.
static void configure(const VemloTest::TestConfig& config,
                      const VemloTest::ConfigEntries& entries) {
    ASSERT_TRUE(VemloTest::WriteXmlPropertyFile(config.file(), entries));
    Vemlo::Config::ConfigurationManager::DestroyManager();
    ASSERT_NE(Vemlo::Config::ConfigurationManager::GetManager()->getInstance(), nullptr);
}

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
