//===- Net/NetTest.h - Helpers for the socket and HTTP tests ----*- C++ -*-===//
#ifndef VEMLO_TESTS_NET_NETTEST_H
#define VEMLO_TESTS_NET_NETTEST_H

#include "support/TestConfig.h"
#include "support/VemloTest.h"

#include <csignal>
#include <string>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace NetTest {

// The configuration the log channels are read from; the logger registry and
// the configuration go (with their semaphore sets) at the end. SIGPIPE is
// ignored: a send to a vanished peer must return, not end the program.
// Descriptor 0 is made to exist, so that no socket of a test gets it.
struct Environment : testing::Environment {
    VemloTest::TestConfig* config = nullptr;
    void SetUp() override {
        std::signal(SIGPIPE, SIG_IGN);
        if (fcntl(0, F_GETFD) == -1)
            open("/dev/null", O_RDONLY);
        config = new VemloTest::TestConfig();
    }
    void TearDown() override {
        Vemlo::Log::Logger::DestroyLogger();
        delete config;
    }
};

// Every program that includes this header (in one source) gets the environment.
inline Environment* const g_env =
    static_cast<Environment*>(testing::AddGlobalTestEnvironment(new Environment));

// A socket class with its descriptor in reach of the test.
template <class Socket> struct Open : Socket {
    int& fd() { return this->m_nSocket; }
};

inline bool isOpen(int fd) {
    return fcntl(fd, F_GETFD) != -1;
}
inline char* text(const std::string& s) {
    return const_cast<char*>(s.c_str());
}

// The port an IPv4 socket is bound to.
inline int portOf(int fd) {
    sockaddr_in address{};
    socklen_t size = sizeof address;
    getsockname(fd, reinterpret_cast<sockaddr*>(&address), &size);
    return ntohs(address.sin_port);
}

} // namespace NetTest

#endif // VEMLO_TESTS_NET_NETTEST_H
