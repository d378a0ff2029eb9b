//===- Vemlo/Net/Socket/UDSServer.h - Unix-domain server --------*- C++ -*-===//
#ifndef VEMLO_NET_SOCKET_UDSSERVER_H
#define VEMLO_NET_SOCKET_UDSSERVER_H

#include <Vemlo/Export.h>
#include <Vemlo/Net/Socket/ServerBase.h>

namespace Vemlo {
namespace Net {
namespace Socket {

/// \brief A server listening on a Unix-domain stream socket file.
///
/// UDSServer listens on a Unix-domain stream socket file; listening, accepting
/// and closing are ServerBase's. Bind removes any file of the same name
/// first, and the socket file is left in place when the server closes: remove
/// it with unlink() when it is no longer wanted.
/// Details: docs/Networking.md; departures: docs/Compatibility.md.
class VEMLO_API UDSServer : public ServerBase {
public:
    UDSServer();
    ~UDSServer() override;

    /// Creates the socket, unlinks `path` (whatever file has that name) and
    /// binds to it, the path cut silently to 107 characters (null is read as
    /// the empty path); `unused` is ignored. Returns bind()'s result. Throws
    /// NetException* "cannot create server socket" (0).
    int Bind(int unused, char* path) override;
};

} // namespace Socket
} // namespace Net
} // namespace Vemlo

#endif // VEMLO_NET_SOCKET_UDSSERVER_H
