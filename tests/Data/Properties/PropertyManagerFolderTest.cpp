//===- Data/Properties/PropertyManagerFolderTest.cpp - The folder path ----===//
//
// The folder path is computed once per process: every case computes it in a
// child process of its own, and this program never computes it itself.
//
//===----------------------------------------------------------------------===//
#include "support/TestConfig.h"

#include <cstdio>
#include <cstdlib>
#include <string>

#include <sys/wait.h>
#include <unistd.h>

using Vemlo::Config::ConfigurationManager;
using Vemlo::Data::Properties::IProperty;
using Vemlo::Data::Properties::PropertyManager;

namespace {

// A manager with another folder name.
class OtherManager : public PropertyManager {
public:
    OtherManager() { m_sFolderName = "First"; }
    IProperty* BuildProperty(const char*, int) override { return nullptr; }
};

// getFolderPath() of a manager made in a fresh child process after `setup`
// ran there (the parent never computes the path, so each child is the first).
template <class Setup>
std::string folderPathInChild(Setup&& setup) {
    int fds[2];
    if (pipe(fds) != 0)
        return "pipe failed";
    std::fflush(nullptr);
    const pid_t pid = fork();
    if (pid == 0) {
        close(fds[0]);
        std::string path;
        {
            path = setup();
            ConfigurationManager::DestroyManager();
        }
        const ssize_t written = write(fds[1], path.data(), path.size());
        _exit(written == static_cast<ssize_t>(path.size()) ? 0 : 1);
    }
    close(fds[1]);
    std::string result;
    char buffer[512];
    ssize_t n;
    while ((n = read(fds[0], buffer, sizeof buffer)) > 0)
        result.append(buffer, static_cast<size_t>(n));
    close(fds[0]);
    int status = 0;
    waitpid(pid, &status, 0);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    return result;
}

} // namespace

TEST(PropertyManagerFolderTest, ComputedOnceFromTheWorkingDirectory) {
    // The configuration manager's folder with the variable unset, and with the
    // working directory of the example in docs/Configuration.md.
    EXPECT_EQ(folderPathInChild([] {
                  unsetenv("VEMLO_WORKING_DIRECTORY");
                  return ConfigurationManager::GetManager()->getFolderPath().str();
              }),
              "/Vemlo/Conf/");
    EXPECT_EQ(folderPathInChild([] {
                  setenv("VEMLO_WORKING_DIRECTORY", "/opt/app", 1);
                  return ConfigurationManager::GetManager()->getFolderPath().str();
              }),
              "/opt/app/Vemlo/Conf/");
    // At most 199 bytes of the variable are used.
    const std::string longDirectory = "/" + std::string(300, 'd');
    EXPECT_EQ(folderPathInChild([&] {
                  setenv("VEMLO_WORKING_DIRECTORY", longDirectory.c_str(), 1);
                  return ConfigurationManager::GetManager()->getFolderPath().str();
              }),
              longDirectory.substr(0, 199) + "/Vemlo/Conf/");
    // The first manager and the environment of that moment decide for every
    // later manager.
    EXPECT_EQ(folderPathInChild([] {
                  setenv("VEMLO_WORKING_DIRECTORY", "/first", 1);
                  OtherManager first;
                  first.getFolderPath();
                  setenv("VEMLO_WORKING_DIRECTORY", "/second", 1);
                  return ConfigurationManager::GetManager()->getFolderPath().str();
              }),
              "/first/Vemlo/First/");
}
