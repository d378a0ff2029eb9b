//===- Data/Collection/IteratorTest.cpp - List with a cursor --------------===//
#include "support/VemloTest.h"
#include "Data/Collection/CountingObject.h"

#include <atomic>

using Vemlo::Data::Collection::Iterator;
using VemloTest::CountingObject;

TEST(IteratorTest, CursorCountsThePassedItemsAndStaysOnTheLast) {
    std::atomic<int> deaths{0};
    {
        Iterator it;
        EXPECT_FALSE(it.MoveNext());
        auto* item = new CountingObject(deaths);
        it.Add(item);
        EXPECT_EQ(it.getCurrent(), nullptr); // before the first MoveNext
        EXPECT_TRUE(it.MoveNext());
        EXPECT_FALSE(it.MoveNext());
        EXPECT_EQ(it.getCurrent(), item);
        it.Reset();
        EXPECT_EQ(it.getCurrent(), nullptr);

        it.Add("text");
        EXPECT_TRUE(it.MoveNext());
        EXPECT_EQ(it.getCurrentString(), nullptr); // item 0 is not a text
        EXPECT_TRUE(it.MoveNext());
        EXPECT_STREQ(it.getCurrentString(), "text");
        // Fewer items than the cursor has passed: no current item.
        it.RemoveAt(1);
        EXPECT_EQ(it.getCurrent(), nullptr);
        EXPECT_EQ(it.getCurrentString(), nullptr);
        EXPECT_EQ(deaths, 0);
    }
    EXPECT_EQ(deaths, 1); // an iterator owns its items
}
