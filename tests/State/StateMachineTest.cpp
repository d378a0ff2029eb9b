//===- State/StateMachineTest.cpp - Event-driven state machine ------------===//
#include "support/Hosts.h"
#include "support/SyslogSink.h"
#include "support/TestConfig.h"

#include <syslog.h>

using namespace Vemlo::Event;
using namespace Vemlo::State;
using namespace VemloTest;

namespace {

enum { EV_START = 1, EV_FINISH = 2, EV_AGAIN = 3, EV_OTHER = 7 };

// What the entry callbacks saw.
std::atomic<int> g_entries{0};
std::atomic<void*> g_lastMachine{nullptr};
void onEntry(EventMessage*, void* machine, StateUnit*) {
    g_lastMachine = machine;
    g_entries.fetch_add(1);
}

std::atomic<int> g_failure{0}; // which kind of failure the callback throws
std::atomic<bool> g_dispatcherBusy{false};
void failing(EventMessage*, void*, StateUnit*) {
    // Fails only once the dispatcher is inside another host's handler.
    waitFor([] { return g_dispatcherBusy.load(); }, std::chrono::milliseconds(2000));
    // A pointer to an object the application keeps: read, never deleted.
    static Vemlo::Common::Exception broken("broken", 9);
    if (g_failure == 0)
        throw &broken;
    if (g_failure == 1)
        throw std::runtime_error("out of range");
    throw 5;
}

struct StateMachineTest : ConfiguredTest {
    SyslogSink m_sink;
};

} // namespace

TEST_F(StateMachineTest, EventsFromAnotherThreadDriveTheMachineAndAFailingCallbackUnregistersIt) {
    SYSLOG_SINK_OR_SKIP(m_sink);
    StateUnit idle, running, done;
    idle.name = "idle";
    running.name = "running";
    done.name = "done";
    running.onEntry = done.onEntry = &onEntry;
    new Transition(&idle, &running, EV_START, nullptr);
    new Transition(&running, &running, EV_AGAIN, nullptr); // to itself
    new Transition(&running, &done, EV_FINISH, nullptr);

    EventHandler* events = EventHandler::getInstance();
    StateMachine machine("machine");
    machine.setCurrentState(&idle);
    events->Register(&machine);
    // The start-up event matches no transition; the machine stays idle.
    ASSERT_TRUE(waitFor([&] { return events->FindHost(machine.getId()) == &machine; }));
    ASSERT_TRUE(waitFor([&] { return machine.getState() == 1; }));
    m_sink.drain();
    std::thread([id = machine.getId()] {
        send(id, EV_OTHER); // nothing to do
        send(id, EV_START);
        send(id, EV_AGAIN); // stays: no line, no entry callback
        send(id, EV_FINISH);
    }).join();
    ASSERT_TRUE(waitFor([] { return g_entries == 2; }));
    EXPECT_EQ(machine.getCurrentState(), &done);
    EXPECT_EQ(g_lastMachine.load(), static_cast<void*>(&machine));
    SyslogRecord line; // one move, word for word
    ASSERT_TRUE(m_sink.next(line));
    EXPECT_EQ(line.priority, LOG_DEBUG);
    EXPECT_EQ(line.text, "[DEBUG] [StateMachine::Run] move from [idle] state to [running] state");
    EXPECT_EQ(machine.getHistory()->Count(), 3); // the step to itself included
    EXPECT_EQ(events->UnRegister(&machine), 0);

    Recorder listener("listener");
    std::mutex needed; // the listener's handler of event 40 waits for it
    listener.hook = [&](EventMessage* m) {
        if (m->getEventId() == 40) {
            g_dispatcherBusy = true;
            std::lock_guard<std::mutex> wait(needed);
        }
    };
    ASSERT_TRUE(registerAndWait(listener));
    // A framework or standard exception is also broadcast as event 1001;
    // anything else is only printed.
    const char* const printed[] = {"[StateMachine::Run] Exception: [broken]\n",
                                   "[StateMachine::Run] Exception: [out of range]\n", "error --- "};
    for (int kind = 0; kind < 3; ++kind) {
        SCOPED_TRACE(kind);
        g_failure = kind;
        StateUnit calm, broken;
        calm.name = "calm";
        broken.name = "broken";
        broken.onEntry = &failing;
        new Transition(&calm, &broken, EV_START, nullptr);
        std::unique_ptr<StateMachine> fragile(new StateMachine("fragile"));
        fragile->setCurrentState(&calm);
        events->Register(fragile.get());
        ASSERT_TRUE(waitFor([&] { return events->FindHost(fragile->getId()) == fragile.get(); }));
        const size_t before = listener.received().size();

        testing::internal::CaptureStdout();
        g_dispatcherBusy = false;
        std::unique_lock<std::mutex> hold(needed);
        send(fragile->getId(), EV_START);
        send(listener.getId(), 40); // keeps the dispatcher busy meanwhile
        // The machine's thread ends after it unregistered itself, although
        // the dispatcher is still inside the listener's handler.
        const bool ended =
            waitFor([&] { return fragile->getState() == 2; }, std::chrono::milliseconds(3000));
        hold.unlock();
        EXPECT_EQ(testing::internal::GetCapturedStdout(), printed[kind]);
        ASSERT_TRUE(ended);
        EXPECT_EQ(events->FindHost(fragile->getId()), nullptr);
        EXPECT_EQ(fragile->getCurrentState(), &broken);
        // Other hosts are still served: the dispatcher did not stall.
        send(listener.getId(), 42 + kind);
        ASSERT_TRUE(waitFor([&] { return listener.events().back() == 42 + kind; }));
        std::vector<Received> got = listener.received(), expected;
        got.erase(got.begin(), got.begin() + before);
        expected.emplace_back(listener.getId(), 40, "", nullptr, nullptr);
        if (kind < 2) // to every host
            expected.emplace_back(0, 1001, printed[kind], nullptr, nullptr);
        expected.emplace_back(listener.getId(), 42 + kind, "", nullptr, nullptr);
        EXPECT_EQ(got, expected);
    }
    EXPECT_EQ(events->UnRegister(&listener), 0);
}
