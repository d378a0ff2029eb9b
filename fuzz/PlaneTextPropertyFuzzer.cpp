//===- fuzz/PlaneTextPropertyFuzzer.cpp - Any file into Load --------------===//
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

#include "FuzzFolder.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

using Vemlo::Data::Properties::PlaneTextProperty;
using Vemlo::Data::Properties::PropertyException;

namespace {

std::string g_file;

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
    g_file = FuzzFolder::make() + "/input.properties";
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzFolder::write(g_file, data, size);
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
