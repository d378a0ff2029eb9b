//===- support/TestConfig.h - A configuration folder for tests ------------===//
//
// Helpers for the tests of property files and of the configuration.
//
// TestConfig gives a test program the configuration the framework reads: a
// temporary working directory holding Vemlo/Conf/default.config (an XML
// property file) with the framework's keys, and VEMLO_WORKING_DIRECTORY
// pointing at it. Create it at the start of the test, before anything reads
// the configuration: the configuration folder is computed once per process.
//
//     VemloTest::TestConfig config;                      // DEBUG, 5, <dir>/http
//     VemloTest::TestConfig config(VemloTest::ConfigEntries{{"Base.Log.Level", "ERROR"}});
//
// The destructor calls ConfigurationManager::DestroyManager() (so the sets'
// System V semaphore sets go) and removes the folder. Destroy the services
// that read the configuration (the logger registry) before it.
//
//===----------------------------------------------------------------------===//
#ifndef VEMLO_TESTS_SUPPORT_TESTCONFIG_H
#define VEMLO_TESTS_SUPPORT_TESTCONFIG_H

#include "support/VemloTest.h"

#include <string>
#include <utility>
#include <vector>

namespace VemloTest {

// Dotted key and value of one configuration entry.
using ConfigEntries = std::vector<std::pair<std::string, std::string>>;

// Writes `entries` to `path` as an XML property file: root FileProperty, each
// dotted key a path of nested elements (keys that follow one another share
// their common elements). Values must not hold markup characters. Returns
// false when the file cannot be written.
bool WriteXmlPropertyFile(const std::string& path, const ConfigEntries& entries);

class TestConfig {
public:
    // Base.Log.Level = DEBUG, Base.Log.BackupRange = 5 and
    // Base.Http.TempPath = <working directory>/http, then `entries` (which
    // replace defaults of the same key and add others). Sets
    // VEMLO_WORKING_DIRECTORY (overwriting it). Fails the test (ADD_FAILURE)
    // when the folder cannot be written.
    explicit TestConfig(const ConfigEntries& entries = {});
    // DestroyManager(), then the folder goes. Not copyable: it owns its folder.
    ~TestConfig() { Vemlo::Config::ConfigurationManager::DestroyManager(); }

    // The value VEMLO_WORKING_DIRECTORY was set to.
    const std::string& workingDirectory() const { return m_dir.path(); }
    // <working directory>/Vemlo/Conf/
    std::string folder() const { return m_dir.path() + "/Vemlo/Conf/"; }
    // <working directory>/Vemlo/Conf/default.config
    std::string file() const { return folder() + "default.config"; }

private:
    TempDir m_dir;
};

// A case with a fresh configuration. After it, the services that read the
// configuration (dispatcher, thread reaper, logger registry) go before the
// configuration does. A hung case ends the program after 100 seconds.
class ConfiguredTest : public testing::Test {
protected:
    void TearDown() override;
    TestConfig m_config;
    Watchdog m_watchdog{100};
};

} // namespace VemloTest

#endif // VEMLO_TESTS_SUPPORT_TESTCONFIG_H
