//===- bench/XmlBenchmark.cpp - XmlDocument beside tinyxml2 and pugixml ---===//
//
// Loads and writes four documents with each library: a configuration-like
// file (about 30 nested elements, under 1 KiB) and three 1 MiB shapes (flat
// elements with attributes, deeply nested chains, self-closing elements).
//
//===----------------------------------------------------------------------===//
#include "Ratios.h"

#include <Vemlo/Vemlo.h>

#include <benchmark/benchmark.h>
#include <pugixml.hpp>
#include <tinyxml2.h>

#include <string>
#include <vector>

using Vemlo::Common::Xml::XmlDocument;

namespace {

constexpr size_t kMiB = 1 << 20;

std::string configDocument() {
    return "<FileProperty><Base><Log><Level>3</Level><BackupRange>7</BackupRange></Log>"
           "<Http><TempPath>/tmp/vemlo_http</TempPath><Timeout>30</Timeout></Http></Base>"
           "<Device><Name>pump-1</Name><Serial>A1B2C3</Serial><Model>P200</Model>"
           "<Network><Address>192.0.2.10</Address><Mask>255.255.255.0</Mask>"
           "<Gateway>192.0.2.1</Gateway><Port>8080</Port></Network>"
           "<Limits><Pressure>6.5</Pressure><Temperature>80</Temperature><Flow>120</Flow>"
           "</Limits><Schedule><Start>06:00</Start><Stop>22:00</Stop></Schedule></Device>"
           "<Db><Path>/var/lib/pump/pump.db</Path><Retries>10</Retries></Db></FileProperty>";
}

std::string flatDocument() {
    std::string s = "<root>";
    for (int i = 0; s.size() < kMiB; ++i)
        s += "<item id=\"" + std::to_string(i) + "\" kind=\"sensor\" unit=\"kPa\">" +
             std::to_string(i * 7) + "</item>";
    return s + "</root>";
}

// Chains 90 elements deep (tinyxml2 refuses documents deeper than 100),
// repeated to 1 MiB, each level with its own name.
std::string nestedDocument() {
    std::string s = "<root>";
    while (s.size() < kMiB) {
        for (int d = 0; d < 90; ++d)
            s += "<level" + std::to_string(d) + ">";
        s += "leaf";
        for (int d = 89; d >= 0; --d)
            s += "</level" + std::to_string(d) + ">";
    }
    return s + "</root>";
}

std::string selfClosingDocument() {
    std::string s = "<root>";
    for (int i = 0; s.size() < kMiB; ++i)
        s += "<point x=\"" + std::to_string(i) + "\"/>";
    return s + "</root>";
}

const std::string& document(int shape) {
    static const std::string docs[] = {configDocument(), flatDocument(), nestedDocument(),
                                       selfClosingDocument()};
    return docs[shape];
}

const char* const kShapeNames[] = {"config", "flat_1MiB", "nested_1MiB", "selfclosing_1MiB"};

void setup(benchmark::State& state) {
    state.SetLabel(kShapeNames[state.range(0)]);
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(document(state.range(0)).size()));
}

void BM_Load_Vemlo(benchmark::State& state) {
    const String text(document(state.range(0)));
    for (auto _ : state) {
        XmlDocument doc;
        benchmark::DoNotOptimize(doc.LoadXML(text));
    }
    setup(state);
}

void BM_Load_TinyXml2(benchmark::State& state) {
    const std::string& text = document(state.range(0));
    for (auto _ : state) {
        tinyxml2::XMLDocument doc;
        benchmark::DoNotOptimize(doc.Parse(text.data(), text.size()));
    }
    setup(state);
}

void BM_Load_Pugixml(benchmark::State& state) {
    const std::string& text = document(state.range(0));
    for (auto _ : state) {
        pugi::xml_document doc;
        benchmark::DoNotOptimize(doc.load_buffer(text.data(), text.size()));
    }
    setup(state);
}

void BM_Write_Vemlo(benchmark::State& state) {
    XmlDocument doc;
    doc.LoadXML(String(document(state.range(0))));
    for (auto _ : state)
        benchmark::DoNotOptimize(doc.getInnerXml());
    setup(state);
}

void BM_Write_TinyXml2(benchmark::State& state) {
    tinyxml2::XMLDocument doc;
    doc.Parse(document(state.range(0)).c_str());
    for (auto _ : state) {
        tinyxml2::XMLPrinter printer(nullptr, true);
        doc.Print(&printer);
        benchmark::DoNotOptimize(printer.CStr());
    }
    setup(state);
}

struct StringWriter : pugi::xml_writer {
    std::string out;
    void write(const void* data, size_t size) override {
        out.append(static_cast<const char*>(data), size);
    }
};

void BM_Write_Pugixml(benchmark::State& state) {
    pugi::xml_document doc;
    doc.load_string(document(state.range(0)).c_str());
    for (auto _ : state) {
        StringWriter writer;
        doc.save(writer, "", pugi::format_raw);
        benchmark::DoNotOptimize(writer.out.data());
    }
    setup(state);
}

} // namespace

BENCHMARK(BM_Load_Vemlo)->DenseRange(0, 3)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_Load_TinyXml2)->DenseRange(0, 3)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_Load_Pugixml)->DenseRange(0, 3)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_Write_Vemlo)->DenseRange(0, 3)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_Write_TinyXml2)->DenseRange(0, 3)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_Write_Pugixml)->DenseRange(0, 3)->Unit(benchmark::kMicrosecond);

int main(int argc, char** argv) {
    std::vector<ratios::Pair> pairs;
    for (int shape = 0; shape < 4; ++shape) {
        const std::string arg = "/" + std::to_string(shape);
        // Loading self-closing elements is held to 5x tinyxml2.
        pairs.push_back({std::string("LoadXML ") + kShapeNames[shape] + ": tinyxml2",
                         "BM_Load_Vemlo" + arg, "BM_Load_TinyXml2" + arg, shape == 3 ? 5.0 : 0});
    }
    for (int shape = 0; shape < 4; ++shape) {
        const std::string arg = "/" + std::to_string(shape);
        pairs.push_back({std::string("write ") + kShapeNames[shape] + ": tinyxml2",
                         "BM_Write_Vemlo" + arg, "BM_Write_TinyXml2" + arg, 0});
    }
    return ratios::main(argc, argv, pairs);
}
