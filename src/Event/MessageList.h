//===- Event/MessageList.h - Message copies two threads share ---*- C++ -*-===//
//
// The dispatcher's queue (senders append, the dispatcher's thread takes the
// head) and a threaded host's queue (the dispatcher appends, the host's thread
// takes the head) are lists shared by two threads. A list passes its own
// section only momentarily, before it touches the items, so the items are
// guarded by a user-space lock as well. Each call here is one list call: it
// passes the list's section first (the one semaphore operation every list
// call makes) and only then takes the user-space lock, which is thus held
// for the few instructions that touch the items and never across a system
// call. Holding it across the semaphore operation made the two threads sleep
// on each other and wake each other up again, at several system calls a
// time.
//
//===----------------------------------------------------------------------===//
#ifndef VEMLO_SRC_EVENT_MESSAGELIST_H
#define VEMLO_SRC_EVENT_MESSAGELIST_H

#include <Vemlo/Data/Collection/ArrayList.h>
#include <Vemlo/Event/EventMessage.h>

#include <mutex>

#include <pthread.h>

namespace Vemlo {
namespace Event {

// A mutex that spins briefly before it sleeps: its holders hold it for a few
// instructions, so a waiter is let in at once and sleeping would cost more.
class ListLock {
public:
    ListLock() {
        pthread_mutexattr_t attributes;
        pthread_mutexattr_init(&attributes);
        pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_ADAPTIVE_NP);
        pthread_mutex_init(&m_mutex, &attributes);
        pthread_mutexattr_destroy(&attributes);
    }
    ~ListLock() { pthread_mutex_destroy(&m_mutex); }
    ListLock(const ListLock&) = delete;
    ListLock& operator=(const ListLock&) = delete;
    void lock() { pthread_mutex_lock(&m_mutex); }
    void unlock() { pthread_mutex_unlock(&m_mutex); }

private:
    pthread_mutex_t m_mutex;
};

// A list of message copies that owns them (delete flag on), so that the copies
// still queued are deleted with it.
class MessageList : public Vemlo::Data::Collection::ArrayList {
public:
    using Guard = std::lock_guard<ListLock>;

    MessageList() : ArrayList(true) {}

    // Add: appends `message`.
    void add(EventMessage* message) {
        PassLock();
        Guard guard(lock);
        m_elements.push_back(message);
    }

    // At(0): the first message, null when the list is empty. The library
    // never queues a null; a threaded host's subclass reaches its queue.
    EventMessage* head() {
        PassLock();
        Guard guard(lock);
        return m_elements.empty() ? nullptr : static_cast<EventMessage*>(m_elements.front());
    }

    // Count.
    int count() {
        PassLock();
        Guard guard(lock);
        return static_cast<int>(m_elements.size());
    }

    // The number of items without a list call, for a second look that the
    // callers' own bookkeeping needs.
    bool hasItems() {
        Guard guard(lock);
        return !m_elements.empty();
    }

    // RemoveAt(0), which only the calling thread does: the removed copy is
    // returned, not deleted, so that the caller deletes it outside the lock.
    EventMessage* pop() {
        PassLock();
        Guard guard(lock);
        if (m_elements.empty())
            return nullptr;
        EventMessage* first = static_cast<EventMessage*>(m_elements.front());
        m_elements.pop_front();
        return first;
    }

    // Guards the items (and, in the dispatcher, its start-up events).
    ListLock lock;
};

} // namespace Event
} // namespace Vemlo

#endif // VEMLO_SRC_EVENT_MESSAGELIST_H
