//===- State/StateUnitTest.cpp - Choosing and firing transitions ----------===//
//
// OnTransition is called directly here, on the test's thread; the machine
// only lends its history (its thread is never started).
//
//===----------------------------------------------------------------------===//
#include "support/TestConfig.h"
#include "support/VemloTest.h"

using Vemlo::Event::EventMessage;
using namespace Vemlo::State;

namespace {

int g_actions = 0;
void* g_machineSeen = nullptr;

// Counts its calls and renumbers the message, which the record then shows.
void renumber(EventMessage* m, void* machine, Transition*) {
    ++g_actions;
    g_machineSeen = machine;
    m->setEventId(1000 + g_actions);
}
void* const kRenumber = reinterpret_cast<void*>(&renumber);

LogElement* record(StateMachine& machine, int index) {
    return dynamic_cast<LogElement*>(machine.getHistory()->At(index));
}

struct StateUnitTest : VemloTest::ConfiguredTest {
    void SetUp() override { g_actions = 0; }
};

} // namespace

TEST_F(StateUnitTest, TheFirstMatchingTransitionWithAPostStateFiresAndIsRecorded) {
    StateUnit a, b, c;
    StateMachine machine("unit");
    Transition* toB = new Transition(&a, &b, 1, kRenumber);
    new Transition(&a, &c, 1, kRenumber); // same event id: never used
    new Transition(&a, &a, 2, nullptr);
    new Transition(&a, 3, kRenumber); // no post state: never fires
    EventMessage m(0, 1, "", nullptr, nullptr, nullptr);
    EXPECT_EQ(a.OnTransition(&m, &machine), &b);
    EXPECT_EQ(g_actions, 1);
    EXPECT_EQ(g_machineSeen, &machine);
    ASSERT_EQ(machine.getHistory()->Count(), 1);
    EXPECT_EQ(record(machine, 0)->getTransition(), toB);
    EXPECT_EQ(record(machine, 0)->getEventId(), 1001); // read after the action

    m.setEventId(2); // back to itself: still a step in the history
    EXPECT_EQ(a.OnTransition(&m, &machine), &a);
    ASSERT_EQ(machine.getHistory()->Count(), 2);
    // No post state, no transition for the event, no message: no move, no
    // action, nothing recorded.
    for (int event : {3, 4}) {
        m.setEventId(event);
        EXPECT_EQ(a.OnTransition(&m, &machine), &a);
    }
    EXPECT_EQ(a.OnTransition(nullptr, &machine), &a);
    EXPECT_EQ(g_actions, 1);
    EXPECT_EQ(machine.getHistory()->Count(), 2);

    // A null entry in the list is reported and ends the search.
    a.transitions.Add(static_cast<Vemlo::Data::Object*>(nullptr));
    new Transition(&a, &c, 8, nullptr);
    m.setEventId(8);
    testing::internal::CaptureStdout();
    EXPECT_EQ(a.OnTransition(&m, &machine), &a);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "[StateUnit::OnTransition] 4 Transition is NULL\n");
    EXPECT_EQ(machine.getHistory()->Count(), 2);
}

TEST_F(StateUnitTest, TheHistoryKeepsTheLast99RecordsNewestLast) {
    StateUnit loop;
    StateMachine machine("history");
    new Transition(&loop, &loop, 5, kRenumber);
    for (int i = 0; i < 150; ++i) {
        EventMessage m(0, 5, "", nullptr, nullptr, nullptr);
        ASSERT_EQ(loop.OnTransition(&m, &machine), &loop);
    }
    // The 51 oldest were dropped (and freed: the sanitizers check).
    ASSERT_EQ(machine.getHistory()->Count(), 99);
    EXPECT_EQ(record(machine, 0)->getEventId(), 1052);
    EXPECT_EQ(record(machine, 98)->getEventId(), 1150);
}

TEST_F(StateUnitTest, TransitionsChooseTheirPostStatesByName) {
    StateUnit source, red, green;
    red.name = "red";
    green.name = "green";
    Transition* t = new Transition(&source, 4, nullptr);
    EXPECT_EQ(source.transitions.At(0), t); // the source owns it now
    EXPECT_EQ(t->getPostState(), nullptr);
    t->AddPostState(&red);
    t->AddPostState(&green);
    EXPECT_EQ(t->getPostState(), &green);
    t->setPostState("red");
    EXPECT_EQ(t->getPostState(), &red);
    t->setPostState("blue"); // unknown: no post state, so it will not fire
    EXPECT_EQ(t->getPostState(), nullptr);
}
