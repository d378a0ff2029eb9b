//===- Vemlo/IPC/SharedMemory.h - System V shared memory --------*- C++ -*-===//
#ifndef VEMLO_IPC_SHAREDMEMORY_H
#define VEMLO_IPC_SHAREDMEMORY_H

#include <Vemlo/Export.h>

namespace Vemlo {
namespace Log {
class FileLog;
} // namespace Log

namespace IPC {

/// \brief Attaches System V shared-memory segments by key, creating missing ones.
///
/// SharedMemory attaches a process to the System V shared-memory segment of a
/// numeric key, creating the segment (mode 0666, zero-filled) when the key
/// has none yet, and detaches it again:
///
/// \code{.cpp}
/// Vemlo::IPC::SharedMemory shm;
/// auto* block = static_cast<Status*>(shm.GetSharedMemorySpace(0x4d01, sizeof(Status)));
/// if (block) { ...; shm.ReleaseSharedMemory(0, block); }
/// \endcode
///
/// Failures are written to the log channel "[libVemlo] shm" (when the
/// configuration gives the channel a level; without one nothing is written)
/// and come back as a null address; nothing is thrown.
///
/// Segments outlive the process: ReleaseSharedMemory only detaches, and
/// nothing in this class removes a segment. Remove it with
/// shmctl(shmget(key, 0, 0), IPC_RMID, nullptr) (or `ipcrm -M key`) when it is
/// no longer wanted.
///
/// Thread safety: the object keeps no state besides its log channel; calls
/// may come from several threads. Two processes creating the same key at the
/// same moment: one gets the segment, the other gets null ("Cannot create,
/// unknown error") and attaches on a retry.
class VEMLO_API SharedMemory {
public:
    /// Takes the log channel "[libVemlo] shm" from the logger registry.
    SharedMemory();

    virtual ~SharedMemory();

    /// The address of the segment of `key` attached to this process, creating
    /// a segment of `size` bytes when the key has none. Each call attaches
    /// anew: two calls give two addresses of the same segment. Null, with an
    /// error line, when the segment exists but is smaller than `size`, cannot
    /// be created or cannot be attached.
    void* GetSharedMemorySpace(int key, unsigned int size);

    /// Detaches the segment attached at `address`; the id is not used. An
    /// address that is not attached gives the error line "Release memory
    /// failed.". The segment itself stays.
    void ReleaseSharedMemory(int id, void* address);

private:
    // Field order is the object's binary layout.
    Vemlo::Log::FileLog* m_pLog; // not owned; null without a configured level
};

} // namespace IPC
} // namespace Vemlo

#endif // VEMLO_IPC_SHAREDMEMORY_H
