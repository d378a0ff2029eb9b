//===- Vemlo/Net/PostObject.h - State of one HTTP exchange ------*- C++ -*-===//
#ifndef VEMLO_NET_POSTOBJECT_H
#define VEMLO_NET_POSTOBJECT_H

#include <Vemlo/Export.h>
#include <Vemlo/String.h>

#include <cstdio>

namespace Vemlo {
namespace Net {

/// \brief The request and reply state of one HTTP exchange of WebPostMessage.
///
/// PostObject holds one request of the HTTP client (WebPostMessage) and what
/// comes back: the URL and its parts, the body to send, the receive buffer,
/// the spool file of a large reply and the connection. Most applications
/// never see one: WebPostMessage::SimpleHTTPMethod makes and deletes its own.
/// Applications that drive the steps themselves fill the request fields and a
/// receive buffer, then call WebPostMessage::HTTPPostMethod(&post).
///
/// Ownership: the object owns only its texts. The body, the receive buffer,
/// the spool file and the socket are the business of whoever runs the
/// exchange: the destructor forgets the file without closing it and neither
/// frees the buffer nor closes the socket.
/// Details: docs/Networking.md.
class VEMLO_API PostObject {
public:
    /// Empty texts, port 80, no body, no buffer (capacity 5000 noted), no
    /// file, socket 0, method "POST".
    PostObject();

    /// Forgets the spool file (it is not closed here) and destroys the texts.
    virtual ~PostObject();

    // Field order is the object's binary layout.
    String m_sUrl;       ///< the whole URL, "http://host[:port]/path"
    String m_sHost;      ///< taken from the URL
    int m_nPort;         ///< taken from the URL; 80 when it has none
    String m_sPath;      ///< taken from the URL
    String m_sReserved;  ///< not used
    const char* m_pBody; ///< request body, not owned
    int m_nBodyLength;   ///< bytes of the body to send
    char* m_pRecvBuffer; ///< reply buffer, m_nBufferSize bytes, not owned
    int m_nReceived;     ///< reply bytes received so far
    int m_nBufferSize;   ///< capacity of the reply buffer
    FILE* m_pTempFile;   ///< open spool file of a large reply, or null
    String m_sTempPath;  ///< path of the spool file
    int m_nSocket;       ///< the connection; 0 before, -1 once closed
    String m_sMethod;    ///< request method
};

} // namespace Net
} // namespace Vemlo

#endif // VEMLO_NET_POSTOBJECT_H
