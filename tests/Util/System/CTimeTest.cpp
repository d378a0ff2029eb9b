//===- Util/System/CTimeTest.cpp - Local date and time as texts -----------===//
#include "support/VemloTest.h"

#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include <sys/time.h>
#include <time.h>

using Vemlo::Util::System::CTime;

namespace {

// Sets TZ for the life of the object, then puts the old value back.
class ZoneGuard {
public:
    explicit ZoneGuard(const std::string& zone) {
        if (const char* old = std::getenv("TZ")) {
            m_had = true;
            m_old = old;
        }
        setenv("TZ", zone.c_str(), 1);
        tzset();
    }
    ~ZoneGuard() {
        if (m_had)
            setenv("TZ", m_old.c_str(), 1);
        else
            unsetenv("TZ");
        tzset();
    }

private:
    bool m_had = false;
    std::string m_old;
};

std::string format(const char* pattern, const struct tm& tm) {
    char buffer[40] = {0};
    strftime(buffer, sizeof buffer, pattern, &tm);
    return buffer;
}

bool allDigits(const char* text, size_t length) {
    if (std::strlen(text) != length)
        return false;
    for (size_t i = 0; i < length; ++i)
        if (text[i] < '0' || text[i] > '9')
            return false;
    return true;
}

} // namespace

TEST(CTimeTest, TextsAreTheLocalTimeZeroPadded) {
    CTime empty;
    EXPECT_STREQ(empty.getYear(), "");
    EXPECT_STREQ(empty.getMillisecond(), "");

    // A zone in which it is now nine o'clock, so the hour needs its padding.
    // POSIX TZ: local time = UTC - offset.
    time_t now = time(nullptr);
    struct tm utc;
    gmtime_r(&now, &utc);
    ZoneGuard zone("VEM" + std::to_string((utc.tm_hour - 9 + 24) % 24));

    CTime time;
    for (int attempt = 0; attempt < 5; ++attempt) {
        struct timeval before, after;
        gettimeofday(&before, nullptr);
        time.CheckNow();
        gettimeofday(&after, nullptr);
        if (before.tv_sec != after.tv_sec)
            continue; // a second boundary passed: try again
        struct tm local;
        localtime_r(&before.tv_sec, &local);
        EXPECT_EQ(time.getYear(), format("%Y", local));
        EXPECT_EQ(time.getMonth(), format("%m", local));
        EXPECT_EQ(time.getDay(), format("%d", local));
        EXPECT_STREQ(time.getHour(), "09");
        EXPECT_EQ(time.getMinute(), format("%M", local));
        EXPECT_EQ(time.getSecond(), format("%S", local));
        ASSERT_TRUE(allDigits(time.getMillisecond(), 3)) << time.getMillisecond();
        long millisecond = std::strtol(time.getMillisecond(), nullptr, 10);
        EXPECT_GE(millisecond, before.tv_usec / 1000);
        EXPECT_LE(millisecond, after.tv_usec / 1000);
        break;
    }

    std::unique_ptr<CTime> snapshot(CTime::getCurrentTime());
    ASSERT_NE(snapshot, nullptr);
    EXPECT_TRUE(allDigits(snapshot->getYear(), 4));
    EXPECT_TRUE(allDigits(snapshot->getMonth(), 2));
    EXPECT_TRUE(allDigits(snapshot->getDay(), 2));
    EXPECT_TRUE(allDigits(snapshot->getHour(), 2));
    EXPECT_TRUE(allDigits(snapshot->getMinute(), 2));
    EXPECT_TRUE(allDigits(snapshot->getSecond(), 2));
    EXPECT_TRUE(allDigits(snapshot->getMillisecond(), 3));

    // Copies carry the seven texts; assigning an object to itself keeps them.
    CTime copy(*snapshot);
    EXPECT_STREQ(copy.getSecond(), snapshot->getSecond());
    EXPECT_STREQ(copy.getMillisecond(), snapshot->getMillisecond());
    CTime& same = copy;
    copy = same;
    EXPECT_STREQ(copy.getYear(), snapshot->getYear());
    empty = copy;
    EXPECT_STREQ(empty.getDay(), snapshot->getDay());
}

TEST(CTimeTest, GetDateTimeIsTheMicrosecondOfTheSecond) {
    CTime time;
    for (int attempt = 0; attempt < 5; ++attempt) {
        struct timeval before, after;
        gettimeofday(&before, nullptr);
        long value = time.GetDateTime();
        gettimeofday(&after, nullptr);
        EXPECT_GE(value, 0);
        EXPECT_LE(value, 999999);
        if (before.tv_sec != after.tv_sec)
            continue; // wrapped to 0 in between: try again
        EXPECT_GE(value, static_cast<long>(before.tv_usec));
        EXPECT_LE(value, static_cast<long>(after.tv_usec));
        break;
    }
}
