//===- Event/EventTestKit.h - Helpers of the event and state tests --------===//
//
// Header-only helpers for the test programs of the events and the state
// machine: bounded waits, a watchdog that ends a hung program, and a generic
// host that records what it receives. Include it in one source per program.
//
//===----------------------------------------------------------------------===//
#ifndef VEMLO_TESTS_EVENT_EVENTTESTKIT_H
#define VEMLO_TESTS_EVENT_EVENTTESTKIT_H

#include "Service/ThreadTestKit.h"
#include "support/VemloTest.h"

#include <atomic>
#include <functional>
#include <mutex>
#include <string>
#include <tuple>
#include <vector>

#include <unistd.h>

namespace EventTestKit {

using Clock = std::chrono::steady_clock;
using VemloTest::waitFor;

// Ends the program (SIGALRM) when it still runs after `seconds`: a hang in
// the code under test becomes a failed test instead of a stuck run.
struct Watchdog {
    explicit Watchdog(unsigned seconds) { alarm(seconds); }
    ~Watchdog() { alarm(0); }
};

struct Received {
    int target, eventId;
    std::string text;
    void* p1;
    bool operator==(const Received& o) const {
        return std::tie(target, eventId, text, p1) == std::tie(o.target, o.eventId, o.text, o.p1);
    }
};

// A generic host that records every message (on the dispatcher's thread),
// then runs `hook` if set: to throw, to take its time or to act from inside
// the dispatcher.
class Recorder : public Vemlo::Event::EventHostGeneric {
public:
    explicit Recorder(const char* name) : EventHostGeneric(name) {}
    int OnRecvMessage(Vemlo::Event::EventMessage* m) override {
        {
            std::lock_guard<std::mutex> guard(m_lock);
            m_received.push_back({m->getTargetId(), m->getEventId(), m->getText(), m->getParam1()});
        }
        m_count.fetch_add(1);
        if (hook)
            hook(m);
        return 0;
    }
    int count() const { return m_count.load(); }
    std::vector<Received> received() {
        std::lock_guard<std::mutex> guard(m_lock);
        return m_received;
    }
    std::vector<int> events() { // event ids, in arrival order
        std::vector<int> ids;
        for (const Received& r : received())
            ids.push_back(r.eventId);
        return ids;
    }
    std::function<void(Vemlo::Event::EventMessage*)> hook;

private:
    std::mutex m_lock;
    std::vector<Received> m_received;
    std::atomic<int> m_count{0};
};

inline void send(int target, int eventId, const char* text = "", void* p1 = nullptr) {
    Vemlo::Event::EventMessage m(target, eventId, text, p1, nullptr, nullptr);
    Vemlo::Event::EventHandler::getInstance()->SendEventMsg(&m);
}

// Registers `host` and waits until it has its start-up event.
inline bool registerAndWait(Recorder& host) {
    Vemlo::Event::EventHandler::getInstance()->Register(&host);
    return waitFor([&] { return host.count() >= 1; });
}

} // namespace EventTestKit

#endif // VEMLO_TESTS_EVENT_EVENTTESTKIT_H
