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
    row->addString("3.5");
    EXPECT_TRUE(table.addRow(row));
    EXPECT_FALSE(table.addRow(nullptr));
    EXPECT_EQ((std::vector<bool>{table.MoveNext(), table.MoveNext()}),
              (std::vector<bool>{true, false}));
    EXPECT_EQ(table.getCurrent(), row); // on the last row, and stays there
    // Adding a known column again keeps its position.
    EXPECT_TRUE(table.addColumn("a"));
    EXPECT_EQ(std::make_pair(table.getRowCount(), table.getColumnCount()), std::make_pair(1, 2));
    EXPECT_EQ(row->getInt("a"), 12);
    EXPECT_EQ((std::vector<double>{row->getDouble("b"), row->getDouble(1), row->getDouble("c")}),
              (std::vector<double>{3.5, 3.5, 0}));
}

TEST(TableTest, RowCellsAreSetOnlyInRangeAndConvertLeniently) {
    Row row;
    for (const char* cell : {"0", "99999999999", "-99999999999"})
        row.addString(cell);
    EXPECT_EQ(
        (std::vector<bool>{row.setValue(0, " 42abc"), row.setValue(3, "x"), row.setValue(-1, "x")}),
        (std::vector<bool>{true, false, false}));
    // Saturated at the int limits, on 32- and 64-bit platforms alike; no
    // table, no column names.
    EXPECT_EQ((std::vector<int>{row.getInt(0), row.getInt(1), row.getInt(2), row.getInt(-1),
                                row.getInt("a")}),
              (std::vector<int>{42, INT_MAX, INT_MIN, 0, 0}));
}
