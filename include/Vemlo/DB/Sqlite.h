//===- Vemlo/DB/Sqlite.h - A SQLite connection with retries -----*- C++ -*-===//
#ifndef VEMLO_DB_SQLITE_H
#define VEMLO_DB_SQLITE_H

#include <Vemlo/Export.h>
#include <Vemlo/Data/Collection/ArrayList.h>
#include <Vemlo/Data/Collection/Table.h>

struct sqlite3;
struct sqlite3_mutex;

namespace Vemlo {
namespace Log {
class FileLog;
}

namespace DB {

/// \brief One SQLite 3 connection whose operations retry while the database is busy.
///
/// Every operation is tried up to 10 times with a pause (40 for Commit and
/// Rollback); query results come back as a Table of text Rows. SQL is passed
/// as given: never build it from untrusted text. Backup hands its file names
/// to the shell.
/// Ownership: the object holds the connection; the destructor does not close
/// it: call Close. Returned tables are the caller's.
/// Threads: one thread at a time, except for the Lock/UnLock pair.
/// Failures: logged to "[libVemlo] Sqlite", then 0 or a DBException* (the
/// catcher deletes it); by default a final failure closes the connection.
/// Details: docs/Database.md; departures: docs/Compatibility.md.
class VEMLO_API Sqlite {
public:
    /// The mode that opens a database read-write (creating the file).
    static constexpr int kReadWrite = 7002;

    /// No connection yet; allocates the SQLite mutex and takes the log channel.
    Sqlite();
    Sqlite(const Sqlite&) = delete;
    Sqlite& operator=(const Sqlite&) = delete;

    /// Frees the mutex; does not close the connection.
    virtual ~Sqlite();

    /// Opens `file`: read-write (created if missing) for mode 7002, read-only
    /// for any other mode. 10 attempts, 0.2 s apart. 1, or throws
    /// DBException* "[DB] Can't open database: <file> (Retried 10 times)\n".
    int Open(const char* file, int mode);

    /// Bit 0 set: keep the connection open after a final failure.
    void setOption(int option);

    /// Runs SQL that returns no rows, pausing `pauseMicros` between attempts.
    /// 1 on success, 0 after the tenth failure.
    int Execute(const char* sql, int pauseMicros);

    /// Runs a query into a new Table that the caller owns, pausing
    /// `pauseMicros` between attempts. Throws DBException* "[DB] Can't get
    /// database table: <error>\n" after the tenth failure.
    Vemlo::Data::Collection::Table* getTable(const char* sql, int pauseMicros);

    /// Runs a query and appends its columns and rows to `table`, 0.2 s between
    /// attempts. 1, or throws DBException* "[DB] Can't get database
    /// table(<code>): <error>\n".
    int getTable(const char* sql, Vemlo::Data::Collection::Table& table);

    /// "BEGIN TRANSACTION;", once. 1 on success; 0 (and a log line) otherwise.
    int TransactionStart();
    ///@{
    /// "COMMIT;" / "ROLLBACK;", up to 40 attempts 0.2 s apart (8 s). 1 on
    /// success or when no transaction is open; 0 after the last attempt.
    int Commit();
    int Rollback();
    ///@}

    /// BEGIN, then enter the object's mutex: 1; 0 when BEGIN fails (the mutex
    /// is then not taken).
    int Lock();
    /// Leave the mutex, then Commit(): its result.
    int UnLock();

    /// Closes the connection (10 attempts, 0.2 s apart); throws DBException*
    /// "[DB] Can't close database: <error>\n" when it cannot.
    void Close();

    /// Closes `database`: 1, or throws as Close() does.
    static int Close(sqlite3* database);
    /// Opens `file` read-write into *database (10 attempts, no pause): 1, or
    /// throws as Open(file, mode) does.
    static int Open(const char* file, sqlite3** database);

    /// Runs each SQL text of `commands` (HashElement texts, as ArrayList::Add
    /// makes them) on `file`, in order and without a transaction: commands
    /// before a failing one stay applied. 1 when all ran; 0 on a null or empty
    /// list or the first command that fails 10 times.
    static int ApplyCommandSet(const char* file, Vemlo::Data::Collection::ArrayList* commands);

    /// Copies `source` to `target` with "cp -f", then applies `commands` to
    /// the copy. 0 when the copy printed anything or could not be run.
    static int Backup(const char* source, const char* target,
                      Vemlo::Data::Collection::ArrayList* commands);

private:
    int EndTransaction(const char* sql, const char* notInTransaction, const char* retry,
                       const char* failed);

    // Field order is the object's binary layout.
    sqlite3* m_pDatabase;
    sqlite3_mutex* m_pMutex;
    bool m_bInTransaction;
    int m_nOption;
    Vemlo::Log::FileLog* m_pLog;
};

} // namespace DB
} // namespace Vemlo

#endif // VEMLO_DB_SQLITE_H
