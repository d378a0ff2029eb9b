//===- Vemlo/Event/EventException.h -----------------------------*- C++ -*-===//
#ifndef VEMLO_EVENT_EVENTEXCEPTION_H
#define VEMLO_EVENT_EVENTEXCEPTION_H

#include <Vemlo/Export.h>
#include <Vemlo/Common/Exception.h>

namespace Vemlo {
namespace Event {

/// \brief Thrown when the event dispatcher cannot queue a message (code 7301).
///
/// Reports a failure of the event dispatcher (code 7301).
/// Thrown as a pointer (`throw new EventException(message, code)`); the handler
/// that catches it owns it and deletes it.
/// Details: docs/Events.md.
class VEMLO_API EventException : public Vemlo::Common::Exception {
public:
    /// The same three forms as Exception: (), (message), (message, code).
    using Vemlo::Common::Exception::Exception;

    ~EventException() override;
};

} // namespace Event
} // namespace Vemlo

#endif // VEMLO_EVENT_EVENTEXCEPTION_H
