//===- Vemlo/Event/EventHostThread.h - Host with a thread -------*- C++ -*-===//
#ifndef VEMLO_EVENT_EVENTHOSTTHREAD_H
#define VEMLO_EVENT_EVENTHOSTTHREAD_H

#include <Vemlo/Export.h>
#include <Vemlo/Event/EventHost.h>
#include <Vemlo/Service/Thread.h>

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

namespace Event {

/// \brief An event host that handles its messages on a thread of its own.
///
/// EventHostThread is an event host that handles its messages on a thread of
/// its own: the dispatcher only queues a copy of each message in the host and
/// wakes the host's thread, which takes them one by one with WaitMessage().
/// Derive from it and write Run() as a loop:
///
/// \code{.cpp}
/// void Run() override {
///     EventMessage m;
///     while (WaitMessage(&m)) { ... handle m ... }
/// }
/// \endcode
///
/// The thread is created parked with the host and starts with the first
/// message delivered to it, normally the dispatcher's start-up event (event id
/// 9999, "initialize event").
///
/// The gate: while the host has nothing to do, the dispatcher holds the
/// host's gate mutex and the host's thread blocks on it in WaitMessage. A
/// delivery opens the gate until the host's thread has passed it, waiting at
/// most about one second (polling every 10 ms). So each delivery to a host
/// that was waiting costs the dispatcher one 10 ms sleep, and a host that is
/// busy for more than a second still gets the message in its queue, while the
/// dispatcher goes on after that second. Keep traffic to threaded hosts low.
///
/// Two refinements of that handshake keep a message from being stranded or
/// a delivery from costing the full second: WaitMessage looks at the queue
/// again right after it announces that it is about to wait (a copy queued
/// just before would otherwise sit in the queue behind a closed gate until
/// the next delivery), and it marks the host busy (wait status 2) whenever it
/// takes a message, also one it found without passing the gate.
///
/// Life: create, Register with the dispatcher, receive, then UnRegister and
/// delete. UnRegister returns at once and opens the gate for good (right
/// away, or as soon as a delivery to this host under way ends), so the
/// destructor, which waits for such a delivery and then stops the thread and
/// waits for Run() to return, does not hang. A subclass whose own destructor
/// stops the thread must be unregistered before: while registered, the
/// dispatcher holds the gate and the thread cannot see the stop.
///
/// Once Run() has returned by itself the host must be unregistered at once:
/// the next delivery would make Thread::Start() poll for ever on the
/// dispatcher's thread.
///
/// Inheritance: EventHost is the first base and Thread the second, so an
/// EventHostThread* converts to an EventHost* at the same address and to a
/// Thread* further into the object; both bases' destructors and Run() reach
/// the same overriders.
///
/// Departures: docs/Compatibility.md.
class VEMLO_API EventHostThread : public EventHost, public Vemlo::Service::Thread {
public:
    /// The host (next id), then its parked thread, the gate mutex named
    /// "EventHostThread_Mutex::<name>::<id>", the channel "[Vemlo]", the queue;
    /// wait status 1.
    explicit EventHostThread(const char* name);

    /// Stops the thread and waits for Run() to return (Stop(true)), then
    /// deletes the queued copies and the gate.
    ~EventHostThread() override;

    /// Called by the dispatcher's thread with the gate held: starts the
    /// thread if needed, queues a clone of `message`, opens the gate until
    /// the host's thread has passed it (at most about one second), closes it
    /// again. Returns 0; -1 for a null message (nothing done). Start()'s
    /// WorkException* passes through.
    int OnRecvMessage(EventMessage* message) override;

    /// The host's message loop (see the class comment).
    void Run() override = 0;

    /// For Run(): waits for the next message and copies it into `out`
    /// (EventMessage::Copy, so `out`'s extra values accumulate), then drops
    /// the queued copy. False, with `out` untouched, when the thread is asked
    /// to stop while no message is queued, or for a null `out`.
    bool WaitMessage(EventMessage* out);

    /// 1: the host's thread is about to wait at the gate (also after
    /// construction); 2: it has passed the gate; 0: a message was delivered
    /// while it waited.
    int getWaitStatus() const { return m_nWaitStatus.load(); }

    /// Messages queued and not yet taken by WaitMessage.
    int getQueuedCount();

protected:
    // Field order is the object's binary layout. The wait status is polled
    // across threads: an atomic of the size of the plain int it stands for.
    /// Read through getWaitStatus().
    std::atomic<int> m_nWaitStatus;
    /// The framework's channel "[Vemlo]", not owned; null when the
    /// configuration gives no log level.
    Vemlo::Log::FileLog* m_pLog;
    /// The copies queued by OnRecvMessage and taken by WaitMessage; owned.
    Vemlo::Data::Collection::ArrayList* m_pQueue;
};

} // namespace Event
} // namespace Vemlo

#endif // VEMLO_EVENT_EVENTHOSTTHREAD_H
