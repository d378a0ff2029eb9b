//===- Net/Socket/TCPServer.cpp - TCP server ------------------------------===//
#include <Vemlo/Net/Socket/TCPServer.h>

#include <Vemlo/Net/NetException.h>

#include <cstring>

#include <netinet/in.h>
#include <sys/socket.h>

namespace Vemlo {
namespace Net {
namespace Socket {

TCPServer::TCPServer() = default;

TCPServer::~TCPServer() = default;

int TCPServer::Bind(int port, char* /*address*/) {
    // A socket left from an earlier Bind goes first: the object owns one
    // descriptor at most.
    if (m_nSocket > 0)
        Close();
    m_nSocket = ::socket(AF_INET, SOCK_STREAM, 0);
    if (m_nSocket < 0)
        throw new NetException("cannot create server socket", 0);

    const int reuse = 1;
    if (::setsockopt(m_nSocket, SOL_SOCKET, SO_REUSEADDR, &reuse, sizeof reuse) == -1)
        throw new NetException("setsockopt failed", 0);

    // Every interface, whatever address text was given.
    sockaddr_in local;
    std::memset(&local, 0, sizeof local);
    local.sin_family = AF_INET;
    local.sin_addr.s_addr = htonl(INADDR_ANY);
    local.sin_port = htons(static_cast<uint16_t>(port));
    return ::bind(m_nSocket, reinterpret_cast<sockaddr*>(&local), sizeof local);
}

} // namespace Socket
} // namespace Net
} // namespace Vemlo
