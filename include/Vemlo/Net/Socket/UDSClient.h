//===- Vemlo/Net/Socket/UDSClient.h - Unix-domain client --------*- C++ -*-===//
#ifndef VEMLO_NET_SOCKET_UDSCLIENT_H
#define VEMLO_NET_SOCKET_UDSCLIENT_H

#include <Vemlo/Export.h>
#include <Vemlo/Net/Socket/ClientBase.h>

namespace Vemlo {
namespace Net {
namespace Socket {

/// \brief A client that connects to a Unix-domain stream socket by path.
///
/// UDSClient connects to a Unix-domain stream socket by path; sending,
/// receiving and closing are ClientBase's. The connect blocks without a
/// timeout (a local server that listens answers at once).
/// Details: docs/Networking.md; departures: docs/Compatibility.md.
class VEMLO_API UDSClient : public ClientBase {
public:
    UDSClient();
    ~UDSClient() override;

    /// Connects to the socket file `path` (cut silently to its first 107
    /// characters; null is read as the empty path); both integers are ignored.
    /// Returns 0. Throws NetException* "cannot create socket" (0) or, after
    /// closing the socket, "cannot connect to UDS server" (0); the object
    /// then holds -1 (no socket; Close returns -1).
    int Connect(char* path, int unused, int unusedPort) override;
};

} // namespace Socket
} // namespace Net
} // namespace Vemlo

#endif // VEMLO_NET_SOCKET_UDSCLIENT_H
