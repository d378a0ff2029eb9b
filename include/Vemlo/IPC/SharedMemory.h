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
/// Creates the segment of a key (mode 0666, zero-filled) when it has none yet.
/// Ownership: segments outlive the process; ReleaseSharedMemory only detaches
/// and nothing here removes a segment (use IPC_RMID or `ipcrm -M`).
/// Threads: no state besides the log channel; calls may come from any thread.
/// Failures: logged to "[libVemlo] shm" and returned as a null address;
/// nothing is thrown.
/// Details: docs/SharedMemory.md.
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
