//===- State/StateMachineTest.cpp - Event-driven state machine ------------===//
#include "Event/EventTestKit.h"
#include "support/SyslogSink.h"
#include "support/TestConfig.h"

#include <memory>
#include <stdexcept>

#include <syslog.h>

using EventTestKit::Recorder;
using EventTestKit::send;
using EventTestKit::waitFor;
using Vemlo::Event::EventHandler;
using Vemlo::Event::EventMessage;
using Vemlo::State::LogElement;
using Vemlo::State::StateMachine;
using Vemlo::State::StateUnit;
using Vemlo::State::Transition;

namespace {

constexpr std::chrono::milliseconds kLimit(10000);
enum { EV_START = 1, EV_FINISH = 2, EV_AGAIN = 3, EV_OTHER = 7 };

// What the entry callbacks saw.
std::atomic<int> g_entries{0}, g_lastEntryEvent{0};
std::atomic<void*> g_lastMachine{nullptr};
std::atomic<StateUnit*> g_lastState{nullptr};
void onEntry(EventMessage* m, void* machine, StateUnit* state) {
    g_lastEntryEvent = m->getEventId();
    g_lastMachine = machine;
    g_lastState = state;
    g_entries.fetch_add(1);
}

std::atomic<int> g_failure{0}; // which kind of failure the callback throws
void failing(EventMessage*, void*, StateUnit*) {
    if (g_failure == 0)
        throw new Vemlo::Common::Exception("broken", 9);
    if (g_failure == 1)
        throw std::runtime_error("std broken");
    throw 5;
}

class StateMachineTest : public testing::Test {
protected:
    void TearDown() override {
        EventHandler::DestroyInstance();
        Vemlo::Log::Logger::DestroyLogger();
    }
    VemloTest::TestConfig m_config;
    VemloTest::SyslogSink m_sink;
    EventTestKit::Watchdog m_watchdog{60};
};

} // namespace

TEST_F(StateMachineTest, EventsFromAnotherThreadDriveTheMachineThroughItsStates) {
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
    ASSERT_TRUE(waitFor([&] { return events->FindHost(machine.getId()) == &machine; }, kLimit));
    ASSERT_TRUE(waitFor([&] { return machine.getState() == 1; }, kLimit));
    m_sink.drain();
    std::thread([id = machine.getId()] {
        send(id, EV_OTHER); // nothing to do
        send(id, EV_START);
        send(id, EV_AGAIN); // stays: no line, no entry callback
        send(id, EV_FINISH);
    }).join();
    ASSERT_TRUE(waitFor([] { return g_entries == 2; }, kLimit));
    EXPECT_EQ(machine.getCurrentState(), &done);
    EXPECT_EQ(g_lastEntryEvent, EV_FINISH);
    EXPECT_EQ(g_lastMachine.load(), static_cast<void*>(&machine));
    EXPECT_EQ(g_lastState.load(), &done);
    std::vector<std::string> lines; // priority and text
    for (const VemloTest::SyslogRecord& r : m_sink.take(2))
        lines.push_back(std::to_string(r.priority) + " " + r.text);
    const std::string debug = std::to_string(LOG_DEBUG) + " [DEBUG] [StateMachine::Run] move from ";
    EXPECT_EQ(lines, (std::vector<std::string>{debug + "[idle] state to [running] state",
                                               debug + "[running] state to [done] state"}));

    // Three steps recorded, the one to itself included; entry callbacks run
    // after the history is written, so it is complete here.
    std::vector<std::pair<int, StateUnit*>> steps;
    for (int i = 0; i < machine.getHistory()->Count(); ++i) {
        LogElement* step = dynamic_cast<LogElement*>(machine.getHistory()->At(i));
        steps.emplace_back(step ? step->getEventId() : -1, step ? step->getState() : nullptr);
    }
    EXPECT_EQ(steps,
              (decltype(steps){{EV_START, &running}, {EV_AGAIN, &running}, {EV_FINISH, &done}}));
    EXPECT_EQ(events->UnRegister(&machine), 0);
}

TEST_F(StateMachineTest, AFailingCallbackUnregistersTheMachineAndTellsEveryHost) {
    EventHandler* events = EventHandler::getInstance();
    Recorder listener("listener");
    ASSERT_TRUE(EventTestKit::registerAndWait(&listener, [&] { return listener.count() == 1; }));
    // A framework or standard exception is also broadcast as event 1001;
    // anything else is only printed.
    const char* const printed[] = {"[StateMachine::Run] Exception: [broken]\n",
                                   "[StateMachine::Run] Exception: [std broken]\n", "error --- "};
    for (int kind = 0; kind < 3; ++kind) {
        SCOPED_TRACE(kind);
        g_failure = kind;
        StateUnit calm, broken;
        calm.name = "calm";
        broken.name = "broken";
        broken.onEntry = &failing;
        new Transition(&calm, &broken, EV_START, nullptr);
        std::unique_ptr<StateMachine> machine(new StateMachine("fragile"));
        machine->setCurrentState(&calm);
        events->Register(machine.get());
        ASSERT_TRUE(
            waitFor([&] { return events->FindHost(machine->getId()) == machine.get(); }, kLimit));
        const size_t before = listener.received().size();

        testing::internal::CaptureStdout();
        send(machine->getId(), EV_START);
        // The machine's thread ends after it unregistered itself.
        const bool ended = waitFor([&] { return machine->getState() == 2; }, kLimit);
        EXPECT_EQ(testing::internal::GetCapturedStdout(), printed[kind]);
        ASSERT_TRUE(ended);
        EXPECT_EQ(events->FindHost(machine->getId()), nullptr);
        EXPECT_EQ(machine->getCurrentState(), &broken);
        // Other hosts are still served: the dispatcher did not stall.
        send(listener.getId(), 42 + kind);
        ASSERT_TRUE(waitFor([&] { return listener.events().back() == 42 + kind; }, kLimit));
        std::vector<EventTestKit::Received> got = listener.received(), expected;
        got.erase(got.begin(), got.begin() + before);
        if (kind < 2) // to every host
            expected.push_back({0, 1001, printed[kind], nullptr});
        expected.push_back({listener.getId(), 42 + kind, "", nullptr});
        EXPECT_EQ(got, expected);
    }
    EXPECT_EQ(events->UnRegister(&listener), 0);
}
