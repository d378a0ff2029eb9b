//===- Vemlo/Util/System/Mutex.h - A plain POSIX mutex ----------*- C++ -*-===//
#ifndef VEMLO_UTIL_SYSTEM_MUTEX_H
#define VEMLO_UTIL_SYSTEM_MUTEX_H

#include <Vemlo/Export.h>
#include <Vemlo/String.h>

#include <pthread.h>

namespace Vemlo {
namespace Util {
namespace System {

/// \brief A plain POSIX mutex with a name, usable as a gate between threads.
///
/// Mutex wraps a default (non-recursive, non-error-checking) POSIX mutex with
/// a name kept for identification only. The framework uses it as a gate: one
/// thread may lock it and another unlock it, which is why it has no owner
/// check. Header-only; not copyable.
/// Details: docs/Locks.md.
class VEMLO_API Mutex {
public:
    /// Stores `name` (null gives an empty name) and initialises the mutex with
    /// default attributes.
    explicit Mutex(const char* name) : m_sName(name) { pthread_mutex_init(&m_mutex, nullptr); }
    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;

    virtual ~Mutex() { pthread_mutex_destroy(&m_mutex); }

    /// Waits until the mutex is free and takes it.
    void Lock() { pthread_mutex_lock(&m_mutex); }
    /// Releases the mutex; any thread may, not only the one that took it.
    void Unlock() { pthread_mutex_unlock(&m_mutex); }
    /// Takes the mutex only when it is free: true when taken.
    bool TryLock() { return pthread_mutex_trylock(&m_mutex) == 0; }

    /// The name given at construction, for identification only.
    const char* getName() const { return m_sName.c_str(); }

private:
    // Field order is the object's binary layout.
    pthread_mutex_t m_mutex;
    String m_sName;
};

} // namespace System
} // namespace Util
} // namespace Vemlo

#endif // VEMLO_UTIL_SYSTEM_MUTEX_H
