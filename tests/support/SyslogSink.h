//===- support/SyslogSink.h - Receives what syslog() sends -----*- C++ -*-===//
//
// The test machines run no system logger. A SyslogSink binds the datagram
// socket /dev/log itself, so the lines that the library hands to syslog()
// arrive here, and parses them ("<pri>Mmm dd hh:mm:ss identity: text").
// Only the lines of this process are kept (the sender's credentials are
// checked). The socket file is removed when the sink goes.
//
// A real logger that already owns /dev/log is left alone: the sink is then
// not ready() and skipReason() says why; call SYSLOG_SINK_OR_SKIP(sink)
// at the top of a test. Two sinks in different processes take turns (an
// abstract-socket lock, waited for at most a minute); within one ctest run,
// give the tests the RESOURCE_LOCK "syslog".
//
// A reader thread empties the socket at once, so writers never block on a
// full queue; every wait below is bounded.
//
//===----------------------------------------------------------------------===//
#ifndef VEMLO_TESTS_SUPPORT_SYSLOGSINK_H
#define VEMLO_TESTS_SUPPORT_SYSLOGSINK_H

#include <atomic>
#include <chrono>
#include <deque>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace VemloTest {

// One line as the system logger would receive it.
struct SyslogRecord {
    int priority = -1; // <pri> & 7, LOG_EMERG .. LOG_DEBUG
    std::string identity;
    std::string text;
    std::string raw; // the datagram as sent
};

class SyslogSink {
public:
    SyslogSink();
    ~SyslogSink();
    SyslogSink(const SyslogSink&) = delete;
    SyslogSink& operator=(const SyslogSink&) = delete;

    bool ready() const { return m_fd >= 0; }
    const std::string& skipReason() const { return m_skipReason; }

    // The next record, waiting at most `limit`; false when none came.
    bool next(SyslogRecord& out, std::chrono::milliseconds limit = std::chrono::seconds(10)) {
        std::vector<SyslogRecord> one = take(1, limit);
        if (!one.empty())
            out = std::move(one.front());
        return !one.empty();
    }

    // Up to `count` records, waiting at most `limit` in all.
    std::vector<SyslogRecord> take(size_t count,
                                   std::chrono::milliseconds limit = std::chrono::seconds(10));

    // Waits `quiet` for stragglers, then drops whatever arrived.
    void drain(std::chrono::milliseconds quiet = std::chrono::milliseconds(50));

private:
    void readLoop();

    int m_lockFd = -1;
    int m_fd = -1;
    std::string m_skipReason;
    std::atomic<bool> m_stop{false};
    std::mutex m_mutex;
    std::deque<SyslogRecord> m_records;
    std::thread m_reader;
};

} // namespace VemloTest

// Skips the current test, with the sink's reason, when /dev/log is not ours.
#define SYSLOG_SINK_OR_SKIP(sink)                                                                  \
    do {                                                                                           \
        if (!(sink).ready())                                                                       \
            GTEST_SKIP() << (sink).skipReason();                                                   \
    } while (0)

#endif // VEMLO_TESTS_SUPPORT_SYSLOGSINK_H
