//===- support/HttpPeer.cpp - A real HTTP server for client tests ---------===//
#include "support/HttpPeer.h"
#include "support/VemloTest.h"

#include <csignal>
#include <cstdlib>

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

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
    // Nothing is allocated after fork(): other threads may hold the
    // allocator's lock. The loader settings of an emulated target are not
    // for the server, a host program; the test's later children (the
    // library's `rm`) do without them as well.
    const char* argv[] = {"python3", VEMLO_TEST_SUPPORT_DIR "/http_peer.py", nullptr};
    unsetenv("LD_LIBRARY_PATH");
    unsetenv("LD_PRELOAD");
    int pipeFds[2];
    if (pipe2(pipeFds, O_CLOEXEC) != 0) {
        m_why = "pipe failed";
        return;
    }
    m_pid = fork();
    if (m_pid == 0) { // standard output to the pipe, only descriptors 0-2 kept
        dup2(pipeFds[1], STDOUT_FILENO);
        closefrom(STDERR_FILENO + 1);
        execvp(argv[0], const_cast<char* const*>(argv));
        _exit(127);
    }
    close(pipeFds[1]);
    m_out = pipeFds[0];
    std::string line; // not ready: the destructor ends the server
    if (readLine(line, std::chrono::seconds(20)) && line.compare(0, 5, "PORT ") == 0)
        m_port = std::atoi(line.c_str() + 5);
    else
        m_why = "the server did not report its port (python3 started?): '" + line + "'";
}

HttpPeer::~HttpPeer() {
    stop();
    close(m_out); // -1 when the pipe could not be made: nothing happens
}

// One byte at a time, each waited for: nothing past the line is taken.
bool HttpPeer::readLine(std::string& line, std::chrono::milliseconds limit) {
    char c = 0;
    const auto readable = [this] {
        pollfd p{m_out, POLLIN, 0};
        return poll(&p, 1, 0) == 1;
    };
    for (line.clear(); waitFor(readable, limit) && read(m_out, &c, 1) == 1 && c != '\n';)
        line += c;
    return c == '\n';
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
    waitpid(m_pid, nullptr, 0);
    m_pid = -1;
}

} // namespace VemloTest
