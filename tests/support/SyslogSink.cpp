//===- support/SyslogSink.cpp - Receives what syslog() sends --------------===//
#include "support/SyslogSink.h"
#include "support/VemloTest.h"

#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstring>

#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace VemloTest {

namespace {

const char kLogPath[] = "/dev/log";

// Binds or connects `fd` to the socket file `path`, or to the abstract name
// `path` (sun_path[0] stays NUL) when `abstract`.
bool attach(int fd, const char* path, bool abstract, bool connectTo = false) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path + abstract, path, sizeof address.sun_path - 2);
    const socklen_t length =
        abstract ? static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + std::strlen(path))
                 : sizeof address;
    const sockaddr* a = reinterpret_cast<sockaddr*>(&address);
    return (connectTo ? connect(fd, a, length) : bind(fd, a, length)) == 0;
}

// "<pri>Mmm dd hh:mm:ss identity: text", the time stamp optional.
SyslogRecord parse(const std::string& datagram) {
    SyslogRecord out;
    out.raw = out.text = datagram;
    int pri = -1, at = 0;
    if (std::sscanf(datagram.c_str(), "<%3d>%n", &pri, &at) != 1 || at == 0)
        return out;
    out.priority = pri & 7;
    std::string rest = datagram.substr(at);
    if (rest.size() >= 16 && rest[3] == ' ' && rest[9] == ':' && rest[12] == ':' && rest[15] == ' ')
        rest.erase(0, 16);
    const size_t colon = rest.find(": ");
    out.identity = rest.substr(0, colon == std::string::npos ? 0 : colon);
    out.text = colon == std::string::npos ? rest : rest.substr(colon + 2);
    return out;
}

} // namespace

SyslogSink::SyslogSink() {
    // Take turns with sinks of other processes: the abstract name is freed
    // by the kernel when its holder ends, even by a crash.
    m_lockFd = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    const auto giveUp = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    while (!attach(m_lockFd, "vemlo-test-syslog-sink", true)) {
        if (errno != EADDRINUSE || std::chrono::steady_clock::now() > giveUp) {
            m_skipReason = std::string("cannot take the syslog sink lock: ") + std::strerror(errno);
            return;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    const int fd = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    struct stat info;
    const bool taken = lstat(kLogPath, &info) == 0 &&
                       (attach(fd, kLogPath, false, true) || !S_ISSOCK(info.st_mode));
    if (!taken)
        unlink(kLogPath); // a sink left by a killed test run (if any)
    if (taken || !attach(fd, kLogPath, false)) {
        m_skipReason = taken ? "/dev/log is a real system logger's (or not a socket): left alone"
                             : std::string("cannot bind /dev/log: ") + std::strerror(errno);
        close(fd);
        return;
    }
    int on = 1, size = 4 << 20;
    setsockopt(fd, SOL_SOCKET, SO_PASSCRED, &on, sizeof on);
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
    close(m_lockFd);
}

void SyslogSink::readLoop() {
    std::vector<char> buffer(1 << 16);
    while (!m_stop) {
        pollfd ready = {m_fd, POLLIN, 0};
        if (poll(&ready, 1, 50) <= 0)
            continue;
        iovec part = {buffer.data(), buffer.size()};
        alignas(cmsghdr) char control[CMSG_SPACE(sizeof(ucred))];
        msghdr message{nullptr, 0, &part, 1, control, sizeof control, 0};
        const ssize_t got = recvmsg(m_fd, &message, MSG_DONTWAIT);
        // Only this process's lines: other programs may log meanwhile.
        cmsghdr* c = CMSG_FIRSTHDR(&message);
        ucred sender{};
        if (got >= 0 && c && c->cmsg_level == SOL_SOCKET && c->cmsg_type == SCM_CREDENTIALS)
            std::memcpy(&sender, CMSG_DATA(c), sizeof sender);
        if (got < 0 || (sender.pid != 0 && sender.pid != getpid()))
            continue;
        std::lock_guard<std::mutex> guard(m_mutex);
        m_records.push_back(parse(std::string(buffer.data(), static_cast<size_t>(got))));
    }
}

std::vector<SyslogRecord> SyslogSink::take(size_t count, std::chrono::milliseconds limit) {
    std::vector<SyslogRecord> records;
    waitFor(
        [&] {
            std::lock_guard<std::mutex> guard(m_mutex);
            for (; !m_records.empty() && records.size() < count; m_records.pop_front())
                records.push_back(std::move(m_records.front()));
            return records.size() == count;
        },
        limit);
    return records;
}

void SyslogSink::drain(std::chrono::milliseconds quiet) {
    std::this_thread::sleep_for(quiet);
    std::lock_guard<std::mutex> guard(m_mutex);
    m_records.clear();
}

} // namespace VemloTest
