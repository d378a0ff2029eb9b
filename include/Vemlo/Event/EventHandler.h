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
/// EventHandler routes messages between event hosts. Hosts Register with it;
/// any thread sends with SendEventMsg, which only queues a clone; the
/// dispatcher's own thread delivers the queued messages one at a time, oldest
/// first, by calling the target host's OnRecvMessage (every active host, in
/// registration order, for target 0). It makes a pass every 1 ms.
///
/// \code{.cpp}
/// EventHandler* events = EventHandler::getInstance(); // starts the thread
/// events->Register(&door);           // active from the next pass on
/// EventMessage m(door.getId(), EV_OPEN, "open", nullptr, nullptr, nullptr);
/// events->SendEventMsg(&m);
/// ...
/// events->UnRegister(&door);         // then door may be deleted
/// EventHandler::DestroyInstance();   // before Logger::DestroyLogger()
/// \endcode
///
/// Start and stop order: the configuration must be loadable before the first
/// getInstance (the dispatcher takes the log channel "[Vemlo]", which reads
/// "Base.Log.Level"). Unregister and delete the hosts, then DestroyInstance
/// (stops and joins the dispatcher), then Logger::DestroyLogger().
///
/// Delivery promises:
///  - A new host is pending until the next pass (under traffic that keeps
///    the queue busy, every 10 ms and 16 messages), which locks its gate (a threaded
///    host), makes it active and gives it the start-up event (event id 9999,
///    text "initialize event") before anything else is delivered, so that is
///    always the first message it gets. A message to a host that is still
///    pending is dropped; so is one to an unknown id.
///  - A framework exception thrown by a handler leaves the message at the
///    head of the queue: it is delivered again in the next pass. The
///    dispatcher reads its message for the log and never deletes it: the
///    handler decides who owns what it throws (a pointer to a static object
///    is fine; one made with new is the handler's to keep or free).
///  - Hosts sharing an id after the id counter wrapped (see EventHost.h):
///    only the first of them in the active list receives.
///  - UnRegister returns at once; it never waits for the dispatcher. It opens
///    a threaded host's gate, so that its thread can see a stop. Deleting a
///    host waits only for a delivery to that same host that is under way (not
///    when the deletion comes from inside that delivery), so a host may be
///    unregistered and deleted at any moment. A generic host deleted while
///    still registered is taken out of the lists first (a threaded host must
///    be unregistered before its thread is stopped). UnRegister of a host that
///    is still pending returns -1 and leaves it pending.
///  - Registering a host that is already pending or active does nothing but
///    return its id.
///
/// Departures: docs/Compatibility.md.
///
/// Thread safety: Register, UnRegister, SendEventMsg and the look-ups may be
/// called from any thread, handlers included (the dispatcher's thread never
/// holds the section across a handler). getInstance may be called from
/// several threads at once; DestroyInstance must not race with any call.
///
/// Failures: SendEventMsg throws EventException* 7301 ("Cannot Send Event
/// [...]"); the catcher owns and deletes it.
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
        bool empty = false;
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
    // Delivers `message` to every active host; false when a null entry
    // stopped it.
    bool broadcast(EventMessage* message);
    // CatchUpMutex, its failures dropped.
    void catchUpSafely();
    // Takes `host` out of the active list and opens its gate (at once, or
    // when the delivery to it under way ends); false when it was not there.
    bool removeActive(EventHost* host);
    // Called by a host's destructor: takes the host out of both lists and
    // waits for a delivery to it that is under way (never from inside it).
    static void hostDestroyed(EventHost* host);
    // The first active host with `id`, marked as being delivered to; null
    // when none. `nullEntry` tells a null entry on the way.
    EventHost* takeTarget(int id, bool& nullEntry);
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
