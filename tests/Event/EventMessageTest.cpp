//===- Event/EventMessageTest.cpp - The unit the dispatcher routes --------===//
#include "support/VemloTest.h"

#include <tuple>
#include <vector>

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

TEST(EventMessageTest, CloneCopiesTheValuesAndSharesTheCarriedObjectsWithoutDeletingThem) {
    g_deleted = 0;
    Carried first, second;
    int a = 0, c = 0;
    // Target first, event id second: the argument order of the interface.
    EventMessage* original = new EventMessage(3, 9, "text", &a, nullptr, &c);
    original->getExtraValues()->Add(&first);
    original->getExtraValues()->Add(&second);
    EventMessage* clone = original->Clone();
    ASSERT_NE(clone, original);
    EXPECT_EQ(fields(*clone), Fields(3, 9, "text", &a, nullptr, &c, {&first, &second}));
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

    // Appended after the destination's own value; a second copy appends again.
    EXPECT_EQ(source.Copy(&destination), 0);
    EXPECT_EQ(fields(destination), Fields(5, 77, "from", nullptr, &p, nullptr, {&theirs, &mine}));

    // Bad input: a clear result, no crash. Copying onto itself changes nothing.
    EXPECT_EQ(source.Copy(nullptr), -1);
    EXPECT_EQ(source.Copy(&source), 0);
    EXPECT_EQ(source.getExtraValues()->Count(), 1);
}
