//===- Net/Socket/CloseFailed.h - After a failed connect --------*- C++ -*-===//
#ifndef VEMLO_SRC_NET_SOCKET_CLOSEFAILED_H
#define VEMLO_SRC_NET_SOCKET_CLOSEFAILED_H

#include <unistd.h>

namespace Vemlo {
namespace Net {
namespace Socket {

// Closes the socket of a failed connect and leaves -1 in its place, so that
// neither Close nor the destructor closes that number again (by then it may
// belong to another file of the process). Close still returns -1 for it.
inline void closeFailed(int& socket) {
    ::close(socket);
    socket = -1;
}

} // namespace Socket
} // namespace Net
} // namespace Vemlo

#endif // VEMLO_SRC_NET_SOCKET_CLOSEFAILED_H
