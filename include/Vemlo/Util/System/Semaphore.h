//===- Vemlo/Util/System/Semaphore.h - A System V semaphore id --*- C++ -*-===//
#ifndef VEMLO_UTIL_SYSTEM_SEMAPHORE_H
#define VEMLO_UTIL_SYSTEM_SEMAPHORE_H

#include <Vemlo/Export.h>

namespace Vemlo {
namespace Util {
namespace System {

/// \brief Holds the identifier of a private System V semaphore set; base of CCriticalSection.
///
/// Semaphore holds the identifier of a private System V semaphore set. It is
/// the base of CCriticalSection, which creates and removes the set; on its
/// own it owns nothing. Header-only.
/// Details: docs/Locks.md.
class VEMLO_API Semaphore {
public:
    Semaphore() : m_nSemId(-1) {}
    Semaphore(const Semaphore&) = delete;
    Semaphore& operator=(const Semaphore&) = delete;

    /// The System V semaphore-set identifier; -1 when creation failed.
    int getSemId() const { return m_nSemId; }

protected:
    // Field order is the object's binary layout.
    int m_nSemId; ///< The set's identifier, -1 when there is none.
};

} // namespace System
} // namespace Util
} // namespace Vemlo

#endif // VEMLO_UTIL_SYSTEM_SEMAPHORE_H
