//===- Data/Collection/HashElementTest.cpp - One key/value pair -----------===//
#include "support/VemloTest.h"
#include "Data/Collection/CountingObject.h"

#include <atomic>

using Vemlo::Data::Object;
using Vemlo::Data::Collection::HashElement;
using VemloTest::CountingObject;

TEST(HashElementTest, OwnsItsValueButSetValueOfAnObjectOnlyStoresThePointer) {
    std::atomic<int> deaths{0};
    auto* first = new CountingObject(deaths, 1);
    {
        HashElement element("k", first);
        // The old value is neither deleted nor released.
        element.setValue(new CountingObject(deaths, 2));
        EXPECT_EQ(deaths, 0);
    }
    EXPECT_EQ(deaths, 1); // the element still owned what it held: the second
    delete first;

    // A text replaces, and deletes, an owned value.
    HashElement element(nullptr, static_cast<Object*>(new CountingObject(deaths)));
    EXPECT_EQ(element.getStringValue(), nullptr); // not a String
    element.setValue("v");
    EXPECT_EQ(deaths, 3);
    EXPECT_STREQ(element.getStringValue(), "v");
}

TEST(HashElementTest, CopySharesTheValueAndAssignmentDoesNothing) {
    std::atomic<int> deaths{0};
    auto* value = new CountingObject(deaths);
    {
        HashElement original("k", value);
        HashElement copy(original);
        EXPECT_EQ(copy.getValue(), value);
        // Both own the value: the copy is detached before the two go.
        copy.setValue(static_cast<Object*>(nullptr));
    }
    EXPECT_EQ(deaths, 1);

    HashElement a("a", "1"), b("b", "2");
    a = b;
    EXPECT_STREQ(a.getKey(), "a");
    EXPECT_STREQ(a.getStringValue(), "1");
}
