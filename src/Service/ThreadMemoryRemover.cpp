//===- Service/ThreadMemoryRemover.cpp - The thread reaper ----------------===//
#include <Vemlo/Service/ThreadMemoryRemover.h>

#include <Vemlo/Log/FileLog.h>
#include <Vemlo/Log/Logger.h>
#include <Vemlo/Util/System/CSingleLock.h>

#include <unistd.h>

namespace Vemlo {
namespace Service {

namespace {

using Vemlo::Util::System::CSingleLock;

// One scan a second, the sleep cut in slices so that a stop is seen soon.
constexpr int kSlices = 10;
constexpr useconds_t kSlice = 100000;

} // namespace

ThreadMemoryRemover* ThreadMemoryRemover::m_pInstance = nullptr;

ThreadMemoryRemover::ThreadMemoryRemover()
    : m_pLog(Vemlo::Log::Logger::getLogger()->getLog("[libVemlo] ThreadMemoryRemover")) {}

ThreadMemoryRemover::~ThreadMemoryRemover() = default;

void ThreadMemoryRemover::Run() {
    if (m_pLog != nullptr)
        m_pLog->WriteDebug("[%s] start", "Run");
    while (!m_bStop.load(std::memory_order_acquire)) {
        {
            CSingleLock guard(&m_section);
            for (auto it = m_threads.begin(); it != m_threads.end();) {
                Thread* thread = *it;
                if (thread != nullptr && thread->getState() == 2) {
                    // Joins a thread whose Run() has returned (at once), so
                    // that its OS thread does not linger; then deletes it.
                    thread->Stop(true);
                    delete thread;
                    it = m_threads.erase(it);
                } else {
                    ++it;
                }
            }
        }
        for (int i = 0; i < kSlices && !m_bStop.load(std::memory_order_acquire); ++i)
            usleep(kSlice);
    }
}

ThreadMemoryRemover* ThreadMemoryRemover::GetInstance() {
    if (m_pInstance == nullptr) {
        m_pInstance = new ThreadMemoryRemover();
        m_pInstance->Start();
    }
    return m_pInstance;
}

void ThreadMemoryRemover::DestroyInstance() {
    if (m_pInstance == nullptr)
        return;
    // Joined before the delete: the loop ends on the stop flag, so the object
    // is never deleted under a running scan.
    m_pInstance->Stop(true);
    delete m_pInstance;
    m_pInstance = nullptr;
}

void ThreadMemoryRemover::addThread(Thread* thread) {
    CSingleLock guard(&m_section);
    if (thread != nullptr)
        m_threads.push_back(thread);
}

} // namespace Service
} // namespace Vemlo
