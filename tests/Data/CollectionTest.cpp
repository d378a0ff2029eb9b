//===- Data/CollectionTest.cpp - Lists, tables, rows and boxes ------------===//
#include "support/VemloTest.h"
#include "Data/Collection/CountingObject.h"

#include <atomic>
#include <cerrno>
#include <climits>
#include <functional>
#include <future>

using namespace Vemlo::Data::Collection;
using namespace Vemlo::Data::BoxCollect;
using Vemlo::Data::Object;
using VemloTest::CountingObject;
using VemloTest::Probe;
using namespace std::chrono_literals;

namespace {

// The entries in walking order, "key=value;" each ("key=<object>;" for an object).
std::string entries(Box& box) {
    std::string out;
    for (box.Reset(); box.MoveNext();) {
        const char* value = box.getCurrent()->getStringValue();
        out += std::string(box.getCurrent()->getKey()) + "=" + (value ? value : "<object>") + ";";
    }
    return out;
}

// Enters (waits for 0, at most 10 s, then adds 1) or leaves a list's section,
// as the list does.
int Section(int id, bool enter) {
    struct sembuf ops[2] = {{0, 0, 0}, {0, 1, 0}}, leave = {0, -1, 0};
    struct timespec limit = {10, 0};
    return enter ? semtimedop(id, ops, 2, &limit) : semop(id, &leave, 1);
}

} // namespace

// Bad indexes and null items are safe; text items are HashElements. The
// delete flag at the moment of removal decides whether an item is deleted.
// Every call waits for the list's section, and the set goes with the list.
TEST(ArrayListTest, BadIndexesAreSafeTheDeleteFlagDecidesOwnershipAndCallsWaitForTheSection) {
    std::atomic<int> deaths{0};
    CountingObject kept(deaths);
    {
        ArrayList list, borrowed(false), later(false, false);
        list.Add(static_cast<Object*>(nullptr));
        list.Add("abc");
        list.Add(static_cast<Object*>(new HashElement("k", new CountingObject(deaths))));
        EXPECT_EQ(list.SetValueAtString(-1, "x"), -1);
        list.RemoveAt(3);
        ASSERT_NE(dynamic_cast<HashElement*>(list.At(1)), nullptr);
        // A HashElement holding an object gives no text; setting one deletes the object.
        EXPECT_EQ(list.AtString(2), nullptr);
        EXPECT_EQ(list.SetValueAtString(2, "t"), 0);
        EXPECT_EQ(deaths, 1);
        list.RemoveAt(0); // a null item is removed, never deleted
        EXPECT_EQ(list.Count(), 2);
        list.Add(new CountingObject(deaths, 1));
        list.Add(new CountingObject(deaths, 2));
        list.RemoveAt(2);
        EXPECT_EQ(deaths, 2);
        EXPECT_EQ(static_cast<CountingObject*>(list.At(2))->id(), 2); // later items move down
        borrowed.Add(&kept);
        later.Add(new CountingObject(deaths));
        later.setDeleteFlag(true);
    }
    EXPECT_EQ(deaths, 4);

    int id;
    {
        Probe<ArrayList> list;
        id = list.semId();
        ASSERT_GT(id, 0);
        // Each operation waits while another holds the section.
        const std::function<void()> calls[] = {[&] { list.Add(new CountingObject(deaths)); },
                                               [&] { list.Count(); },
                                               [&] { list.At(0); },
                                               [&] { list.SetValueAtString(0, "x"); },
                                               [&] { list.RemoveAt(0); },
                                               [&] { list.Clear(); }};
        for (const auto& call : calls) {
            ASSERT_EQ(Section(id, true), 0);
            auto caller = std::async(std::launch::async, call);
            EXPECT_EQ(caller.wait_for(50ms), std::future_status::timeout);
            Section(id, false);
            // Frees a caller that never returns, so that the test ends instead of hanging.
            if (caller.wait_for(10s) != std::future_status::ready)
                semctl(id, 0, SETVAL, 0);
            caller.wait();
        }
        EXPECT_EQ(semctl(id, 0, GETVAL), 0); // left again
    }
    errno = 0; // the destructor removes the set
    EXPECT_EQ((std::pair<int, int>{semctl(id, 0, GETVAL), errno}), std::make_pair(-1, EINVAL));
}

// An iterator owns its items: a leak shows under the sanitizers.
TEST(IteratorTest, CursorCountsThePassedItemsAndStaysOnTheLast) {
    Iterator it;
    it.Add(new Object);
    it.Add("text");
    EXPECT_EQ(it.getCurrent(), nullptr); // before the first MoveNext
    EXPECT_EQ((std::vector<bool>{it.MoveNext(), it.MoveNext(), it.MoveNext()}),
              (std::vector<bool>{true, true, false}));
    EXPECT_STREQ(it.getCurrentString(), "text");
    it.RemoveAt(1); // fewer items than the cursor has passed: no current item
    EXPECT_TRUE(it.getCurrent() == nullptr && it.getCurrentString() == nullptr);
}

// Adding under a key replaces in place; a text replaces, and deletes, an owned
// object, an object only the pointer. Removal and ClearAll follow the delete
// flag.
TEST(HashTableTest, AddingReplacesInPlaceAndRemovalFollowsTheDeleteFlag) {
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
    table.AddObj("o", "text");
    EXPECT_EQ(deaths, 2);
    EXPECT_STREQ(table.getStringValue("k"), "b");

    for (const char* key : {"a", "b", "c"})
        table.AddObj(key, new CountingObject(deaths));
    table.Remove("a"); // the element and its value together, and its key
    table.Remove(-1);  // bad indexes and unknown keys change nothing
    table.Remove(4);
    table.Remove("a");
    EXPECT_EQ(std::make_tuple(deaths.load(), table.getElement("a"), table.getCount(),
                              table.getKey(4), table.getStringValue(-1), table.getValue(4)),
              std::make_tuple(3, nullptr, 4, nullptr, nullptr, nullptr));
    EXPECT_EQ(table.getValue(3), table.getValue("c"));

    // Without the delete flag ClearAll deletes nothing, and the elements keep their values.
    table.setDeleteFlag(false);
    HashElement* kept[] = {table.getElement("k"), table.getElement("o"), table.getElement("b"),
                           table.getElement("c")};
    table.ClearAll();
    EXPECT_EQ(std::make_tuple(deaths.load(), table.getCount(), table.getElement("c")),
              std::make_tuple(3, 0, nullptr));
    for (HashElement* e : kept)
        delete e;
    EXPECT_EQ(deaths, 5);
}

// Cells are text, set only in range and converted leniently on reading.
TEST(TableTest, WalksItsOwnRowsAndReadsCellsByColumnNameLeniently) {
    Table table; // owns its rows: the sanitizers see a leak otherwise
    table.addColumn("a");
    table.addColumn("b");
    Row *row = new Row, loose; // `loose` is in no table: it has no column names
    for (const char* cell : {"12", "3.5", "99999999999", "-99999999999"}) {
        row->addString(cell);
        loose.addString(cell);
    }
    EXPECT_TRUE(table.addRow(row) && !table.addRow(nullptr));
    EXPECT_EQ(
        (std::vector<bool>{table.MoveNext(), table.MoveNext(), (table.Reset(), table.MoveNext())}),
        (std::vector<bool>{true, false, true}));
    EXPECT_EQ(table.getCurrent(), row); // on the last row, and stays there
    // Adding a known column again keeps its position.
    EXPECT_TRUE(table.addColumn("a"));
    EXPECT_EQ(std::make_pair(table.getRowCount(), table.getColumnCount()), std::make_pair(1, 2));
    EXPECT_EQ((std::vector<double>{row->getDouble("b"), row->getDouble(1), row->getDouble("c")}),
              (std::vector<double>{3.5, 3.5, 0}));
    EXPECT_EQ((std::vector<bool>{loose.setValue(0, " 42abc"), loose.setValue(4, "x"),
                                 loose.setValue(-1, "x")}),
              (std::vector<bool>{true, false, false}));
    // Saturated at the int limits, on 32- and 64-bit platforms alike.
    EXPECT_EQ((std::vector<int>{row->getInt("a"), loose.getInt(0), loose.getInt(2), loose.getInt(3),
                                loose.getInt(-1), loose.getInt("a")}),
              (std::vector<int>{12, 42, INT_MAX, INT_MIN, 0, 0}));
}

TEST(BoxTest, EveryAddFormStoresItsValueCopiesShareEntriesAndTheResponseResultTravels) {
    ReqBox box; // a request is a box with texts of its own
    const std::vector<int> added{box.Add(5),        box.Add("name", 1.5f),
                                 box.Add(7),        box.Add("n", -3),
                                 box.Add("t", "x"), box.Add(0.25f),
                                 box.Add("s"),      box.Add("o", new Vemlo::Data::Object)};
    EXPECT_EQ(added, std::vector<int>(8, 1));
    // After an explicit key the count skips a number.
    EXPECT_EQ(entries(box),
              "KEY_0=5;name=1.500000;KEY_2=7;n=-3;t=x;KEY_5=0.250000;KEY_6=s;o=<object>;");

    // "%I64d": width 64, the value read as a signed 32-bit int.
    EXPECT_EQ(box.Add("big", 2147483648ul), 1);
    EXPECT_EQ(std::string(box.getValue("big")), std::string(53, ' ') + "-2147483648");

    // Copies share one table: a double delete or a leak shows under the
    // sanitizers. A response's result travels with copies and assignment,
    // which leaves the entries.
    Box* original = new Box();
    original->Add("v", new Vemlo::Data::Object);
    Box* copy = new Box(*original);
    copy->Add("added", "by copy");
    EXPECT_STREQ(original->getValue("added"), "by copy");
    delete original; // the copy lives on
    EXPECT_STREQ(copy->getValue("added"), "by copy");
    copy->Clear();       // deletes the object
    copy->Add("o", "y"); // no key refers to deleted memory
    EXPECT_EQ(copy->getObjValue("v"), nullptr);
    EXPECT_EQ(entries(*copy), "o=y;");
    delete copy;

    RespBox response, other;
    response.SetResult("done");
    response.Add("k", "v");
    EXPECT_STREQ(RespBox(response).GetResult(), "done");
    // Assignment copies the result only; the entries stay.
    other.Add("mine", "1");
    other = response;
    EXPECT_EQ(std::string(other.GetResult()) + " " + entries(other), "done mine=1;");
}
