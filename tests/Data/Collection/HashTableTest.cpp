//===- Data/Collection/HashTableTest.cpp - String-keyed table -------------===//
#include "support/VemloTest.h"
#include "Data/Collection/CountingObject.h"

#include <atomic>

using Vemlo::Data::Object;
using Vemlo::Data::Collection::HashElement;
using Vemlo::Data::Collection::HashTable;
using VemloTest::CountingObject;

TEST(HashTableTest, LookupsOfAbsentKeysLeaveNullEntriesThatLaterAddsFill) {
    HashTable table;
    EXPECT_STREQ(table.getStringValue("x"), "");
    EXPECT_EQ(table.getValue("x"), nullptr);
    EXPECT_EQ(table.getElement("y"), nullptr);
    EXPECT_EQ(table.getCount(), 0);
    EXPECT_EQ(table.getPosition("x"), -1);

    // The null entries left behind count as absent.
    table.AddObj("x", "1");
    table.AddObj("y", static_cast<Object*>(new String("2")));
    EXPECT_EQ(table.getCount(), 2);
    EXPECT_STREQ(table.getStringValue("x"), "1");
    EXPECT_STREQ(table.getStringValue("y"), "2");
    ASSERT_NE(table.getElement("y"), nullptr);
    EXPECT_STREQ(table.getElement("y")->getKey(), "y");
}

TEST(HashTableTest, AddingUnderAnExistingKeyReplacesInPlace) {
    std::atomic<int> deaths{0};
    HashTable table;
    table.AddObj("first", "0");
    table.AddObj("k", "a");
    table.AddObj("k", "b");
    EXPECT_EQ(table.getCount(), 2);
    EXPECT_STREQ(table.getStringValue("k"), "b");
    EXPECT_EQ(table.getPosition("k"), 1);
    EXPECT_EQ(table.getPosition("first"), 0);

    // An object replaces the pointer only: the old object is the caller's.
    auto* a = new CountingObject(deaths, 1);
    auto* b = new CountingObject(deaths, 2);
    table.AddObj("o", a);
    table.AddObj("o", b);
    EXPECT_EQ(deaths, 0);
    EXPECT_EQ(table.getValue("o"), b);
    EXPECT_EQ(table.getPosition("o"), 2);

    // Removing deletes the element and its value together.
    table.Remove("o");
    EXPECT_EQ(deaths, 1);
    EXPECT_EQ(table.getCount(), 2);
    EXPECT_EQ(table.getElement("o"), nullptr);
    delete a;

    // A text replaces, and deletes, an owned object.
    table.AddObj("p", new CountingObject(deaths));
    table.AddObj("p", "text");
    EXPECT_EQ(deaths, 3);
    EXPECT_STREQ(table.getStringValue("p"), "text");
}

TEST(HashTableTest, IndexReadsGiveNullWhereKeyReadsGiveEmptyText) {
    std::atomic<int> deaths{0};
    HashTable table;
    table.AddObj("t", "text");
    table.AddObj("o", new CountingObject(deaths));
    table.AddObj(nullptr, "no key");

    EXPECT_STREQ(table.getKey(0), "t");
    EXPECT_STREQ(table.getStringValue(0), "text");
    EXPECT_STREQ(table.getKey(2), "");
    EXPECT_STREQ(table.getStringValue(""), "no key");
    for (int bad : {-1, 3}) {
        EXPECT_EQ(table.getKey(bad), nullptr);
        EXPECT_EQ(table.getValue(bad), nullptr);
        EXPECT_EQ(table.getStringValue(bad), nullptr);
    }
    // A value that is not a text.
    EXPECT_EQ(table.getStringValue(1), nullptr);
    EXPECT_STREQ(table.getStringValue("o"), "");
    EXPECT_NE(table.getValue(1), nullptr);
}

TEST(HashTableTest, ScanAndRemovalStopAtANullItem) {
    HashTable table;
    table.AddObj("a", "1");
    table.Add(static_cast<Object*>(nullptr)); // through the inherited list
    table.AddObj("b", "2");

    EXPECT_EQ(table.getPosition("a"), 0);
    EXPECT_EQ(table.getPosition("b"), -1);
    EXPECT_STREQ(table.getStringValue("b"), "2"); // the map still finds it
    table.Remove("b");
    EXPECT_EQ(table.getCount(), 3);
    table.Remove(1); // the null slot is not removed
    EXPECT_EQ(table.getCount(), 3);
    EXPECT_EQ(table.getKey(1), nullptr);

    table.Remove(0);
    EXPECT_EQ(table.getCount(), 2);
    EXPECT_EQ(table.getElement("a"), nullptr);
    table.Remove(5);
    table.Remove(-1);
    EXPECT_EQ(table.getCount(), 2);
}

TEST(HashTableTest, RemovalKeepsOrderAndFollowsTheDeleteFlag) {
    std::atomic<int> deaths{0};
    HashTable table;
    for (const char* key : {"a", "b", "c"})
        table.AddObj(key, new CountingObject(deaths));
    table.Remove(1);
    EXPECT_EQ(deaths, 1);
    EXPECT_STREQ(table.getKey(1), "c");
    EXPECT_EQ(table.getPosition("c"), 1);
    ASSERT_NE(table.getElement("c"), nullptr);

    // Without the delete flag, removal deletes neither the element nor its
    // value, and the element no longer owns the value.
    table.setDeleteFlag(false);
    HashElement* element = table.getElement("a");
    Object* value = element->getValue();
    table.Remove("a");
    EXPECT_EQ(table.getCount(), 1);
    EXPECT_EQ(deaths, 1);
    delete element;
    EXPECT_EQ(deaths, 1);
    delete value;
    EXPECT_EQ(deaths, 2);
    table.setDeleteFlag(true);
}

TEST(HashTableTest, ClearAllAndDestructionDeleteElementsAndForgetKeys) {
    std::atomic<int> deaths{0};
    {
        HashTable table;
        table.AddObj("a", new CountingObject(deaths));
        table.AddObj("b", new CountingObject(deaths));
        table.ClearAll();
        EXPECT_EQ(deaths, 2);
        EXPECT_EQ(table.getCount(), 0);
        EXPECT_EQ(table.getElement("a"), nullptr);

        table.AddObj("a", new CountingObject(deaths));
        EXPECT_EQ(table.getCount(), 1);
        EXPECT_EQ(table.getPosition("a"), 0);
    }
    EXPECT_EQ(deaths, 3);

    // A table that does not delete leaves elements and values alone.
    HashTable borrowed;
    borrowed.setDeleteFlag(false);
    borrowed.AddObj("x", new CountingObject(deaths));
    HashElement* element = borrowed.getElement("x");
    borrowed.ClearAll();
    EXPECT_EQ(deaths, 3);
    delete element; // still owns its value
    EXPECT_EQ(deaths, 4);
}
