//===- Event/EventHostThread.cpp - Host with a thread of its own ----------===//
#include <Vemlo/Event/EventHostThread.h>

#include "Event/Gate.h"
#include "Event/MessageList.h"

#include <Vemlo/Data/Collection/ArrayList.h>
#include <Vemlo/Event/EventHandler.h>
#include <Vemlo/Event/EventMessage.h>
#include <Vemlo/Log/Logger.h>

#include <memory>

#include <unistd.h>

namespace Vemlo {
namespace Event {

using Vemlo::Data::Collection::ArrayList;
using Vemlo::Util::System::Mutex;

namespace {

constexpr int kAboutToWait = 1;
constexpr int kPassed = 2;
constexpr int kDelivered = 0;

// The handshake: up to 100 looks at the wait status, 10 ms apart.
constexpr int kHandshakeTries = 100;
constexpr useconds_t kHandshakeSleep = 10000;

// The queue of message copies: the dispatcher's thread appends while the
// host's thread reads and removes (MessageList.h).
MessageList* queueOf(ArrayList* list) {
    return static_cast<MessageList*>(list);
}

} // namespace

EventHostThread::EventHostThread(const char* name)
    : EventHost(name), Thread(), m_nWaitStatus(kAboutToWait), m_pLog(nullptr), m_pQueue(nullptr) {
    String gateName;
    gateName.Format("EventHostThread_Mutex::%s::%d", getName(), getId());
    m_pMutex = new Mutex(gateName.c_str());
    m_pLog = Vemlo::Log::Logger::getLogger()->getLog("[Vemlo]");
    m_pQueue = new MessageList();
    m_nWaitStatus.store(kAboutToWait);
}

EventHostThread::~EventHostThread() {
    // A delivery under way uses the queue and the gate and starts the thread:
    // it ends first. Then Run(), which reads them too, is stopped.
    EventHandler::hostDestroyed(this);
    Stop(true);
    delete queueOf(m_pQueue);
    m_pQueue = nullptr;
    delete m_pMutex;
    m_pMutex = nullptr;
}

int EventHostThread::OnRecvMessage(EventMessage* message) {
    if (message == nullptr)
        return -1;
    // A no-op when the thread runs already: a threaded host starts with its
    // first message.
    Start();
    std::unique_ptr<EventMessage> copy(message->Clone());
    queueOf(m_pQueue)->add(copy.get());
    copy.release();
    // Only a host that waits is told; a busy one finds the copy when it comes
    // back to WaitMessage.
    int waiting = kAboutToWait;
    m_nWaitStatus.compare_exchange_strong(waiting, kDelivered);
    m_pMutex->Unlock();
    for (int i = 0; i < kHandshakeTries; ++i) {
        if (m_nWaitStatus.load() != kDelivered)
            break;
        usleep(kHandshakeSleep);
    }
    Gate::take(m_pMutex);
    return 0;
}

bool EventHostThread::WaitMessage(EventMessage* out) {
    if (out == nullptr)
        return false;
    MessageList* queue = queueOf(m_pQueue);
    while (queue->count() == 0) {
        m_nWaitStatus.store(kAboutToWait);
        // A copy queued between the look above and the status store was
        // delivered while this thread still counted as busy: the dispatcher
        // did not wait for it at the gate, and would close the gate on it.
        // Looking again after the store closes that gap; the look needs no
        // list call of its own.
        if (queue->hasItems()) {
            m_nWaitStatus.store(kPassed);
            break;
        }
        m_pMutex->Lock(); // blocks while the dispatcher holds the gate
        if (isStopRequested()) {
            m_pMutex->Unlock();
            return false;
        }
        m_pMutex->Unlock();
        m_nWaitStatus.store(kPassed);
        if (queue->count() != 0)
            break;
        if (isStopRequested())
            return false;
        usleep(kHandshakeSleep);
        if (queue->count() != 0)
            break;
    }

    // Only this thread removes, so the queue still holds what the loop saw;
    // a null there can only come from a subclass, through the protected queue.
    EventMessage* next = queue->head();
    if (next == nullptr)
        return false;
    // Busy from here on. A message can be taken without passing the gate
    // (the queue was not empty); the status must still leave 0, or the
    // dispatcher, which waits while it is 0, would wait out its whole second
    // on every delivery to this host.
    m_nWaitStatus.store(kPassed);
    // Only this thread removes, so the head is still `next`.
    next->Copy(out);
    delete queue->pop(); // the copy, deleted outside the queue's lock
    return true;
}

int EventHostThread::getQueuedCount() {
    return queueOf(m_pQueue)->count();
}

} // namespace Event
} // namespace Vemlo
