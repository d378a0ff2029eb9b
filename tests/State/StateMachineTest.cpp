//===- State/StateMachineTest.cpp - States, transitions and the machine ---===//
#include "support/Hosts.h"
#include "support/SyslogSink.h"
#include "support/TestConfig.h"

#include <syslog.h>

using namespace Vemlo::Event;
using namespace Vemlo::State;
using namespace VemloTest;

namespace {

enum { EV_START = 1, EV_FINISH = 2, EV_AGAIN = 3, EV_OTHER = 7 };

// What the entry callbacks and actions saw.
std::atomic<int> g_entries{0};
std::atomic<void*> g_machineSeen{nullptr};
void onEntry(EventMessage*, void* machine, StateUnit*) {
    g_machineSeen = machine;
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

int g_actions = 0;

// Counts its calls and renumbers the message, which the record then shows.
void renumber(EventMessage* m, void* machine, Transition*) {
    ++g_actions;
    g_machineSeen = machine;
    m->setEventId(1000 + g_actions);
}
void* const kRenumber = reinterpret_cast<void*>(&renumber);

// Takes the post state away while the transition fires.
void dropPostState(EventMessage*, void*, Transition* t) {
    t->setPostState("gone");
}

LogElement* record(StateMachine& machine, int index) {
    return dynamic_cast<LogElement*>(machine.getHistory()->At(index));
}

using StateMachineTest = ConfiguredTest;

} // namespace

// First OnTransition, called directly on the test's thread.
TEST_F(StateMachineTest, StepsAreRecordedEventsDriveTheMachineAndAFailingCallbackUnregistersIt) {
    StateUnit a, b, c;
    b.name = "b";
    c.name = "c";
    StateMachine unit("unit"); // never started: it lends its history
    Transition* toB = new Transition(&a, &b, 1, kRenumber);
    new Transition(&a, &c, 1, kRenumber); // same event id: never used
    new Transition(&a, &a, 2, nullptr);
    // Post states are chosen by name; the last one added is the current one.
    Transition* byName = new Transition(&a, 3, kRenumber);
    // The source owns it now.
    EXPECT_TRUE(a.transitions.At(3) == byName && byName->getPostState() == nullptr);
    byName->AddPostState(&b);
    byName->AddPostState(&c);
    byName->AddPostState(nullptr); // nothing to add
    EXPECT_EQ(byName->getPostState(), &c);
    byName->setPostState("b");
    EXPECT_EQ(byName->getPostState(), &b);
    byName->setPostState("blue"); // unknown: no post state, so it never fires
    EXPECT_EQ(byName->getPostState(), nullptr);
    new Transition(&a, &b, 6, reinterpret_cast<void*>(&dropPostState));
    EventMessage m(0, 1, "", nullptr, nullptr, nullptr);
    EXPECT_EQ(a.OnTransition(&m, &unit), &b);
    ASSERT_EQ(unit.getHistory()->Count(), 1);
    // The record's event id is read after the action.
    EXPECT_EQ(std::make_tuple(g_actions, g_machineSeen.load(), record(unit, 0)->getTransition(),
                              record(unit, 0)->getEventId()),
              std::make_tuple(1, static_cast<void*>(&unit), toB, 1001));

    m.setEventId(2); // back to itself: still a step in the history
    EXPECT_EQ(a.OnTransition(&m, &unit), &a);
    ASSERT_EQ(unit.getHistory()->Count(), 2);
    // No post state (from the start or after the action), no transition for
    // the event, no message: no move, no counted action, nothing recorded.
    for (int event : {3, 6, 4}) {
        m.setEventId(event);
        EXPECT_EQ(a.OnTransition(&m, &unit), &a);
    }
    EXPECT_EQ(a.OnTransition(nullptr, &unit), &a);
    EXPECT_EQ(std::make_pair(g_actions, unit.getHistory()->Count()), std::make_pair(1, 2));

    // A null entry in the list is reported and ends the search.
    a.transitions.Add(static_cast<Vemlo::Data::Object*>(nullptr));
    new Transition(&a, &c, 8, nullptr);
    m.setEventId(8);
    testing::internal::CaptureStdout();
    EXPECT_EQ(a.OnTransition(&m, &unit), &a);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "[StateUnit::OnTransition] 5 Transition is NULL\n");
    EXPECT_EQ(unit.getHistory()->Count(), 2);

    // The history keeps the last 99 records, newest last; the oldest are
    // dropped (and freed: the sanitizers check).
    new Transition(&b, &b, 5, kRenumber);
    for (int i = 0; i < 150; ++i) {
        m.setEventId(5); // the action renumbers it
        ASSERT_EQ(b.OnTransition(&m, &unit), &b);
    }
    ASSERT_EQ(unit.getHistory()->Count(), 99);
    EXPECT_EQ(record(unit, 0)->getEventId(), 1053);
    EXPECT_EQ(record(unit, 98)->getEventId(), 1151);

    SyslogSink sink;
    SYSLOG_SINK_OR_SKIP(sink);
    StateUnit idle, running, done;
    idle.name = "idle";
    running.name = "running";
    running.onEntry = done.onEntry = &onEntry;
    new Transition(&idle, &running, EV_START, nullptr);
    new Transition(&running, &running, EV_AGAIN, nullptr); // to itself
    new Transition(&running, &done, EV_FINISH, nullptr);

    EventHandler* events = EventHandler::getInstance();
    StateMachine machine("machine");
    events->Register(&machine);
    // With no state yet, the start-up event is passed over (taken from the queue).
    ASSERT_TRUE(waitFor([&] { return events->FindHost(machine.getId()) == &machine; }));
    ASSERT_TRUE(waitFor([&] { return machine.getState() == 1 && machine.getQueuedCount() == 0; }));
    machine.setCurrentState(&idle);
    sink.drain();
    std::thread([id = machine.getId()] {
        send(id, EV_OTHER); // nothing to do
        send(id, EV_START);
        send(id, EV_AGAIN); // stays: no line, no entry callback
        send(id, EV_FINISH);
    }).join();
    ASSERT_TRUE(waitFor([] { return g_entries == 2; }));
    EXPECT_EQ(machine.getCurrentState(), &done);
    EXPECT_EQ(g_machineSeen.load(), static_cast<void*>(&machine));
    SyslogRecord line; // one move, word for word
    ASSERT_TRUE(sink.next(line));
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
    running.onEntry = &failing; // a machine that moves from idle to running now fails there
    // A framework or standard exception is also broadcast as event 1001;
    // anything else is only printed.
    const char* const printed[] = {"[StateMachine::Run] Exception: [broken]\n",
                                   "[StateMachine::Run] Exception: [out of range]\n", "error --- "};
    for (int kind = 0; kind < 3; ++kind) {
        SCOPED_TRACE(kind);
        g_failure = kind;
        std::unique_ptr<StateMachine> fragile(new StateMachine("fragile"));
        fragile->setCurrentState(&idle);
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
        EXPECT_EQ(fragile->getCurrentState(), &running);
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
