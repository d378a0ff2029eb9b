//===- Vemlo/Util/System/CCriticalSection.h - Kernel lock -------*- C++ -*-===//
#ifndef VEMLO_UTIL_SYSTEM_CCRITICALSECTION_H
#define VEMLO_UTIL_SYSTEM_CCRITICALSECTION_H

#include <Vemlo/Export.h>
#include <Vemlo/Util/System/Semaphore.h>

#include <sys/ipc.h>
#include <sys/sem.h>

// ThreadSanitizer cannot see that a semaphore operation orders memory: in
// its builds, entering and leaving are announced to it as acquire and
// release on the section, so data guarded by a section is not reported.
#if defined(__SANITIZE_THREAD__)
#define VEMLO_TSAN_ANNOTATE_SECTIONS 1
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define VEMLO_TSAN_ANNOTATE_SECTIONS 1
#endif
#endif
#ifdef VEMLO_TSAN_ANNOTATE_SECTIONS
extern "C" void __tsan_acquire(void* addr);
extern "C" void __tsan_release(void* addr);
#endif

namespace Vemlo {
namespace Util {
namespace System {

/// \brief A non-recursive critical section on a private System V semaphore set.
///
/// Each object owns one private System V semaphore set (0 free, 1 held),
/// removed by the destructor, except a set with id 0 (kept as deployed devices
/// have it). Not recursive; no SEM_UNDO. Header-only.
/// Threads: any thread may enter; CSingleLock holds it for a scope.
/// Failures: past the system's limit it constructs with id -1 and locks
/// nothing; semop results are ignored and interrupted waits not retried.
/// Details and sizing the system's limits: docs/Locks.md.
class VEMLO_API CCriticalSection : public Semaphore {
public:
    /// Creates a private semaphore set and sets its value to 0 (free). A
    /// failure is not reported: the id stays -1.
    CCriticalSection() {
        m_nSemId = semget(IPC_PRIVATE, 1, IPC_CREAT | IPC_EXCL | 0666);
        if (m_nSemId >= 0) {
            SemUnion arg;
            arg.val = 0;
            semctl(m_nSemId, 0, SETVAL, arg);
        }
    }

    /// Removes the set when its id is greater than 0. An id of 0 is never
    /// removed; kept as existing deployments have always had it.
    virtual ~CCriticalSection() {
        if (m_nSemId > 0) {
            SemUnion arg;
            arg.val = 0;
            semctl(m_nSemId, 0, IPC_RMID, arg);
        }
    }

    /// Enters: waits until the value is 0, then adds 1, as one atomic semop.
    void Lock() {
        struct sembuf ops[2] = {{0, 0, 0}, {0, 1, 0}};
        (void)semop(m_nSemId, ops, 2);
#ifdef VEMLO_TSAN_ANNOTATE_SECTIONS
        __tsan_acquire(&m_nSemId);
#endif
    }

    /// Leaves: subtracts 1.
    void Unlock() {
        struct sembuf op = {0, -1, 0};
#ifdef VEMLO_TSAN_ANNOTATE_SECTIONS
        __tsan_release(&m_nSemId);
#endif
        (void)semop(m_nSemId, &op, 1);
    }

private:
    // The fourth argument of semctl, which callers must define themselves.
    union SemUnion {
        int val;
        struct semid_ds* buf;
        unsigned short* array;
    };
};

} // namespace System
} // namespace Util
} // namespace Vemlo

#endif // VEMLO_UTIL_SYSTEM_CCRITICALSECTION_H
