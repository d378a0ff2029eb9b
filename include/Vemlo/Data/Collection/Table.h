//===- Vemlo/Data/Collection/Table.h - A query result -----------*- C++ -*-===//
#ifndef VEMLO_DATA_COLLECTION_TABLE_H
#define VEMLO_DATA_COLLECTION_TABLE_H

#include <Vemlo/Export.h>
#include <Vemlo/Data/Collection/ArrayList.h>
#include <Vemlo/Data/Collection/HashTable.h>
#include <Vemlo/Data/Collection/Row.h>

namespace Vemlo {
namespace Data {
namespace Collection {

/// \brief A query result: column names and rows, walked with a cursor.
///
/// Column names in order (a column's position is its cell index in every row)
/// and rows, walked with Reset and MoveNext.
/// Ownership: the table owns the rows given to addRow and deletes them.
/// Threads: not locked (see ArrayList.h); tables cannot be copied. A table
/// costs two System V semaphore sets, plus one per row.
/// Failures: none thrown; addRow refuses a null row.
/// Details: docs/Collections.md.
class VEMLO_API Table : private ArrayList {
public:
    /// No rows, no columns, cursor 0.
    Table();
    Table(const Table&) = delete;
    Table& operator=(const Table&) = delete;

    /// Destroys the column table, then deletes the rows.
    ~Table() override;

    /// Adds column `name` (or keeps the position of an existing one). Returns
    /// true.
    bool addColumn(const char* name);

    /// Points the row at this table's columns, appends it and takes ownership.
    /// Returns true; false, with nothing done, for a null row.
    bool addRow(Row* row);

    ///@{
    /// Number of rows / columns.
    int getRowCount();
    int getColumnCount();
    ///@}

    /// Cursor back to 0 (before the first row).
    void Reset();

    /// Advances to the next row; false, the cursor left where it is, after the
    /// last one.
    bool MoveNext();

    /// The current row; null before the first MoveNext. After the last
    /// MoveNext has returned false it stays on the last row.
    Row* getCurrent();

private:
    // Field order is the object's binary layout.
    int m_nCursor;
    HashTable m_columns;
};

} // namespace Collection
} // namespace Data
} // namespace Vemlo

#endif // VEMLO_DATA_COLLECTION_TABLE_H
