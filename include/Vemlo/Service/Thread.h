//===- Vemlo/Service/Thread.h - Base of every framework thread --*- C++ -*-===//
#ifndef VEMLO_SERVICE_THREAD_H
#define VEMLO_SERVICE_THREAD_H

#include <Vemlo/Export.h>

#include <atomic>

#include <pthread.h>

namespace Vemlo {
namespace Service {

/// \brief Abstract base of every class that works on a thread of its own.
///
/// Derive, implement Run(), call Start(). The OS thread is created parked by
/// the constructor; Run() ends when it sees the stop flag (isStopRequested()),
/// never by cancellation. getState(): 3 constructing, 4 created, 0 parked,
/// 1 running, 2 finished or stopped.
/// Ownership: stop with Stop(true) (joins) before deleting, or hand the object
/// to the ThreadMemoryRemover; Stop(false) and the destructor never wait for a
/// running Run().
/// Threads: Start, Stop and Wait of one object must not be called concurrently.
/// Failures: WorkException* 7221 start, 7222 stop, 7223 wait (0 from the
/// constructor); the catcher deletes it.
/// Details: docs/Threads.md; departures: docs/Compatibility.md.
class VEMLO_API Thread {
public:
    Thread(const Thread&) = delete;
    Thread& operator=(const Thread&) = delete;

    /// When Stop() was never called: sets the stop flag, cancels the thread
    /// (without effect, cancellation being disabled) and forgets it without
    /// joining. A subclass that must be sure its thread is gone calls
    /// Stop(true) in its own destructor.
    virtual ~Thread();

    /// The work of the thread; its return ends the thread. Loops should end
    /// when m_bStop becomes true.
    virtual void Run() = 0;

    /// Releases the parked thread; true when it runs afterwards. A stopped
    /// thread gets a fresh OS thread first. Waits for the thread to park by
    /// polling every 50 ms. Throws WorkException* 7221 on an unexpected
    /// failure.
    bool Start();

    /// Sets the stop flag, cancels the thread (pending, since it is disabled
    /// inside) and, when `wait` is true, joins it. Always true unless it throws
    /// WorkException* 7222.
    bool Stop(bool wait);

    /// Polls every 1 ms until the state is 2 or `milliseconds` have passed;
    /// -1 waits for ever. Always true unless it throws WorkException* 7223.
    bool Wait(long milliseconds);

    /// The entry function of the OS thread; `self` is the Thread.
    static void* ThreadRun(void* self);

    /// The state word (see the class comment).
    int getState() const { return m_nState.load(std::memory_order_acquire); }

    /// True once Stop() was called, until the next successful Start().
    bool isStopRequested() const { return m_bStop.load(std::memory_order_acquire); }

protected:
    /// Creates the OS thread and lets it park. Throws WorkException* (code 0)
    /// when the mutex or the condition cannot be initialised.
    Thread();

    // Field order is the object's binary layout. The two words polled across
    // threads are atomics of the size of the plain bool and int they stand
    // for.

    /// The cooperative stop flag: read it in Run() to end the loop.
    std::atomic<bool> m_bStop;

private:
    // Creates the OS thread; the handle stays 0 when creation fails.
    void createThread();
    // For a thread that was never started: waits until it parks, wakes it so
    // that it ends without Run(), and joins it. False when there is nothing
    // of the kind to release.
    bool releaseParked();

    std::atomic<int> m_nState;
    pthread_t m_hThread;
    pthread_cond_t m_resumeCond;
    pthread_mutex_t m_suspendMutex;
};

} // namespace Service
} // namespace Vemlo

#endif // VEMLO_SERVICE_THREAD_H
