//===- State/StateUnitTest.cpp - Choosing and firing transitions ----------===//
//
// OnTransition is called directly here, on the test's thread; the machine
// only lends its history (its thread is never started).
//
//===----------------------------------------------------------------------===//
#include "support/TestConfig.h"
#include "support/VemloTest.h"

using Vemlo::Event::EventMessage;
using Vemlo::State::LogElement;
using Vemlo::State::StateMachine;
using Vemlo::State::StateUnit;
using Vemlo::State::Transition;

namespace {

int g_actions = 0;
void* g_machineSeen = nullptr;
Transition* g_transitionSeen = nullptr;

// Counts its calls and renumbers the message, which the record then shows.
void renumber(EventMessage* m, void* machine, Transition* t) {
    ++g_actions;
    g_machineSeen = machine;
    g_transitionSeen = t;
    m->setEventId(1000 + g_actions);
}

void* action(void (*f)(EventMessage*, void*, Transition*)) { return reinterpret_cast<void*>(f); }

LogElement* record(StateMachine& machine, int index) {
    return dynamic_cast<LogElement*>(machine.getHistory()->At(index));
}

class StateUnitTest : public testing::Test {
protected:
    void SetUp() override { g_actions = 0; }
    void TearDown() override { Vemlo::Log::Logger::DestroyLogger(); }
    VemloTest::TestConfig m_config;
};

} // namespace

TEST_F(StateUnitTest, TheFirstMatchingTransitionRunsItsActionAndIsRecorded) {
    StateUnit a, b, c;
    a.name = "a";
    b.name = "b";
    c.name = "c";
    EXPECT_EQ(a.id, 0);
    EXPECT_EQ(a.userData, nullptr);
    EXPECT_EQ(a.onEntry, nullptr);
    Transition* toB = new Transition(&a, &b, 1, action(&renumber));
    new Transition(&a, &c, 1, action(&renumber)); // same event id: never used
    Transition* stay = new Transition(&a, &a, 2, nullptr);
    Transition* nowhere = new Transition(&a, 3, action(&renumber)); // no post state
    ASSERT_EQ(a.transitions.Count(), 4);

    StateMachine machine("unit");
    EventMessage m(0, 1, "", nullptr, nullptr, nullptr);
    EXPECT_EQ(a.OnTransition(&m, &machine), &b);
    EXPECT_EQ(g_actions, 1);
    EXPECT_EQ(g_machineSeen, &machine);
    EXPECT_EQ(g_transitionSeen, toB);
    ASSERT_EQ(machine.getHistory()->Count(), 1);
    EXPECT_EQ(record(machine, 0)->getTransition(), toB);
    EXPECT_EQ(record(machine, 0)->getState(), &b);
    EXPECT_EQ(record(machine, 0)->getEventId(), 1001); // read after the action
    EXPECT_EQ(std::string(record(machine, 0)->getTime().getYear()).size(), 4u);

    // Back to itself: still a step in the history.
    m.setEventId(2);
    EXPECT_EQ(a.OnTransition(&m, &machine), &a);
    ASSERT_EQ(machine.getHistory()->Count(), 2);
    EXPECT_EQ(record(machine, 1)->getTransition(), stay);

    // A transition without a post state does not fire: no action, no record.
    m.setEventId(3);
    EXPECT_EQ(a.OnTransition(&m, &machine), &a);
    EXPECT_EQ(g_actions, 1);
    EXPECT_EQ(machine.getHistory()->Count(), 2);
    EXPECT_EQ(nowhere->getPostState(), nullptr);

    // No transition for the event: no move, nothing recorded.
    m.setEventId(4);
    EXPECT_EQ(a.OnTransition(&m, &machine), &a);
    EXPECT_EQ(machine.getHistory()->Count(), 2);
    EXPECT_EQ(a.OnTransition(nullptr, &machine), &a);

    // Without a machine the move happens and nothing is recorded.
    m.setEventId(1);
    EXPECT_EQ(a.OnTransition(&m, nullptr), &b);
    EXPECT_EQ(machine.getHistory()->Count(), 2);
}

TEST_F(StateUnitTest, TheHistoryKeepsTheLast99RecordsNewestLast) {
    StateUnit loop;
    loop.name = "loop";
    new Transition(&loop, &loop, 5, action(&renumber));
    StateMachine machine("history");
    for (int i = 0; i < 150; ++i) {
        EventMessage m(0, 5, "", nullptr, nullptr, nullptr);
        ASSERT_EQ(loop.OnTransition(&m, &machine), &loop);
    }
    // The 51 oldest were dropped (and freed: the sanitizers check).
    ASSERT_EQ(machine.getHistory()->Count(), 99);
    EXPECT_EQ(record(machine, 0)->getEventId(), 1052);
    EXPECT_EQ(record(machine, 98)->getEventId(), 1150);
}

TEST_F(StateUnitTest, ANullTransitionIsReportedAndTheStateStays) {
    StateUnit a, b;
    a.name = "a";
    new Transition(&a, &b, 7, nullptr);
    a.transitions.Add(static_cast<Vemlo::Data::Object*>(nullptr));
    new Transition(&a, &b, 8, nullptr); // after the null entry: never reached
    StateMachine machine("nulls");
    EventMessage m(0, 8, "", nullptr, nullptr, nullptr);
    testing::internal::CaptureStdout();
    EXPECT_EQ(a.OnTransition(&m, &machine), &a);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "[StateUnit::OnTransition] 1 Transition is NULL\n");
    EXPECT_EQ(machine.getHistory()->Count(), 0);
}
