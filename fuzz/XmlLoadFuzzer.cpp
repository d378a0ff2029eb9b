//===- fuzz/XmlLoadFuzzer.cpp - Arbitrary bytes into XmlDocument::LoadXML -===//
//
// Loads the input, writes the tree back and loads that again; the only
// exception allowed out is XmlException*. The same input padded with blanks
// past the size at which the scanner indexes the text must load into the
// same tree with the same result: the index may only make it faster.
//
//===----------------------------------------------------------------------===//
#include <Vemlo/Vemlo.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

using Vemlo::Common::Xml::XmlDocument;
using Vemlo::Common::Xml::XmlException;

namespace {

// LoadXML's result, or -1 and the message when it threw; the tree as text.
struct Outcome {
    int result;
    std::string message;
    std::string tree;
};

Outcome loadOnce(const std::string& text) {
    XmlDocument doc;
    Outcome outcome{0, "", ""};
    try {
        outcome.result = doc.LoadXML(String(text));
    } catch (XmlException* e) {
        outcome.result = -1;
        outcome.message = e->GetMessage();
        delete e;
    }
    outcome.tree = doc.getInnerXml();
    return outcome;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    const Outcome first = loadOnce(text);

    // Written back and loaded again: never a crash, only XmlException*.
    loadOnce(first.tree);

    const Outcome padded = loadOnce(text + std::string(9000, ' '));
    if (padded.result != first.result || padded.tree != first.tree ||
        padded.message.compare(0, 40, first.message, 0, 40) != 0) {
        std::fprintf(stderr, "indexed and direct scans differ: %d/%d\n", first.result,
                     padded.result);
        std::abort();
    }
    return 0;
}
