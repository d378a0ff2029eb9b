//===- Data/Collection/TableTest.cpp - A query result ---------------------===//
#include "support/VemloTest.h"

#include <atomic>

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
