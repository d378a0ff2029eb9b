//===- Util/System/CTimeTest.cpp - Local date and time as texts -----------===//
#include "support/VemloTest.h"

#include <cstring>

#include <sys/time.h>
#include <time.h>

using Vemlo::Util::System::CTime;
using namespace Vemlo::State;

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
