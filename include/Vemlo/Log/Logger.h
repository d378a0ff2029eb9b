//===- Vemlo/Log/Logger.h - The registry of log channels --------*- C++ -*-===//
#ifndef VEMLO_LOG_LOGGER_H
#define VEMLO_LOG_LOGGER_H

#include <Vemlo/Export.h>

namespace Vemlo {
namespace Data {
namespace Collection {
class HashTable;
} // namespace Collection
} // namespace Data

namespace Log {

class FileLog;

/// \brief The process-wide registry of log channels (FileLog) by name.
///
/// The first getLog(name) creates the channel with its level from
/// "Base.Log.Level"; later calls return the same channel.
/// Ownership: the single instance, made by getLogger and destroyed with every
/// channel by DestroyLogger (after EventHandler::DestroyInstance, before
/// ConfigurationManager::DestroyManager).
/// Threads: none for the registry; make it and the channels on one thread
/// first, then channels may write from any thread.
/// Failures: getLog returns null when the configuration lacks the level.
/// Details: docs/Logging.md; departures: docs/Compatibility.md.
class VEMLO_API Logger {
public:
    /// Exists for the interface only; the registry is never copied. The copy
    /// starts with an empty table of its own, so that the two never delete
    /// the same channels.
    Logger(const Logger& other);
    /// Deliberately does nothing.
    Logger& operator=(const Logger& other);

    /// Deletes the table and with it every channel.
    virtual ~Logger();

    /// The single instance, created (with an empty table) on the first call.
    static Logger* getLogger();

    /// Deletes the single instance, if any; the next getLogger starts afresh.
    static void DestroyLogger();

    /// The channel `name` (null is the empty name), created on first use.
    /// Null when it cannot be created: the configuration throws a framework
    /// exception or lacks "Base.Log.Level"; "[getLog] exception msg(...)" is
    /// printed to standard output then.
    FileLog* getLog(const char* name);

    /// Creates the channel `name` in "<$VEMLO_WORKING_DIRECTORY>/Vemlo/Log/",
    /// sets its level from "Base.Log.Level" and enters it in the table. An
    /// existing channel of that name is replaced in the table but not deleted:
    /// it becomes the caller's. "Base.Log.BackupRange" is read but not applied
    /// (channels keep their own range of 10). Throws LogException* 7252 when
    /// the level is missing or empty; the configuration's exceptions pass
    /// through.
    FileLog* GenerateLog(const char* name);

    /// getLog("default").
    FileLog* getDefaultLog();
    /// getLog("communication").
    FileLog* getCommunicationLog();

private:
    Logger();

    // Field order is the object's binary layout.
    Vemlo::Data::Collection::HashTable* m_pLogs;

    static Logger* m_instance;
};

} // namespace Log
} // namespace Vemlo

#endif // VEMLO_LOG_LOGGER_H
