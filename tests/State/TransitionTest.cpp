//===- State/TransitionTest.cpp - Edges and their post states -------------===//
#include "support/VemloTest.h"

#include <memory>

using Vemlo::State::LogElement;
using Vemlo::State::StateUnit;
using Vemlo::State::Transition;

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
    t->setPostState("green");
    t->AddPostState(nullptr); // ignored
    EXPECT_EQ(t->getPostState(), &green);
}

TEST(TransitionTest, ATransitionWithoutSourceBelongsToItsMakerAndRecordsCopy) {
    StateUnit post;
    post.name = "post";
    std::unique_ptr<Transition> loose(new Transition(nullptr, &post, 1, nullptr));
    EXPECT_EQ(loose->getSourceState(), nullptr);
    EXPECT_EQ(loose->getPostState(), &post);
    LogElement record(loose.get(), &post, 12);
    LogElement copy(record);
    EXPECT_EQ(copy.getTransition(), loose.get());
    EXPECT_EQ(copy.getState(), &post);
    EXPECT_EQ(copy.getEventId(), 12);
    EXPECT_STREQ(copy.getTime().getSecond(), record.getTime().getSecond());
    EXPECT_EQ(std::string(record.getTime().getMillisecond()).size(), 3u);
}
