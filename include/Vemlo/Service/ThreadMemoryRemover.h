//===- Vemlo/Service/ThreadMemoryRemover.h - The thread reaper --*- C++ -*-===//
#ifndef VEMLO_SERVICE_THREADMEMORYREMOVER_H
#define VEMLO_SERVICE_THREADMEMORYREMOVER_H

#include <Vemlo/Export.h>
#include <Vemlo/Service/Thread.h>
#include <Vemlo/Util/System/CCriticalSection.h>

#include <deque>

namespace Vemlo {
namespace Log {
class FileLog;
} // namespace Log

namespace Service {

/// \brief The process-wide thread reaper: deletes handed-over threads once they have finished.
///
/// ThreadMemoryRemover is the process-wide thread reaper: hand it a heap-
/// allocated Thread with addThread() and, about once a second, it deletes
/// every handed-over thread whose state is 2 (its Run() returned, or it was
/// stopped). It is itself a Thread, started by GetInstance().
///
/// \code{.cpp}
/// Worker* w = new Worker();
/// w->Start();
/// ThreadMemoryRemover::GetInstance()->addThread(w); // w is the reaper's now
/// \endcode
///
/// Promises a caller must know:
///  - Before deleting a finished thread the reaper joins its OS thread
///    (Stop(true), immediate once Run() has returned), so a thread that ended
///    by itself leaves nothing behind.
///  - A thread stopped with Stop(false) has state 2 while its Run() may still
///    be going: hand over only threads stopped with Stop(true) or whose Run()
///    ends by itself.
///  - DestroyInstance() stops the reaper's loop and joins it before deleting
///    it (within about 100 ms); threads still queued then are not deleted.
///  - The reaper writes "[Run] start" (debug) to the channel
///    "[libVemlo] ThreadMemoryRemover"; without a configured log level it
///    runs without logging.
///  - addThread may be called from any thread; GetInstance and
///    DestroyInstance are not synchronised (call them from one thread).
///
/// Departures: docs/Compatibility.md.
class VEMLO_API ThreadMemoryRemover : public Thread {
public:
    ThreadMemoryRemover(const ThreadMemoryRemover&) = delete;
    ThreadMemoryRemover& operator=(const ThreadMemoryRemover&) = delete;

    /// Frees the queue; threads still in it are not deleted.
    ~ThreadMemoryRemover() override;

    /// Every second: deletes the queued threads whose state is 2. Ends when
    /// the stop flag is set.
    void Run() override;

    /// The single instance, created and started on the first call.
    static ThreadMemoryRemover* GetInstance();

    /// Stops the reaper, waits for its loop to end and deletes it; nothing
    /// when there is no instance.
    static void DestroyInstance();

    /// Takes ownership of `thread` (null is ignored).
    void addThread(Thread* thread);

private:
    ThreadMemoryRemover();

    // Field order is the object's binary layout.
    std::deque<Thread*> m_threads;
    Vemlo::Util::System::CCriticalSection m_section;
    Vemlo::Log::FileLog* m_pLog;

    static ThreadMemoryRemover* m_pInstance;
};

} // namespace Service
} // namespace Vemlo

#endif // VEMLO_SERVICE_THREADMEMORYREMOVER_H
