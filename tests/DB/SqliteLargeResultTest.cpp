//===- DB/SqliteLargeResultTest.cpp - More rows than semaphore sets -------===//
//
// Every Row owns a System V semaphore set, and the kernel allows 32,000 here
// (far fewer on older devices). A result with more rows than that must still
// load: rows past the limit work without their lock. Runs alone, since it
// uses up the machine's semaphore sets while it lasts.
//
//===----------------------------------------------------------------------===//
#include "support/TestConfig.h"
#include "support/VemloTest.h"

using Vemlo::Data::Collection::Table;
using Vemlo::DB::Sqlite;

TEST(SqliteLargeResultTest, FortyThousandRowsLoadPastTheSemaphoreLimit) {
    VemloTest::TestConfig config;
    VemloTest::TempDir dir;
    const std::string file = dir.file("large.db");
    Sqlite db;
    db.Open(file.c_str(), Sqlite::kReadWrite);
    ASSERT_EQ(db.Execute("CREATE TABLE t (id INTEGER, a TEXT, b REAL);"
                         "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n "
                         "WHERE i < 40000) INSERT INTO t SELECT i, 'row' || i, i * 0.5 FROM n;",
                         0),
              1);
    std::unique_ptr<Table> table(db.getTable("SELECT id, a, b FROM t ORDER BY id;", 0));
    ASSERT_EQ(table->getRowCount(), 40000);
    table->Reset();
    while (table->MoveNext())
        ;
    EXPECT_EQ(table->getCurrent()->getInt("id"), 40000);
    EXPECT_STREQ(table->getCurrent()->getString("a"), "row40000");
    db.Close();
    table.reset();
    Vemlo::Log::Logger::DestroyLogger();
}
