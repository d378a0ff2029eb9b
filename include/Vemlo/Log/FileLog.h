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
/// FileLog is one named log channel. Despite its name it writes every line to
/// the system log (syslog, facility LOG_USER) under the channel's name as the
/// identity; it opens no file. Applications normally get one from
/// Logger::getLogger()->getLog(name), which owns it.
///
/// Each Write* operation formats its text printf-style (cut at 4079
/// characters), puts its prefix in front and sends the line with its own
/// openlog/syslog/closelog, at the priority of the operation:
///   WriteEmerg "[EMERG] " 0, WriteCrit "[CRIT] " 2, WriteError "[ERROR] " 3,
///   WriteWarning "[WARN] " 4, WriteInfo "[INFO] " 6, WriteDebug "[DEBUG] " 7.
/// The line is handed to syslog as data ("%s"), never as a format, so text
/// from outside cannot be interpreted a second time. The level is stored for
/// the application but not tested by the writes; no lock is taken and no time
/// stamp is added (the system logger adds its own).
///
/// A channel whose name contains "Vemlo" (the framework's own is "[Vemlo]")
/// appends "(<process name>)" to its identity, taken from the fourth column of
/// the last line of "ps | grep '<pid>' | grep -v 'grep'", so that the lines of
/// different processes can be told apart.
///
/// Thread safety: writes may come from any thread. The system library keeps
/// one syslog identity per process, so two channels writing at the same
/// moment may see their identities interleaved; every line arrives. The
/// mutex (getMutex()) is there for callers that want to serialise writes; the
/// class never locks it. Level, backup range and file are not locked.
///
/// Departures: docs/Compatibility.md.
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
    /// this operation's prefix and priority (see the class comment).
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
