//===- support/HttpPeer.cpp - A real HTTP server for client tests ---------===//
#include "support/HttpPeer.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace VemloTest {

namespace {

std::string fromHex(const std::string& hex) {
    std::string out;
    for (size_t i = 0; hex != "-" && i + 1 < hex.size(); i += 2)
        out.push_back(static_cast<char>(std::strtoul(hex.substr(i, 2).c_str(), nullptr, 16)));
    return out;
}

} // namespace

HttpPeer::HttpPeer() {
    // The child's arguments and environment are made before fork(): other
    // threads may hold the allocator's lock. An emulated target's loader
    // settings are left out of the host program's environment.
    std::string script = VEMLO_TEST_SUPPORT_DIR "/http_peer.py";
    std::vector<char*> argv{const_cast<char*>("python3"), &script[0], nullptr};
    std::vector<char*> envp;
    for (char** e = environ; *e; ++e)
        if (std::strncmp(*e, "LD_LIBRARY_PATH=", 16) != 0 &&
            std::strncmp(*e, "LD_PRELOAD=", 11) != 0)
            envp.push_back(*e);
    envp.push_back(nullptr);
    int pipeFds[2];
    if (pipe2(pipeFds, O_CLOEXEC) != 0) {
        m_why = "pipe failed";
        return;
    }
    m_pid = fork();
    if (m_pid == 0) { // standard output to the pipe, only descriptors 0-2 kept
        dup2(pipeFds[1], STDOUT_FILENO);
        closefrom(STDERR_FILENO + 1);
        execvpe(argv[0], argv.data(), envp.data());
        _exit(127);
    }
    close(pipeFds[1]);
    m_out = pipeFds[0];
    std::string line;
    if (!readLine(line, std::chrono::seconds(20)) || line.compare(0, 5, "PORT ") != 0) {
        m_why = "the server did not report its port (python3 started?): '" + line + "'";
        stop();
    } else {
        m_port = std::atoi(line.c_str() + 5);
    }
}

HttpPeer::~HttpPeer() {
    stop();
    if (m_out >= 0)
        close(m_out);
}

bool HttpPeer::readLine(std::string& line, std::chrono::milliseconds limit) {
    const auto end = std::chrono::steady_clock::now() + limit;
    size_t newline;
    while ((newline = m_pending.find('\n')) == std::string::npos) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            end - std::chrono::steady_clock::now());
        pollfd p{m_out, POLLIN, 0};
        const int ready = poll(&p, 1, static_cast<int>(std::max<long long>(left.count(), 0)));
        if (ready < 0 && errno == EINTR)
            continue;
        char buffer[65536];
        const ssize_t got = ready > 0 ? read(m_out, buffer, sizeof buffer) : 0;
        if (got <= 0)
            return false;
        m_pending.append(buffer, static_cast<size_t>(got));
    }
    line = m_pending.substr(0, newline);
    m_pending.erase(0, newline + 1);
    return true;
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
    while (waitpid(m_pid, nullptr, 0) < 0 && errno == EINTR) {
    }
    m_pid = -1;
}

} // namespace VemloTest
