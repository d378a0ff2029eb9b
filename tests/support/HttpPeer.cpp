//===- support/HttpPeer.cpp - A real HTTP server for client tests ---------===//
#include "support/HttpPeer.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace VemloTest {

namespace {

std::string fromHex(const std::string& hex) {
    if (hex == "-")
        return std::string();
    std::string out;
    out.reserve(hex.size() / 2);
    for (size_t i = 0; i + 1 < hex.size(); i += 2)
        out.push_back(static_cast<char>(std::strtoul(hex.substr(i, 2).c_str(), nullptr, 16)));
    return out;
}

// Milliseconds left until `end`, at least 0.
int msLeft(std::chrono::steady_clock::time_point end) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
        end - std::chrono::steady_clock::now());
    return left.count() > 0 ? static_cast<int>(left.count()) : 0;
}

} // namespace

std::string HttpRequest::requestLine() const {
    const auto end = head.find('\n');
    std::string line = head.substr(0, end);
    if (!line.empty() && line.back() == '\r')
        line.pop_back();
    return line;
}

std::vector<std::string> HttpRequest::headerLines() const {
    std::vector<std::string> lines;
    size_t begin = head.find('\n');
    while (begin != std::string::npos) {
        const size_t end = head.find('\n', begin + 1);
        if (end == std::string::npos)
            break;
        std::string line = head.substr(begin + 1, end - begin - 1);
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        if (line.empty())
            break;
        lines.push_back(line);
        begin = end;
    }
    return lines;
}

HttpPeer::HttpPeer(bool closeAtOnce) {
    int pipeFds[2];
    if (pipe2(pipeFds, O_CLOEXEC) != 0) {
        m_why = "pipe failed";
        return;
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, pipeFds[1], STDOUT_FILENO);
#if defined(__GLIBC__) && (__GLIBC__ > 2 || (__GLIBC__ == 2 && __GLIBC_MINOR__ >= 34))
    posix_spawn_file_actions_addclosefrom_np(&actions, STDERR_FILENO + 1);
#endif

    // The server is a host program: the loader settings of the test (for an
    // emulated target) are not passed on.
    std::vector<std::string> env;
    for (char** e = environ; e && *e; ++e)
        if (std::strncmp(*e, "LD_LIBRARY_PATH=", 16) != 0 &&
            std::strncmp(*e, "LD_PRELOAD=", 11) != 0)
            env.emplace_back(*e);
    std::vector<char*> envp;
    for (auto& e : env)
        envp.push_back(&e[0]);
    envp.push_back(nullptr);

    std::string python = "python3";
    std::string script = VEMLO_TEST_SUPPORT_DIR "/http_peer.py";
    std::string flag = "--close-at-once";
    std::vector<char*> argv{&python[0], &script[0]};
    if (closeAtOnce)
        argv.push_back(&flag[0]);
    argv.push_back(nullptr);

    const int spawned =
        posix_spawnp(&m_pid, "python3", &actions, nullptr, argv.data(), envp.data());
    posix_spawn_file_actions_destroy(&actions);
    close(pipeFds[1]);
    m_out = pipeFds[0];
    if (spawned != 0) {
        m_pid = -1;
        m_why = std::string("cannot start python3: ") + std::strerror(spawned);
        return;
    }
    std::string line;
    if (!readLine(line, std::chrono::seconds(20)) || line.compare(0, 5, "PORT ") != 0) {
        m_why = "the server did not report its port: '" + line + "'";
        stop();
        return;
    }
    m_port = std::atoi(line.c_str() + 5);
}

HttpPeer::~HttpPeer() {
    stop();
    if (m_out >= 0)
        close(m_out);
}

std::string HttpPeer::url(const std::string& path) const {
    return "http://127.0.0.1:" + std::to_string(m_port) + path;
}

bool HttpPeer::readLine(std::string& line, std::chrono::milliseconds limit) {
    const auto end = std::chrono::steady_clock::now() + limit;
    for (;;) {
        const size_t newline = m_pending.find('\n');
        if (newline != std::string::npos) {
            line = m_pending.substr(0, newline);
            m_pending.erase(0, newline + 1);
            return true;
        }
        if (m_out < 0)
            return false;
        pollfd p{m_out, POLLIN, 0};
        const int ready = poll(&p, 1, msLeft(end));
        if (ready < 0 && errno == EINTR)
            continue;
        if (ready <= 0)
            return false;
        char buffer[65536];
        const ssize_t got = read(m_out, buffer, sizeof buffer);
        if (got <= 0)
            return false;
        m_pending.append(buffer, static_cast<size_t>(got));
    }
}

bool HttpPeer::nextRequest(HttpRequest& out, std::chrono::milliseconds limit) {
    std::string line;
    if (!readLine(line, limit) || line.compare(0, 4, "REQ ") != 0)
        return false;
    const size_t blank = line.find(' ', 4);
    out.head = fromHex(line.substr(4, blank - 4));
    out.body = blank == std::string::npos ? std::string() : fromHex(line.substr(blank + 1));
    return true;
}

void HttpPeer::stop() {
    if (m_pid <= 0)
        return;
    kill(m_pid, SIGKILL);
    // A killed child is reaped at once; the loop only retries interruptions.
    while (waitpid(m_pid, nullptr, 0) < 0 && errno == EINTR) {
    }
    m_pid = -1;
}

} // namespace VemloTest
