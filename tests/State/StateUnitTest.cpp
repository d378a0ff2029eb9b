//===- State/StateUnitTest.cpp - Choosing and firing transitions ----------===//
//
// OnTransition is called directly here, on the test's thread; the machine
// only lends its history (its thread is never started).
//
//===----------------------------------------------------------------------===//
#include "support/TestConfig.h"

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

// Takes the post state away while the transition fires.
void dropPostState(EventMessage*, void*, Transition* t) {
    t->setPostState("gone");
}

LogElement* record(StateMachine& machine, int index) {
    return dynamic_cast<LogElement*>(machine.getHistory()->At(index));
}

using StateUnitTest = VemloTest::ConfiguredTest;

} // namespace

TEST_F(StateUnitTest, TheFirstMatchingTransitionWithAPostStateFiresAndTheLast99StepsAreRecorded) {
    StateUnit a, b, c;
    b.name = "b";
    c.name = "c";
    StateMachine machine("unit");
    Transition* toB = new Transition(&a, &b, 1, kRenumber);
    new Transition(&a, &c, 1, kRenumber); // same event id: never used
    new Transition(&a, &a, 2, nullptr);
    // Post states are chosen by name; the last one added is the current one.
    Transition* byName = new Transition(&a, 3, kRenumber);
    EXPECT_EQ(a.transitions.At(3), byName); // the source owns it now
    EXPECT_EQ(byName->getPostState(), nullptr);
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
    EXPECT_EQ(a.OnTransition(&m, &machine), &b);
    EXPECT_EQ(g_actions, 1);
    EXPECT_EQ(g_machineSeen, &machine);
    ASSERT_EQ(machine.getHistory()->Count(), 1);
    EXPECT_EQ(record(machine, 0)->getTransition(), toB);
    EXPECT_EQ(record(machine, 0)->getEventId(), 1001); // read after the action

    m.setEventId(2); // back to itself: still a step in the history
    EXPECT_EQ(a.OnTransition(&m, &machine), &a);
    ASSERT_EQ(machine.getHistory()->Count(), 2);
    // No post state (from the start or after the action), no transition for
    // the event, no message: no move, no counted action, nothing recorded.
    for (int event : {3, 6, 4}) {
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
              "[StateUnit::OnTransition] 5 Transition is NULL\n");
    EXPECT_EQ(machine.getHistory()->Count(), 2);

    // The history keeps the last 99 records, newest last; the oldest are
    // dropped (and freed: the sanitizers check).
    new Transition(&b, &b, 5, kRenumber);
    for (int i = 0; i < 150; ++i) {
        m.setEventId(5); // the action renumbers it
        ASSERT_EQ(b.OnTransition(&m, &machine), &b);
    }
    ASSERT_EQ(machine.getHistory()->Count(), 99);
    EXPECT_EQ(record(machine, 0)->getEventId(), 1053);
    EXPECT_EQ(record(machine, 98)->getEventId(), 1151);
}
