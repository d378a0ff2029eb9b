//===- Vemlo/Service/WorkException.h ----------------------------*- C++ -*-===//
#ifndef VEMLO_SERVICE_WORKEXCEPTION_H
#define VEMLO_SERVICE_WORKEXCEPTION_H

#include <Vemlo/Export.h>
#include <Vemlo/Common/Exception.h>

namespace Vemlo {
namespace Service {

/// \brief Thrown when a Thread cannot be started, stopped or waited for (codes 7221, 7222, 7223).
///
/// Reports a failure to start, stop or wait for a Thread (codes 7221, 7222, 7223).
/// Thrown as a pointer (`throw new WorkException(message, code)`); the handler
/// that catches it owns it and deletes it.
/// Details: docs/Threads.md.
class VEMLO_API WorkException : public Vemlo::Common::Exception {
public:
    /// The same three forms as Exception: (), (message), (message, code).
    using Vemlo::Common::Exception::Exception;

    ~WorkException() override;
};

} // namespace Service
} // namespace Vemlo

#endif // VEMLO_SERVICE_WORKEXCEPTION_H
