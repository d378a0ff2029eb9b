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
#include <Vemlo/Vemlo.h>

#include <Poco/AutoPtr.h>
#include <Poco/Notification.h>
#include <Poco/NotificationQueue.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <deque>
#include <fstream>
#include <memory>
#include <mutex>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include <unistd.h>

using Vemlo::Event::EventHandler;
using Vemlo::Event::EventHostGeneric;
using Vemlo::Event::EventHostThread;
using Vemlo::Event::EventMessage;

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kBatch = 5000;         // messages per throughput iteration
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

class Counter : public EventHostGeneric {
public:
    Counter() : EventHostGeneric("bench") {}
    int OnRecvMessage(EventMessage* m) override {
        if (m->getEventId() == 9999)
            started = true;
        else if (m->getEventId() == 2)
            stamps.arrived();
        else
            count.fetch_add(1, std::memory_order_relaxed);
        return 0;
    }
    std::atomic<bool> started{false};
    std::atomic<long> count{0};
    Stamps stamps;
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
    for (auto _ : state) {
        const long target = host.count.load() + kBatch;
        for (int i = 0; i < kBatch; ++i)
            events->SendEventMsg(&m);
        while (host.count.load() < target)
            std::this_thread::sleep_for(std::chrono::microseconds(50));
    }
    state.SetItemsProcessed(state.iterations() * kBatch);
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

void BM_Throughput_PocoNotificationQueue(benchmark::State& state) { throughput<PocoQueue>(state); }
void BM_Throughput_MutexCondvarQueue(benchmark::State& state) { throughput<CondvarQueue>(state); }
void BM_Latency_PocoNotificationQueue(benchmark::State& state) { latency<PocoQueue>(state); }
void BM_Latency_MutexCondvarQueue(benchmark::State& state) { latency<CondvarQueue>(state); }

} // namespace

BENCHMARK(BM_Throughput_Vemlo)->UseRealTime()->MinTime(2.0);
BENCHMARK(BM_Throughput_PocoNotificationQueue)->UseRealTime()->MinTime(2.0);
BENCHMARK(BM_Throughput_MutexCondvarQueue)->UseRealTime()->MinTime(2.0);
BENCHMARK(BM_Latency_Vemlo_Generic)->UseRealTime()->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Latency_Vemlo_Threaded)->UseRealTime()->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Latency_PocoNotificationQueue)->UseRealTime()->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Latency_MutexCondvarQueue)->UseRealTime()->Iterations(1)->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
