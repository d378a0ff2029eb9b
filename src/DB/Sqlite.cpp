//===- DB/Sqlite.cpp - A SQLite connection with retries -------------------===//
#include <Vemlo/DB/Sqlite.h>

#include <Vemlo/DB/DBException.h>
#include <Vemlo/Data/Collection/Row.h>
#include <Vemlo/Log/FileLog.h>
#include <Vemlo/Log/Logger.h>
#include <Vemlo/String.h>

#include "Support/Text.h"

#include <sqlite3.h>

#include <cxxabi.h>
#include <cstdio>
#include <cstring>
#include <ctime>

namespace Vemlo {
namespace DB {

using Vemlo::Data::Collection::ArrayList;
using Vemlo::Data::Collection::Row;
using Vemlo::Data::Collection::Table;
using Vemlo::Log::FileLog;

namespace {

constexpr int kAttempts = 10;
constexpr int kCommitAttempts = 40;
constexpr int kPauseMicros = 200000;
const char kChannel[] = "[libVemlo] Sqlite";
// Option bit: a connection stays open after a final failure.
constexpr int kKeepOpenOnFailure = 1;

using Vemlo::detail::orEmpty;

// True when the option word asks to keep the connection after a final failure.
inline bool keepsOpenOnFailure(int option) {
    return (option & kKeepOpenOnFailure) != 0;
}

void pause(long micros) {
    if (micros <= 0)
        return;
    struct timespec ts;
    ts.tv_sec = micros / 1000000;
    ts.tv_nsec = (micros % 1000000) * 1000;
    while (nanosleep(&ts, &ts) != 0) {
    }
}

// Calls `once` (true: done) up to `attempts` times, pausing `pauseMicros`
// after each failure but the last (after the last too when `pauseAfterLast`).
// Returns whether an attempt succeeded.
template <class Once>
bool retry(int attempts, long pauseMicros, Once once, bool pauseAfterLast = false) {
    for (int attempt = 1; attempt <= attempts; ++attempt) {
        if (once())
            return true;
        if (attempt < attempts || pauseAfterLast)
            pause(pauseMicros);
    }
    return false;
}

FileLog* channel() {
    return Vemlo::Log::Logger::getLogger()->getLog(kChannel);
}

// The channel may be missing when no log level is configured: the lines are
// then dropped. A line without arguments is written as it stands.
template <class... Args>
void writeTo(FileLog* log, void (FileLog::*write)(const char*, ...), const char* format,
             Args... args) {
    if (!log)
        return;
    if constexpr (sizeof...(Args) == 0)
        (log->*write)("%s", format);
    else
        (log->*write)(format, args...);
}

template <class... Args> void debug(FileLog* log, const char* format, Args... args) {
    writeTo(log, &FileLog::WriteDebug, format, args...);
}

template <class... Args> void error(FileLog* log, const char* format, Args... args) {
    writeTo(log, &FileLog::WriteError, format, args...);
}

// SQLite's error text, released once read; the code's text when there is none.
String takeError(char*& text, int code) {
    String message(text ? text : sqlite3_errstr(code));
    sqlite3_free(text);
    text = nullptr;
    return message;
}

[[noreturn]] void throwCannotOpen(const char* file) {
    String message;
    message.Format("[DB] Can't open database: %s (Retried %d times)\n", orEmpty(file), kAttempts);
    throw new DBException(message.c_str());
}

// Closes `database` with 10 attempts, `pauseMicros` apart; throws when it
// cannot.
void closeWithRetries(sqlite3* database, long pauseMicros) {
    if (retry(kAttempts, pauseMicros, [database] { return sqlite3_close(database) == SQLITE_OK; }))
        return;
    String message;
    message.Format("[DB] Can't close database: %s\n", sqlite3_errmsg(database));
    throw new DBException(message.c_str());
}

// Runs a query with 10 attempts; fills `table`. Returns SQLITE_OK, or the
// last code with its text in `failure`.
int queryInto(sqlite3* database, const char* sql, long pauseMicros, Table*& table,
              String& failure) {
    char** result = nullptr;
    int rows = 0, columns = 0, code = SQLITE_OK;
    const bool done = retry(kAttempts, pauseMicros, [&] {
        char* text = nullptr;
        code = sqlite3_get_table(database, sql, &result, &rows, &columns, &text);
        if (code == SQLITE_OK) {
            sqlite3_free(text);
            return true;
        }
        failure = takeError(text, code);
        return false;
    });
    if (!done)
        return code;

    if (!table)
        table = new Table;
    for (int c = 0; c < columns; ++c)
        table->addColumn(result[c]);
    for (int r = 1; r <= rows; ++r) {
        Row* row = new Row;
        for (int c = 0; c < columns; ++c) {
            const char* value = result[r * columns + c];
            row->addString(orEmpty(value));
        }
        table->addRow(row);
    }
    sqlite3_free_table(result);
    return SQLITE_OK;
}

// A read-write connection syncs the database's folder after the rollback
// journal is deleted: that deletion is what commits a transaction, and
// without the sync a power cut right after a commit can take it back.
void keepCommitsThroughPowerCuts(sqlite3* database) {
    sqlite3_exec(database, "PRAGMA synchronous=EXTRA", nullptr, nullptr, nullptr);
}

} // namespace

Sqlite::Sqlite()
    : m_pDatabase(nullptr), m_pMutex(sqlite3_mutex_alloc(SQLITE_MUTEX_FAST)),
      m_bInTransaction(false), m_nOption(0), m_pLog(channel()) {}

Sqlite::~Sqlite() {
    if (m_pMutex)
        sqlite3_mutex_free(m_pMutex);
    m_pMutex = nullptr;
}

int Sqlite::Open(const char* file, int mode) {
    m_bInTransaction = false;
    const bool opened = retry(kAttempts, kPauseMicros, [&] {
        sqlite3* database = nullptr;
        const int code = mode == kReadWrite
                             ? sqlite3_open(file, &database)
                             : sqlite3_open_v2(file, &database, SQLITE_OPEN_READONLY, nullptr);
        if (code != SQLITE_OK) {
            sqlite3_close(database);
            return false;
        }
        if (mode == kReadWrite)
            keepCommitsThroughPowerCuts(database);
        if (m_pDatabase)
            sqlite3_close(m_pDatabase);
        m_pDatabase = database;
        return true;
    });
    if (opened)
        return 1;
    throwCannotOpen(file);
}

void Sqlite::setOption(int option) {
    m_nOption = option;
}

int Sqlite::Execute(const char* sql, int pauseMicros) {
    int code = SQLITE_OK;
    const bool done = retry(kAttempts, pauseMicros, [&] {
        char* text = nullptr;
        code = sqlite3_exec(m_pDatabase, sql, nullptr, nullptr, &text);
        if (code == SQLITE_OK)
            return true;
        debug(m_pLog, "[Sqlite::Execute][ERROR:%d] sqlite3_exec %s\n ", code,
              takeError(text, code).c_str());
        return false;
    });
    if (done)
        return 1;
    if (!keepsOpenOnFailure(m_nOption)) {
        try {
            Close();
        } catch (DBException* e) {
            debug(m_pLog, "####### [Execute] %s\n ", e->GetMessage());
            delete e;
            return 0;
        }
    }
    error(m_pLog, "sqlite3_exec Error : %d", code);
    return 0;
}

Table* Sqlite::getTable(const char* sql, int pauseMicros) {
    Table* table = nullptr;
    String failure;
    if (queryInto(m_pDatabase, sql, pauseMicros, table, failure) == SQLITE_OK)
        return table;
    if (!keepsOpenOnFailure(m_nOption))
        Close();
    String message;
    message.Format("[DB] Can't get database table: %s\n", failure.c_str());
    throw new DBException(message.c_str());
}

int Sqlite::getTable(const char* sql, Table& table) {
    Table* target = &table;
    String failure;
    const int code = queryInto(m_pDatabase, sql, kPauseMicros, target, failure);
    if (code == SQLITE_OK)
        return 1;
    if (!keepsOpenOnFailure(m_nOption))
        Close();
    String message;
    message.Format("[DB] Can't get database table(%d): %s\n", code, failure.c_str());
    throw new DBException(message.c_str());
}

int Sqlite::TransactionStart() {
    char* text = nullptr;
    const int code = sqlite3_exec(m_pDatabase, "BEGIN TRANSACTION;", nullptr, nullptr, &text);
    if (code == SQLITE_OK) {
        m_bInTransaction = true;
        return 1;
    }
    error(m_pLog, "[DB]Can't BEGIN TRANSACTION: %s\n", takeError(text, code).c_str());
    return 0;
}

int Sqlite::Commit() {
    return EndTransaction("COMMIT;", "[Sqlite::Commit] Not in transaction section.\n",
                          "[Sqlite::Commit] retry\n", "[DB]Can't commit database: %s\n");
}

int Sqlite::Rollback() {
    return EndTransaction("ROLLBACK;", "[Sqlite::Rollback] Not in transaction section.\n",
                          "[Sqlite::Rollback] retry\n", "[DB]Can't rollback database: %s\n");
}

// Commit and Rollback: 40 attempts, 0.2 s apart, the last one included.
int Sqlite::EndTransaction(const char* sql, const char* notInTransaction, const char* retryLine,
                           const char* failed) {
    if (!m_bInTransaction) {
        debug(m_pLog, "%s", notInTransaction);
        return 1;
    }
    String failure;
    const bool done = retry(
        kCommitAttempts, kPauseMicros,
        [&] {
            char* text = nullptr;
            const int code = sqlite3_exec(m_pDatabase, sql, nullptr, nullptr, &text);
            if (code == SQLITE_OK)
                return true;
            failure = takeError(text, code);
            debug(m_pLog, "%s", retryLine);
            return false;
        },
        true);
    if (done) {
        m_bInTransaction = false;
        return 1;
    }
    if (m_pLog)
        m_pLog->WriteError(failed, failure.c_str());
    if (keepsOpenOnFailure(m_nOption))
        return 0;
    m_bInTransaction = false;
    sqlite3_close(m_pDatabase);
    m_pDatabase = nullptr;
    return 0;
}

int Sqlite::Lock() {
    if (!TransactionStart())
        return 0;
    if (m_pMutex)
        sqlite3_mutex_enter(m_pMutex);
    return 1;
}

int Sqlite::UnLock() {
    if (m_pMutex)
        sqlite3_mutex_leave(m_pMutex);
    return Commit();
}

void Sqlite::Close() {
    closeWithRetries(m_pDatabase, kPauseMicros);
    m_pDatabase = nullptr;
}

int Sqlite::Close(sqlite3* database) {
    closeWithRetries(database, kPauseMicros);
    return 1;
}

int Sqlite::Open(const char* file, sqlite3** database) {
    // No pause between these attempts.
    const bool opened = retry(kAttempts, 0, [&] {
        if (sqlite3_open(file, database) == SQLITE_OK)
            return true;
        sqlite3_close(*database);
        *database = nullptr;
        return false;
    });
    if (!opened)
        throwCannotOpen(file);
    keepCommitsThroughPowerCuts(*database);
    return 1;
}

int Sqlite::ApplyCommandSet(const char* file, ArrayList* commands) {
    FileLog* log = channel();
    if (!commands || commands->Count() == 0) {
        debug(log, "[Sqlite::ApplyCommandSet] commands is null.\n");
        return 0;
    }
    sqlite3* database = nullptr;
    try {
        Open(file, &database);
        for (int i = 0; i < commands->Count(); ++i) {
            const char* sql = commands->AtString(i);
            if (!sql) {
                debug(log, "[Sqlite::ApplyCommandSet] %dth commands is invalid.\n", i);
                continue;
            }
            debug(log, "%s\n", sql);
            const bool done = retry(kAttempts, kPauseMicros, [&] {
                char* text = nullptr;
                const int code = sqlite3_exec(database, sql, nullptr, nullptr, &text);
                if (code == SQLITE_OK)
                    return true;
                debug(log, "[Sqlite::ApplyCommandSet][ERROR:%d] sqlite3_exec %s\n ", code,
                      takeError(text, code).c_str());
                return false;
            });
            if (!done)
                throw new DBException(sql);
        }
        Close(database);
        return 1;
    } catch (DBException* e) {
        debug(log, "####### [Execute] %s\n ", e->GetMessage());
        delete e;
    } catch (abi::__forced_unwind&) {
        // The calling thread is being cancelled (in a pause between
        // attempts): the unwind must go on, or the process aborts.
        if (database)
            sqlite3_close(database);
        throw;
    } catch (...) {
        debug(log, "####### [Execute] ETC error\n ");
    }
    if (database)
        sqlite3_close(database);
    return 0;
}

int Sqlite::Backup(const char* source, const char* target, ArrayList* commands) {
    FileLog* log = channel();
    String command;
    command.Format("cp -f %s %s", orEmpty(source), orEmpty(target));
    FILE* pipe = popen(command.c_str(), "r");
    if (!pipe) {
        error(log, "[Backup] popen error.");
        return 0;
    }
    char output[512];
    std::memset(output, 0, sizeof output);
    if (!std::fgets(output, sizeof output, pipe))
        output[0] = '\0';
    pclose(pipe);
    if (output[0] == '\0')
        return ApplyCommandSet(target, commands);
    error(log, "[Backup] cp error : %s", output);
    return 0;
}

} // namespace DB
} // namespace Vemlo
