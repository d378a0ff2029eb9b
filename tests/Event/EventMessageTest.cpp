//===- Event/EventMessageTest.cpp - The unit the dispatcher routes --------===//
#include "support/VemloTest.h"

using Vemlo::Event::EventMessage;

namespace {

// A value carried by messages; counts its deletions.
int g_deleted = 0;
struct Carried : Vemlo::Data::Object {
    ~Carried() override { ++g_deleted; }
};

// Target, event id, text, the three parameters and the extra values.
auto fields(EventMessage& m) {
    std::vector<void*> extra;
    for (int i = 0; i < m.getExtraValues()->Count(); ++i)
        extra.push_back(m.getExtraValues()->At(i));
    return std::make_tuple(m.getTargetId(), m.getEventId(), std::string(m.getText()), m.getParam1(),
                           m.getParam2(), m.getParam3(), extra);
}
using Fields = decltype(fields(std::declval<EventMessage&>()));

} // namespace

TEST(EventMessageTest, CloneAndCopyCarryTheValuesAndShareTheCarriedObjectsWithoutDeletingThem) {
    g_deleted = 0;
    Carried first, second, theirs;
    int a = 0, c = 0;
    // Target first, event id second: the argument order of the interface.
    EventMessage* original = new EventMessage(3, 9, "text", &a, nullptr, &c);
    original->getExtraValues()->Add(&first);
    original->getExtraValues()->Add(&second);
    EventMessage* clone = original->Clone();
    ASSERT_NE(clone, original);
    EXPECT_EQ(fields(*clone), Fields(3, 9, "text", &a, nullptr, &c, {&first, &second}));

    // Copy overwrites the values and appends the extras after the
    // destination's own.
    EventMessage destination(1, 2, "to", nullptr, &a, nullptr);
    destination.getExtraValues()->Add(&theirs);
    EXPECT_EQ(original->Copy(&destination), 0);
    EXPECT_EQ(fields(destination),
              Fields(3, 9, "text", &a, nullptr, &c, {&theirs, &first, &second}));
    // Bad input: a clear result, no crash. Copying onto itself changes nothing.
    EXPECT_EQ(clone->Copy(nullptr), -1);
    EXPECT_EQ(clone->Copy(clone), 0);
    EXPECT_EQ(clone->getExtraValues()->Count(), 2);
    delete clone;
    delete original;
    EXPECT_EQ(g_deleted, 0);
}
