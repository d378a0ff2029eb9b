//===- support/HttpPeer.h - A real HTTP server for client tests -*- C++ -*-===//
//
// HttpPeer runs tests/support/http_peer.py (Python's http.server) as a child
// process on 127.0.0.1 at a port the system picks, and reads back what the
// server received; the script lists the replies by request path. The child is
// killed and reaped by stop() or the destructor; every wait is bounded. Start
// the peer before opening the test's own sockets (the child keeps only
// standard input, output and error).
//
//===----------------------------------------------------------------------===//
#ifndef VEMLO_TESTS_SUPPORT_HTTPPEER_H
#define VEMLO_TESTS_SUPPORT_HTTPPEER_H

#include <chrono>
#include <string>

#include <sys/types.h>

namespace VemloTest {

// One request as the server received it.
struct HttpRequest {
    std::string head; // request line and header lines, through the blank line
    std::string body;
};

class HttpPeer {
public:
    // Waits at most 20 seconds for the server's port.
    HttpPeer();
    ~HttpPeer();
    HttpPeer(const HttpPeer&) = delete;
    HttpPeer& operator=(const HttpPeer&) = delete;

    // True once the server has told its port; otherwise why() says why.
    bool ready() const { return m_port > 0; }
    const std::string& why() const { return m_why; }
    int port() const { return m_port; }
    std::string url(const std::string& path) const {
        return "http://127.0.0.1:" + std::to_string(m_port) + path;
    }
    // The next request the server reported, waiting at most `limit`.
    bool nextRequest(HttpRequest& out, std::chrono::milliseconds limit = std::chrono::seconds(10));
    // Kills the server (SIGKILL) and reaps it; harmless twice.
    void stop();

private:
    bool readLine(std::string& line, std::chrono::milliseconds limit);

    pid_t m_pid = -1;
    int m_out = -1; // read end of the server's standard output
    int m_port = 0;
    std::string m_why;
};

} // namespace VemloTest

#endif // VEMLO_TESTS_SUPPORT_HTTPPEER_H
