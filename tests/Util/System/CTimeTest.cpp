//===- Util/System/CTimeTest.cpp - Local date and time as texts -----------===//
#include "support/VemloTest.h"

#include <cstdlib>
#include <cstring>
#include <memory>
#include <regex>
#include <string>

#include <sys/time.h>
#include <time.h>

using Vemlo::Util::System::CTime;

namespace {

std::string format(const char* pattern, const struct tm& tm) {
    char buffer[40] = {0};
    strftime(buffer, sizeof buffer, pattern, &tm);
    return buffer;
}

// The seven texts, "yyyy-mm-dd hh:mm:ss.mmm".
std::string texts(const CTime& t) {
    return std::string(t.getYear()) + "-" + t.getMonth() + "-" + t.getDay() + " " + t.getHour() + ":" +
           t.getMinute() + ":" + t.getSecond() + "." + t.getMillisecond();
}

} // namespace

TEST(CTimeTest, TextsAreTheLocalTimeZeroPaddedAndGetDateTimeTheMicrosecond) {
    CTime empty;
    EXPECT_EQ(texts(empty), "-- ::.");

    // A zone in which it is now nine o'clock, so the hour needs its padding
    // (POSIX TZ: local time = UTC - offset).
    const bool hadZone = std::getenv("TZ") != nullptr;
    const std::string saved = hadZone ? std::getenv("TZ") : "";
    time_t now = time(nullptr);
    struct tm utc;
    gmtime_r(&now, &utc);
    setenv("TZ", ("VEM" + std::to_string((utc.tm_hour - 9 + 24) % 24)).c_str(), 1);
    tzset();

    CTime time;
    for (int attempt = 0; attempt < 5; ++attempt) {
        struct timeval before, after;
        gettimeofday(&before, nullptr);
        time.CheckNow();
        const long microsecond = time.GetDateTime();
        gettimeofday(&after, nullptr);
        if (before.tv_sec != after.tv_sec)
            continue; // a second boundary passed (GetDateTime wrapped to 0): try again
        struct tm local;
        localtime_r(&before.tv_sec, &local);
        const std::string expected = format("%Y-%m-%d 09:%M:%S.", local);
        EXPECT_EQ(texts(time).substr(0, expected.size()), expected);
        EXPECT_EQ(std::strlen(time.getMillisecond()), 3u) << time.getMillisecond();
        const long millisecond = std::strtol(time.getMillisecond(), nullptr, 10);
        EXPECT_GE(millisecond, before.tv_usec / 1000);
        EXPECT_LE(millisecond, after.tv_usec / 1000);
        EXPECT_GE(microsecond, static_cast<long>(before.tv_usec));
        EXPECT_LE(microsecond, static_cast<long>(after.tv_usec));
        break;
    }
    if (hadZone)
        setenv("TZ", saved.c_str(), 1);
    else
        unsetenv("TZ");
    tzset();

    std::unique_ptr<CTime> snapshot(CTime::getCurrentTime());
    ASSERT_NE(snapshot, nullptr);
    EXPECT_TRUE(std::regex_match(texts(*snapshot), std::regex(R"(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3})")))
        << texts(*snapshot);

    // Assigning an object to itself keeps the texts.
    CTime& same = *snapshot;
    empty = *snapshot;
    *snapshot = same;
    EXPECT_EQ(texts(*snapshot), texts(empty));
}
