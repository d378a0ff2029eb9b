//===- support/Hosts.h - Threads and event hosts that record --------------===//
//
// The workers the tests of threads, the reaper, the dispatcher, threaded
// hosts and state machines drive: a thread that spins until released, and
// hosts (generic or with a thread of their own) that record every message.
//
//===----------------------------------------------------------------------===//
#ifndef VEMLO_TESTS_SUPPORT_HOSTS_H
#define VEMLO_TESTS_SUPPORT_HOSTS_H

#include "support/VemloTest.h"

#include <atomic>
#include <functional>
#include <mutex>
#include <tuple>
#include <vector>

namespace VemloTest {

// Runs until released or asked to stop, or returns at once when `quick`;
// counts its runs.
class Spinner : public Vemlo::Service::Thread {
public:
    explicit Spinner(bool quick = false) : release(quick) {}
    void Run() override {
        ++runs;
        stopSeenAtStart = m_bStop.load();
        while (!m_bStop && !release)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    std::atomic<bool> release, stopSeenAtStart{false};
    std::atomic<int> runs{0};
};

// Target, event id, text, parameters 1 and 2 of a message received.
using Received = std::tuple<int, int, std::string, void*, void*>;

// What a host received, in arrival order. `hook` runs after each record, on
// the receiving thread: to throw, to take its time or to act from there.
class Inbox {
public:
    void note(Vemlo::Event::EventMessage* m) {
        std::unique_lock<std::mutex> guard(m_lock);
        m_received.emplace_back(m->getTargetId(), m->getEventId(), m->getText(), m->getParam1(),
                                m->getParam2());
        guard.unlock();
        if (hook)
            hook(m);
    }
    int count() { return static_cast<int>(received().size()); }
    std::vector<Received> received() {
        std::lock_guard<std::mutex> guard(m_lock);
        return m_received;
    }
    std::vector<int> events() {
        std::vector<int> ids;
        for (const Received& r : received())
            ids.push_back(std::get<1>(r));
        return ids;
    }
    std::function<void(Vemlo::Event::EventMessage*)> hook;

private:
    std::mutex m_lock;
    std::vector<Received> m_received;
};

class Recorder : public Vemlo::Event::EventHostGeneric, public Inbox {
public:
    explicit Recorder(const char* name) : EventHostGeneric(name) {}
    int OnRecvMessage(Vemlo::Event::EventMessage* m) override {
        note(m);
        return 0;
    }
};

// Its thread records what WaitMessage gives; `leftAlone` tells whether the
// final false left the caller's message untouched.
class ThreadRecorder : public Vemlo::Event::EventHostThread, public Inbox {
public:
    explicit ThreadRecorder(const char* name) : EventHostThread(name) {}
    ~ThreadRecorder() override { Stop(true); }
    void Run() override {
        for (;;) {
            Vemlo::Event::EventMessage out(-1, -1, "untouched", nullptr, nullptr, nullptr);
            if (!WaitMessage(&out)) {
                leftAlone = out.getEventId() == -1 && std::string(out.getText()) == "untouched";
                break;
            }
            note(&out);
        }
        ended = true;
    }
    void askToStop() { m_bStop = true; } // the flag only, as Stop() sets it before it joins
    std::atomic<bool> leftAlone{false}, ended{false};
};

inline void send(int target, int eventId, const char* text = "", void* p1 = nullptr) {
    Vemlo::Event::EventMessage m(target, eventId, text, p1, nullptr, nullptr);
    Vemlo::Event::EventHandler::getInstance()->SendEventMsg(&m);
}

// Registers `host` and waits until it has its start-up event.
template <class Host> bool registerAndWait(Host& host) {
    Vemlo::Event::EventHandler::getInstance()->Register(&host);
    return waitFor([&] { return host.count() >= 1; });
}

} // namespace VemloTest

#endif // VEMLO_TESTS_SUPPORT_HOSTS_H
