//===- Data/Collection/ArrayListTest.cpp - Lists of objects, with a cursor ===//
#include "support/VemloTest.h"
#include "Data/Collection/CountingObject.h"

#include <atomic>
#include <cerrno>
#include <functional>
#include <future>

using Vemlo::Data::Object;
using Vemlo::Data::Collection::ArrayList;
using Vemlo::Data::Collection::HashElement;
using Vemlo::Data::Collection::Iterator;
using VemloTest::CountingObject;
using VemloTest::Probe;
using VemloTest::SemValue;
using namespace std::chrono_literals;

namespace {

// Enters (waits for 0, at most 10 s, then adds 1) or leaves a list's section,
// as the list does.
int Section(int id, bool enter) {
    struct sembuf ops[2] = {{0, 0, 0}, {0, 1, 0}}, leave = {0, -1, 0};
    struct timespec limit = {10, 0};
    return enter ? semtimedop(id, ops, 2, &limit) : semop(id, &leave, 1);
}

} // namespace

TEST(ArrayListTest, BadIndexesAndNullItemsAreSafeAndTextItemsAreHashElements) {
    std::atomic<int> deaths{0};
    ArrayList list;
    list.Add(static_cast<Object*>(nullptr));
    list.Add("abc");
    list.Add(static_cast<Object*>(new HashElement("k", new CountingObject(deaths))));
    EXPECT_EQ(list.At(3), nullptr);
    EXPECT_EQ(list.SetValueAtString(-1, "x"), -1);
    list.RemoveAt(3);
    ASSERT_NE(dynamic_cast<HashElement*>(list.At(1)), nullptr);
    // A HashElement holding an object gives no text; setting one deletes the object.
    EXPECT_EQ(list.AtString(2), nullptr);
    EXPECT_EQ(list.SetValueAtString(2, "t"), 0);
    EXPECT_EQ(deaths, 1);
    list.RemoveAt(0); // a null item is removed, never deleted
    EXPECT_EQ(list.Count(), 2);
}

TEST(ArrayListTest, DeleteFlagAtTheMomentOfRemovalDecidesOwnership) {
    std::atomic<int> deaths{0};
    CountingObject kept(deaths);
    {
        ArrayList owning, borrowed(false), later(false, false);
        owning.Add(new CountingObject(deaths, 1));
        owning.Add(new CountingObject(deaths, 2));
        owning.RemoveAt(0);
        EXPECT_EQ(deaths, 1);
        EXPECT_EQ(static_cast<CountingObject*>(owning.At(0))->id(), 2); // later items move down
        borrowed.Add(&kept);
        later.Add(new CountingObject(deaths));
        later.setDeleteFlag(true);
    }
    EXPECT_EQ(deaths, 3);
}

TEST(ArrayListTest, LockedCallsWaitForTheSectionAndTheSetGoesWithTheList) {
    std::atomic<int> deaths{0};
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
        EXPECT_EQ(SemValue(id), 0); // left again
    }
    errno = 0; // the destructor removes the set
    EXPECT_EQ(SemValue(id), -1);
    EXPECT_EQ(errno, EINVAL);
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
