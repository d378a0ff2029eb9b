//===- Data/Collection/TableTest.cpp - A query result and its rows --------===//
#include "support/VemloTest.h"

#include <atomic>
#include <climits>

using Vemlo::Data::Collection::HashTable;
using Vemlo::Data::Collection::Row;
using Vemlo::Data::Collection::Table;

namespace {

class CountingRow : public Row {
public:
    explicit CountingRow(std::atomic<int>& deaths) : m_deaths(deaths) {}
    ~CountingRow() override { ++m_deaths; }

private:
    std::atomic<int>& m_deaths;
};

} // namespace

TEST(TableTest, WalksItsOwnRowsAndReadsCellsByColumnName) {
    std::atomic<int> deaths{0};
    {
        Table table;
        EXPECT_FALSE(table.MoveNext());
        EXPECT_EQ(table.getCurrent(), nullptr);
        table.addColumn("a");
        table.addColumn("b");
        Row* row = new CountingRow(deaths);
        row->addString("12");
        row->addString("3.5");
        EXPECT_TRUE(table.addRow(row));
        EXPECT_FALSE(table.addRow(nullptr));
        table.addRow(new CountingRow(deaths));
        EXPECT_EQ(table.getRowCount(), 2);

        ASSERT_TRUE(table.MoveNext());
        ASSERT_EQ(table.getCurrent(), row);
        EXPECT_EQ(row->getInt("a"), 12);
        EXPECT_DOUBLE_EQ(row->getDouble("b"), 3.5);
        EXPECT_EQ(row->getString("c"), nullptr);
        EXPECT_TRUE(table.MoveNext());
        EXPECT_FALSE(table.MoveNext());
        EXPECT_NE(table.getCurrent(), nullptr); // stays on the last row
        table.Reset();
        EXPECT_EQ(table.getCurrent(), nullptr);

        // Adding a known column again keeps its position.
        EXPECT_TRUE(table.addColumn("a"));
        EXPECT_EQ(table.getColumnCount(), 2);
        EXPECT_EQ(row->getInt("a"), 12);
    }
    EXPECT_EQ(deaths, 2);
}

TEST(TableTest, RowCellsConvertLenientlyAndMissingCellsReadAsNullOrZero) {
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

TEST(TableTest, RowSetValueReplacesExistingCellsOnly) {
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
