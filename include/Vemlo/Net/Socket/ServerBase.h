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
/// ServerBase is the listening end of a stream socket: TCPServer and UDSServer
/// create and bind it (Bind), this class listens, accepts and closes. Each
/// call is one pass-through to the system call, reporting through its result.
///
/// \code{.cpp}
/// Vemlo::Net::Socket::TCPServer server;
/// if (server.Bind(5000, nullptr) == 0 && server.Listen(8) == 0) {
///     sockaddr_in peer;
///     int fd = server.Accept(reinterpret_cast<sockaddr*>(&peer));
///     ...                               // fd is the caller's to close
/// }
/// \endcode
///
/// Ownership: the object owns its listening descriptor and closes it in Close
/// and in its destructor whenever it is not 0, negative values included (the
/// client side closes only values greater than 0; both are kept as they are
/// for existing callers). Accepted descriptors belong to the caller. Objects
/// cannot be copied.
///
/// Thread safety: none; one object, one thread at a time.
///
/// Departures: docs/Compatibility.md.
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
    int Close();

protected:
    // Field order is the object's binary layout.
    int m_nSocket; ///< The listening socket; 0 for none (see Close).
};

} // namespace Socket
} // namespace Net
} // namespace Vemlo

#endif // VEMLO_NET_SOCKET_SERVERBASE_H
