//===- Data/Collection/TableTest.cpp - A query result and its rows --------===//
#include "support/VemloTest.h"

#include <climits>

using Vemlo::Data::Collection::Row;
using Vemlo::Data::Collection::Table;

TEST(TableTest, WalksItsOwnRowsAndReadsCellsByColumnName) {
    Table table; // owns its rows: the sanitizers see a leak otherwise
    table.addColumn("a");
    table.addColumn("b");
    Row* row = new Row;
    row->addString("12");
    EXPECT_TRUE(table.addRow(row));
    ASSERT_TRUE(table.MoveNext());
    ASSERT_EQ(table.getCurrent(), row);
    EXPECT_FALSE(table.MoveNext());
    EXPECT_EQ(table.getCurrent(), row); // stays on the last row
    // Adding a known column again keeps its position.
    EXPECT_TRUE(table.addColumn("a"));
    EXPECT_EQ(table.getColumnCount(), 2);
    EXPECT_EQ(row->getInt("a"), 12);
}

TEST(TableTest, RowCellsConvertLenientlyAndMissingCellsReadAsNullOrZero) {
    Row row;
    for (const char* cell : {" 42abc", "99999999999", "-99999999999"})
        row.addString(cell);
    EXPECT_EQ(row.getInt(0), 42);
    // Saturated at the int limits, on 32- and 64-bit platforms alike.
    EXPECT_EQ(row.getInt(1), INT_MAX);
    EXPECT_EQ(row.getInt(2), INT_MIN);
    EXPECT_EQ(row.getInt(-1), 0);
    EXPECT_EQ(row.getInt("a"), 0); // no table: no column names
}
