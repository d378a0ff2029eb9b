//===- State/TransitionTest.cpp - Edges and their post states -------------===//
#include "support/VemloTest.h"


using namespace Vemlo::State;

TEST(TransitionTest, PostStatesAreChosenByName) {
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

