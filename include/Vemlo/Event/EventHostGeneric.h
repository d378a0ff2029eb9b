//===- Vemlo/Event/EventHostGeneric.h - Host on the dispatcher --*- C++ -*-===//
#ifndef VEMLO_EVENT_EVENTHOSTGENERIC_H
#define VEMLO_EVENT_EVENTHOSTGENERIC_H

#include <Vemlo/Export.h>
#include <Vemlo/Event/EventHost.h>

namespace Vemlo {
namespace Log {
class FileLog;
} // namespace Log

namespace Event {

/// \brief An event host whose handler runs on the dispatcher's thread.
///
/// Derive from it and implement OnRecvMessage, which the dispatcher calls on
/// its own thread, one message at a time: keep it quick, every later message
/// waits for it. It may send, register and unregister (itself included).
/// \code{.cpp}
/// class Door : public EventHostGeneric {
/// public:
///     Door() : EventHostGeneric("door") {}
///     int OnRecvMessage(EventMessage* m) override { ...; return 0; }
/// };
/// \endcode
/// Details: docs/Events.md.
class VEMLO_API EventHostGeneric : public EventHost {
public:
    /// Takes the next id and the channel "[Vemlo]" from the logger registry.
    explicit EventHostGeneric(const char* name);

    ~EventHostGeneric() override;

    /// Supplied by the application.
    int OnRecvMessage(EventMessage* message) override = 0;

protected:
    // Field order is the object's binary layout.
    /// The framework's channel "[Vemlo]", not owned; null when the
    /// configuration gives no log level.
    Vemlo::Log::FileLog* m_pLog;
};

} // namespace Event
} // namespace Vemlo

#endif // VEMLO_EVENT_EVENTHOSTGENERIC_H
