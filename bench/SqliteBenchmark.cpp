//===- bench/SqliteBenchmark.cpp - The SQLite wrapper beside raw sqlite3 --===//
//
// 10,000 INSERTs in one transaction through Execute, and a 10,000-row,
// 3-column getTable, beside sqlite3_exec / sqlite3_get_table on the same
// database in the same run. BM_Select_TableOnly builds the same Table from an
// already fetched result: the share of the framework's rows (one semaphore
// set per row, a semaphore operation per cell) in the getTable figure.
//
// Before the timings, the System V semaphore calls per row of getTable are
// counted (SemCount.cpp), filling and deleting apart, beside the minimum the
// documented algorithms need for a row of three cells:
//                                                       semget semctl semop
//   fill: new Row, its list's set (created, value set)    1      1
//         addString per cell: Add, one pass each                       3
//         addRow: Add to the table's list, one pass                    1
//         minimum                                          1      1    4  = 6
//   delete: the table deletes the row; the row's list
//         empties itself once (Clear, one pass) and its
//         set is removed                                          1    1  = 2
//
//===----------------------------------------------------------------------===//
#include "Ratios.h"
#include "SemCount.h"

#include <Vemlo/Vemlo.h>

#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

#include <unistd.h>

using Vemlo::Data::Collection::Row;
using Vemlo::Data::Collection::Table;
using Vemlo::DB::Sqlite;

namespace {

constexpr int kRows = 10000;

// A working folder with the configuration the log channels need, and a
// database file in it; removed at exit with the services that read it.
struct Fixture {
    std::string dir;
    std::string file;
    Fixture() {
        char pattern[] = "/tmp/vemlo-bench-XXXXXX";
        dir = mkdtemp(pattern);
        std::string conf = dir + "/Vemlo/Conf";
        std::system(("mkdir -p " + conf).c_str());
        std::ofstream(conf + "/default.config")
            << "<FileProperty><Base><Log><Level>ERROR</Level><BackupRange>7</BackupRange></Log>"
               "<Http><TempPath>"
            << dir << "/http</TempPath></Http></Base></FileProperty>";
        setenv("VEMLO_WORKING_DIRECTORY", dir.c_str(), 1);
        file = dir + "/bench.db";
        sqlite3* db;
        sqlite3_open(file.c_str(), &db);
        sqlite3_exec(db, "CREATE TABLE t (id INTEGER, name TEXT, value REAL);", nullptr, nullptr,
                     nullptr);
        sqlite3_exec(
            db,
            "CREATE TABLE r (id INTEGER, name TEXT, value REAL);"
            "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 10000) "
            "INSERT INTO r SELECT i, 'name' || i, i * 0.25 FROM n;",
            nullptr, nullptr, nullptr);
        sqlite3_close(db);
    }
    // The process-wide services the log channel brought up own System V
    // semaphore sets, which would outlive the process.
    ~Fixture() {
        Vemlo::Log::Logger::DestroyLogger();
        Vemlo::Config::ConfigurationManager::DestroyManager();
        std::system(("rm -rf " + dir).c_str());
    }
};

Fixture& fixture() {
    static Fixture f;
    return f;
}

void BM_Insert_Vemlo(benchmark::State& state) {
    Sqlite db;
    db.Open(fixture().file.c_str(), Sqlite::kReadWrite);
    for (auto _ : state) {
        db.TransactionStart();
        for (int i = 0; i < kRows; ++i)
            db.Execute("INSERT INTO t VALUES (1, 'pump', 2.5);", 1000);
        db.Commit();
        state.PauseTiming();
        db.Execute("DELETE FROM t;", 1000);
        state.ResumeTiming();
    }
    db.Close();
}

void BM_Insert_Raw(benchmark::State& state) {
    sqlite3* db;
    sqlite3_open(fixture().file.c_str(), &db);
    for (auto _ : state) {
        sqlite3_exec(db, "BEGIN TRANSACTION;", nullptr, nullptr, nullptr);
        for (int i = 0; i < kRows; ++i)
            sqlite3_exec(db, "INSERT INTO t VALUES (1, 'pump', 2.5);", nullptr, nullptr, nullptr);
        sqlite3_exec(db, "COMMIT;", nullptr, nullptr, nullptr);
        state.PauseTiming();
        sqlite3_exec(db, "DELETE FROM t;", nullptr, nullptr, nullptr);
        state.ResumeTiming();
    }
    sqlite3_close(db);
}

void BM_Select_Vemlo(benchmark::State& state) {
    Sqlite db;
    db.Open(fixture().file.c_str(), Sqlite::kReadWrite);
    for (auto _ : state) {
        Table* table = db.getTable("SELECT id, name, value FROM r;", 1000);
        benchmark::DoNotOptimize(table);
        delete table;
    }
    db.Close();
}

void BM_Select_Raw(benchmark::State& state) {
    sqlite3* db;
    sqlite3_open(fixture().file.c_str(), &db);
    for (auto _ : state) {
        char** result;
        int rows, columns;
        sqlite3_get_table(db, "SELECT id, name, value FROM r;", &result, &rows, &columns, nullptr);
        benchmark::DoNotOptimize(result);
        sqlite3_free_table(result);
    }
    sqlite3_close(db);
}

void BM_Select_TableOnly(benchmark::State& state) {
    sqlite3* db;
    sqlite3_open(fixture().file.c_str(), &db);
    char** result;
    int rows, columns;
    sqlite3_get_table(db, "SELECT id, name, value FROM r;", &result, &rows, &columns, nullptr);
    for (auto _ : state) {
        Table table;
        for (int c = 0; c < columns; ++c)
            table.addColumn(result[c]);
        for (int r = 1; r <= rows; ++r) {
            Row* row = new Row;
            for (int c = 0; c < columns; ++c)
                row->addString(result[r * columns + c] ? result[r * columns + c] : "");
            table.addRow(row);
        }
    }
    sqlite3_free_table(result);
    sqlite3_close(db);
}

// The calls of one getTable of `sql` and of deleting its table.
void countTable(Sqlite& db, const char* sql, semcount::Counts& fill, semcount::Counts& drop) {
    const semcount::Counts start = semcount::read(semcount::kOther);
    Table* table = db.getTable(sql, 1000);
    const semcount::Counts filled = semcount::read(semcount::kOther);
    delete table;
    fill = filled - start;
    drop = semcount::read(semcount::kOther) - filled;
}

// Per row: the difference between 10,000 rows and one row, so that what a
// table costs once (its own two lists, the column names) drops out.
void countCalls() {
    const std::string file = fixture().file; // before the first log channel
    Sqlite db;
    db.Open(file.c_str(), Sqlite::kReadWrite);
    semcount::Counts fillMany, dropMany, fillOne, dropOne;
    countTable(db, "SELECT id, name, value FROM r;", fillMany, dropMany);
    countTable(db, "SELECT id, name, value FROM r LIMIT 1;", fillOne, dropOne);
    db.Close();
    const double rows = kRows - 1;
    std::printf("System V semaphore calls per row of getTable (3 columns):\n");
    std::printf("  %-8s %s   minimum 6\n", "fill",
                semcount::perUnit(fillMany - fillOne, rows).c_str());
    std::printf("  %-8s %s   minimum 2\n", "delete",
                semcount::perUnit(dropMany - dropOne, rows).c_str());
    std::printf("\n");
    std::fflush(stdout);
}

} // namespace

BENCHMARK(BM_Insert_Vemlo)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Insert_Raw)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Select_Vemlo)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Select_Raw)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Select_TableOnly)->Unit(benchmark::kMillisecond);

int main(int argc, char** argv) {
    countCalls();
    return ratios::main(
        argc, argv,
        {{"Execute, 10,000 INSERTs", "BM_Insert_Vemlo", "BM_Insert_Raw", 0},
         {"getTable 10,000 x 3, then delete", "BM_Select_Vemlo", "BM_Select_Raw", 15}});
}
