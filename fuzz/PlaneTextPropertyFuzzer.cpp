//===- fuzz/PlaneTextPropertyFuzzer.cpp - Arbitrary files into PlaneTextProperty::Load -===//
//
// Writes the input to a file in a private temporary folder and loads it with
// PlaneTextProperty::Load (so every line goes through ParseLine, pieces of
// long lines included). The only exception allowed out is
// PropertyException*; every entry loaded must respect the line rules: key and
// value of at most 255 bytes, neither holding '#' or a newline, the value no
// ';'. The folder is removed when the fuzzer exits.
//
//===----------------------------------------------------------------------===//
#include <Vemlo/Vemlo.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include <unistd.h>

using Vemlo::Data::Properties::PlaneTextProperty;
using Vemlo::Data::Properties::PropertyException;

namespace {

std::string g_folder;
std::string g_file;

void removeFolder() {
    std::remove(g_file.c_str());
    rmdir(g_folder.c_str());
}

// Gives the checks access to the loaded entries.
class CheckedProperty : public PlaneTextProperty {
public:
    void check() {
        Vemlo::Data::Collection::HashTable* table = getTable();
        for (int i = 0; i < table->getCount(); ++i) {
            const char* key = table->getKey(i);
            const char* value = table->getStringValue(i);
            if (!key || !value || std::strlen(key) > 255 || std::strlen(value) > 255 ||
                std::strpbrk(key, "#\n") || std::strpbrk(value, "#\n;")) {
                std::fprintf(stderr, "entry %d breaks the line rules\n", i);
                std::abort();
            }
        }
    }
};

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    const char* base = std::getenv("TMPDIR");
    std::string pattern = std::string(base && *base ? base : "/tmp") + "/vemlo-fuzz-XXXXXX";
    if (!mkdtemp(&pattern[0]))
        std::abort();
    g_folder = pattern;
    g_file = g_folder + "/input.properties";
    std::atexit(removeFolder);
    // Creating a file prints a line each time; the fuzzer reports on stderr.
    if (!std::freopen("/dev/null", "w", stdout))
        std::abort();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FILE* file = std::fopen(g_file.c_str(), "wb");
    if (!file)
        std::abort();
    const bool written = std::fwrite(data, 1, size, file) == size;
    if (std::fclose(file) != 0 || !written)
        std::abort();
    {
        CheckedProperty property;
        try {
            property.Load(g_file.c_str());
        } catch (PropertyException* e) {
            delete e;
        }
        property.check();
    }
    std::remove(g_file.c_str());
    return 0;
}
