//===- Vemlo/Util/System/CTime.h - Local date and time as texts -*- C++ -*-===//
#ifndef VEMLO_UTIL_SYSTEM_CTIME_H
#define VEMLO_UTIL_SYSTEM_CTIME_H

#include <Vemlo/Export.h>
#include <Vemlo/String.h>

namespace Vemlo {
namespace Util {
namespace System {

/// \brief A snapshot of the local date and time as seven texts.
///
/// CTime is a snapshot of the local date and time kept as seven texts: year
/// (4 digits), month, day, hour (24-hour clock), minute, second (2 digits
/// each) and millisecond (3 digits). The file log stamps its times with one
/// and the state machine its history records. A new CTime is empty until
/// CheckNow() fills it. One object must not be used by two threads at once;
/// distinct objects may be used from any thread.
/// Details: docs/Threads.md.
class VEMLO_API CTime {
public:
    /// All seven texts empty.
    CTime();
    /// Copies the seven texts.
    CTime(const CTime& other);
    /// Copies the seven texts; assigning an object to itself leaves it as it is.
    CTime& operator=(const CTime& other);

    virtual ~CTime();

    /// Refreshes the seven texts from the current local time. When the local
    /// time cannot be computed the texts are left as they were.
    void CheckNow();

    /// A new snapshot of the current local time, owned by the caller (delete
    /// it); null when the local time cannot be computed.
    static CTime* getCurrentTime();

    /// The microsecond part (0 to 999999) of the current time of day. Despite
    /// its name it returns neither a date nor a full time; existing callers
    /// use it as a sub-second counter, so it is kept.
    long GetDateTime();

    ///@{
    /// The seven texts; empty before the first CheckNow().
    const char* getYear() const { return m_sYear.c_str(); }
    const char* getMonth() const { return m_sMonth.c_str(); }
    const char* getDay() const { return m_sDay.c_str(); }
    const char* getHour() const { return m_sHour.c_str(); }
    const char* getMinute() const { return m_sMinute.c_str(); }
    const char* getSecond() const { return m_sSecond.c_str(); }
    const char* getMillisecond() const { return m_sMillisecond.c_str(); }
    ///@}

private:
    // Field order is the object's binary layout.
    String m_sYear;
    String m_sMonth;
    String m_sDay;
    String m_sHour;
    String m_sMinute;
    String m_sSecond;
    String m_sMillisecond;
};

} // namespace System
} // namespace Util
} // namespace Vemlo

#endif // VEMLO_UTIL_SYSTEM_CTIME_H
