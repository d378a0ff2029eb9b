//===- Vemlo/Net/NetException.h ---------------------------------*- C++ -*-===//
#ifndef VEMLO_NET_NETEXCEPTION_H
#define VEMLO_NET_NETEXCEPTION_H

#include <Vemlo/Export.h>
#include <Vemlo/Common/Exception.h>

namespace Vemlo {
namespace Net {

/// \brief Thrown when a socket operation fails (code 1004 for a failed connect, otherwise 0).
///
/// Reports a socket failure (code 1004 for a failed connect, otherwise 0).
/// Thrown as a pointer (`throw new NetException(message, code)`); the handler
/// that catches it owns it and deletes it.
/// Details: docs/Networking.md.
class VEMLO_API NetException : public Vemlo::Common::Exception {
public:
    /// The same three forms as Exception: (), (message), (message, code).
    using Vemlo::Common::Exception::Exception;

    ~NetException() override;
};

} // namespace Net
} // namespace Vemlo

#endif // VEMLO_NET_NETEXCEPTION_H
