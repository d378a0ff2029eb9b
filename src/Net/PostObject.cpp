//===- Net/PostObject.cpp - State of one HTTP exchange --------------------===//
#include <Vemlo/Net/PostObject.h>

namespace Vemlo {
namespace Net {

PostObject::PostObject()
    : m_nPort(80), m_pBody(nullptr), m_nBodyLength(0), m_pRecvBuffer(nullptr), m_nReceived(0),
      m_nBufferSize(5000), m_pTempFile(nullptr), m_nSocket(0), m_sMethod("POST") {}

PostObject::~PostObject() {
    // Forgotten, not closed: whoever ran the exchange closes the file.
    m_pTempFile = nullptr;
}

} // namespace Net
} // namespace Vemlo
