//===- Data/Collection/HashTableTest.cpp - String-keyed table -------------===//
#include "support/VemloTest.h"
#include "Data/Collection/CountingObject.h"

#include <atomic>

using Vemlo::Data::Object;
using Vemlo::Data::Collection::HashElement;
using Vemlo::Data::Collection::HashTable;
using VemloTest::CountingObject;

TEST(HashTableTest, AbsentKeysLeaveNullEntriesAndAddingReplacesInPlace) {
    std::atomic<int> deaths{0};
    HashTable table;
    EXPECT_STREQ(table.getStringValue("x"), ""); // by key: empty text
    EXPECT_EQ(table.getElement("y"), nullptr);
    // The null entries left behind count as absent.
    table.AddObj("x", "1");
    table.AddObj("k", "a");
    table.AddObj("k", "b");
    EXPECT_STREQ(table.getStringValue("k"), "b");
    EXPECT_EQ(table.getPosition("k"), 1);
    // An object replaces the pointer only: the old object is the caller's.
    auto* a = new CountingObject(deaths, 1);
    table.AddObj("o", a);
    table.AddObj("o", new CountingObject(deaths, 2));
    EXPECT_EQ(deaths, 0);
    delete a;
    table.AddObj("o", "text"); // a text replaces, and deletes, an owned object
    EXPECT_EQ(deaths, 2);
    EXPECT_EQ(table.getCount(), 3);

    table.AddObj("p", new CountingObject(deaths));
    table.AddObj(nullptr, "no key");
    EXPECT_STREQ(table.getKey(4), "");
    EXPECT_STREQ(table.getStringValue(""), "no key");
    EXPECT_EQ(table.getKey(-1), nullptr); // by index: null
    EXPECT_EQ(table.getStringValue(5), nullptr);
    EXPECT_EQ(table.getStringValue(3), nullptr); // not a text
    EXPECT_STREQ(table.getStringValue("p"), "");
}

TEST(HashTableTest, ScanAndRemovalStopAtANullItem) {
    HashTable table;
    table.AddObj("a", "1");
    table.Add(static_cast<Object*>(nullptr)); // through the inherited list
    table.AddObj("b", "2");
    EXPECT_EQ(table.getPosition("b"), -1);
    EXPECT_STREQ(table.getStringValue("b"), "2"); // the map still finds it
    table.Remove("b");
    table.Remove(1); // the null slot is not removed
    EXPECT_EQ(table.getCount(), 3);
    table.Remove(0);
    table.Remove(-1);
    EXPECT_EQ(table.getCount(), 2);
    EXPECT_EQ(table.getElement("a"), nullptr);
}

TEST(HashTableTest, RemovalAndClearAllKeepOrderAndFollowTheDeleteFlag) {
    std::atomic<int> deaths{0};
    HashTable table;
    for (const char* key : {"a", "b", "c", "d", "e"})
        table.AddObj(key, new CountingObject(deaths));
    table.Remove(1);
    table.Remove("d"); // the element and its value together
    EXPECT_EQ(deaths, 2);
    EXPECT_EQ(table.getPosition("e"), 2);
    EXPECT_EQ(table.getElement("d"), nullptr);

    // Without the delete flag, removal deletes neither the element nor its
    // value, and the element no longer owns the value; ClearAll deletes
    // nothing, and the elements keep their values.
    table.setDeleteFlag(false);
    HashElement* element = table.getElement("a");
    Object* value = element->getValue();
    table.Remove("a");
    HashElement* kept[] = {table.getElement("c"), table.getElement("e")};
    table.ClearAll();
    EXPECT_EQ(table.getCount(), 0);
    delete element;
    EXPECT_EQ(deaths, 2);
    delete value;
    for (HashElement* e : kept)
        delete e;
    EXPECT_EQ(deaths, 5);

    // With it, ClearAll deletes the elements and forgets their keys.
    table.setDeleteFlag(true);
    table.AddObj("a", new CountingObject(deaths));
    table.ClearAll();
    EXPECT_EQ(deaths, 6);
    EXPECT_EQ(table.getElement("a"), nullptr);
}
