//===- DB/SqliteTest.cpp - The SQLite wrapper against real contention -----===//
#include "support/SyslogSink.h"
#include "support/TestConfig.h"

#include <sqlite3.h>

#include <chrono>
#include <fstream>

using Vemlo::Data::Collection::ArrayList;
using Vemlo::Data::Collection::Table;
using Vemlo::DB::DBException;
using Vemlo::DB::Sqlite;
using VemloTest::ExpectThrown;
using VemloTest::TimeOf;

namespace {

using namespace std::chrono_literals;
// The results of calls made in order (braces evaluate left to right).
using Results = std::vector<int>;

// A second connection of our own, opened with plain sqlite3 calls.
struct RawConnection {
    sqlite3* db = nullptr;
    explicit RawConnection(const std::string& file) { sqlite3_open(file.c_str(), &db); }
    ~RawConnection() { sqlite3_close(db); }
    int exec(const char* sql) { return sqlite3_exec(db, sql, nullptr, nullptr, nullptr); }
    int count(const std::string& table) {
        sqlite3_stmt* st = nullptr;
        sqlite3_prepare_v2(db, ("SELECT COUNT(*) FROM " + table).c_str(), -1, &st, nullptr);
        const int n = sqlite3_step(st) == SQLITE_ROW ? sqlite3_column_int(st, 0) : -1;
        sqlite3_finalize(st);
        return n;
    }
};

// Every case has a folder for its database files and a connection, closed
// after the case.
class SqliteTest : public VemloTest::ConfiguredTest {
protected:
    void TearDown() override {
        db.Close();
        ConfiguredTest::TearDown();
    }
    // Opens (creating) `file` with table t of two rows; the failures close it.
    void openFilled() {
        ASSERT_EQ(db.Open(file.c_str(), Sqlite::kReadWrite), 1);
        ASSERT_EQ(db.Execute("CREATE TABLE t (id INTEGER, name TEXT, score REAL);"
                             "INSERT INTO t VALUES (1, 'pump', 2.5), (2, NULL, NULL);",
                             0),
                  1);
    }
    VemloTest::TempDir dir;
    const std::string file = dir.file("test.db");
    Sqlite db;
};

std::unique_ptr<ArrayList> commands(std::initializer_list<const char*> texts) {
    auto list = std::make_unique<ArrayList>();
    for (const char* text : texts)
        list->Add(text);
    return list;
}

} // namespace

TEST_F(SqliteTest, BusyDatabaseIsRetriedThenClosedAndAFailedCommitKeepsItsTransaction) {
    VemloTest::SyslogSink sink;
    SYSLOG_SINK_OR_SKIP(sink);
    openFilled();
    RawConnection other(file);
    ASSERT_EQ(other.exec("BEGIN EXCLUSIVE;"), SQLITE_OK);

    // Ten attempts 1 ms apart, then 0; option 0 closes the connection.
    sink.drain();
    EXPECT_GE(TimeOf([&] { EXPECT_EQ(db.Execute("INSERT INTO t VALUES (9, 'x', 0);", 1000), 0); }),
              9ms);
    // Fewer than 11 lines make at() throw, which fails the case.
    EXPECT_EQ(sink.take(11).at(10).text, "[ERROR] sqlite3_exec Error : 5");
    // Closed: no connection.
    EXPECT_EQ((Results{other.exec("COMMIT;"), db.Execute("INSERT INTO t VALUES (9, 'x', 0);", 0)}),
              (Results{SQLITE_OK, 0}));

    // Option 1 keeps the connection: a reader's shared lock blocks the commit
    // for all 40 attempts, and the transaction is still there afterwards.
    db.setOption(1);
    ASSERT_EQ((Results{db.Open(file.c_str(), Sqlite::kReadWrite), db.TransactionStart(),
                       db.Execute("INSERT INTO t VALUES (7, 'kept', 0);", 0),
                       other.exec("BEGIN; SELECT COUNT(*) FROM t;")}),
              (Results{1, 1, 1, SQLITE_OK}));
    const auto took = TimeOf([&] { EXPECT_EQ(db.Commit(), 0); });
    EXPECT_TRUE(took >= 40 * 200ms - 100ms && took < 30s) << (took / 1ms) << " ms";
    // The same transaction, committed now.
    EXPECT_EQ((Results{other.exec("COMMIT;"), db.Commit(), other.count("t")}),
              (Results{SQLITE_OK, 1, 3}));
}

TEST_F(SqliteTest, CommandSetsApplyInOrderWithoutATransactionAndBackupAppliesToTheCopy) {
    EXPECT_EQ(
        Sqlite::ApplyCommandSet(
            file.c_str(), commands({"CREATE TABLE t (v INTEGER);", "INSERT INTO t VALUES (1);",
                                    "INSERT INTO missing VALUES (2);", "INSERT INTO t VALUES (3);"})
                              .get()),
        0);
    EXPECT_EQ(RawConnection(file).count("t"), 1); // the first two stay applied

    // The source is untouched. Any output of cp counts as its failure (with
    // -v the copy is made and named).
    const std::string copy = dir.file("copy.db");
    const auto upgrade =
        commands({"ALTER TABLE t ADD COLUMN note TEXT;", "INSERT INTO t VALUES (5, 'upgraded');"});
    EXPECT_EQ((Results{Sqlite::Backup(file.c_str(), copy.c_str(), upgrade.get()),
                       RawConnection(copy).count("t"), RawConnection(file).count("t"),
                       Sqlite::Backup(("-v " + file).c_str(), copy.c_str(), nullptr)}),
              (Results{1, 2, 1, 0}));
}

TEST_F(SqliteTest, OpensQueriesLocksAndRollsBackAndFailuresGiveTheExceptionOrZeroNotACrash) {
    // A folder that does not exist: ten attempts 0.2 s apart, then the exception.
    const std::string missing = dir.file("missing/x.db");
    ExpectThrown<DBException>(
        [&] { db.Open(missing.c_str(), Sqlite::kReadWrite); }, 0,
        ("[DB] Can't open database: " + missing + " (Retried 10 times)\n").c_str());
    EXPECT_EQ(Sqlite::ApplyCommandSet(missing.c_str(), commands({"SELECT 1;"}).get()), 0);
    EXPECT_EQ(Sqlite::ApplyCommandSet(file.c_str(), nullptr), 0);
    openFilled();
    std::unique_ptr<Table> table(db.getTable("SELECT id, name, score FROM t ORDER BY id;", 0));
    table->MoveNext();
    ASSERT_TRUE(table->MoveNext());
    EXPECT_STREQ(table->getCurrent()->getString("name"), "");
    // The table form appends to what the table holds.
    EXPECT_EQ(db.getTable("SELECT id, name, score FROM t;", *table), 1);
    EXPECT_EQ(table->getRowCount(), 4);

    // Lock begins a transaction and takes the mutex; a second Lock fails at
    // BEGIN without waiting on it.
    EXPECT_EQ((Results{db.Lock(), db.Execute("INSERT INTO t VALUES (3, 'valve', 1);", 0), db.Lock(),
                       db.UnLock(), RawConnection(file).count("t")}),
              (Results{1, 1, 0, 1, 3}));

    // A committed transaction outlives a power cut only with the journal's
    // folder synced when the journal goes (synchronous EXTRA, 3).
    std::unique_ptr<Table> setting(db.getTable("PRAGMA synchronous;", 0));
    ASSERT_TRUE(setting->MoveNext());
    EXPECT_STREQ(setting->getCurrent()->getString(0), "3");

    // Read-only now (the first connection closed); without a transaction
    // Commit has nothing to end; the refused change closes the connection.
    EXPECT_EQ((Results{db.Open(file.c_str(), 1), db.Commit(), db.TransactionStart(),
                       db.Execute("DELETE FROM t;", 0)}),
              (Results{1, 1, 1, 0}));
    EXPECT_EQ(
        (Results{db.Open(file.c_str(), Sqlite::kReadWrite), db.TransactionStart(),
                 db.Execute("DELETE FROM t;", 0), db.Rollback(), RawConnection(file).count("t")}),
        (Results{1, 1, 1, 1, 3}));
    ExpectThrown<DBException>([&] { db.getTable("SELECT * FROM missing;", *table); }, 0,
                              "[DB] Can't get database table(1): no such table: missing\n");
    EXPECT_EQ(db.Execute("SELECT 1;", 0), 0); // the failure closed the connection

    std::ofstream(file, std::ios::binary) << std::string(8192, '\x5a'); // corrupt
    db.setOption(1);
    ASSERT_EQ(db.Open(file.c_str(), Sqlite::kReadWrite), 1); // SQLite reads lazily
    ExpectThrown<DBException>([&] { db.getTable("SELECT * FROM sqlite_master;", 0); }, 0,
                              "[DB] Can't get database table: file is not a database\n");
    // Option 1 keeps the connection after every kind of failure.
    ExpectThrown<DBException>([&] { db.getTable("SELECT * FROM sqlite_master;", *table); }, 0,
                              "[DB] Can't get database table(26): file is not a database\n");
    EXPECT_EQ((Results{db.Execute("DELETE FROM t;", 0), db.Execute("SELECT 1;", 0)}),
              (Results{0, 1}));
}
