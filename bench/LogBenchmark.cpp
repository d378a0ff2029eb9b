//===- LogBenchmark.cpp - Log lines and thread starts ---------------------===//
//
// Log lines per second through FileLog::WriteInfo beside raw syslog(): once
// with openlog/closelog around every line (what a channel does, its floor)
// and once with a single openlog (the cost a persistent connection would
// have). The program binds its own sink at /dev/log and reads every line,
// so syslog() really sends; it refuses to run when a system logger owns
// /dev/log. items_per_second is the figure to compare.
//
// Thread start latency: from Start() on a parked Thread until its Run()
// begins, beside creating a std::thread; and a Thread made and started at
// once (Start() may then wait for the new thread to park in 50 ms steps).
//
//===----------------------------------------------------------------------===//
#include <Vemlo/Vemlo.h>

#include <benchmark/benchmark.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <thread>
#include <vector>

#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <syslog.h>
#include <unistd.h>

using Vemlo::Log::FileLog;
using Vemlo::Service::Thread;

namespace {

using Clock = std::chrono::steady_clock;

// Binds /dev/log and discards (but counts) what arrives.
class Sink {
public:
    Sink() {
        struct stat info;
        if (lstat("/dev/log", &info) == 0)
            return; // a logger (or another sink) is there: leave it alone
        m_fd = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
        sockaddr_un address;
        std::memset(&address, 0, sizeof address);
        address.sun_family = AF_UNIX;
        std::strcpy(address.sun_path, "/dev/log");
        if (m_fd < 0 || bind(m_fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
            if (m_fd >= 0)
                close(m_fd);
            m_fd = -1;
            return;
        }
        int size = 4 << 20;
        setsockopt(m_fd, SOL_SOCKET, SO_RCVBUF, &size, sizeof size);
        m_reader = std::thread([this] {
            std::vector<char> buffer(1 << 16);
            while (!m_stop) {
                pollfd ready = {m_fd, POLLIN, 0};
                if (poll(&ready, 1, 50) > 0 && recv(m_fd, buffer.data(), buffer.size(), 0) > 0)
                    ++m_lines;
            }
        });
    }
    ~Sink() {
        m_stop = true;
        if (m_reader.joinable())
            m_reader.join();
        if (m_fd >= 0) {
            close(m_fd);
            unlink("/dev/log");
        }
    }
    bool ready() const { return m_fd >= 0; }
    long lines() const { return m_lines; }

private:
    int m_fd = -1;
    std::atomic<bool> m_stop{false};
    std::atomic<long> m_lines{0};
    std::thread m_reader;
};

Sink& sink() {
    static Sink instance;
    return instance;
}

const char kLine[] = "[INFO] [Bench::Run] line of a typical length, value 12345";

void BM_FileLogWriteInfo(benchmark::State& state) {
    if (!sink().ready()) {
        state.SkipWithError("/dev/log is taken: no sink");
        return;
    }
    FileLog log("/tmp/Vemlo/Log/", "bench");
    const long before = sink().lines();
    for (auto _ : state)
        log.WriteInfo("[Bench::Run] line of a typical length, value %d", 12345);
    state.SetItemsProcessed(state.iterations());
    state.counters["sent"] = static_cast<double>(state.iterations());
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    state.counters["received"] = static_cast<double>(sink().lines() - before);
}
BENCHMARK(BM_FileLogWriteInfo);

void BM_SyslogOpenCloseEachLine(benchmark::State& state) {
    if (!sink().ready()) {
        state.SkipWithError("/dev/log is taken: no sink");
        return;
    }
    for (auto _ : state) {
        openlog("bench", LOG_CONS | LOG_NDELAY, LOG_USER);
        syslog(LOG_INFO, "%s", kLine);
        closelog();
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_SyslogOpenCloseEachLine);

void BM_SyslogOpenOnce(benchmark::State& state) {
    if (!sink().ready()) {
        state.SkipWithError("/dev/log is taken: no sink");
        return;
    }
    openlog("bench", LOG_CONS | LOG_NDELAY, LOG_USER);
    for (auto _ : state)
        syslog(LOG_INFO, "%s", kLine);
    closelog();
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_SyslogOpenOnce);

// Notes when its Run() begins, then returns.
class Probe : public Thread {
public:
    void Run() override {
        began = Clock::now();
        ran = true;
    }
    Clock::time_point began;
    std::atomic<bool> ran{false};
};

void waitUntil(const std::atomic<bool>& flag) {
    while (!flag)
        std::this_thread::yield();
}

void BM_ThreadStartParked(benchmark::State& state) {
    for (auto _ : state) {
        Probe probe;
        while (probe.getState() != 0)
            std::this_thread::yield();
        auto start = Clock::now();
        probe.Start();
        waitUntil(probe.ran);
        state.SetIterationTime(std::chrono::duration<double>(probe.began - start).count());
        probe.Stop(true);
    }
}
BENCHMARK(BM_ThreadStartParked)->UseManualTime()->Unit(benchmark::kMicrosecond);

void BM_ThreadConstructAndStart(benchmark::State& state) {
    for (auto _ : state) {
        auto start = Clock::now();
        Probe probe;
        probe.Start();
        waitUntil(probe.ran);
        state.SetIterationTime(std::chrono::duration<double>(probe.began - start).count());
        probe.Stop(true);
    }
}
BENCHMARK(BM_ThreadConstructAndStart)->UseManualTime()->Unit(benchmark::kMicrosecond);

void BM_StdThreadStart(benchmark::State& state) {
    for (auto _ : state) {
        Clock::time_point began;
        auto start = Clock::now();
        std::thread t([&] { began = Clock::now(); });
        t.join();
        state.SetIterationTime(std::chrono::duration<double>(began - start).count());
    }
}
BENCHMARK(BM_StdThreadStart)->UseManualTime()->Unit(benchmark::kMicrosecond);

} // namespace

BENCHMARK_MAIN();
