//===- Vemlo/Net/WebPostMessage.h - One-shot HTTP POST client ---*- C++ -*-===//
#ifndef VEMLO_NET_WEBPOSTMESSAGE_H
#define VEMLO_NET_WEBPOSTMESSAGE_H

#include <Vemlo/Export.h>
#include <Vemlo/String.h>

namespace Vemlo {
namespace Net {

class PostObject;

/// \brief A one-shot HTTP/1.1 POST client that returns the reply's body.
///
/// One call, one IPv4 connection without TLS: one request with
/// "Connection: close", then the reply is read until the server closes. The
/// reply is not interpreted (a 404 page is a body like any other). There is no
/// timeout: call it from a thread that may wait, against servers that close.
/// Ownership: the body goes into the caller's String; large replies are spooled
/// to "<Base.Http.TempPath>_<n>" and the file is removed after reading.
/// Threads: calls share only an atomic counter; gethostbyname() is not
/// thread-safe, so resolve names from one thread at a time.
/// Failures: 0 instead of 1, with `out` unchanged; ignore SIGPIPE.
/// Details: docs/Networking.md; departures: docs/Compatibility.md.
class VEMLO_API WebPostMessage {
public:
    /// Sends `body` (null: none) to `url` with `method` (null: "POST") and
    /// puts the reply's body in `out`. Returns 1 when a non-empty body came
    /// back, else 0 with `out` unchanged: connection failures, send failures,
    /// an empty reply, a reply without a blank line after its headers or with
    /// nothing after it. The body starts after the first "\n\n", or, when
    /// there is none (or only at the very start), after the first "\r\n\r\n".
    /// A null `url` or `out` returns 0 without connecting. A URL shorter than
    /// 7 characters before its path throws std::out_of_range (nothing leaks).
    /// When the host cannot be resolved, descriptor 0 is closed (see the
    /// source); keep standard input elsewhere if it matters.
    static int SimpleHTTPMethod(const char* url, const char* body, const char* method, String* out);

    /// Splits m_sUrl ("http://" or any 7-character prefix, host, optional
    /// ":port", path from the first "/" after index 8; the whole URL is the
    /// path when there is none), connects, sends, receives and closes.
    /// Returns 1 when everything went or when the connection could not be
    /// made (then nothing was received); 0 when sending or spooling failed.
    /// The reply is in m_pRecvBuffer, or in the spool file m_pTempFile (open
    /// for reading at its start) once it reached m_nBufferSize; the caller
    /// closes and removes that file. A null object returns 0.
    static int HTTPPostMethod(PostObject* post);

    /// Resolves m_sHost (no numeric fallback) and connects to m_nPort,
    /// blocking. 0, or 1001 (host not resolved), 1002 (no socket), 1003
    /// (connect failed; the socket stays in m_nSocket, open). A null object
    /// gives 1001.
    static int ServerConnect(PostObject* post);

    /// Sends the request header and the body. 0, 2002 (header not fully
    /// sent, also for a null object) or 2008 (body not fully sent).
    static int MessageSend(PostObject* post);

    /// Reads until the server closes (or a receive fails) into m_pRecvBuffer,
    /// spooling as described above. 0, or 3001 when the spool file cannot be
    /// created (also for a null object). A null buffer or a capacity below 1
    /// reads nothing. If the finished spool file cannot be opened again for
    /// reading it is removed and m_pTempFile stays null.
    static int MessageReceive(PostObject* post);

    /// MessageSend, then MessageReceive if that gave 0; the first non-zero
    /// code, or 0.
    static int MessageExchange(PostObject* post);

    /// Closes m_nSocket and marks it closed (-1), so that it is never closed
    /// twice; returns close()'s result (-1 for a null object).
    static int ConnectionClose(PostObject* post);

    /// Sends `length` bytes of `buffer` on `fd`, looping over send(). Returns
    /// `length`, 0 for a length below 1, or the first send() result below 1.
    static int SendBytes(int fd, char* buffer, int length);

    /// The next spool path: "<Base.Http.TempPath>_<n>", n then counting up;
    /// an empty or missing value gives "_<n>" in the working directory. When
    /// the configuration cannot be read, prints "error to get temp path " and
    /// gives "/home/temp/.webpost_<n>". The text
    /// stays valid until the next call on the same thread; copy it at once.
    static const char* GetTempFilePath();

private:
    // The sequence number of the next spool file.
    static int m_nTmpFileNum;
};

} // namespace Net
} // namespace Vemlo

#endif // VEMLO_NET_WEBPOSTMESSAGE_H
