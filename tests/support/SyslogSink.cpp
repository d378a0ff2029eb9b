//===- support/SyslogSink.cpp - Receives what syslog() sends --------------===//
#include "support/SyslogSink.h"

#include <cctype>
#include <cerrno>
#include <cstddef>
#include <cstring>

#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace VemloTest {

namespace {

const char kLogPath[] = "/dev/log";
// Abstract socket name held by the process whose sink owns /dev/log.
const char kLockName[] = "vemlo-test-syslog-sink";

socklen_t pathAddress(sockaddr_un& address, const char* path) {
    std::memset(&address, 0, sizeof address);
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, path, sizeof address.sun_path - 1);
    return sizeof address;
}

socklen_t abstractAddress(sockaddr_un& address, const char* name) {
    std::memset(&address, 0, sizeof address);
    address.sun_family = AF_UNIX;
    size_t length = std::strlen(name);
    std::memcpy(address.sun_path + 1, name, length); // sun_path[0] stays NUL
    return static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + length);
}

// True when something accepts datagrams at `path`.
bool someoneListens(const char* path) {
    int probe = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (probe < 0)
        return false;
    sockaddr_un address;
    socklen_t length = pathAddress(address, path);
    bool listens = connect(probe, reinterpret_cast<sockaddr*>(&address), length) == 0;
    close(probe);
    return listens;
}

} // namespace

SyslogSink::SyslogSink() {
    // Take turns with sinks of other processes: the abstract name is freed
    // by the kernel when its holder ends, even by a crash.
    m_lockFd = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    sockaddr_un lockAddress;
    socklen_t lockLength = abstractAddress(lockAddress, kLockName);
    const auto giveUp = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    while (bind(m_lockFd, reinterpret_cast<sockaddr*>(&lockAddress), lockLength) != 0) {
        if (errno != EADDRINUSE || std::chrono::steady_clock::now() > giveUp) {
            m_skipReason = std::string("cannot take the syslog sink lock: ") + std::strerror(errno);
            return;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }

    struct stat info;
    if (lstat(kLogPath, &info) == 0) {
        if (someoneListens(kLogPath)) {
            m_skipReason = "a system logger already listens on /dev/log; these tests bind their "
                           "own sink there and leave a real logger alone";
            return;
        }
        if (!S_ISSOCK(info.st_mode)) {
            m_skipReason = "/dev/log exists and is not a socket; left alone";
            return;
        }
        unlink(kLogPath); // a sink left by a killed test run
    }

    int fd = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    sockaddr_un address;
    socklen_t length = pathAddress(address, kLogPath);
    if (fd < 0 || bind(fd, reinterpret_cast<sockaddr*>(&address), length) != 0) {
        m_skipReason = std::string("cannot bind /dev/log: ") + std::strerror(errno);
        if (fd >= 0)
            close(fd);
        return;
    }
    int on = 1;
    setsockopt(fd, SOL_SOCKET, SO_PASSCRED, &on, sizeof on);
    int size = 4 << 20;
    setsockopt(fd, SOL_SOCKET, SO_RCVBUF, &size, sizeof size);
    m_fd = fd;
    m_reader = std::thread([this] { readLoop(); });
}

SyslogSink::~SyslogSink() {
    m_stop = true;
    if (m_reader.joinable())
        m_reader.join();
    if (m_fd >= 0) {
        close(m_fd);
        unlink(kLogPath);
    }
    if (m_lockFd >= 0)
        close(m_lockFd);
}

void SyslogSink::readLoop() {
    const pid_t self = getpid();
    std::vector<char> buffer(1 << 16);
    while (!m_stop) {
        pollfd ready = {m_fd, POLLIN, 0};
        if (poll(&ready, 1, 50) <= 0)
            continue;
        iovec part = {buffer.data(), buffer.size()};
        union {
            cmsghdr header;
            char space[CMSG_SPACE(sizeof(ucred))];
        } control;
        msghdr message;
        std::memset(&message, 0, sizeof message);
        message.msg_iov = &part;
        message.msg_iovlen = 1;
        message.msg_control = &control;
        message.msg_controllen = sizeof control;
        ssize_t got = recvmsg(m_fd, &message, MSG_DONTWAIT);
        if (got < 0)
            continue;
        pid_t sender = -1;
        for (cmsghdr* c = CMSG_FIRSTHDR(&message); c != nullptr; c = CMSG_NXTHDR(&message, c)) {
            if (c->cmsg_level == SOL_SOCKET && c->cmsg_type == SCM_CREDENTIALS) {
                ucred credentials;
                std::memcpy(&credentials, CMSG_DATA(c), sizeof credentials);
                sender = credentials.pid;
            }
        }
        if (sender != -1 && sender != self)
            continue; // another process's line
        SyslogRecord record;
        Parse(std::string(buffer.data(), static_cast<size_t>(got)), record);
        {
            std::lock_guard<std::mutex> guard(m_mutex);
            m_records.push_back(std::move(record));
        }
        m_arrived.notify_all();
    }
}

bool SyslogSink::next(SyslogRecord& out, std::chrono::milliseconds limit) {
    std::unique_lock<std::mutex> guard(m_mutex);
    if (!m_arrived.wait_for(guard, limit, [this] { return !m_records.empty(); }))
        return false;
    out = std::move(m_records.front());
    m_records.pop_front();
    return true;
}

std::vector<SyslogRecord> SyslogSink::take(size_t count, std::chrono::milliseconds limit) {
    std::vector<SyslogRecord> records;
    const auto end = std::chrono::steady_clock::now() + limit;
    std::unique_lock<std::mutex> guard(m_mutex);
    while (records.size() < count) {
        if (!m_arrived.wait_until(guard, end, [this] { return !m_records.empty(); }))
            break;
        while (!m_records.empty() && records.size() < count) {
            records.push_back(std::move(m_records.front()));
            m_records.pop_front();
        }
    }
    return records;
}

size_t SyslogSink::drain(std::chrono::milliseconds quiet) {
    std::this_thread::sleep_for(quiet);
    std::lock_guard<std::mutex> guard(m_mutex);
    size_t dropped = m_records.size();
    m_records.clear();
    return dropped;
}

bool SyslogSink::Parse(const std::string& datagram, SyslogRecord& out) {
    out = SyslogRecord();
    out.raw = datagram;
    // "<pri>"
    if (datagram.size() < 3 || datagram[0] != '<')
        return false;
    size_t close = datagram.find('>');
    if (close == std::string::npos || close == 1 || close > 4)
        return false;
    int pri = 0;
    for (size_t i = 1; i < close; ++i) {
        if (!std::isdigit(static_cast<unsigned char>(datagram[i])))
            return false;
        pri = pri * 10 + (datagram[i] - '0');
    }
    out.pri = pri;
    out.priority = pri & 7;
    out.facility = pri & ~7;
    // "Mmm dd hh:mm:ss " (the day padded with a blank), when present.
    size_t at = close + 1;
    const std::string rest = datagram.substr(at);
    if (rest.size() >= 16 && rest[3] == ' ' && rest[6] == ' ' && rest[9] == ':' &&
        rest[12] == ':' && rest[15] == ' ')
        at += 16;
    // "identity: text"
    size_t colon = datagram.find(": ", at);
    if (colon == std::string::npos) {
        out.text = datagram.substr(at);
        return false;
    }
    out.identity = datagram.substr(at, colon - at);
    out.text = datagram.substr(colon + 2);
    return true;
}

} // namespace VemloTest
