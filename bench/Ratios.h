//===- bench/Ratios.h - Ratios to the peer libraries from the same run ----===//
//
// A console reporter that also keeps every run's time per iteration and
// items per second, and after the last run prints, for each pair a benchmark
// program names, how many times the peer library is faster than libVemlo in
// this very run (a ratio does not depend on the machine as a time does).
//
//===----------------------------------------------------------------------===//
#ifndef VEMLO_BENCH_RATIOS_H
#define VEMLO_BENCH_RATIOS_H

#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <string>
#include <vector>

namespace ratios {

// `ours` and `peer` are full benchmark names as printed; `target` is the
// largest ratio the work is allowed (0: none).
struct Pair {
    std::string label;
    std::string ours;
    std::string peer;
    double target;
};

class Reporter : public benchmark::ConsoleReporter {
public:
    Reporter() : ConsoleReporter(OO_Tabular) {}
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            Result& r = m_results[run.benchmark_name()];
            r.time = run.GetAdjustedRealTime();
            r.cpu = run.GetAdjustedCPUTime();
            auto items = run.counters.find("items_per_second");
            r.perSecond = items != run.counters.end() ? double(items->second) : 0;
        }
        ConsoleReporter::ReportRuns(runs);
    }
    // How many times slower libVemlo is: the ratio of the real times (of
    // the throughputs, peer / ours, when both have items per second), and of
    // the CPU times of the benchmark's thread, which a loaded machine
    // disturbs less (for single-threaded work only).
    void print(const std::vector<Pair>& pairs) const {
        std::printf("\nRatios to the peer in this run (libVemlo's time / the peer's):\n");
        for (const Pair& p : pairs) {
            auto a = m_results.find(p.ours), b = m_results.find(p.peer);
            if (a == m_results.end() || b == m_results.end())
                continue;
            const bool throughput = a->second.perSecond > 0 && b->second.perSecond > 0;
            const double ratio = throughput ? b->second.perSecond / a->second.perSecond
                                            : a->second.time / b->second.time;
            std::printf("  %-40s %8.2fx", p.label.c_str(), ratio);
            if (!throughput)
                std::printf("  (CPU %.2fx)", a->second.cpu / b->second.cpu);
            if (p.target > 0)
                std::printf("   target at most %.1fx: %s", p.target,
                            ratio <= p.target ? "met" : "NOT met");
            std::printf("\n");
        }
        std::fflush(stdout);
    }

private:
    struct Result {
        double time = 0;
        double cpu = 0;
        double perSecond = 0;
    };
    std::map<std::string, Result> m_results;
};

// BENCHMARK_MAIN with the ratios printed at the end.
inline int main(int argc, char** argv, const std::vector<Pair>& pairs) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    Reporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    reporter.print(pairs);
    benchmark::Shutdown();
    return 0;
}

} // namespace ratios

#endif // VEMLO_BENCH_RATIOS_H
