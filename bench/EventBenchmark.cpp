//===- EventBenchmark.cpp - Event delivery beside two plain queues --------===//
//
// Throughput (items_per_second: one producer, one receiver) and one-way
// latency (median_us, p99_us) of a message through the event dispatcher,
// beside POCO's NotificationQueue and a std::mutex + std::condition_variable
// queue doing the same work: every send queues a heap copy of a message
// (target, event id, text, three parameters) and the receiving thread finds
// the target by id and calls its handler.
//
// The dispatcher's timing is part of its contract: it makes a pass every
// 1 ms, and every delivery to a threaded host that waits costs the
// handshake's 10 ms sleep. Its latency therefore has a floor the plain
// queues (which wake their consumer at once) do not have. The latency runs
// send one message at a time, each after a random pause of 0 to 2 ms, so
// that sends fall at every point of the dispatcher's cycle.
//
//===----------------------------------------------------------------------===//
#include "Ratios.h"
#include "SemCount.h"

#include <Vemlo/Vemlo.h>

#include <Poco/AutoPtr.h>
#include <Poco/Notification.h>
#include <Poco/NotificationQueue.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <fstream>
#include <memory>
#include <mutex>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include <pthread.h>
#include <time.h>
#include <unistd.h>

using Vemlo::Event::EventHandler;
using Vemlo::Event::EventHostGeneric;
using Vemlo::Event::EventHostThread;
using Vemlo::Event::EventMessage;

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kBatch = 5000;          // messages per throughput iteration
constexpr int kGenericSamples = 1000; // latency samples
constexpr int kThreadedSamples = 200;

long long nowNs() {
    return std::chrono::duration_cast<std::chrono::nanoseconds>(Clock::now().time_since_epoch())
        .count();
}

// The configuration the dispatcher's log channel needs; removed at exit.
struct Fixture {
    std::string dir;
    Fixture() {
        char pattern[] = "/tmp/vemlo-bench-XXXXXX";
        dir = mkdtemp(pattern);
        const std::string conf = dir + "/Vemlo/Conf";
        std::system(("mkdir -p " + conf).c_str());
        std::ofstream(conf + "/default.config")
            << "<FileProperty><Base><Log><Level>ERROR</Level><BackupRange>7</BackupRange></Log>"
               "<Http><TempPath>"
            << dir << "/http</TempPath></Http></Base></FileProperty>";
        setenv("VEMLO_WORKING_DIRECTORY", dir.c_str(), 1);
    }
    ~Fixture() {
        EventHandler::DestroyInstance();
        Vemlo::Log::Logger::DestroyLogger();
        Vemlo::Config::ConfigurationManager::DestroyManager();
        std::system(("rm -rf " + dir).c_str());
    }
};

EventHandler* dispatcher() {
    static Fixture fixture;
    return EventHandler::getInstance();
}

// Latency samples: the sender stamps, the receiver measures.
struct Stamps {
    std::atomic<long long> sentAt{0};
    std::atomic<int> received{0};
    std::vector<double> micros;
    void arrived() {
        micros.push_back((nowNs() - sentAt.load()) / 1000.0);
        received.fetch_add(1);
    }
};

void report(benchmark::State& state, std::vector<double> micros) {
    if (micros.empty())
        return;
    std::sort(micros.begin(), micros.end());
    state.counters["median_us"] = micros[micros.size() / 2];
    state.counters["p99_us"] = micros[std::min(micros.size() - 1, micros.size() * 99 / 100)];
}

// Sends `samples` messages through `send`, one at a time after a random
// pause, waiting for each to arrive.
template <class Send> void measure(Stamps& stamps, int samples, Send send) {
    std::mt19937 random(1);
    std::uniform_int_distribution<int> pause(0, 2000);
    stamps.micros.reserve(samples);
    for (int i = 0; i < samples; ++i) {
        std::this_thread::sleep_for(std::chrono::microseconds(pause(random)));
        const int before = stamps.received.load();
        stamps.sentAt = nowNs();
        send();
        while (stamps.received.load() == before)
            std::this_thread::yield();
    }
}

// ---- libVemlo ------------------------------------------------------------

// CPU time of a thread, in microseconds.
double cpuMicros(clockid_t clock) {
    timespec t{};
    clock_gettime(clock, &t);
    return t.tv_sec * 1e6 + t.tv_nsec / 1e3;
}

class Counter : public EventHostGeneric {
public:
    Counter() : EventHostGeneric("bench") {}
    int OnRecvMessage(EventMessage* m) override {
        if (m->getEventId() == 9999) {
            pthread_getcpuclockid(pthread_self(), &dispatcherClock);
            started = true;
        } else if (m->getEventId() == 2)
            stamps.arrived();
        else
            count.fetch_add(1, std::memory_order_relaxed);
        return 0;
    }
    std::atomic<bool> started{false};
    std::atomic<long> count{0};
    Stamps stamps;
    clockid_t dispatcherClock{};
};

class ThreadCounter : public EventHostThread {
public:
    ThreadCounter() : EventHostThread("bench-thread") {}
    ~ThreadCounter() override { Stop(true); }
    void Run() override {
        EventMessage m;
        while (WaitMessage(&m)) {
            if (m.getEventId() == 9999)
                started = true;
            else
                stamps.arrived();
        }
    }
    std::atomic<bool> started{false};
    Stamps stamps;
};

template <class Host> void join(EventHandler* events, Host& host) {
    events->Register(&host);
    while (!host.started)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

void BM_Throughput_Vemlo(benchmark::State& state) {
    EventHandler* events = dispatcher();
    Counter host;
    join(events, host);
    EventMessage m(host.getId(), 1, "bench", nullptr, nullptr, nullptr);
    // CPU time per message of the sending thread and of the dispatcher's:
    // unlike the throughput, it hardly depends on the machine's load.
    clockid_t senderClock;
    pthread_getcpuclockid(pthread_self(), &senderClock);
    double sending = 0;
    const double dispatching = cpuMicros(host.dispatcherClock);
    for (auto _ : state) {
        const long target = host.count.load() + kBatch;
        const double before = cpuMicros(senderClock);
        for (int i = 0; i < kBatch; ++i)
            events->SendEventMsg(&m);
        sending += cpuMicros(senderClock) - before;
        while (host.count.load() < target)
            std::this_thread::sleep_for(std::chrono::microseconds(50));
    }
    const double messages = double(state.iterations()) * kBatch;
    state.SetItemsProcessed(state.iterations() * kBatch);
    state.counters["sender_cpu_us"] = sending / messages;
    state.counters["dispatcher_cpu_us"] =
        (cpuMicros(host.dispatcherClock) - dispatching) / messages;
    events->UnRegister(&host);
}

void BM_Latency_Vemlo_Generic(benchmark::State& state) {
    EventHandler* events = dispatcher();
    Counter host;
    join(events, host);
    EventMessage m(host.getId(), 2, "bench", nullptr, nullptr, nullptr);
    for (auto _ : state)
        measure(host.stamps, kGenericSamples, [&] { events->SendEventMsg(&m); });
    events->UnRegister(&host);
    report(state, host.stamps.micros);
}

void BM_Latency_Vemlo_Threaded(benchmark::State& state) {
    EventHandler* events = dispatcher();
    ThreadCounter host;
    join(events, host);
    EventMessage m(host.getId(), 2, "bench", nullptr, nullptr, nullptr);
    for (auto _ : state)
        measure(host.stamps, kThreadedSamples, [&] { events->SendEventMsg(&m); });
    events->UnRegister(&host);
    report(state, host.stamps.micros);
}

// ---- System V semaphore calls per delivered message -----------------------
//
// Every lock on this road is a System V semaphore, so the number of
// semaphore system calls per message is the floor of its cost. It is counted
// by the wrapper in SemCount.cpp, per thread: the sender, the dispatcher's
// thread, and a threaded host's thread. Beside each count stands the
// minimum that the documented algorithms need. It follows from the list
// calls they make: a locked list passes its section once per call (one
// wait-for-zero semop), an enter/leave pair of a section is two semops, and
// every message made or deleted creates (semget, semctl SETVAL) or removes
// (semctl IPC_RMID) the semaphore set of its extra-value table, which is a
// list.
//
// Sender, SendEventMsg:                                     semget semctl semop
//   enter and leave the dispatcher's section                              2
//   Clone: a new message, its table's set                  1      1
//   Clone: the source's extra values are read in place (no list call);
//   each one would be one Add to the clone's table (none here)
//   append the clone to the queue (Add)                                   1
//   minimum                                                 1      1      3  = 5
// Dispatcher, FireEvent, per message while the queue is busy, target host
// first in the active list:
//   the head: one At(0); the queue is empty only when it gives null, and
//   the count is read in that same look                                   1
//   the walk for the target: one At per host passed, here 1              1
//   a generic host's handler: nothing
//   remove the head (RemoveAt)                                            1
//   delete it: its table's destructor empties the list once (Clear), and
//   the set is removed                                             1      1
//   minimum                                                 0      1      4  = 5
// A threaded host's OnRecvMessage adds its own clone (set created) and its
// append; Start() of a running thread and the gate make no semaphore call:
//                                                           1      1      1  = 3
// Receiver, WaitMessage on the host's thread, per message:
//   the queue is empty? (Count)                                           1
//   ... when it was empty: past the gate, the queue now holds it? (Count)
//                                                                         1
//   the head: At(0)                                                       1
//   Copy: the copy's extra values are read in place (no list call)
//   remove the head (RemoveAt), deleting the copy (Clear, remove its set)
//                                                                  1      2
//   minimum, host busy (message already queued)             0      1      4  = 5
//   minimum, host waiting at its gate                       0      1      5  = 6
// A host that comes back to its gate before the dispatcher has taken the
// gate back passes it, finds nothing and sleeps 10 ms: each such turn of the
// documented loop adds three counts, so the waiting figure is a little
// above its minimum, by an amount that depends on timing.

namespace counting {

using semcount::Counts;
using semcount::Role;

constexpr int kHold = 10;  // the dispatcher waits in its handler
constexpr int kMark = 11;  // the dispatcher reads its counts
constexpr int kPlain = 12; // counted as received

bool waitFor(const std::atomic<bool>& flag) {
    for (int i = 0; i < 10000 && !flag.load(); ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    return flag.load();
}

// A generic host that lets the queue fill behind a held message, so that
// the dispatcher then delivers without idle passes in between.
class Marker : public EventHostGeneric {
public:
    Marker() : EventHostGeneric("count") {}
    int OnRecvMessage(EventMessage* m) override {
        if (m->getEventId() == 9999) {
            semcount::setRole(semcount::kDispatcher);
            started = true;
        } else if (m->getEventId() == kHold) {
            waitFor(release);
            from = semcount::read(semcount::kDispatcher);
        } else if (m->getEventId() == kMark) {
            to = semcount::read(semcount::kDispatcher);
            marked = true;
        }
        return 0;
    }
    std::atomic<bool> started{false}, release{false}, marked{false};
    Counts from, to;
};

class Receiver : public EventHostThread {
public:
    Receiver() : EventHostThread("count-thread") {}
    ~Receiver() override { Stop(true); }
    void Run() override {
        semcount::setRole(semcount::kReceiver);
        EventMessage m;
        while (WaitMessage(&m)) {
            if (m.getEventId() == 9999) {
                started = true;
                continue;
            }
            if (m.getEventId() == kHold)
                waitFor(release);
            seen[received.load()] = semcount::read(semcount::kReceiver);
            received.fetch_add(1);
        }
    }
    std::atomic<bool> started{false}, release{false};
    std::atomic<int> received{0};
    Counts seen[4096];
};

void line(const char* what, const Counts& c, double units, int minimum) {
    std::printf("  %-44s %s   minimum %d\n", what, semcount::perUnit(c, units).c_str(), minimum);
}

void send(EventHandler* events, int target, int eventId) {
    EventMessage m(target, eventId, "count", nullptr, nullptr, nullptr);
    events->SendEventMsg(&m);
}

// Counts the calls of each side and prints them with their minimum.
void countCalls() {
    constexpr int kMessages = 2000;
    constexpr int kWaiting = 20;
    EventHandler* events = dispatcher();
    semcount::setRole(semcount::kSender);
    std::printf("System V semaphore calls per delivered message (semget + semctl + semop):\n");

    // A generic host, first in the active list.
    {
        Marker host;
        join(events, host);
        send(events, host.getId(), kHold);
        EventMessage plain(host.getId(), kPlain, "count", nullptr, nullptr, nullptr);
        const Counts before = semcount::read(semcount::kSender);
        for (int i = 0; i < kMessages; ++i)
            events->SendEventMsg(&plain);
        const Counts sent = semcount::read(semcount::kSender) - before;
        send(events, host.getId(), kMark);
        host.release = true;
        waitFor(host.marked);
        line("sender, SendEventMsg", sent, kMessages, 5);
        // From the end of the held delivery to the marker: kMessages + 1
        // full cycles.
        line("dispatcher, generic host", host.to - host.from, kMessages + 1, 5);
        events->UnRegister(&host);
    }

    // A threaded host, first in the active list, and a generic marker after
    // it.
    {
        Receiver host;
        join(events, host);
        Marker marker;
        join(events, marker);
        send(events, marker.getId(), kHold);
        send(events, host.getId(), kHold); // keeps the host busy
        for (int i = 0; i < kMessages; ++i)
            send(events, host.getId(), kPlain);
        send(events, marker.getId(), kMark);
        marker.release = true;
        waitFor(marker.marked);
        host.release = true;
        for (int i = 0; i < 10000 && host.received.load() < kMessages + 1; ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        // The held marker's removal and the marker's walk (two hosts) are
        // in the dispatcher's figure too; over kMessages + 1 messages they
        // add (4 + 2) / kMessages.
        line("dispatcher, threaded host", marker.to - marker.from, kMessages + 1, 8);
        line("receiver, host busy (message queued)", host.seen[kMessages] - host.seen[1],
             kMessages - 1, 5);
        // One message at a time: the host waits at its gate for each.
        const int first = host.received.load();
        for (int i = 0; i < kWaiting; ++i) {
            send(events, host.getId(), kPlain);
            for (int k = 0; k < 10000 && host.received.load() <= first + i; ++k)
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        line("receiver, host waiting at its gate",
             host.seen[first + kWaiting - 1] - host.seen[first - 1], kWaiting, 6);
        events->UnRegister(&marker);
        events->UnRegister(&host);
    }
    semcount::setRole(semcount::kOther);
    std::printf("\n");
    std::fflush(stdout);
}

} // namespace counting

// ---- The plain queues: the same message, copied per send, and a receiving
// thread that finds the target by id ---------------------------------------

struct PlainMessage {
    int target;
    int eventId;
    std::string text;
    void* p1;
    void* p2;
    void* p3;
};

struct Receiver {
    int id;
    std::atomic<long> count{0};
    Stamps stamps;
    virtual ~Receiver() = default;
    virtual void handle(const PlainMessage& m) {
        if (m.eventId == 2)
            stamps.arrived();
        else
            count.fetch_add(1, std::memory_order_relaxed);
    }
};

// The receivers a consumer thread delivers to, found by id as the
// dispatcher does.
struct Registry {
    std::vector<Receiver*> hosts;
    void deliver(const PlainMessage& m) {
        for (Receiver* r : hosts)
            if (r->id == m.target) {
                r->handle(m);
                return;
            }
    }
};

class MessageNotification : public Poco::Notification {
public:
    explicit MessageNotification(const PlainMessage& m) : message(m) {}
    PlainMessage message;
};

class PocoQueue {
public:
    explicit PocoQueue(Registry& registry)
        : m_consumer([this, &registry] {
              for (;;) {
                  Poco::AutoPtr<Poco::Notification> n(m_queue.waitDequeueNotification());
                  auto* m = dynamic_cast<MessageNotification*>(n.get());
                  if (m == nullptr)
                      return; // the stop notification
                  registry.deliver(m->message);
              }
          }) {}
    ~PocoQueue() {
        m_queue.enqueueNotification(new Poco::Notification());
        m_consumer.join();
    }
    void send(const PlainMessage& m) { m_queue.enqueueNotification(new MessageNotification(m)); }

private:
    Poco::NotificationQueue m_queue;
    std::thread m_consumer;
};

class CondvarQueue {
public:
    explicit CondvarQueue(Registry& registry)
        : m_consumer([this, &registry] {
              for (;;) {
                  std::unique_ptr<PlainMessage> m;
                  {
                      std::unique_lock<std::mutex> guard(m_lock);
                      m_ready.wait(guard, [this] { return !m_queue.empty(); });
                      m = std::move(m_queue.front());
                      m_queue.pop_front();
                  }
                  if (!m)
                      return; // the stop entry
                  registry.deliver(*m);
              }
          }) {}
    ~CondvarQueue() {
        {
            std::lock_guard<std::mutex> guard(m_lock);
            m_queue.push_back(nullptr);
        }
        m_ready.notify_one();
        m_consumer.join();
    }
    void send(const PlainMessage& m) {
        std::unique_ptr<PlainMessage> copy(new PlainMessage(m));
        {
            std::lock_guard<std::mutex> guard(m_lock);
            m_queue.push_back(std::move(copy));
        }
        m_ready.notify_one();
    }

private:
    std::mutex m_lock;
    std::condition_variable m_ready;
    std::deque<std::unique_ptr<PlainMessage>> m_queue;
    std::thread m_consumer;
};

template <class Queue> void throughput(benchmark::State& state) {
    Receiver host;
    host.id = 7;
    Registry registry{{&host}};
    Queue queue(registry);
    const PlainMessage m{7, 1, "bench", nullptr, nullptr, nullptr};
    for (auto _ : state) {
        const long target = host.count.load() + kBatch;
        for (int i = 0; i < kBatch; ++i)
            queue.send(m);
        while (host.count.load() < target)
            std::this_thread::sleep_for(std::chrono::microseconds(50));
    }
    state.SetItemsProcessed(state.iterations() * kBatch);
}

template <class Queue> void latency(benchmark::State& state) {
    Receiver host;
    host.id = 7;
    Registry registry{{&host}};
    Queue queue(registry);
    const PlainMessage m{7, 2, "bench", nullptr, nullptr, nullptr};
    for (auto _ : state)
        measure(host.stamps, kGenericSamples, [&] { queue.send(m); });
    report(state, host.stamps.micros);
}

void BM_Throughput_PocoNotificationQueue(benchmark::State& state) {
    throughput<PocoQueue>(state);
}
void BM_Throughput_MutexCondvarQueue(benchmark::State& state) {
    throughput<CondvarQueue>(state);
}
void BM_Latency_PocoNotificationQueue(benchmark::State& state) {
    latency<PocoQueue>(state);
}
void BM_Latency_MutexCondvarQueue(benchmark::State& state) {
    latency<CondvarQueue>(state);
}

} // namespace

BENCHMARK(BM_Throughput_Vemlo)->UseRealTime()->MinTime(2.0);
BENCHMARK(BM_Throughput_PocoNotificationQueue)->UseRealTime()->MinTime(2.0);
BENCHMARK(BM_Throughput_MutexCondvarQueue)->UseRealTime()->MinTime(2.0);
BENCHMARK(BM_Latency_Vemlo_Generic)->UseRealTime()->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Latency_Vemlo_Threaded)->UseRealTime()->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Latency_PocoNotificationQueue)
    ->UseRealTime()
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Latency_MutexCondvarQueue)
    ->UseRealTime()
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);

int main(int argc, char** argv) {
    counting::countCalls();
    return ratios::main(
        argc, argv,
        {{"throughput, generic host: POCO", "BM_Throughput_Vemlo/min_time:2.000/real_time",
          "BM_Throughput_PocoNotificationQueue/min_time:2.000/real_time", 0},
         {"throughput, generic host: mutex+condvar", "BM_Throughput_Vemlo/min_time:2.000/real_time",
          "BM_Throughput_MutexCondvarQueue/min_time:2.000/real_time", 0}});
}
