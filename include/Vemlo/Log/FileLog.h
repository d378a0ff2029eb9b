//===- Vemlo/Log/FileLog.h - A named log channel ----------------*- C++ -*-===//
#ifndef VEMLO_LOG_FILELOG_H
#define VEMLO_LOG_FILELOG_H

#include <Vemlo/Export.h>
#include <Vemlo/Data/Object.h>
#include <Vemlo/String.h>
#include <Vemlo/Util/System/CTime.h>
#include <Vemlo/Util/System/Mutex.h>

#include <cstdio>

namespace Vemlo {
namespace Log {

/// \brief One named log channel; every line goes to the system log.
///
/// Despite its name it writes every line to the system log (facility LOG_USER)
/// under the channel's name, with the prefix and priority of each Write*
/// operation; the text is sent as data, never as a format. The level is stored,
/// not tested by the writes.
/// Ownership: channels come from Logger::getLogger()->getLog(name), which owns
/// them.
/// Threads: writes from any thread; identities of two channels writing at once
/// may interleave. The class never locks getMutex().
/// Details: docs/Logging.md; departures: docs/Compatibility.md.
class VEMLO_API FileLog : public Vemlo::Data::Object {
public:
    /// `directory` is stored only; `name` is the channel name and syslog
    /// identity (extended by the process name when it contains "Vemlo"). Null
    /// arguments are read as empty texts. Level 0, backup range 10 (left at 0,
    /// with an empty framework tag, when `ps` cannot be run for a "Vemlo"
    /// channel; long-standing behaviour).
    FileLog(const char* directory, const char* name);

    /// Copies the texts, level, backup range and clock. The copy has a mutex
    /// of its own (same name) and no file, so that the two objects never free
    /// the same resources.
    FileLog(const FileLog& other);

    /// Deliberately does nothing: a channel keeps its identity once made.
    FileLog& operator=(const FileLog& other);

    /// Deletes the mutex and closes the file if one is open.
    ~FileLog() override;

    ///@{
    /// Formats the text printf-style and writes it to the system log with
    /// this operation's prefix and priority (table in docs/Logging.md).
    void WriteDebug(const char* format, ...) __attribute__((format(printf, 2, 3)));
    void WriteInfo(const char* format, ...) __attribute__((format(printf, 2, 3)));
    void WriteWarning(const char* format, ...) __attribute__((format(printf, 2, 3)));
    void WriteError(const char* format, ...) __attribute__((format(printf, 2, 3)));
    void WriteCrit(const char* format, ...) __attribute__((format(printf, 2, 3)));
    void WriteEmerg(const char* format, ...) __attribute__((format(printf, 2, 3)));
    ///@}

    /// Stores the level as given, without a range check.
    void setLevel(int level);
    /// "ERROR" 0, "WARNING" 1, "INFO" 2, "DEBUG" 3 (exact, case-sensitive);
    /// any other text, null included, stores 3.
    void setLevel(const char* name);
    /// Stores `days` only when it lies between 1 and 29; others are ignored.
    void setBackupRange(int days);

    /// Does nothing and returns 0 (the channel writes to the system log).
    int OpenLog(const char* path);
    /// Closes the file if one is open, forgets it, returns 0. Harmless twice.
    int CloseLog();
    /// Does nothing.
    void Check();

    /// The current time as "hh:mm:ss:mmm". The text stays valid until the next
    /// getTimeInfo() call on the same thread.
    const char* getTimeInfo();
    /// The same text formatted into `out`; a null `out` does nothing.
    void getTimeInfo(String* out);

    /// The syslog identity: the name, with "(<process name>)" for a "Vemlo"
    /// channel.
    const char* getName() const { return m_sName.c_str(); }
    /// The directory given at construction.
    const char* getDirectory() const { return m_sDirectory.c_str(); }
    /// 0 ERROR, 1 WARNING, 2 INFO, 3 DEBUG (or any value given to setLevel).
    int getLevel() const { return m_nLevel; }
    /// The backup range: stored only, as the channel writes no file.
    int getBackupRange() const { return m_nBackupRange; }
    /// The mutex for callers that serialise their writes; owned by the channel.
    Vemlo::Util::System::Mutex* getMutex() const { return m_pMutex; }

private:
    // Field order is the object's binary layout.
    String m_sName;
    String m_sDirectory;
    String m_sReserved; // stays empty
    String m_sFramework;
    int m_nLevel;
    FILE* m_pFile;
    Vemlo::Util::System::Mutex* m_pMutex;
    int m_nBackupRange;
    Vemlo::Util::System::CTime m_time;
};

} // namespace Log
} // namespace Vemlo

#endif // VEMLO_LOG_FILELOG_H
