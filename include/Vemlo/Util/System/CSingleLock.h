//===- Vemlo/Util/System/CSingleLock.h - Scope guard ------------*- C++ -*-===//
#ifndef VEMLO_UTIL_SYSTEM_CSINGLELOCK_H
#define VEMLO_UTIL_SYSTEM_CSINGLELOCK_H

#include <Vemlo/Export.h>
#include <Vemlo/Util/System/CCriticalSection.h>

namespace Vemlo {
namespace Util {
namespace System {

/// \brief Scope guard that holds a CCriticalSection for its lifetime.
///
/// CSingleLock enters a CCriticalSection when it is made and leaves it when it
/// is destroyed, also when an exception passes. A null section makes it do
/// nothing. The guard does not own the section. Header-only.
/// Details: docs/Locks.md.
class VEMLO_API CSingleLock {
public:
    /// Enters `section`, waiting while another thread holds it; a null
    /// section does nothing.
    explicit CSingleLock(CCriticalSection* section) : m_pSection(section) {
        if (m_pSection)
            m_pSection->Lock();
    }
    CSingleLock(const CSingleLock&) = delete;
    CSingleLock& operator=(const CSingleLock&) = delete;

    /// The only way the guard releases the section.
    ~CSingleLock() {
        if (m_pSection)
            m_pSection->Unlock();
    }

private:
    // Field order is the object's binary layout.
    CCriticalSection* m_pSection;
};

} // namespace System
} // namespace Util
} // namespace Vemlo

#endif // VEMLO_UTIL_SYSTEM_CSINGLELOCK_H
