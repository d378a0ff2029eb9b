//===- Data/Collection/ArrayListTest.cpp - Ordered list of objects --------===//
#include "support/VemloTest.h"
#include "Data/Collection/CountingObject.h"

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <future>
#include <mutex>
#include <thread>
#include <vector>

using Vemlo::Data::Object;
using Vemlo::Data::Collection::ArrayList;
using Vemlo::Data::Collection::HashElement;
using VemloTest::CountingObject;
using VemloTest::Probe;
using VemloTest::SemValue;
using namespace std::chrono_literals;

namespace {

// Enters (waits for 0, then adds 1) or leaves a list's section, as the list does.
int Section(int id, bool enter) {
    struct sembuf ops[2] = {{0, 0, 0}, {0, 1, 0}}, leave = {0, -1, 0};
    return enter ? semop(id, ops, 2) : semop(id, &leave, 1);
}

// Runs `call` on another thread while the test holds the list's section:
// `call` must wait for it (with `mustWait`) or finish while it is held, and
// leave the section free.
template <class Call> void checkSection(int id, bool mustWait, Call call, const char* what) {
    ASSERT_EQ(Section(id, true), 0);
    auto caller = std::async(std::launch::async, call);
    EXPECT_EQ(caller.wait_for(mustWait ? 50ms : 10s) == std::future_status::timeout, mustWait) << what;
    Section(id, false);
    const bool finished = caller.wait_for(10s) == std::future_status::ready;
    if (!finished)
        semctl(id, 0, SETVAL, 0); // free the caller so that the test ends instead of hanging
    caller.wait();
    EXPECT_TRUE(finished) << what << " did not finish";
    EXPECT_EQ(SemValue(id), 0) << what << " left the section held";
}

// Records the value of a list's semaphore when it is deleted.
class SemWitness : public Object {
public:
    SemWitness(int id, std::vector<int>& seen) : m_id(id), m_seen(seen) {}
    ~SemWitness() override { m_seen.push_back(SemValue(m_id)); }

private:
    int m_id;
    std::vector<int>& m_seen;
};

} // namespace

TEST(ArrayListTest, BadIndexesAndNullItemsAreSafeAndTextItemsAreHashElements) {
    std::atomic<int> deaths{0};
    ArrayList list;
    list.Add(static_cast<Object*>(nullptr));
    list.Add("abc");
    list.Add(new CountingObject(deaths));
    list.Add(static_cast<Object*>(new HashElement("k", new CountingObject(deaths))));
    for (int bad : {-1, 4}) {
        EXPECT_EQ(list.At(bad), nullptr);
        EXPECT_EQ(list.AtString(bad), nullptr);
        EXPECT_EQ(list.SetValueAtString(bad, "x"), -1);
        list.RemoveAt(bad);
    }
    EXPECT_EQ(list.AtString(0), nullptr);
    EXPECT_EQ(list.SetValueAtString(0, "x"), 0);
    EXPECT_EQ(list.At(0), nullptr);

    auto* element = dynamic_cast<HashElement*>(list.At(1));
    ASSERT_NE(element, nullptr);
    EXPECT_STREQ(element->getKey(), "");
    EXPECT_EQ(list.SetValueAtString(1, "xyz"), 0);
    EXPECT_STREQ(list.AtString(1), "xyz");
    // Not a HashElement, or a HashElement holding an object: null, unchanged.
    EXPECT_EQ(list.SetValueAtString(2, "x"), 0);
    EXPECT_EQ(list.AtString(2), nullptr);
    EXPECT_EQ(list.AtString(3), nullptr);
    EXPECT_EQ(deaths, 0);
    // Setting a text on an element that owns an object deletes the object.
    EXPECT_EQ(list.SetValueAtString(3, "t"), 0);
    EXPECT_EQ(deaths, 1);
    EXPECT_STREQ(list.AtString(3), "t");
    list.RemoveAt(0); // a null item is removed, never deleted
    EXPECT_EQ(list.Count(), 3);
}

TEST(ArrayListTest, DeleteFlagAtTheMomentOfRemovalDecidesOwnership) {
    std::atomic<int> deaths{0};
    std::vector<int> order;
    {
        ArrayList list;
        for (int i = 0; i < 5; ++i)
            list.Add(new CountingObject(deaths, i, &order));
        list.RemoveAt(1);
        EXPECT_EQ(deaths, 1);
        EXPECT_EQ(static_cast<CountingObject*>(list.At(1))->id(), 2); // later items move down
        list.Clear();
        EXPECT_EQ(order, (std::vector<int>{1, 0, 2, 3, 4})); // Clear goes front to back
        list.Add(new CountingObject(deaths, 9));
    }
    EXPECT_EQ(deaths, 6);

    CountingObject a(deaths), b(deaths);
    {
        ArrayList borrowed(false);
        borrowed.Add(&a);
        borrowed.RemoveAt(0);
        borrowed.Add("keep"); // text elements a non-owning list made are the caller's
        Object* made = borrowed.At(0);
        borrowed.Clear();
        delete made;
        ArrayList owning;
        owning.Add(&b);
        owning.setDeleteFlag(false);
        ArrayList later(false, false);
        later.Add(new CountingObject(deaths));
        later.setDeleteFlag(true);
    }
    EXPECT_EQ(deaths, 7);
}

TEST(ArrayListTest, LockedCallsWaitForTheSectionThenLeaveItBeforeTheWork) {
    std::atomic<int> deaths{0};
    int ids[2];
    {
        Probe<ArrayList> list, unlocked(true, false);
        const int id = ids[0] = list.semId();
        ids[1] = unlocked.semId(); // every list owns one set, locked or not
        ASSERT_GT(id, 0);
        ASSERT_GT(ids[1], 0);
        EXPECT_NE(id, ids[1]);
        checkSection(id, true, [&] { list.Add(new CountingObject(deaths)); }, "Add");
        checkSection(id, true, [&] { EXPECT_NE(list.At(0), nullptr); }, "At");
        checkSection(id, true, [&] { list.Clear(); }, "Clear");
        EXPECT_EQ(deaths, 1);

        // The section is already left when the items are deleted.
        std::vector<int> seen;
        list.Add(new SemWitness(id, seen));
        list.Add(new SemWitness(id, seen));
        list.RemoveAt(0);
        list.Clear();
        EXPECT_EQ(seen, (std::vector<int>{0, 0}));

        // Without the lock flag no semaphore operation is made.
        checkSection(ids[1], false, [&] { unlocked.Add("x"); }, "unlocked Add");
    }
    for (int id : ids) { // the destructor removes the set
        errno = 0;
        EXPECT_EQ(SemValue(id), -1);
        EXPECT_EQ(errno, EINVAL);
    }
}

// Two threads add and remove 100,000 items in one locked, owning list. The
// list's lock does not protect its items, so every call is made under the
// threads' own mutex, as callers sharing a list must; a third thread enters
// and leaves the list's section all along so that the list calls really wait.
TEST(ArrayListTest, TwoThreadsAddAndRemove100000ItemsUnderOutsideLocking) {
    constexpr int kPerThread = 50000;
    std::atomic<int> deaths{0}, removed{0};
    std::atomic<bool> stop{false};
    Probe<ArrayList> list;
    const int id = list.semId();
    ASSERT_GT(id, 0);
    std::mutex outside;
    auto worker = [&](int base) {
        for (int i = 0; i < kPerThread; ++i) {
            {
                std::lock_guard<std::mutex> guard(outside);
                list.Add(new CountingObject(deaths, base + i));
            }
            std::lock_guard<std::mutex> guard(outside);
            if (list.Count() > 0) {
                list.RemoveAt(list.Count() % 2 ? 0 : list.Count() - 1);
                ++removed;
            }
        }
    };
    auto pinger = std::async(std::launch::async, [&] {
        for (; !stop; std::this_thread::yield())
            if (Section(id, true) == 0)
                Section(id, false);
    });
    auto first = std::async(std::launch::async, worker, 0);
    auto second = std::async(std::launch::async, worker, kPerThread);
    const auto deadline = std::chrono::steady_clock::now() + 90s;
    if (first.wait_until(deadline) != std::future_status::ready ||
        second.wait_until(deadline) != std::future_status::ready) {
        std::fprintf(stderr, "stress test did not finish in 90 s\n");
        std::abort();
    }
    stop = true;
    pinger.wait();

    EXPECT_EQ(removed, 2 * kPerThread);
    EXPECT_EQ(list.Count(), 0);
    EXPECT_EQ(deaths, 2 * kPerThread);
    EXPECT_EQ(SemValue(id), 0);
}
