//===- Vemlo/Event/EventHandler.h - The event dispatcher --------*- C++ -*-===//
#ifndef VEMLO_EVENT_EVENTHANDLER_H
#define VEMLO_EVENT_EVENTHANDLER_H

#include <Vemlo/Export.h>
#include <Vemlo/Service/Thread.h>
#include <Vemlo/Util/System/CCriticalSection.h>

#include <atomic>

namespace Vemlo {
namespace Log {
class FileLog;
} // namespace Log
namespace Data {
namespace Collection {
class ArrayList;
} // namespace Collection
} // namespace Data

namespace State {
class StateMachine;
} // namespace State

namespace Event {

class EventHost;
class EventMessage;

/// \brief The process-wide event dispatcher: routes messages to registered hosts on its own thread.
///
/// Hosts Register with it; any thread sends with SendEventMsg, which queues a
/// clone; the dispatcher's thread delivers them oldest first, one at a time
/// (target 0: every active host). A new host gets event 9999 first.
/// Ownership: the single instance is made by getInstance and deleted by
/// DestroyInstance (before Logger::DestroyLogger()); hosts stay the caller's.
/// Threads: Register, UnRegister, SendEventMsg and the look-ups from any
/// thread, handlers included; DestroyInstance must not race with any call.
/// Failures: SendEventMsg throws EventException* 7301; the catcher deletes it.
/// Details: docs/Events.md; departures: docs/Compatibility.md.
class VEMLO_API EventHandler : public Vemlo::Service::Thread {
public:
    EventHandler(const EventHandler&) = delete;
    EventHandler& operator=(const EventHandler&) = delete;

    /// Stops the dispatcher's thread and waits for it, then deletes the queue
    /// (with the messages still in it) and the two host lists (not the hosts).
    ~EventHandler() override;

    /// The dispatcher loop: CatchUpMutex(), FireEvent(), sleep 1 ms, until
    /// stopped. On its way out it opens the gates it still holds.
    void Run() override;

    /// The single instance, created and started on first use.
    static EventHandler* getInstance();

    /// Deletes the single instance, if any; the next getInstance starts anew.
    static void DestroyInstance();

    /// Adds `host` to the pending list and returns its id; -1 for null.
    int Register(EventHost* host);

    /// Removes `host` from the active list and opens its gate; 0 when it was
    /// there, -1 otherwise (a pending host is not searched and stays pending).
    /// Returns at once, also while the dispatcher is inside some handler.
    int UnRegister(EventHost* host);

    /// Queues a clone of `message` and returns 0; the caller keeps `message`.
    /// Throws EventException* 7301 when the clone cannot be made or queued
    /// (also for a null message).
    int SendEventMsg(EventMessage* message);

    ///@{
    /// The first active host with that id / name; null when there is none.
    EventHost* FindHost(int id);
    EventHost* FindHost(const char* name);
    ///@}
    /// The id of the first active host named `name`; -1 when there is none.
    int FindHostID(const char* name);
    /// The first pending host (registered, not yet active) with that id; null
    /// when there is none.
    EventHost* FindTmpHost(int id);

    ///@{
    /// The two steps of a pass of Run(), made public for the loop only:
    /// CatchUpMutex makes the pending hosts active, FireEvent delivers every
    /// queued message. Both return 0. Call them only from the dispatcher's
    /// own thread. Under traffic that keeps the queue from running dry,
    /// FireEvent catches pending hosts up itself (once 10 ms have passed and
    /// 16 messages have been dealt with since the last catch-up), so that new
    /// hosts do not wait for a quiet moment.
    int CatchUpMutex();
    int FireEvent();
    ///@}

    /// Messages queued and not yet delivered.
    int getQueuedCount();

private:
    EventHandler();

    struct Coordination;
    // The queue's head as dropHead found it.
    struct Head {
        bool known = false;
        EventMessage* message = nullptr;
    };
    // What became of a message offered for delivery.
    enum class Outcome {
        Done,            // delivered, or dropped for an unknown host: next message
        DroppedEndsPass, // dropped for a host still pending: the pass ends
        Kept             // a null host entry: the message stays, the pass ends
    };

    // Host destructors tell the dispatcher that `host` goes; see hostDestroyed.
    friend class EventHost;
    friend class EventHostThread;
    friend class Vemlo::State::StateMachine;

    // Delivers `message` to its target(s) or drops it, with the lines that
    // tell which. Handlers' exceptions pass through.
    Outcome deliver(EventMessage* message);
    // Delivers `message` to every active host.
    void broadcast(EventMessage* message);
    // CatchUpMutex, its failures dropped.
    void catchUpSafely();
    // Takes `host` out of the active list and opens its gate (at once, or
    // when the delivery to it under way ends); false when it was not there.
    bool removeActive(EventHost* host);
    // Called by a host's destructor: takes the host out of both lists and
    // waits for a delivery to it that is under way (never from inside it).
    static void hostDestroyed(EventHost* host);
    // The first active host with `id`, marked as being delivered to; null
    // when none.
    EventHost* takeTarget(int id);
    // Clears the delivery mark (and the broadcast, when `endBroadcast`),
    // opens the gate of a host unregistered during its delivery, and wakes
    // the destructor of a host waiting for it.
    void deliveryDone(bool endBroadcast);
    // Removes and deletes `head`, the message at the head of the queue, and
    // tells what is at the head now.
    void dropHead(EventMessage* head, Head& next);
    // Removes and deletes `greeting`, the first start-up event waiting.
    void dropGreeting(EventMessage* greeting);

    // Field order is the object's binary layout.
    Vemlo::Log::FileLog* m_pLog;
    Vemlo::Util::System::CCriticalSection m_section;
    Vemlo::Data::Collection::ArrayList* m_pQueue;
    Vemlo::Data::Collection::ArrayList* m_pTmpHosts;
    Vemlo::Data::Collection::ArrayList* m_pHosts;
    // After the fields above: the locking between the dispatcher's thread
    // and the others (see the source).
    Coordination* m_pCoordination;

    static std::atomic<EventHandler*> m_pInstance;
};

} // namespace Event
} // namespace Vemlo

#endif // VEMLO_EVENT_EVENTHANDLER_H
