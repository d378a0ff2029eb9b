//===- Data/Collection/HashTableTest.cpp - String-keyed table -------------===//
#include "support/VemloTest.h"
#include "Data/Collection/CountingObject.h"

#include <atomic>

using Vemlo::Data::Collection::HashElement;
using Vemlo::Data::Collection::HashTable;
using VemloTest::CountingObject;

TEST(HashTableTest, AddingReplacesInPlaceAndAnObjectReplacesThePointerOnly) {
    std::atomic<int> deaths{0};
    HashTable table;
    table.AddObj("k", "a");
    table.AddObj("k", "b");
    EXPECT_EQ(table.getPosition("k"), 0);
    auto* a = new CountingObject(deaths, 1);
    table.AddObj("o", a);
    table.AddObj("o", new CountingObject(deaths, 2));
    EXPECT_EQ(deaths, 0); // `a` is the caller's again
    delete a;
    table.AddObj("o", "text"); // a text replaces, and deletes, an owned object
    EXPECT_EQ(deaths, 2);
    EXPECT_STREQ(table.getStringValue("k"), "b");
}

TEST(HashTableTest, RemovalAndClearAllFollowTheDeleteFlag) {
    std::atomic<int> deaths{0};
    HashTable table;
    for (const char* key : {"a", "b", "c"})
        table.AddObj(key, new CountingObject(deaths));
    table.Remove("a"); // the element and its value together, and its key
    EXPECT_EQ(deaths, 1);
    EXPECT_EQ(table.getElement("a"), nullptr);
    EXPECT_EQ(table.getValue(1), table.getValue("c"));

    // Without the delete flag ClearAll deletes nothing, and the elements keep their values.
    table.setDeleteFlag(false);
    HashElement* kept[] = {table.getElement("b"), table.getElement("c")};
    table.ClearAll();
    EXPECT_EQ(deaths, 1);
    EXPECT_EQ(table.getCount(), 0);
    EXPECT_EQ(table.getElement("c"), nullptr);
    for (HashElement* e : kept)
        delete e;
    EXPECT_EQ(deaths, 3);
}
