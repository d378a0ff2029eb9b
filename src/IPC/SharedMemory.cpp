//===- IPC/SharedMemory.cpp - System V shared memory by key ---------------===//
#include <Vemlo/IPC/SharedMemory.h>

#include <Vemlo/Log/FileLog.h>
#include <Vemlo/Log/Logger.h>
#include <Vemlo/String.h>

#include <cerrno>

#include <sys/ipc.h>
#include <sys/shm.h>

namespace Vemlo {
namespace IPC {

namespace {

// Opens an existing segment (0666).
constexpr int kOpenFlags = 0666;
// Creates a segment that must not exist yet (IPC_CREAT | IPC_EXCL | 0666).
constexpr int kCreateFlags = IPC_CREAT | IPC_EXCL | 0666;

// The tag of GetSharedMemorySpace's lines. It names the operation by its
// former name; log filters match it, so it stays.
const String& getTag() {
    static const String tag("[GetSharedMemoryStruct]");
    return tag;
}

const String& releaseTag() {
    static const String tag("[SharedMemory::ReleaseSharedMemory]");
    return tag;
}

} // namespace

SharedMemory::SharedMemory() : m_pLog(Vemlo::Log::Logger::getLogger()->getLog("[libVemlo] shm")) {}

SharedMemory::~SharedMemory() = default;

void* SharedMemory::GetSharedMemorySpace(int key, unsigned int size) {
    const char* tag = getTag().c_str();
    int id = ::shmget(key, size, kOpenFlags);
    if (id < 0) {
        const int error = errno;
        if (error == ENOENT) {
            if (m_pLog)
                m_pLog->WriteInfo("%s No segment exists, create memory for this key(%d)", tag, key);
            id = ::shmget(key, size, kCreateFlags);
            if (id < 0) {
                const char* message = "%s Cannot create, unknown error";
                switch (errno) {
                case EINVAL:
                    message = "%s Cannot access, check memory size of already created memory";
                    break;
                case ENFILE:
                    // One literal, so that a search for the message finds it.
                    // clang-format off
                    message = "%s Cannot create, the system limit on the total number of open files hs been reached";
                    // clang-format on
                    break;
                case ENOMEM:
                    message = "%s Cannot create, no memory could be allocated";
                    break;
                default:
                    break;
                }
                if (m_pLog)
                    m_pLog->WriteError(message, tag);
                return nullptr;
            }
        } else if (error == EINVAL) {
            if (m_pLog)
                m_pLog->WriteError("%s Cannot access, check memory size of already created memory",
                                   tag);
            return nullptr;
        }
        // Any other error goes on with the failed id; the attach reports it.
    }
    void* address = ::shmat(id, nullptr, 0);
    if (address == reinterpret_cast<void*>(-1)) {
        if (m_pLog)
            m_pLog->WriteError("%s Cannot attach memory", tag);
        return nullptr;
    }
    return address;
}

void SharedMemory::ReleaseSharedMemory(int /*id*/, void* address) {
    if (::shmdt(address) != 0 && m_pLog)
        m_pLog->WriteError("%s Release memory failed.", releaseTag().c_str());
}

} // namespace IPC
} // namespace Vemlo
