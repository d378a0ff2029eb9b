//===- Vemlo/Net/Socket/TCPServer.h - TCP server ----------------*- C++ -*-===//
#ifndef VEMLO_NET_SOCKET_TCPSERVER_H
#define VEMLO_NET_SOCKET_TCPSERVER_H

#include <Vemlo/Export.h>
#include <Vemlo/Net/Socket/ServerBase.h>

namespace Vemlo {
namespace Net {
namespace Socket {

/// \brief A server listening on a TCP port of every IPv4 interface.
///
/// TCPServer listens on a TCP port of every IPv4 interface (INADDR_ANY);
/// listening, accepting and closing are ServerBase's.
/// Details: docs/Networking.md; departures: docs/Compatibility.md.
class VEMLO_API TCPServer : public ServerBase {
public:
    TCPServer();
    ~TCPServer() override;

    /// Creates the socket with SO_REUSEADDR and binds it to `port` on all
    /// interfaces; `address` is ignored. Returns bind()'s result (a failed
    /// bind leaves the socket open in the object). Throws NetException*
    /// "cannot create server socket" or "setsockopt failed" (both code 0; the
    /// socket stays in the object after the second).
    int Bind(int port, char* address) override;
};

} // namespace Socket
} // namespace Net
} // namespace Vemlo

#endif // VEMLO_NET_SOCKET_TCPSERVER_H
