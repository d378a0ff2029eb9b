//===- fuzz/XmlPropertyFuzzer.cpp - Any file into XmlProperty::Load -------===//
//
// Writes the input to a file in a private temporary folder and loads it with
// XmlProperty::Load; the only exception allowed out is XmlException*. A
// loaded set is written back with Update to a second file: when Update
// reports success, that file must load again without an error (Update keeps
// a file it cannot write so that it loads back), and the added entry must read
// back unless a loaded key contains "Fuzz": such a key may name the same path
// (a key below it makes the element a branch; a name with a dot in it can give
// the same key twice). The folder is removed when the fuzzer exits.
//
//===----------------------------------------------------------------------===//
#include <Vemlo/Vemlo.h>

#include "FuzzFolder.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

using Vemlo::Common::Xml::XmlException;
using Vemlo::Data::Properties::XmlProperty;

namespace {

std::string g_input;
std::string g_output;

// Lets the harness read the loaded keys.
struct OpenXmlProperty : XmlProperty {
    using XmlProperty::getTable;
};

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    const std::string& folder = FuzzFolder::make();
    g_input = folder + "/input.xml";
    g_output = folder + "/output.xml";
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzFolder::write(g_input, data, size);
    {
        OpenXmlProperty property;
        bool loaded = false;
        try {
            property.Load(g_input.c_str());
            loaded = property.IsValidate(g_input.c_str()) == 1;
        } catch (XmlException* e) {
            delete e;
        }
        if (loaded) {
            bool samePath = false;
            for (int i = 0; i < property.getTable()->getCount(); ++i) {
                const char* key = property.getTable()->getKey(i);
                samePath = samePath || (key && std::strstr(key, "Fuzz") != nullptr);
            }
            property.setValue("Fuzz.Added", "value");
            // The output file starts as an empty set; Update fills the kept
            // document, which came from the input.
            FuzzFolder::write(
                g_output, reinterpret_cast<const uint8_t*>("<FileProperty></FileProperty>"), 29);
            if (property.Update(g_output.c_str()) == 1) {
                XmlProperty reread;
                try {
                    if (reread.IsValidate(g_output.c_str()) != 1)
                        std::abort();
                    reread.Load(g_output.c_str());
                } catch (XmlException* e) {
                    std::fprintf(stderr, "written file does not load: %s\n", e->GetMessage());
                    std::abort();
                }
                if (!samePath && std::string(reread.getValue("Fuzz.Added")) != "value") {
                    std::fprintf(stderr, "written entry lost\n");
                    std::abort();
                }
            }
        }
    }
    std::remove(g_input.c_str());
    std::remove(g_output.c_str());
    return 0;
}
