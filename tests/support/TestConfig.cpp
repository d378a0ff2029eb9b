//===- support/TestConfig.cpp - A configuration folder for tests ----------===//
#include "support/TestConfig.h"

#include <cstdlib>
#include <fstream>
#include <map>
#include <sstream>

#include <sys/stat.h>

namespace VemloTest {

bool WriteXmlPropertyFile(const std::string& path, const ConfigEntries& entries) {
    std::vector<std::string> open; // the elements open around the next entry
    std::string text = "<FileProperty>";
    for (const auto& entry : entries) {
        std::vector<std::string> parts;
        std::istringstream key(entry.first);
        for (std::string part; std::getline(key, part, '.');)
            parts.push_back(part);
        size_t shared = 0;
        while (shared < open.size() && shared + 1 < parts.size() && open[shared] == parts[shared])
            ++shared;
        for (; open.size() > shared; open.pop_back())
            text += "</" + open.back() + ">";
        for (; open.size() + 1 < parts.size(); open.push_back(parts[open.size()]))
            text += "<" + parts[open.size()] + ">";
        text += "<" + parts.back() + ">" + entry.second + "</" + parts.back() + ">";
    }
    for (; !open.empty(); open.pop_back())
        text += "</" + open.back() + ">";
    text += "</FileProperty>";
    return static_cast<bool>(std::ofstream(path, std::ios::binary) << text << std::flush);
}

TestConfig::TestConfig(const ConfigEntries& entries) {
    // Sorted by key, so that keys of one group share their elements.
    std::map<std::string, std::string> all{{"Base.Log.Level", "DEBUG"},
                                           {"Base.Log.BackupRange", "5"},
                                           {"Base.Http.TempPath", m_dir.path() + "/http"}};
    for (const auto& entry : entries)
        all[entry.first] = entry.second;
    // mkdir, not std::filesystem: a 32-bit-time libstdc++ cannot stat a folder
    // made after 2038, which the ARM system lane's clock phases need.
    const std::string vemlo = m_dir.path() + "/Vemlo";
    if (mkdir(vemlo.c_str(), 0755) != 0 || mkdir(folder().c_str(), 0755) != 0 ||
        !WriteXmlPropertyFile(file(), ConfigEntries(all.begin(), all.end())))
        ADD_FAILURE() << "cannot write the test configuration in " << folder();
    setenv("VEMLO_WORKING_DIRECTORY", m_dir.path().c_str(), 1);
}

void ConfiguredTest::TearDown() {
    Vemlo::Event::EventHandler::DestroyInstance();
    Vemlo::Service::ThreadMemoryRemover::DestroyInstance();
    Vemlo::Log::Logger::DestroyLogger();
}

std::string ReadFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

void WriteFile(const std::string& path, const std::string& text) {
    std::ofstream(path, std::ios::binary) << text;
}

} // namespace VemloTest
