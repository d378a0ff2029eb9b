//===- Event/EventHandler.cpp - The process-wide event dispatcher ---------===//
#include <Vemlo/Event/EventHandler.h>

#include "Event/Gate.h"
#include "Event/MessageList.h"
#include "Support/Text.h"

#include <Vemlo/Common/Exception.h>
#include <Vemlo/Data/Collection/ArrayList.h>
#include <Vemlo/Event/EventException.h>
#include <Vemlo/Event/EventHost.h>
#include <Vemlo/Event/EventMessage.h>
#include <Vemlo/Log/FileLog.h>
#include <Vemlo/Log/Logger.h>
#include <Vemlo/Util/System/CSingleLock.h>

#include <chrono>
#include <condition_variable>
#include <deque>
#include <cstdio>
#include <cstring>
#include <exception>
#include <memory>
#include <mutex>

#include <pthread.h>

#include <cxxabi.h>
#include <unistd.h>

namespace Vemlo {
namespace Event {

using Vemlo::Data::Collection::ArrayList;
using Vemlo::Util::System::CSingleLock;

namespace {

using Guard = std::lock_guard<ListLock>;

} // namespace

// The lists are shared by the dispatcher's thread and the callers of
// Register, UnRegister, SendEventMsg and the look-ups. A list passes its own
// section only momentarily (that is how lists behave), so every list call
// is also made under one of two user-space locks, never held across a
// handler: the queue's own (MessageList.h), which also guards the
// greetings, and `lock` for the host lists and the delivery bookkeeping.
// The queue has a lock of its own so that senders never wait for the
// dispatcher's look-ups.
struct EventHandler::Coordination {
    // Guards the host lists and the fields below it.
    ListLock lock;
    // Signalled when a delivery ends, for a host being destroyed.
    std::condition_variable_any changed;
    // The host whose OnRecvMessage runs now, or null.
    EventHost* delivering = nullptr;
    // The broadcast in progress: the index of the next host and the end;
    // UnRegister moves both when it removes a host before them. -1: none.
    int broadcastNext = -1;
    int broadcastEnd = -1;
    // A threaded host unregistered while it was being delivered to: its gate
    // is opened as soon as that delivery ends, by the dispatcher, which then
    // holds it again.
    EventHost* gateToOpen = nullptr;
    // Hosts in the pending list, so that a long FireEvent can tell cheaply
    // whether some wait to be caught up.
    std::atomic<int> pendingHosts{0};
    // Set when Run() has ended and opened every gate it held.
    bool runEnded = false;
    // Start-up events of hosts just caught up, delivered before anything in
    // the queue (guarded by the queue's lock), so that each is the first message its
    // host gets, however much traffic is queued ahead.
    std::deque<EventMessage*> greetings;
    std::atomic<int> greetingCount{0};

    // The steps of a FireEvent pass, on the dispatcher's thread.
    // The message the pass deals with next: the first greeting when
    // `greeting`, else the queue's head (as dropHead last saw it, when it
    // did). Null when the queue is empty and the pass ends: SendEventMsg
    // refuses a null message and queues clones, so no queued message is null.
    static EventMessage* nextMessage(EventHandler& handler, bool greeting, Head& next);
    // deliver(), a handler's exception ending the pass with the message kept.
    static Outcome deliverGuarded(EventHandler& handler, EventMessage* message);
};

namespace {

// The queue of message clones.
MessageList* queueOf(ArrayList* queue) {
    return static_cast<MessageList*>(queue);
}

// The dispatcher of the thread that runs a Run(), if any.
thread_local const EventHandler* t_dispatcher = nullptr;

// The lock that makes the first getInstance() safe from several threads.
std::mutex g_instanceLock;

constexpr useconds_t kPass = 1000; // 1 ms between passes

// While FireEvent keeps finding messages it does not return, and a pass's
// catch-up would wait until the queue runs dry. Under traffic that never
// lets it, pending hosts are caught up from within FireEvent once this long
// has passed and this many messages have been dealt with since the last
// catch-up. The count keeps a short burst (a handler that registers a host
// and then addresses it) the same on a slow device as on a fast one: the
// host is still pending for the messages right behind.
constexpr std::chrono::milliseconds kCatchUpUnderLoad(10);
constexpr int kCatchUpAfterMessages = 16;

// Register refuses a null host and the lists are the dispatcher's own, so no
// list ever holds a null entry: the look-ups and deliveries below never meet
// one, and the lines they would write for one are never written.

// The first host in `list` with `id`, or null. Callers hold the lists' lock.
// Every list call passes the list's semaphore, and a read past the end gives
// null, so the walk reads items until it finds the host or meets the end.
EventHost* findById(ArrayList* list, int id) {
    for (int i = 0;; ++i) {
        EventHost* host = static_cast<EventHost*>(list->At(i));
        if (host == nullptr || host->getId() == id)
            return host;
    }
}

// A look-up by id under the lists' lock, logging a miss with the caller's tag.
EventHost* findLogged(ListLock& lock, ArrayList* list, int id, Vemlo::Log::FileLog* log,
                      const char* tag) {
    EventHost* found;
    {
        Guard lists(lock);
        found = findById(list, id);
    }
    if (found == nullptr && log != nullptr)
        log->WriteDebug("%s  can not find the host ", tag);
    return found;
}

// The first active host named `name` (null: empty), or null. Callers hold
// the lists' lock.
EventHost* findByName(ArrayList* list, const char* name) {
    const char* wanted = Vemlo::detail::orEmpty(name);
    const int count = list->Count();
    for (int i = 0; i < count; ++i) {
        EventHost* host = static_cast<EventHost*>(list->At(i));
        if (std::strcmp(host->getName(), wanted) == 0)
            return host;
    }
    return nullptr;
}

// When FireEvent, under traffic, catches pending hosts up itself.
class CatchUpPacer {
public:
    // Counts one message dealt with; true when the pending hosts are due.
    bool due(const std::atomic<int>& pendingHosts) {
        return ++m_sinceCaughtUp >= kCatchUpAfterMessages && pendingHosts.load() > 0 &&
               std::chrono::steady_clock::now() - m_caughtUp >= kCatchUpUnderLoad;
    }
    void caughtUp() {
        m_caughtUp = std::chrono::steady_clock::now();
        m_sinceCaughtUp = 0;
    }

private:
    std::chrono::steady_clock::time_point m_caughtUp = std::chrono::steady_clock::now();
    int m_sinceCaughtUp = 0;
};

int indexOf(ArrayList* list, const EventHost* host) {
    const int count = list->Count();
    for (int i = 0; i < count; ++i) {
        if (list->At(i) == host)
            return i;
    }
    return -1;
}

} // namespace

std::atomic<EventHandler*> EventHandler::m_pInstance{nullptr};

EventHandler::EventHandler()
    : Thread(), m_pLog(nullptr), m_pQueue(new MessageList()), m_pTmpHosts(new ArrayList(false)),
      m_pHosts(new ArrayList(false)), m_pCoordination(new Coordination()) {
    m_pTmpHosts->setDeleteFlag(false);
    m_pHosts->setDeleteFlag(false);
    m_pLog = Vemlo::Log::Logger::getLogger()->getLog("[Vemlo]");
    if (m_pLog != nullptr)
        m_pLog->WriteDebug("Event Logging System Starts\n\n");
}

EventHandler::~EventHandler() {
    // Run() uses the lists until it sees the stop flag.
    Stop(true);
    for (EventMessage* greeting : m_pCoordination->greetings)
        delete greeting;
    delete queueOf(m_pQueue);
    delete m_pTmpHosts;
    delete m_pHosts;
    delete m_pCoordination;
    m_pQueue = m_pTmpHosts = m_pHosts = nullptr;
    m_pCoordination = nullptr;
}

void EventHandler::Run() {
    t_dispatcher = this;
    while (!m_bStop.load()) {
        catchUpSafely();
        FireEvent();
        usleep(kPass);
    }

    // Nothing is delivered any more: every gate still held is opened, so
    // that no host thread stays blocked on a dispatcher that is gone.
    {
        Coordination& c = *m_pCoordination;
        Guard guard(c.lock);
        if (c.gateToOpen != nullptr)
            c.gateToOpen->getMutex()->Unlock();
        c.gateToOpen = nullptr;
        const int count = m_pHosts->Count();
        for (int i = 0; i < count; ++i) {
            EventHost* host = static_cast<EventHost*>(m_pHosts->At(i));
            if (host != nullptr && host->getMutex() != nullptr)
                host->getMutex()->Unlock();
        }
        c.runEnded = true;
    }
    m_pCoordination->changed.notify_all();
    t_dispatcher = nullptr;

    printf("[EventHandler::Run] end run of event handler ------------------------- \n");
    fflush(stdout);
}

EventHandler* EventHandler::getInstance() {
    EventHandler* instance = m_pInstance.load();
    if (instance != nullptr)
        return instance;
    std::lock_guard<std::mutex> guard(g_instanceLock);
    instance = m_pInstance.load();
    if (instance != nullptr)
        return instance;
    instance = new EventHandler();
    m_pInstance.store(instance);
    // Start() throws nothing (it reports by its result), so nothing here
    // has an exception to log.
    instance->Start();
    return instance;
}

void EventHandler::DestroyInstance() {
    std::lock_guard<std::mutex> guard(g_instanceLock);
    EventHandler* instance = m_pInstance.exchange(nullptr);
    delete instance;
}

int EventHandler::Register(EventHost* host) {
    if (host == nullptr)
        return -1;
    CSingleLock guard(&m_section);
    {
        // A host listed twice would be served twice, and a threaded one
        // would have its gate taken twice by the dispatcher, which would
        // then wait on itself.
        Guard lists(m_pCoordination->lock);
        if (indexOf(m_pTmpHosts, host) >= 0 || indexOf(m_pHosts, host) >= 0)
            return host->getId();
    }
    if (m_pLog != nullptr)
        m_pLog->WriteDebug("%s host[%d][%s] is registered", "[EventHandler::Register]",
                           host->getId(), host->getName());
    {
        Guard lists(m_pCoordination->lock);
        m_pTmpHosts->Add(host);
        m_pCoordination->pendingHosts.fetch_add(1);
    }
    return host->getId();
}

int EventHandler::UnRegister(EventHost* host) {
    if (host == nullptr)
        return -1;
    CSingleLock guard(&m_section);
    if (!removeActive(host))
        return -1;
    // The registration tag, not an unregistration tag: existing log filters
    // look for this one.
    if (m_pLog != nullptr)
        m_pLog->WriteDebug("%s host[%d][%s] is un-registered", "[EventHandler::Register]",
                           host->getId(), host->getName());
    return 0;
}

bool EventHandler::removeActive(EventHost* host) {
    Coordination& c = *m_pCoordination;
    Guard lists(c.lock);
    const int index = indexOf(m_pHosts, host);
    if (index < 0)
        return false;
    m_pHosts->RemoveAt(index);
    if (c.broadcastEnd >= 0) {
        // The hosts after it move down one place.
        if (index < c.broadcastNext)
            --c.broadcastNext;
        if (index < c.broadcastEnd)
            --c.broadcastEnd;
    }
    // The gate is opened so that a host thread blocked in WaitMessage can
    // see its stop flag. While the dispatcher is inside this host's delivery
    // it has the gate open and takes it back at the end: then it opens the
    // gate again right after. Otherwise the dispatcher holds the gate and it
    // is opened here, on whatever thread unregisters (the gate has no owner
    // check for this reason); UnRegister never waits for the dispatcher.
    if (host->getMutex() != nullptr && !c.runEnded) {
        if (c.delivering == host && t_dispatcher != this)
            c.gateToOpen = host;
        else
            host->getMutex()->Unlock();
    }
    return true;
}

void EventHandler::hostDestroyed(EventHost* host) {
    EventHandler* self = m_pInstance.load();
    if (self == nullptr)
        return;
    Coordination& c = *self->m_pCoordination;
    // A host deleted while still listed would be delivered to after its
    // end: it leaves the lists first (its gate opened as UnRegister does).
    self->removeActive(host);
    {
        Guard lists(c.lock);
        const int pending = indexOf(self->m_pTmpHosts, host);
        if (pending >= 0) {
            self->m_pTmpHosts->RemoveAt(pending);
            c.pendingHosts.fetch_sub(1);
        }
    }
    // A delivery to this host that is under way must end before its parts
    // go; from inside that delivery (the dispatcher's thread) nothing waits.
    if (t_dispatcher == self)
        return;
    std::unique_lock<ListLock> lists(c.lock);
    c.changed.wait(lists, [&] { return c.delivering != host && c.gateToOpen != host; });
}

int EventHandler::SendEventMsg(EventMessage* message) {
    CSingleLock guard(&m_section);
    try {
        if (message == nullptr)
            throw new EventException("Cannot Send Event", 7301);
        std::unique_ptr<EventMessage> copy(message->Clone());
        queueOf(m_pQueue)->add(copy.get());
        copy.release();
    } catch (EventException*) {
        throw;
    } catch (Vemlo::Common::Exception* e) {
        String text;
        text.Format("Cannot Send Event [%s]", e->GetMessage());
        delete e; // thrown inside the library, caught only here
        throw new EventException(text.c_str(), 7301);
    } catch (abi::__forced_unwind&) {
        throw; // the calling thread is being cancelled
    } catch (const std::exception& e) {
        String text;
        text.Format("Cannot Send Event [%s]", e.what());
        throw new EventException(text.c_str(), 7301);
    } catch (...) {
        throw new EventException("Cannot Send Event", 7301);
    }
    return 0;
}

EventHost* EventHandler::FindHost(int id) {
    return findLogged(m_pCoordination->lock, m_pHosts, id, m_pLog, "[EventHandler::FindHost]");
}

EventHost* EventHandler::FindTmpHost(int id) {
    return findLogged(m_pCoordination->lock, m_pTmpHosts, id, m_pLog,
                      "[EventHandler::FindTmpHost]");
}

EventHost* EventHandler::FindHost(const char* name) {
    Guard lists(m_pCoordination->lock);
    return findByName(m_pHosts, name);
}

int EventHandler::FindHostID(const char* name) {
    // The id is read under the lock: the host may go as soon as it is freed.
    Guard lists(m_pCoordination->lock);
    EventHost* host = findByName(m_pHosts, name);
    return host != nullptr ? host->getId() : -1;
}

int EventHandler::CatchUpMutex() {
    Coordination& c = *m_pCoordination;
    for (;;) {
        EventHost* host;
        {
            Guard lists(c.lock);
            if (m_pTmpHosts->Count() == 0)
                break;
            host = static_cast<EventHost*>(m_pTmpHosts->At(0));
        }
        if (host->getMutex() != nullptr)
            Gate::take(host->getMutex()); // the dispatcher holds the gate now
        if (m_pLog != nullptr)
            m_pLog->WriteDebug("[EventHandler::CatchUpMutex] catchup mutex[%s]", host->getName());
        EventMessage* greeting =
            new EventMessage(host->getId(), 9999, "initialize event", nullptr, nullptr, nullptr);
        {
            // One step for UnRegister: the host is in exactly one list.
            Guard lists(c.lock);
            m_pTmpHosts->RemoveAt(0);
            m_pHosts->Add(host);
            c.pendingHosts.fetch_sub(1);
        }
        Guard queue(queueOf(m_pQueue)->lock);
        c.greetings.push_back(greeting);
        c.greetingCount.fetch_add(1);
    }
    return 0;
}

EventMessage* EventHandler::Coordination::nextMessage(EventHandler& handler, bool greeting,
                                                      Head& next) {
    if (greeting) {
        Guard queue(queueOf(handler.m_pQueue)->lock);
        return handler.m_pCoordination->greetings.front();
    }
    if (next.known) {
        next.known = false;
        return next.message;
    }
    return queueOf(handler.m_pQueue)->head();
}

EventHandler::Outcome EventHandler::Coordination::deliverGuarded(EventHandler& handler,
                                                                 EventMessage* message) {
    try {
        return handler.deliver(message);
    } catch (Vemlo::Common::Exception* e) {
        // The message stays at the head: it is delivered again in the next
        // pass. The exception is the handler's: it may be a static object
        // thrown to ask for exactly this, so it is not deleted.
        handler.deliveryDone(true);
        if (handler.m_pLog != nullptr)
            handler.m_pLog->WriteError("[EventHandler::FireEvent] CATCH: %s", e->GetMessage());
    } catch (...) {
        handler.deliveryDone(true);
        if (handler.m_pLog != nullptr)
            handler.m_pLog->WriteError("[EventHandler::FireEvent] CATCH: ...");
    }
    return Outcome::Kept;
}

int EventHandler::FireEvent() {
    Coordination& c = *m_pCoordination;
    CatchUpPacer pacer;
    // The next head, read by dropHead while it had the queue anyway.
    Head next;
    for (;;) {
        // A greeting goes before everything queued.
        const bool greeting = c.greetingCount.load() > 0;
        EventMessage* message = Coordination::nextMessage(*this, greeting, next);
        if (message == nullptr)
            return 0;
        const Outcome outcome = Coordination::deliverGuarded(*this, message);
        if (outcome == Outcome::Kept)
            return 0;
        if (greeting)
            dropGreeting(message);
        else
            dropHead(message, next);
        if (outcome == Outcome::DroppedEndsPass)
            return 0;
        if (pacer.due(c.pendingHosts)) {
            catchUpSafely();
            pacer.caughtUp();
        }
    }
}

EventHandler::Outcome EventHandler::deliver(EventMessage* message) {
    const int target = message->getTargetId();
    if (target == 0) {
        broadcast(message);
        return Outcome::Done;
    }
    if (EventHost* host = takeTarget(target)) {
        host->OnRecvMessage(message);
        deliveryDone(false);
        return Outcome::Done;
    }
    if (m_pLog != nullptr)
        m_pLog->WriteDebug("%s  can not find the host ", "[EventHandler::FindHost]");
    bool pending;
    {
        Guard lists(m_pCoordination->lock);
        pending = findById(m_pTmpHosts, target) != nullptr;
    }
    if (pending) {
        // Not caught up yet: the message is dropped and the pass ends.
        if (m_pLog != nullptr)
            m_pLog->WriteDebug("[EventHandler::FireEvent] host is NULL and not find host");
        return Outcome::DroppedEndsPass;
    }
    if (m_pLog != nullptr) {
        m_pLog->WriteDebug("%s  can not find the host ", "[EventHandler::FindTmpHost]");
        m_pLog->WriteDebug("[EventHandler::FireEvent] not find hostid(%d)", target);
    }
    return Outcome::Done;
}

int EventHandler::getQueuedCount() {
    MessageList* queue = queueOf(m_pQueue);
    const int queued = queue->count();
    Guard guard(queue->lock);
    return queued + static_cast<int>(m_pCoordination->greetings.size());
}

void EventHandler::broadcast(EventMessage* message) {
    Coordination& c = *m_pCoordination;
    {
        Guard lists(c.lock);
        c.broadcastNext = 0;
        c.broadcastEnd = m_pHosts->Count();
    }
    for (;;) {
        EventHost* host;
        {
            Guard lists(c.lock);
            if (c.broadcastNext >= c.broadcastEnd) {
                c.broadcastNext = c.broadcastEnd = -1;
                return;
            }
            host = static_cast<EventHost*>(m_pHosts->At(c.broadcastNext++));
            c.delivering = host;
        }
        host->OnRecvMessage(message);
        deliveryDone(false);
    }
}

void EventHandler::catchUpSafely() {
    // Only the library's own calls run here; whatever fails (memory), the
    // loop must go on.
    try {
        CatchUpMutex();
    } catch (...) {
    }
}

EventHost* EventHandler::takeTarget(int id) {
    Coordination& c = *m_pCoordination;
    Guard lists(c.lock);
    // The first host with the id wins, also when the id counter wrapped and
    // two hosts share it.
    c.delivering = findById(m_pHosts, id);
    return c.delivering;
}

void EventHandler::deliveryDone(bool endBroadcast) {
    Coordination& c = *m_pCoordination;
    {
        Guard lists(c.lock);
        if (c.gateToOpen != nullptr) {
            // Unregistered during its delivery; the dispatcher holds the gate
            // again and opens it now.
            c.gateToOpen->getMutex()->Unlock();
            c.gateToOpen = nullptr;
        }
        c.delivering = nullptr;
        if (endBroadcast)
            c.broadcastNext = c.broadcastEnd = -1;
    }
    c.changed.notify_all();
}

void EventHandler::dropHead(EventMessage* head, Head& next) {
    // Only this thread removes from the queue, so the head is still `head`.
    // It is deleted after the queue is let go, so that senders may append
    // meanwhile.
    MessageList* queue = queueOf(m_pQueue);
    queue->pop();
    next.message = queue->head();
    next.known = true;
    delete head;
}

void EventHandler::dropGreeting(EventMessage* greeting) {
    Coordination& c = *m_pCoordination;
    {
        Guard queue(queueOf(m_pQueue)->lock);
        c.greetings.pop_front();
        c.greetingCount.fetch_sub(1);
    }
    delete greeting;
}

} // namespace Event
} // namespace Vemlo
