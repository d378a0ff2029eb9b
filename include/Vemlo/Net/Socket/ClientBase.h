//===- Vemlo/Net/Socket/ClientBase.h - Stream-socket client -----*- C++ -*-===//
#ifndef VEMLO_NET_SOCKET_CLIENTBASE_H
#define VEMLO_NET_SOCKET_CLIENTBASE_H

#include <Vemlo/Export.h>

namespace Vemlo {
namespace Log {
class FileLog;
} // namespace Log

namespace Net {
namespace Socket {

/// \brief The client end of a stream socket: sends, receives and closes.
///
/// TCPClient and UDSClient open the connection (Connect); this class sends,
/// receives and closes. Send uses flags 0: ignore SIGPIPE to see -1 from a
/// peer that has gone.
/// Ownership: at most one descriptor, closed by Close and the destructor;
/// descriptor 0 means none. Objects cannot be copied.
/// Threads: none; one object, one thread at a time.
/// Failures: Connect throws NetException* (the catcher deletes it); Send and
/// Receive report through their results.
/// Details: docs/Networking.md; departures: docs/Compatibility.md.
class VEMLO_API ClientBase {
public:
    /// No socket yet (descriptor 0), the unused areas zeroed, and the
    /// framework's log channel "[Vemlo]" taken from the logger registry (null
    /// when no configuration gives it a level).
    ClientBase();
    ClientBase(const ClientBase&) = delete;
    ClientBase& operator=(const ClientBase&) = delete;

    /// Closes the descriptor when it is greater than 0.
    virtual ~ClientBase();

    /// Opens the connection to `address`; the integer is ignored by both
    /// implementations, `port` is used by TCP only. Returns 0, or throws a
    /// NetException* (see the implementations). A socket still held from an
    /// earlier Connect is closed first.
    virtual int Connect(char* address, int unused, int port) = 0;

    /// Sends the whole buffer in chunks of at most 8196 bytes. Returns
    /// `length` when everything went, 0 for a null buffer or a length of 0, -1
    /// when a chunk could not be sent (negative lengths included). Failures
    /// of UnitSend are caught here and not passed on.
    int Send(char* buffer, int length);

    /// Sends `length` bytes completely, looping over send(). Returns `length`,
    /// or 0 when there is no socket or the length is below 1. Throws a base
    /// Vemlo::Common::Exception* (code -1) when send() gives up; the socket
    /// stays open.
    int UnitSend(char* buffer, int length);

    /// One recv() with flags 0; its result is returned unchanged (bytes read,
    /// 0 when the peer has closed, -1 with errno). A negative length returns
    /// -1 with errno EINVAL instead of reaching the system.
    int Receive(char* buffer, int length);

    /// Closes a descriptor greater than 0 and returns close()'s result;
    /// otherwise returns the descriptor value itself (0, or a negative number
    /// left by a failed socket()). The descriptor is 0 afterwards. The server
    /// side differs on purpose (ServerBase::Close closes negative values too).
    int Close();

protected:
    // Field order is the object's binary layout.
    int m_nSocket;                 ///< the socket; 0 for none, -1 after a failed connect
    unsigned char m_address[16];   ///< zeroed; not used by any operation
    unsigned char m_readSet[128];  ///< zeroed; not used by any operation
    unsigned char m_writeSet[128]; ///< zeroed; not used by any operation
    Vemlo::Log::FileLog* m_pLog;   ///< not written to by this class
};

} // namespace Socket
} // namespace Net
} // namespace Vemlo

#endif // VEMLO_NET_SOCKET_CLIENTBASE_H
