//===- fuzz/FuzzFolder.h - A private folder for file-reading harnesses -===//
//
// Harnesses that load files write each input into a private temporary folder
// (under $TMPDIR, else /tmp), which is removed when the fuzzer exits.
//
//===----------------------------------------------------------------------===//
#ifndef VEMLO_FUZZ_FUZZFOLDER_H
#define VEMLO_FUZZ_FUZZFOLDER_H

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

namespace FuzzFolder {

inline std::string& path() {
    static std::string folder;
    return folder;
}

// Makes the folder and sends standard output to /dev/null: the library
// prints a line for every file it loads, and the fuzzer reports on stderr.
inline const std::string& make() {
    const char* base = std::getenv("TMPDIR");
    std::string pattern = std::string(base && *base ? base : "/tmp") + "/vemlo-fuzz-XXXXXX";
    if (!mkdtemp(&pattern[0]))
        std::abort();
    path() = pattern;
    std::atexit([] {
        std::error_code ignored;
        std::filesystem::remove_all(path(), ignored);
    });
    if (!std::freopen("/dev/null", "w", stdout))
        std::abort();
    return path();
}

// Writes `data` to `file`; any failure stops the fuzzer.
inline void write(const std::string& file, const uint8_t* data, size_t size) {
    FILE* out = std::fopen(file.c_str(), "wb");
    if (!out)
        std::abort();
    const bool written = std::fwrite(data, 1, size, out) == size;
    if (std::fclose(out) != 0 || !written)
        std::abort();
}

} // namespace FuzzFolder

#endif // VEMLO_FUZZ_FUZZFOLDER_H
