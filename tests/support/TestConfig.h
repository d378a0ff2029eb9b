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

#include <csignal>
#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include <sched.h>
#include <sys/wait.h>
#include <unistd.h>
#ifdef __SANITIZE_ADDRESS__
#include <sanitizer/lsan_interface.h>
#endif

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
    // DestroyManager(), then the folder goes.
    ~TestConfig();
    TestConfig(const TestConfig&) = delete;
    TestConfig& operator=(const TestConfig&) = delete;

    // The value VEMLO_WORKING_DIRECTORY was set to.
    const std::string& workingDirectory() const { return m_dir.path(); }
    // <working directory>/Vemlo/Conf/
    std::string folder() const { return m_dir.path() + "/Vemlo/Conf/"; }
    // <working directory>/Vemlo/Conf/default.config
    std::string file() const { return folder() + "default.config"; }

private:
    TempDir m_dir;
};

// The whole file ("" when it cannot be read) / replaces it with `text`.
std::string ReadFile(const std::string& path);
void WriteFile(const std::string& path, const std::string& text);

// Runs `body` (returning an int) in a forked child process and gives the
// child's exit code, or -1 when it did not exit normally or had not ended
// after `limit` seconds (it is then killed). The child must release what it
// creates (semaphore sets, files) before `body` returns; in sanitizer builds
// a leak found then makes the exit code 98. With `ownIpc` the child first
// moves to an IPC namespace of its own, whose semaphore sets and segments
// vanish with it (also when it is killed): 77 when it cannot.
template <class Body> int RunInChild(Body&& body, bool ownIpc = false, int limit = 60) {
    std::fflush(nullptr);
    const pid_t pid = fork();
    if (pid == 0) {
        if (ownIpc && unshare(CLONE_NEWIPC) != 0)
            _exit(77);
        const int code = body();
#ifdef __SANITIZE_ADDRESS__
        if (code == 0 && __lsan_do_recoverable_leak_check() != 0)
            _exit(98);
#endif
        _exit(code);
    }
    int status = 0;
    for (int waited = 0; pid > 0 && waitpid(pid, &status, WNOHANG) == 0; ++waited) {
        if (waited == limit * 100) {
            kill(pid, SIGKILL);
            waitpid(pid, &status, 0);
            return -1;
        }
        usleep(10000);
    }
    return pid > 0 && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

} // namespace VemloTest

#endif // VEMLO_TESTS_SUPPORT_TESTCONFIG_H
