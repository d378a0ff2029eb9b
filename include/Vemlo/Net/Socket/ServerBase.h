//===- Vemlo/Net/Socket/ServerBase.h - Stream-socket server -----*- C++ -*-===//
#ifndef VEMLO_NET_SOCKET_SERVERBASE_H
#define VEMLO_NET_SOCKET_SERVERBASE_H

#include <Vemlo/Export.h>

struct sockaddr;

namespace Vemlo {
namespace Net {
namespace Socket {

/// \brief The listening end of a stream socket: listens, accepts and closes.
///
/// TCPServer and UDSServer create and bind the socket (Bind); this class
/// listens, accepts and closes, each call one pass-through to the system call.
/// Ownership: the listening descriptor is the object's, closed whenever it is
/// not 0 (kept for existing callers); accepted descriptors are the caller's.
/// Objects cannot be copied.
/// Threads: none; one object, one thread at a time.
/// Failures: reported through each call's result.
/// Details: docs/Networking.md; departures: docs/Compatibility.md.
class VEMLO_API ServerBase {
public:
    /// No socket yet (descriptor 0).
    ServerBase();
    ServerBase(const ServerBase&) = delete;
    ServerBase& operator=(const ServerBase&) = delete;

    /// Closes the descriptor when it is not 0.
    virtual ~ServerBase();

    /// Creates the socket and binds it: `port` for TCP, `path` for Unix-domain
    /// sockets (see the implementations). Returns bind()'s result, 0 or -1. A
    /// socket still held from an earlier Bind is closed first.
    virtual int Bind(int port, char* path) = 0;

    /// listen() with the caller's backlog; its result as is.
    int Listen(int backlog);

    /// accept() into `address` with the address length set to 16 (the size of
    /// an IPv4 address) for both kinds of server, so a Unix-domain peer's path
    /// is cut; `address` may be null. Returns the new descriptor, owned by the
    /// caller, or -1.
    int Accept(sockaddr* address);

    /// Closes a descriptor that is not 0 (negative ones too) and returns
    /// close()'s result; 0 when there is none. The descriptor is 0 afterwards.
    /// Unlike the client's test (greater than 0); kept for existing callers.
    int Close();

protected:
    // Field order is the object's binary layout.
    int m_nSocket; ///< The listening socket; 0 for none (see Close).
};

} // namespace Socket
} // namespace Net
} // namespace Vemlo

#endif // VEMLO_NET_SOCKET_SERVERBASE_H
