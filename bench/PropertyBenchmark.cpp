//===- bench/PropertyBenchmark.cpp - Loading and saving property files ----===//
//
// Loads and updates a plain-text property file and an XML property file of
// 10,000 entries each, in a temporary folder. The "per_entry" counter is the
// time one entry costs (seconds per entry); the time of one iteration is the
// time of the whole file. Loading includes building the set (and its table);
// updating writes every entry back (through "mv -f" for plain text).
//
//===----------------------------------------------------------------------===//
#include <Vemlo/Vemlo.h>

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include <fcntl.h>
#include <unistd.h>

using Vemlo::Data::Properties::PlaneTextProperty;
using Vemlo::Data::Properties::XmlProperty;

namespace {

constexpr int kEntries = 10000;

// A private folder for the files, removed at exit.
class Folder {
public:
    Folder() {
        const char* base = std::getenv("TMPDIR");
        std::string pattern = std::string(base && *base ? base : "/tmp") + "/vemlo-bench-XXXXXX";
        if (!mkdtemp(&pattern[0]))
            std::abort();
        m_path = pattern;
    }
    ~Folder() {
        for (const char* name : {"/p.txt", "/p.txt.tmp", "/p.xml"})
            std::remove((m_path + name).c_str());
        rmdir(m_path.c_str());
    }
    std::string file(const char* name) const { return m_path + "/" + name; }

private:
    std::string m_path;
};

Folder& folder() {
    static Folder f;
    return f;
}

void spill(const std::string& path, const std::string& text) {
    FILE* file = std::fopen(path.c_str(), "wb");
    if (!file)
        std::abort();
    std::fwrite(text.data(), 1, text.size(), file);
    std::fclose(file);
}

// "Comment=...;" then key00000=value-0; ... one a line.
std::string plainText() {
    std::string text = "Comment=Trimlo Configuration File;\n";
    char line[64];
    for (int i = 0; i < kEntries; ++i) {
        std::snprintf(line, sizeof line, "key%05d=value-%d;\n", i, i);
        text += line;
    }
    return text;
}

// 100 sections of 100 items: Section000.Item00 ... as nested elements.
std::string xmlText() {
    std::string text = "<FileProperty>";
    char element[96];
    for (int s = 0; s < kEntries / 100; ++s) {
        std::snprintf(element, sizeof element, "<Section%03d>", s);
        text += element;
        for (int i = 0; i < 100; ++i) {
            std::snprintf(element, sizeof element, "<Item%02d>value-%d</Item%02d>", i, s * 100 + i,
                          i);
            text += element;
        }
        std::snprintf(element, sizeof element, "</Section%03d>", s);
        text += element;
    }
    return text + "</FileProperty>";
}

// Sends standard output to /dev/null while it lives.
class QuietStdout {
public:
    QuietStdout() {
        std::fflush(stdout);
        m_saved = dup(1);
        const int null = open("/dev/null", O_WRONLY);
        dup2(null, 1);
        close(null);
    }
    ~QuietStdout() {
        std::fflush(stdout);
        dup2(m_saved, 1);
        close(m_saved);
    }
    QuietStdout(const QuietStdout&) = delete;
    QuietStdout& operator=(const QuietStdout&) = delete;

private:
    int m_saved;
};

// 10,000 entries directly below the root: Item00000 ...
std::string flatXmlText() {
    std::string text = "<FileProperty>";
    char element[96];
    for (int i = 0; i < kEntries; ++i) {
        std::snprintf(element, sizeof element, "<Item%05d>value-%d</Item%05d>", i, i, i);
        text += element;
    }
    return text + "</FileProperty>";
}

void perEntry(benchmark::State& state) {
    state.counters["per_entry"] = benchmark::Counter(
        kEntries, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void BM_PlainTextLoad(benchmark::State& state) {
    const std::string path = folder().file("p.txt");
    spill(path, plainText());
    for (auto _ : state) {
        PlaneTextProperty property;
        property.Load(path.c_str());
        benchmark::DoNotOptimize(property.getValue("key09999"));
    }
    perEntry(state);
}
BENCHMARK(BM_PlainTextLoad)->Unit(benchmark::kMillisecond);

void BM_PlainTextUpdate(benchmark::State& state) {
    const std::string path = folder().file("p.txt");
    spill(path, plainText());
    PlaneTextProperty property;
    property.Load(path.c_str());
    for (auto _ : state)
        benchmark::DoNotOptimize(property.Update(path.c_str()));
    perEntry(state);
}
BENCHMARK(BM_PlainTextUpdate)->Unit(benchmark::kMillisecond);

void BM_XmlLoad(benchmark::State& state) {
    const std::string path = folder().file("p.xml");
    spill(path, xmlText());
    for (auto _ : state) {
        XmlProperty property;
        {
            QuietStdout quiet; // every load prints a line
            property.Load(path.c_str());
        }
        benchmark::DoNotOptimize(property.getValue("Section099.Item99"));
    }
    perEntry(state);
}
BENCHMARK(BM_XmlLoad)->Unit(benchmark::kMillisecond);

void BM_XmlUpdate(benchmark::State& state) {
    const std::string path = folder().file("p.xml");
    spill(path, xmlText());
    XmlProperty property;
    {
        QuietStdout quiet;
        property.Load(path.c_str());
    }
    for (auto _ : state)
        benchmark::DoNotOptimize(property.Update(path.c_str()));
    perEntry(state);
}
BENCHMARK(BM_XmlUpdate)->Unit(benchmark::kMillisecond);

// The same with every entry below the root: each key's element is looked
// for among 10,000 siblings.
void BM_XmlUpdateFlat(benchmark::State& state) {
    const std::string path = folder().file("p.xml");
    spill(path, flatXmlText());
    XmlProperty property;
    {
        QuietStdout quiet;
        property.Load(path.c_str());
    }
    for (auto _ : state)
        benchmark::DoNotOptimize(property.Update(path.c_str()));
    perEntry(state);
}
BENCHMARK(BM_XmlUpdateFlat)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
