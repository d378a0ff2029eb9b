//===- Vemlo/Util/System/CSingleLock.h - Scope guard ------------*- C++ -*-===//
//
// CSingleLock enters a CCriticalSection when it is made and leaves it when it
// is destroyed, also when an exception passes. A null section makes it do
// nothing. The guard does not own the section. Header-only.
//
//===----------------------------------------------------------------------===//
#ifndef VEMLO_UTIL_SYSTEM_CSINGLELOCK_H
#define VEMLO_UTIL_SYSTEM_CSINGLELOCK_H

#include <Vemlo/Export.h>
#include <Vemlo/Util/System/CCriticalSection.h>

namespace Vemlo {
namespace Util {
namespace System {

class VEMLO_API CSingleLock {
public:
    explicit CSingleLock(CCriticalSection* section) : m_pSection(section) {
        if (m_pSection)
            m_pSection->Lock();
    }
    CSingleLock(const CSingleLock&) = delete;
    CSingleLock& operator=(const CSingleLock&) = delete;

    // The only way the guard releases the section.
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
