//===- Net/Socket/UDSServer.cpp - Unix-domain server ----------------------===//
#include <Vemlo/Net/Socket/UDSServer.h>

#include <Vemlo/Net/NetException.h>

#include <cstring>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace Vemlo {
namespace Net {
namespace Socket {

UDSServer::UDSServer() = default;

UDSServer::~UDSServer() = default;

int UDSServer::Bind(int /*unused*/, char* path) {
    // A socket left from an earlier Bind goes first: the object owns one
    // descriptor at most.
    if (m_nSocket > 0)
        Close();
    m_nSocket = ::socket(AF_UNIX, SOCK_STREAM, 0);
    if (m_nSocket < 0)
        throw new NetException("cannot create server socket", 0);

    const char* name = path ? path : "";
    sockaddr_un local;
    std::memset(&local, 0, sizeof local);
    local.sun_family = AF_UNIX;
    // At most 107 characters; the zeroed record keeps the path terminated.
    std::strncpy(local.sun_path, name, sizeof local.sun_path - 1);
    // Whatever has the name goes first, so a socket file left by an earlier
    // run does not make the bind fail.
    ::unlink(name);
    return ::bind(m_nSocket, reinterpret_cast<sockaddr*>(&local), sizeof local);
}

} // namespace Socket
} // namespace Net
} // namespace Vemlo
