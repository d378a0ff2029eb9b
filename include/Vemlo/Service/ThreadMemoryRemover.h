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
/// Hand it a heap-allocated Thread with addThread(); about once a second it
/// joins and deletes every handed-over thread whose state is 2. It is itself a
/// Thread, started by GetInstance().
/// Ownership: a handed-over thread is the reaper's; hand over only threads
/// stopped with Stop(true) or whose Run() ends by itself. DestroyInstance()
/// stops and joins the reaper; threads still queued are not deleted.
/// Threads: addThread from any thread; GetInstance and DestroyInstance from
/// one thread.
/// Details: docs/Threads.md; departures: docs/Compatibility.md.
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
