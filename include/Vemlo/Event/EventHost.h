//===- Vemlo/Event/EventHost.h - Receiver of events -------------*- C++ -*-===//
#ifndef VEMLO_EVENT_EVENTHOST_H
#define VEMLO_EVENT_EVENTHOST_H

#include <Vemlo/Export.h>
#include <Vemlo/Data/Object.h>
#include <Vemlo/String.h>
#include <Vemlo/Util/System/Mutex.h>

#include <atomic>

namespace Vemlo {
namespace Event {

class EventMessage;

/// \brief Anything the event dispatcher can deliver messages to: an id, a name and OnRecvMessage.
///
/// Applications derive from EventHostGeneric or EventHostThread, not from this
/// class. Ids run 1 to 1000 and then start again, so long-lived applications
/// look hosts up by name.
/// Ownership: the application owns its hosts; the dispatcher only points at
/// them. Unregister a host before deleting it.
/// Threads: ids come from an atomic counter; hosts may be made on any thread.
/// Details: docs/Events.md; departures: docs/Compatibility.md.
class VEMLO_API EventHost : public Vemlo::Data::Object {
public:
    /// Stores `name` (null is the empty name) and takes the next id.
    explicit EventHost(const char* name);
    EventHost(const EventHost&) = delete;
    EventHost& operator=(const EventHost&) = delete;

    ~EventHost() override;

    /// Called by the dispatcher's thread for every message addressed to this
    /// host (or to every host). The message belongs to the dispatcher and is
    /// valid only during the call: copy what you keep (EventMessage::Clone).
    /// A framework exception (Vemlo::Common::Exception*) thrown here is
    /// caught and logged by the dispatcher, which then delivers the same
    /// message again about 1 ms later (to every host again, for a message to
    /// all).
    virtual int OnRecvMessage(EventMessage* message) = 0;

    /// The id taken at construction, 1 to 1000 (see the class comment).
    int getId() const { return m_nId; }
    /// The name given at construction (never null).
    const char* getName() const { return m_sName.c_str(); }
    /// The gate of a host with its own thread; null for the others.
    Vemlo::Util::System::Mutex* getMutex() const { return m_pMutex; }

    /// The id counter: the last id handed out, modulo 1000.
    static std::atomic<int> ID_ORDER;

protected:
    // Field order is the object's binary layout.
    ///@{
    /// Read through getId(), getName() and getMutex().
    int m_nId;
    String m_sName;
    Vemlo::Util::System::Mutex* m_pMutex;
    ///@}
};

} // namespace Event
} // namespace Vemlo

#endif // VEMLO_EVENT_EVENTHOST_H
