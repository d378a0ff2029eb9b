//===- Vemlo/Log/LogException.h ---------------------------------*- C++ -*-===//
#ifndef VEMLO_LOG_LOGEXCEPTION_H
#define VEMLO_LOG_LOGEXCEPTION_H

#include <Vemlo/Export.h>
#include <Vemlo/Common/Exception.h>

namespace Vemlo {
namespace Log {

/// \brief Thrown when a log channel cannot be set up: no log level is configured (code 7252).
///
/// Reports a logging set-up failure, such as a missing log level (code 7252).
/// Thrown as a pointer (`throw new LogException(message, code)`); the handler
/// that catches it owns it and deletes it.
/// Details: docs/Logging.md.
class VEMLO_API LogException : public Vemlo::Common::Exception {
public:
    /// The same three forms as Exception: (), (message), (message, code).
    using Vemlo::Common::Exception::Exception;

    ~LogException() override;
};

} // namespace Log
} // namespace Vemlo

#endif // VEMLO_LOG_LOGEXCEPTION_H
