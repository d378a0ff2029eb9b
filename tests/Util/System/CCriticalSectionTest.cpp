//===- Util/System/CCriticalSectionTest.cpp - Sections and time texts -----===//
#include "support/TestConfig.h"
#include "Data/Collection/CountingObject.h"

#include <cstring>
#include <fstream>

#include <sys/time.h>
#include <time.h>

using Vemlo::Data::Collection::ArrayList;
using Vemlo::Util::System::CCriticalSection;
using Vemlo::Util::System::CSingleLock;
using Vemlo::Util::System::CTime;
using namespace Vemlo::State;
using namespace VemloTest;

TEST(CCriticalSectionTest, OwnsOneKernelSetThatExcludesWritersAndGoesWithItButIdZeroStays) {
    int id;
    {
        CCriticalSection section;
        id = section.getSemId();
        ASSERT_GT(id, 0);
        long counter = 0; // deliberately not atomic: only the section protects it
        std::vector<std::thread> threads;
        for (int t = 0; t < 4; ++t)
            threads.emplace_back([&] {
                for (int i = 0; i < 2000; ++i) {
                    CSingleLock guard(&section);
                    long seen = counter;
                    if (i % 64 == 0)
                        std::this_thread::yield();
                    counter = seen + 1;
                }
            });
        for (auto& t : threads)
            t.join();
        EXPECT_EQ(counter, 4L * 2000);
        CSingleLock guard(&section); // the set's value tracks the holder
        EXPECT_EQ(semctl(id, 0, GETVAL), 1);
    }
    errno = 0; // the destructor removed the set
    EXPECT_EQ((std::pair<int, int>{semctl(id, 0, GETVAL), errno}), std::make_pair(-1, EINVAL));

    // In a child process inside an IPC namespace of its own, whose objects
    // vanish with it: set id 0 is never removed, and past the limit lists
    // work without locking.
    const int code = RunInChild(
        [] {
            if (CCriticalSection().getSemId() != 0) // the namespace's first set gets id 0
                return 10;
            // semmsl semmns semopm semmni: room for 8 sets, one of them id 0.
            std::ofstream("/proc/sys/kernel/sem") << "250 32000 32 8";
            std::vector<std::unique_ptr<CCriticalSection>> held;
            do
                held.push_back(std::make_unique<CCriticalSection>());
            while (held.back()->getSemId() > 0);
            if (held.size() != 8)
                return 12;
            {
                // Nothing locks now: entering twice from one thread returns.
                Probe<ArrayList> list;
                CSingleLock once(held.back().get()), twice(held.back().get());
                for (int i = 0; i < 1000; ++i)
                    list.Add(std::to_string(i).c_str());
                list.RemoveAt(0);
                if (list.semId() != -1 || list.Count() != 999 ||
                    std::string(list.AtString(998)) != "999")
                    return 13;
            }
            held.clear();
            seminfo sets; // semusz: the number of sets in the namespace
            if (semctl(0, 0, SEM_INFO, &sets) < 0 || sets.semusz != 1) // only id 0 is left
                return 14;
            return Probe<ArrayList>().semId() > 0 ? 0 : 15;
        },
        true);
    EXPECT_TRUE(code == 0 || code == 77) << code; // 77: no IPC namespace of its own here
}

// The seven texts, "yyyy-mm-dd hh:mm:ss.mmm".
static std::string texts(const CTime& t) {
    return std::string(t.getYear()) + "-" + t.getMonth() + "-" + t.getDay() + " " + t.getHour() +
           ":" + t.getMinute() + ":" + t.getSecond() + "." + t.getMillisecond();
}

TEST(CTimeTest, TextsAreTheLocalTimeZeroPaddedAndTravelWithCopiesOfAHistoryRecord) {
    // A zone in which it is now nine o'clock, so the hour needs its padding
    // (POSIX TZ: local time = UTC - offset).
    time_t now = time(nullptr);
    struct tm utc;
    localtime_r(&now, &utc); // the zone is read now: CTime must read it again
    gmtime_r(&now, &utc);
    setenv("TZ", ("VEM" + std::to_string((utc.tm_hour - 9 + 24) % 24)).c_str(), 1);
    std::unique_ptr<CTime> time; // CheckNow fills the same texts: see the record below
    struct timeval before, after;
    long microsecond = 0;
    for (int attempt = 0; attempt < 5; ++attempt) { // again if a second boundary passed
        gettimeofday(&before, nullptr);
        time.reset(CTime::getCurrentTime());
        microsecond = time->GetDateTime();
        gettimeofday(&after, nullptr);
        if (before.tv_sec == after.tv_sec)
            break;
    }
    struct tm local;
    localtime_r(&before.tv_sec, &local);
    char expected[40];
    strftime(expected, sizeof expected, "%Y-%m-%d 09:%M:%S.", &local);
    EXPECT_EQ(texts(*time).substr(0, std::strlen(expected)), expected);
    EXPECT_EQ(std::strlen(time->getMillisecond()), 3u) << time->getMillisecond();
    EXPECT_TRUE(before.tv_usec <= microsecond && microsecond <= after.tv_usec) << microsecond;

    // A machine's history record: the step and its time stamp (CTime's copy
    // and assignment) travel with copies.
    StateUnit from, to;
    auto* step = new Transition(&from, &to, 7, nullptr); // owned by `from`
    const LogElement record(step, &to, 7);
    LogElement copy(record), assigned(nullptr, nullptr, 0);
    assigned = copy;
    assigned = static_cast<const LogElement&>(assigned); // to itself: unchanged
    CTime stamp(record.getTime());
    stamp = static_cast<const CTime&>(stamp); // String's own assignment would empty the texts
    EXPECT_EQ(texts(stamp), texts(record.getTime()));
    for (const LogElement* r : {&copy, &assigned})
        EXPECT_EQ(std::make_tuple(r->getTransition(), r->getState(), r->getEventId(),
                                  texts(r->getTime())),
                  std::make_tuple(step, &to, 7, texts(record.getTime())));
    EXPECT_EQ(texts(record.getTime()).size(), 23u); // stamped when made
}
