// vemlo-selftest: runs libVemlo's on-device self-test (Testor::Run) and exits
// with the number of failed checks (at most 125).
//
// With VEMLO_WORKING_DIRECTORY set, the checks use that working directory and
// its Vemlo/Conf/default.config. Unset, a fresh temporary working directory
// with a default configuration is made for the run and removed afterwards.
#include <Vemlo/Vemlo.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

#include <ftw.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

int removeEntry(const char* path, const struct stat*, int, struct FTW*) {
    return ::remove(path);
}

// A temporary working directory with the framework's configuration keys;
// empty when it cannot be made.
std::string makeDefaultWorkingDirectory() {
    const char* tmp = std::getenv("TMPDIR");
    std::string pattern = std::string(tmp && *tmp ? tmp : "/tmp") + "/vemlo-selftest-XXXXXX";
    if (!mkdtemp(&pattern[0]))
        return "";
    const std::string conf = pattern + "/Vemlo/Conf";
    mkdir((pattern + "/Vemlo").c_str(), 0755);
    mkdir(conf.c_str(), 0755);
    std::ofstream out(conf + "/default.config");
    out << "<FileProperty>\n<Base>\n<Log>\n<Level>INFO</Level>\n<BackupRange>7</BackupRange>\n"
           "</Log>\n<Http>\n<TempPath>"
        << pattern
        << "/http_spool</TempPath>\n</Http>\n</Base>\n"
           "</FileProperty>\n";
    return out ? pattern : "";
}

} // namespace

int main() {
    std::string made;
    if (!std::getenv("VEMLO_WORKING_DIRECTORY")) {
        made = makeDefaultWorkingDirectory();
        if (made.empty()) {
            std::fprintf(stderr, "vemlo-selftest: cannot make a temporary working directory\n");
            return 125;
        }
        setenv("VEMLO_WORKING_DIRECTORY", made.c_str(), 1);
        std::printf("working directory: %s (temporary)\n", made.c_str());
    }
    Testor testor;
    const int failed = testor.Run();

    // The process-wide services go in the framework's stop order.
    Vemlo::Log::Logger::DestroyLogger();
    Vemlo::Config::ConfigurationManager::DestroyManager();
    if (!made.empty())
        nftw(made.c_str(), removeEntry, 16, FTW_DEPTH | FTW_PHYS);
    return failed > 125 ? 125 : failed;
}
