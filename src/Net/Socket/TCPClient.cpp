//===- Net/Socket/TCPClient.cpp - TCP client ------------------------------===//
#include <Vemlo/Net/Socket/TCPClient.h>

#include <Vemlo/Net/NetException.h>

#include "Net/Socket/CloseFailed.h"

#include <cerrno>
#include <cstring>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <unistd.h>

namespace Vemlo {
namespace Net {
namespace Socket {

namespace {

// How long Connect waits for the connection, whatever the caller passes.
constexpr int kConnectWaitSeconds = 5;

// The address of `text`: the resolver's first address, else the text read
// as a dotted address (INADDR_NONE when it is neither).
in_addr_t addressOf(const char* text) {
    if (hostent* host = ::gethostbyname(text)) {
        if (host->h_addr_list != nullptr && host->h_addr_list[0] != nullptr) {
            in_addr first;
            std::memcpy(&first, host->h_addr_list[0], sizeof first);
            return ::inet_addr(::inet_ntoa(first));
        }
    }
    return ::inet_addr(text);
}

// Waits up to kConnectWaitSeconds for `fd` to become readable or writable
// and returns select()'s result; `inASet` tells whether the descriptor is in
// either set afterwards. A descriptor beyond what an fd_set holds is watched
// with poll() instead, which answers the same question.
int waitForConnection(int fd, bool& inASet) {
    if (fd >= FD_SETSIZE) {
        pollfd watched;
        watched.fd = fd;
        watched.events = POLLIN | POLLOUT;
        watched.revents = 0;
        const int ready = ::poll(&watched, 1, kConnectWaitSeconds * 1000);
        inASet = ready != 0; // as select: an interrupted wait leaves the sets as given
        return ready;
    }
    fd_set readable;
    fd_set writable;
    FD_ZERO(&readable);
    FD_ZERO(&writable);
    FD_SET(fd, &readable);
    writable = readable;
    timeval wait;
    wait.tv_sec = kConnectWaitSeconds;
    wait.tv_usec = 0;
    const int ready = ::select(fd + 1, &readable, &writable, nullptr, &wait);
    inASet = FD_ISSET(fd, &readable) || FD_ISSET(fd, &writable);
    return ready;
}

} // namespace

TCPClient::TCPClient() = default;

TCPClient::~TCPClient() = default;

int TCPClient::Connect(char* address, int /*unused*/, int port) {
    const char* text = address ? address : "";
    sockaddr_in server;
    std::memset(&server, 0, sizeof server);
    server.sin_family = AF_INET;
    server.sin_port = htons(static_cast<uint16_t>(port));
    server.sin_addr.s_addr = addressOf(text);

    // A socket left from an earlier Connect goes first: the object owns one
    // descriptor at most, and the old one could not be reached again.
    Close();
    m_nSocket = ::socket(AF_INET, SOCK_STREAM, 0);
    if (m_nSocket < 0)
        throw new NetException("cannot create socket", 0);

    const int flags = ::fcntl(m_nSocket, F_GETFL, 0);
    if (::fcntl(m_nSocket, F_SETFL, flags | O_NONBLOCK) < 0) {
        closeFailed(m_nSocket);
        throw new NetException("fcntl function failed. 1", 1004);
    }

    if (::connect(m_nSocket, reinterpret_cast<sockaddr*>(&server), sizeof server) == 0) {
        if (::fcntl(m_nSocket, F_SETFL, flags) < 0) {
            closeFailed(m_nSocket);
            throw new NetException("fcntl function failed", 1004);
        }
        // Connected at once, yet reported as a failure with the socket left
        // open: existing callers catch "fail-" and carry on with the socket.
        throw new NetException("cannot connect to server: fail-", 1004);
    }

    // Whatever connect() said, wait for the outcome (a refusal shows up as
    // the socket error below).
    bool inASet = false;
    const int ready = waitForConnection(m_nSocket, inASet);
    if (ready == 0) {
        closeFailed(m_nSocket);
        throw new NetException("cannot connect to server: timeout", 1004);
    }
    if (!inASet) {
        closeFailed(m_nSocket);
        throw new NetException("cannot connect to server: fail", 1004);
    }
    socklen_t size = sizeof(int);
    if (::getsockopt(m_nSocket, SOL_SOCKET, SO_ERROR, &errno, &size) < 0 || errno != 0) {
        closeFailed(m_nSocket);
        throw new NetException("cannot connect to server: socket error", 1004);
    }
    if (::fcntl(m_nSocket, F_SETFL, flags) < 0) {
        closeFailed(m_nSocket);
        throw new NetException("fcntl function failed. 2", 1004);
    }
    return 0;
}

} // namespace Socket
} // namespace Net
} // namespace Vemlo
