//===- support/TempDir.cpp - Temporary folders for tests ------------------===//
#include "support/VemloTest.h"

#include <cstdlib>
#include <stdexcept>
#include <string>

#include <ftw.h>
#include <stdio.h>
#include <unistd.h>

namespace VemloTest {

namespace {

int removeEntry(const char* path, const struct stat*, int, struct FTW*) {
    return ::remove(path);
}

} // namespace

TempDir::TempDir() {
    const char* base = std::getenv("TMPDIR");
    std::string pattern = std::string(base && *base ? base : "/tmp") + "/vemlo-test-XXXXXX";
    if (!mkdtemp(&pattern[0]))
        throw std::runtime_error("mkdtemp failed for " + pattern);
    m_path = pattern;
}

TempDir::~TempDir() {
    nftw(m_path.c_str(), removeEntry, 16, FTW_DEPTH | FTW_PHYS);
}

} // namespace VemloTest
