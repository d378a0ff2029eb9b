//===- Net/Socket/UDSClient.cpp - Unix-domain client ----------------------===//
#include <Vemlo/Net/Socket/UDSClient.h>

#include <Vemlo/Net/NetException.h>

#include "Net/Socket/CloseFailed.h"

#include <cstring>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace Vemlo {
namespace Net {
namespace Socket {

UDSClient::UDSClient() = default;

UDSClient::~UDSClient() = default;

int UDSClient::Connect(char* path, int /*unused*/, int /*unusedPort*/) {
    // A socket left from an earlier Connect goes first (see TCPClient).
    Close();
    m_nSocket = ::socket(AF_UNIX, SOCK_STREAM, 0);
    if (m_nSocket < 0)
        throw new NetException("cannot create socket", 0);

    sockaddr_un server;
    std::memset(&server, 0, sizeof server);
    server.sun_family = AF_UNIX;
    // At most 107 characters; the zeroed record keeps the path terminated.
    std::strncpy(server.sun_path, path ? path : "", sizeof server.sun_path - 1);
    if (::connect(m_nSocket, reinterpret_cast<sockaddr*>(&server), sizeof server) < 0) {
        closeFailed(m_nSocket);
        throw new NetException("cannot connect to UDS server", 0);
    }
    return 0;
}

} // namespace Socket
} // namespace Net
} // namespace Vemlo
