//===- Event/EventMessageTest.cpp - The unit the dispatcher routes --------===//
#include "support/VemloTest.h"

using Vemlo::Event::EventMessage;

namespace {

// A value carried by messages; counts its deletions.
int g_deleted = 0;
struct Carried : Vemlo::Data::Object {
    ~Carried() override { ++g_deleted; }
};

} // namespace

TEST(EventMessageTest, CloneCopiesTheValuesAndSharesTheCarriedObjectsWithoutDeletingThem) {
    EXPECT_STREQ(EventMessage().getText(), "");
    EXPECT_STREQ(EventMessage(1, 2, nullptr, nullptr, nullptr, nullptr).getText(), "");
    g_deleted = 0;
    Carried first, second;
    int a = 0, c = 0;
    // Target first, event id second: the argument order of the interface.
    EventMessage* original = new EventMessage(3, 9, "text", &a, nullptr, &c);
    original->getExtraValues()->Add(&first);
    original->getExtraValues()->Add(&second);
    EventMessage* clone = original->Clone();
    ASSERT_NE(clone, original);
    EXPECT_EQ(clone->getTargetId(), 3);
    EXPECT_EQ(clone->getEventId(), 9);
    EXPECT_STREQ(clone->getText(), "text");
    EXPECT_EQ(clone->getParam1(), &a);
    EXPECT_EQ(clone->getParam2(), nullptr);
    EXPECT_EQ(clone->getParam3(), &c);
    ASSERT_EQ(clone->getExtraValues()->Count(), 2); // the same two objects, in order
    EXPECT_EQ(clone->getExtraValues()->At(0), &first);
    EXPECT_EQ(clone->getExtraValues()->At(1), &second);
    delete clone;
    delete original;
    EXPECT_EQ(g_deleted, 0);
}

TEST(EventMessageTest, CopyOverwritesTheValuesAndAppendsTheExtras) {
    Carried mine, theirs;
    int p = 0;
    EventMessage source(5, 77, "from", nullptr, &p, nullptr);
    source.getExtraValues()->Add(&mine);
    EventMessage destination(1, 2, "to", &p, nullptr, &p);
    destination.getExtraValues()->Add(&theirs);

    EXPECT_EQ(source.Copy(&destination), 0);
    EXPECT_EQ(destination.getTargetId(), 5);
    EXPECT_EQ(destination.getEventId(), 77);
    EXPECT_STREQ(destination.getText(), "from");
    EXPECT_EQ(destination.getParam1(), nullptr);
    EXPECT_EQ(destination.getParam2(), &p);
    EXPECT_EQ(destination.getParam3(), nullptr);
    // Appended after the destination's own value; a second copy appends again.
    Vemlo::Data::Collection::HashTable* extra = destination.getExtraValues();
    ASSERT_EQ(extra->Count(), 2);
    EXPECT_EQ(extra->At(0), &theirs);
    EXPECT_EQ(extra->At(1), &mine);
    source.Copy(&destination);
    EXPECT_EQ(extra->Count(), 3);

    // Bad input: a clear result, no crash. Copying onto itself changes nothing.
    EXPECT_EQ(source.Copy(nullptr), -1);
    EXPECT_EQ(source.Copy(&source), 0);
    EXPECT_STREQ(source.getText(), "from");
    EXPECT_EQ(source.getExtraValues()->Count(), 1);
}
