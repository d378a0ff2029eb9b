//===- Vemlo/Net/Socket/TCPClient.h - TCP client ----------------*- C++ -*-===//
#ifndef VEMLO_NET_SOCKET_TCPCLIENT_H
#define VEMLO_NET_SOCKET_TCPCLIENT_H

#include <Vemlo/Export.h>
#include <Vemlo/Net/Socket/ClientBase.h>

namespace Vemlo {
namespace Net {
namespace Socket {

/// \brief A client that connects to an IPv4 host and port, with a 5-second connect timeout.
///
/// TCPClient connects to an IPv4 host and port; sending, receiving and
/// closing are ClientBase's. Connect waits at most 5 seconds, whatever integer
/// the caller passes. A connection the system completes at once is reported as
/// the failure "cannot connect to server: fail-" with the socket kept: existing
/// callers catch that message and go on, so it is kept (Linux never completes
/// a non-blocking TCP connect at once). gethostbyname() is not thread-safe:
/// resolve from one thread at a time, or pass dotted addresses.
/// Details: docs/Networking.md; departures: docs/Compatibility.md.
class VEMLO_API TCPClient : public ClientBase {
public:
    TCPClient();
    ~TCPClient() override;

    /// Connects to `address` (a host name or a dotted address; a name that
    /// does not resolve is read with inet_addr) at `port`; `unused` is
    /// ignored. Returns 0 with a blocking, connected socket. Throws
    /// NetException*: "cannot create socket" (0); with code 1004 "fcntl
    /// function failed. 1", "fcntl function failed", "cannot connect to
    /// server: fail-" (connected at once, socket kept open), "cannot connect
    /// to server: timeout" (5 seconds), "cannot connect to server: fail",
    /// "cannot connect to server: socket error" (refused, unreachable),
    /// "fcntl function failed. 2". Apart from "fail-", a failure closes the
    /// socket and leaves -1 in the object, so that the closed number is never
    /// closed again; Close then returns -1. A null address is read as the
    /// empty text.
    int Connect(char* address, int unused, int port) override;
};

} // namespace Socket
} // namespace Net
} // namespace Vemlo

#endif // VEMLO_NET_SOCKET_TCPCLIENT_H
