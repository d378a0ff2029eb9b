//===- Data/Collection/RowTest.cpp - One row of a query result ------------===//
#include "support/VemloTest.h"

#include <climits>

using Vemlo::Data::Collection::HashTable;
using Vemlo::Data::Collection::Row;

TEST(RowTest, CellsConvertLenientlyAndMissingCellsReadAsNullOrZero) {
    Row row;
    for (const char* cell : {" 42abc", "abc", "-7.25e1x", "99999999999", "-99999999999"})
        row.addString(cell);
    EXPECT_EQ(row.getInt(0), 42);
    EXPECT_EQ(row.getInt(1), 0);
    EXPECT_DOUBLE_EQ(row.getDouble(2), -72.5);
    // Saturated at the int limits, on 32- and 64-bit platforms alike.
    EXPECT_EQ(row.getInt(3), INT_MAX);
    EXPECT_EQ(row.getInt(4), INT_MIN);
    for (int bad : {-1, 5}) {
        EXPECT_EQ(row.getString(bad), nullptr);
        EXPECT_EQ(row.getInt(bad), 0);
        EXPECT_DOUBLE_EQ(row.getDouble(bad), 0.0);
    }
    EXPECT_EQ(row.getInt("a"), 0); // no table: no column names
}

TEST(RowTest, SetValueReplacesExistingCellsOnly) {
    Row row;
    row.addString("old");
    row.addString(nullptr);
    EXPECT_TRUE(row.setValue(0, "new"));
    EXPECT_FALSE(row.setValue(2, "x"));
    EXPECT_FALSE(row.setValue(-1, "x"));

    // Column names come from the table the row is given to.
    HashTable columns;
    columns.AddObj("first", "first");
    columns.AddObj("second", "second");
    row.setColumn(&columns);
    EXPECT_STREQ(row.getString("second"), "");
    EXPECT_STREQ(row.getString("first"), "new");
    EXPECT_EQ(row.getString("First"), nullptr); // exact byte-wise names
    row.setColumn(nullptr);
}
