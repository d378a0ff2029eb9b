//===- Util/System/CTime.cpp - Local date and time as texts ---------------===//
#include <Vemlo/Util/System/CTime.h>

#include <memory>

#include <sys/time.h>
#include <time.h>

namespace Vemlo {
namespace Util {
namespace System {

namespace {

// Formats one component of `tm` with `pattern` and stores it in `out`.
void store(String& out, const char* pattern, const struct tm& tm) {
    char buffer[40] = {0};
    strftime(buffer, sizeof buffer, pattern, &tm);
    out.Format("%s", buffer);
}

// Fills the seven texts from the current local time; false (and nothing
// changed) when the local time cannot be computed.
bool fill(String& year, String& month, String& day, String& hour, String& minute, String& second,
          String& millisecond) {
    struct timeval now;
    gettimeofday(&now, nullptr);
    time_t seconds = now.tv_sec;
    struct tm local;
    // localtime() in its reentrant form, since several threads stamp times at
    // once; tzset() first, as localtime() does, so a changed TZ is honoured.
    tzset();
    if (localtime_r(&seconds, &local) == nullptr)
        return false;
    store(year, "%Y", local);
    store(month, "%m", local);
    store(day, "%d", local);
    store(hour, "%H", local);
    store(minute, "%M", local);
    store(second, "%S", local);
    millisecond.Format("%03ld", static_cast<long>(now.tv_usec) / 1000);
    return true;
}

} // namespace

CTime::CTime() = default;

CTime::CTime(const CTime& other) = default;

CTime& CTime::operator=(const CTime& other) {
    // String's own assignment empties a text assigned to itself.
    if (this != &other) {
        m_sYear = other.m_sYear;
        m_sMonth = other.m_sMonth;
        m_sDay = other.m_sDay;
        m_sHour = other.m_sHour;
        m_sMinute = other.m_sMinute;
        m_sSecond = other.m_sSecond;
        m_sMillisecond = other.m_sMillisecond;
    }
    return *this;
}

CTime::~CTime() = default;

void CTime::CheckNow() {
    fill(m_sYear, m_sMonth, m_sDay, m_sHour, m_sMinute, m_sSecond, m_sMillisecond);
}

CTime* CTime::getCurrentTime() {
    std::unique_ptr<CTime> time(new CTime());
    if (!fill(time->m_sYear, time->m_sMonth, time->m_sDay, time->m_sHour, time->m_sMinute,
              time->m_sSecond, time->m_sMillisecond))
        return nullptr;
    return time.release();
}

long CTime::GetDateTime() {
    struct timeval now;
    gettimeofday(&now, nullptr);
    return static_cast<long>(now.tv_usec);
}

} // namespace System
} // namespace Util
} // namespace Vemlo
