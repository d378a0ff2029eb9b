//===- support/TestConfig.cpp - A configuration folder for tests ----------===//
#include "support/TestConfig.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>

#include <sys/stat.h>

namespace VemloTest {

namespace {

// An element of the tree written by WriteXmlPropertyFile: children in the
// order their names first appear.
struct Element {
    std::string value;
    std::vector<std::pair<std::string, Element>> children;

    Element& child(const std::string& name) {
        for (auto& entry : children)
            if (entry.first == name)
                return entry.second;
        children.emplace_back(name, Element());
        return children.back().second;
    }
};

void write(std::ostringstream& out, const std::string& name, const Element& element) {
    out << "<" << name << ">";
    if (element.children.empty())
        out << element.value;
    for (const auto& entry : element.children)
        write(out, entry.first, entry.second);
    out << "</" << name << ">";
}

} // namespace

bool WriteXmlPropertyFile(const std::string& path, const ConfigEntries& entries) {
    Element root;
    for (const auto& entry : entries) {
        Element* at = &root;
        std::string::size_type begin = 0;
        for (;;) {
            const auto dot = entry.first.find('.', begin);
            at = &at->child(entry.first.substr(begin, dot == std::string::npos ? dot : dot - begin));
            if (dot == std::string::npos)
                break;
            begin = dot + 1;
        }
        at->value = entry.second;
    }
    std::ostringstream out;
    write(out, "FileProperty", root);
    const std::string text = out.str();
    FILE* file = std::fopen(path.c_str(), "wb");
    if (!file)
        return false;
    const bool written = std::fwrite(text.data(), 1, text.size(), file) == text.size();
    return std::fclose(file) == 0 && written;
}

TestConfig::TestConfig(const ConfigEntries& entries) {
    ConfigEntries all{{"Base.Log.Level", "DEBUG"},
                      {"Base.Log.BackupRange", "5"},
                      {"Base.Http.TempPath", m_dir.path() + "/http"}};
    for (const auto& entry : entries) {
        bool replaced = false;
        for (auto& existing : all)
            if (existing.first == entry.first) {
                existing.second = entry.second;
                replaced = true;
            }
        if (!replaced)
            all.push_back(entry);
    }
    const std::string vemlo = m_dir.path() + "/Vemlo";
    if (mkdir(vemlo.c_str(), 0755) != 0 || mkdir(folder().c_str(), 0755) != 0 ||
        !WriteXmlPropertyFile(file(), all))
        ADD_FAILURE() << "cannot write the test configuration in " << folder();
    setenv("VEMLO_WORKING_DIRECTORY", m_dir.path().c_str(), 1);
}

TestConfig::~TestConfig() { Vemlo::Config::ConfigurationManager::DestroyManager(); }

std::string ReadFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream s;
    s << in.rdbuf();
    return s.str();
}

void WriteFile(const std::string& path, const std::string& text) {
    std::ofstream(path, std::ios::binary) << text;
}

const char* MessageOf(Vemlo::Data::Properties::PropertyException* e) {
    // The cast the language allows to a private base.
    return ((Vemlo::Common::Exception*)e)->GetMessage();
}

int CodeOf(Vemlo::Data::Properties::PropertyException* e) {
    return ((Vemlo::Common::Exception*)e)->GetCode();
}

} // namespace VemloTest
