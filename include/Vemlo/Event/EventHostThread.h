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
/// The dispatcher queues a copy of each message in the host and opens its gate;
/// Run() takes them with `while (WaitMessage(&m)) { ... }`. Each delivery to a
/// waiting host costs the dispatcher about 10 ms: keep traffic low.
/// Ownership: the application's, as for any host. Register, receive, then
/// UnRegister (which opens the gate for good) and delete.
/// Threads: the handler runs on the host's thread. Once Run() has returned by
/// itself, unregister the host at once, or the next delivery stalls the
/// dispatcher.
/// Details: docs/Events.md; departures: docs/Compatibility.md.
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
