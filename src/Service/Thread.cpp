//===- Service/Thread.cpp - Base of every framework thread ----------------===//
#include <Vemlo/Service/Thread.h>

#include <Vemlo/Service/WorkException.h>

#include <pthread.h>
#include <unistd.h>

namespace Vemlo {
namespace Service {

namespace {

// The state values.
constexpr int kParked = 0;
constexpr int kRunning = 1;
constexpr int kFinished = 2;
constexpr int kConstructing = 3;
constexpr int kCreated = 4;

static_assert(sizeof(std::atomic<bool>) == sizeof(bool), "the stop flag keeps the size of a bool");
static_assert(sizeof(std::atomic<int>) == sizeof(int), "the state keeps the size of an int");

} // namespace

Thread::Thread() : m_bStop(false), m_nState(kConstructing), m_hThread(0) {
    if (pthread_mutex_init(&m_suspendMutex, nullptr) != 0)
        throw new WorkException("cannot itialize suspexnd mute", 0);
    if (pthread_cond_init(&m_resumeCond, nullptr) != 0)
        throw new WorkException("cannot create resume cond.", 0);
    m_nState.store(kCreated, std::memory_order_release);
    createThread();
}

Thread::~Thread() {
    if (m_bStop.load(std::memory_order_acquire))
        return;
    // The non-joining stop. A running Run() must have been stopped with
    // Stop(true) by the subclass; a parked thread is released here.
    m_bStop.store(true, std::memory_order_release);
    // Nothing below throws: the POSIX calls report by their results.
    if (m_hThread != 0 && !releaseParked())
        pthread_cancel(m_hThread);
    m_hThread = 0;
    m_nState.store(kFinished, std::memory_order_release);
}

void Thread::createThread() {
    if (pthread_create(&m_hThread, nullptr, &Thread::ThreadRun, this) != 0)
        m_hThread = 0; // Start() tries again
}

bool Thread::releaseParked() {
    int state = m_nState.load(std::memory_order_acquire);
    if (state != kCreated && state != kParked)
        return false;
    // The new thread parks within moments: it only needs the suspend mutex,
    // which nobody else holds now.
    while (m_nState.load(std::memory_order_acquire) != kParked)
        usleep(1000);
    pthread_mutex_lock(&m_suspendMutex);
    m_nState.store(kFinished, std::memory_order_release);
    pthread_cond_signal(&m_resumeCond);
    pthread_mutex_unlock(&m_suspendMutex);
    pthread_join(m_hThread, nullptr);
    m_hThread = 0;
    return true;
}

void* Thread::ThreadRun(void* self) {
    // The constructor leaves its constructing state before it creates the
    // thread, so a new thread always starts from the created state.
    Thread* thread = static_cast<Thread*>(self);
    int previous;
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &previous);

    pthread_mutex_lock(&thread->m_suspendMutex);
    thread->m_nState.store(kParked, std::memory_order_release);
    pthread_cond_wait(&thread->m_resumeCond, &thread->m_suspendMutex);
    pthread_cond_signal(&thread->m_resumeCond); // answers the starter
    if (thread->m_nState.load(std::memory_order_acquire) == kFinished) {
        // Stopped or destroyed before it was ever started: end without Run().
        pthread_mutex_unlock(&thread->m_suspendMutex);
        return nullptr;
    }
    pthread_mutex_unlock(&thread->m_suspendMutex);

    thread->Run();

    // The object may be deleted as soon as this store is seen (the thread
    // reaper does so); nothing after it touches the object.
    thread->m_nState.store(kFinished, std::memory_order_release);
    return nullptr;
}

bool Thread::Start() {
    if (m_nState.load(std::memory_order_acquire) == kRunning)
        return true; // threaded event hosts call Start() for every message

    if (m_hThread == 0)
        createThread();

    // Only POSIX calls below, which report by their results; a cancellation
    // of the calling thread in the wait unwinds through here unchanged.
    while (m_nState.load(std::memory_order_acquire) != kParked) {
        usleep(50000);
        if (m_hThread == 0)
            createThread();
    }

    pthread_mutex_lock(&m_suspendMutex);
    int signalled = pthread_cond_signal(&m_resumeCond);
    // Cleared before the thread can leave its wait (it needs the mutex
    // that the wait below releases), so a restarted Run() sees false.
    if (signalled == 0)
        m_bStop.store(false, std::memory_order_release);
    pthread_cond_wait(&m_resumeCond, &m_suspendMutex);
    // Released after the handshake so that a restart after Stop() can
    // park its fresh thread.
    pthread_mutex_unlock(&m_suspendMutex);

    if (signalled != 0)
        return false;
    // From parked to running only: a Run() that already returned has
    // written 2, which must stay for Wait() and the thread reaper.
    int parked = kParked;
    m_nState.compare_exchange_strong(parked, kRunning, std::memory_order_acq_rel,
                                     std::memory_order_acquire);
    return true;
}

bool Thread::Stop(bool wait) {
    m_bStop.store(true, std::memory_order_release);
    // Only POSIX calls: nothing here throws.
    if (m_hThread != 0 && !releaseParked()) {
        pthread_cancel(m_hThread);
        if (wait)
            pthread_join(m_hThread, nullptr);
    }
    m_hThread = 0;
    m_nState.store(kFinished, std::memory_order_release);
    return true;
}

bool Thread::Wait(long milliseconds) {
    long slept = 0;
    for (;;) {
        if (m_nState.load(std::memory_order_acquire) == kFinished)
            return true;
        usleep(1000);
        ++slept;
        // A timeout of n sleeps n + 1 times; any other negative value
        // than -1 returns after one sleep.
        if (milliseconds != -1 && slept > milliseconds)
            return true;
    }
}

} // namespace Service
} // namespace Vemlo
