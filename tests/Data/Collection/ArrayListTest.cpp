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

Object* const kNull = nullptr;

void holdSection(int id) {
    struct sembuf ops[2] = {{0, 0, 0}, {0, 1, 0}};
    ASSERT_EQ(semop(id, ops, 2), 0);
}

void releaseSection(int id) {
    struct sembuf op = {0, -1, 0};
    ASSERT_EQ(semop(id, &op, 1), 0);
}

template <class Pred> bool waitFor(Pred done, std::chrono::milliseconds limit) {
    const auto end = std::chrono::steady_clock::now() + limit;
    while (!done()) {
        if (std::chrono::steady_clock::now() > end)
            return false;
        std::this_thread::sleep_for(1ms);
    }
    return true;
}

// Runs `call` on another thread while the test holds the list's section:
// `call` must wait, and must finish once the section is released, leaving it
// free. With `mustWait` false it must finish while the section is held.
template <class Call> void checkSection(int id, bool mustWait, Call call, const char* what) {
    holdSection(id);
    std::atomic<bool> done{false};
    std::thread caller([&] {
        call();
        done = true;
    });
    if (mustWait) {
        std::this_thread::sleep_for(50ms);
        EXPECT_FALSE(done.load()) << what << " did not wait for the held section";
        releaseSection(id);
    }
    const bool finished = waitFor([&] { return done.load(); }, 10s);
    if (!finished) {
        // Free the caller so that the test ends instead of hanging.
        semctl(id, 0, SETVAL, 0);
    }
    caller.join();
    EXPECT_TRUE(finished) << what << " did not finish";
    if (!mustWait)
        releaseSection(id);
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

TEST(ArrayListTest, BadIndexesAreReportedByResultNeverByException) {
    ArrayList list;
    std::atomic<int> deaths{0};
    list.Add(new CountingObject(deaths, 1));
    list.Add(kNull);

    EXPECT_EQ(list.Count(), 2);
    EXPECT_EQ(list.At(-1), nullptr);
    EXPECT_EQ(list.At(2), nullptr);
    EXPECT_EQ(list.AtString(-1), nullptr);
    EXPECT_EQ(list.AtString(2), nullptr);
    EXPECT_EQ(list.SetValueAtString(2, "x"), -1);
    EXPECT_EQ(list.SetValueAtString(-1, "x"), -1);
    list.RemoveAt(2);
    list.RemoveAt(-1);
    EXPECT_EQ(list.Count(), 2);
    EXPECT_EQ(deaths, 0);

    // A null item is kept, read as null and never deleted.
    EXPECT_EQ(list.At(1), nullptr);
    EXPECT_EQ(list.AtString(1), nullptr);
    EXPECT_EQ(list.SetValueAtString(1, "x"), 0);
    EXPECT_EQ(list.At(1), nullptr);
    list.RemoveAt(1);
    EXPECT_EQ(list.Count(), 1);
}

TEST(ArrayListTest, OwningListDeletesOnRemoveClearAndDestruction) {
    std::atomic<int> deaths{0};
    std::vector<int> order;
    {
        ArrayList list;
        for (int i = 0; i < 5; ++i)
            list.Add(new CountingObject(deaths, i, &order));

        list.RemoveAt(1);
        EXPECT_EQ(deaths, 1);
        ASSERT_EQ(list.Count(), 4);
        // Later items moved down one place.
        EXPECT_EQ(static_cast<CountingObject*>(list.At(1))->id(), 2);

        list.Clear();
        EXPECT_EQ(deaths, 5);
        EXPECT_EQ(list.Count(), 0);
        EXPECT_EQ(order, (std::vector<int>{1, 0, 2, 3, 4})); // Clear goes front to back

        list.Add(new CountingObject(deaths, 9));
    }
    EXPECT_EQ(deaths, 6);
}

TEST(ArrayListTest, NonOwningListLeavesItemsAlive) {
    std::atomic<int> deaths{0};
    CountingObject a(deaths), b(deaths), c(deaths);
    {
        ArrayList list(false);
        list.Add(&a);
        list.Add(&b);
        list.Add(&c);
        list.RemoveAt(0);
        EXPECT_EQ(list.At(0), &b);
        list.Clear();
        list.Add(&a);
    }
    EXPECT_EQ(deaths, 0);

    // The flag counts at the moment of removal.
    {
        ArrayList list;
        list.Add(&a);
        list.setDeleteFlag(false);
    }
    EXPECT_EQ(deaths, 0);
    {
        ArrayList list(false, false);
        list.Add(new CountingObject(deaths));
        list.setDeleteFlag(true);
    }
    EXPECT_EQ(deaths, 1);
}

TEST(ArrayListTest, TextItemsAreHashElementsAndOtherItemsReadAsNull) {
    std::atomic<int> deaths{0};
    ArrayList list;
    list.Add("abc");
    list.Add(static_cast<const char*>(nullptr));
    list.Add(new CountingObject(deaths));
    list.Add(static_cast<Object*>(new HashElement("k", new CountingObject(deaths))));

    EXPECT_STREQ(list.AtString(0), "abc");
    auto* element = dynamic_cast<HashElement*>(list.At(0));
    ASSERT_NE(element, nullptr);
    EXPECT_STREQ(element->getKey(), "");
    EXPECT_STREQ(list.AtString(1), "");

    EXPECT_EQ(list.SetValueAtString(0, "xyz"), 0);
    EXPECT_STREQ(list.AtString(0), "xyz");

    // Not a HashElement, or a HashElement holding an object: null, unchanged.
    EXPECT_EQ(list.AtString(2), nullptr);
    EXPECT_EQ(list.SetValueAtString(2, "x"), 0);
    EXPECT_EQ(list.AtString(2), nullptr);
    EXPECT_EQ(list.AtString(3), nullptr);
    EXPECT_EQ(deaths, 0);

    // Setting a text on an element that owns an object deletes the object.
    EXPECT_EQ(list.SetValueAtString(3, "t"), 0);
    EXPECT_EQ(deaths, 1);
    EXPECT_STREQ(list.AtString(3), "t");

    // A non-owning list leaves the text elements it made to the caller.
    ArrayList borrowed(false);
    borrowed.Add("keep");
    Object* made = borrowed.At(0);
    borrowed.Clear();
    delete made;
}

TEST(ArrayListTest, EveryListOwnsOneSemaphoreSetForItsLifetime) {
    int locked, unlocked;
    {
        Probe<ArrayList> a;
        Probe<ArrayList> b(true, false);
        locked = a.semId();
        unlocked = b.semId();
        ASSERT_GT(locked, 0);
        ASSERT_GT(unlocked, 0);
        EXPECT_NE(locked, unlocked);
        EXPECT_EQ(SemValue(locked), 0);
        EXPECT_EQ(SemValue(unlocked), 0);
    }
    errno = 0;
    EXPECT_EQ(SemValue(locked), -1);
    EXPECT_EQ(errno, EINVAL);
    errno = 0;
    EXPECT_EQ(SemValue(unlocked), -1);
    EXPECT_EQ(errno, EINVAL);
}

TEST(ArrayListTest, LockedCallsWaitForTheSectionThenLeaveItBeforeTheWork) {
    std::atomic<int> deaths{0};
    Probe<ArrayList> list;
    const int id = list.semId();
    ASSERT_GT(id, 0);

    checkSection(id, true, [&] { list.Add(new CountingObject(deaths)); }, "Add(Object*)");
    checkSection(id, true, [&] { list.Add("t"); }, "Add(const char*)");
    checkSection(id, true, [&] { EXPECT_EQ(list.Count(), 2); }, "Count");
    checkSection(id, true, [&] { EXPECT_NE(list.At(0), nullptr); }, "At");
    checkSection(id, true, [&] { EXPECT_STREQ(list.AtString(1), "t"); }, "AtString");
    checkSection(id, true, [&] { EXPECT_EQ(list.SetValueAtString(1, "u"), 0); },
                 "SetValueAtString");
    checkSection(id, true, [&] { list.RemoveAt(0); }, "RemoveAt");
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
    Probe<ArrayList> unlocked(true, false);
    const int free = unlocked.semId();
    ASSERT_GT(free, 0);
    checkSection(free, false, [&] { unlocked.Add("x"); }, "unlocked Add");
    checkSection(free, false, [&] { unlocked.RemoveAt(0); }, "unlocked RemoveAt");
}

// Two threads add and remove 100,000 items in one locked, owning list. The
// list's lock does not protect its items, so every call is made under the
// threads' own mutex, as callers sharing a list must; a third thread enters
// and leaves the list's section all along so that the list calls really wait
// for it.
TEST(ArrayListTest, TwoThreadsAddAndRemove100000ItemsUnderOutsideLocking) {
    constexpr int kPerThread = 50000;
    std::atomic<int> deaths{0};
    std::atomic<int> removed{0};
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
        while (!stop) {
            struct sembuf enter[2] = {{0, 0, 0}, {0, 1, 0}};
            struct sembuf leave = {0, -1, 0};
            semop(id, enter, 2);
            semop(id, &leave, 1);
            std::this_thread::yield();
        }
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
