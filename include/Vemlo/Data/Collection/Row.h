//===- Vemlo/Data/Collection/Row.h - One row of a query result --*- C++ -*-===//
#ifndef VEMLO_DATA_COLLECTION_ROW_H
#define VEMLO_DATA_COLLECTION_ROW_H

#include <Vemlo/Export.h>
#include <Vemlo/Data/Collection/ArrayList.h>

namespace Vemlo {
namespace Data {
namespace Collection {

class HashTable;
class Table;

/// \brief One row of a Table: text cells in column order.
///
/// Cells are stored as text; getInt and getDouble convert leniently on reading.
/// Ownership: a row owns its cells; Table::addRow takes the row over.
/// Threads: not locked (see ArrayList.h); rows cannot be copied. Each row costs
/// one System V semaphore set.
/// Failures: none thrown; a missing cell or unknown column gives null or 0.
/// Details: docs/Collections.md.
class VEMLO_API Row : private ArrayList {
public:
    /// No cells, no column table.
    Row();
    Row(const Row&) = delete;
    Row& operator=(const Row&) = delete;

    ~Row() override;

    /// Appends a cell holding a copy of `text` (null gives the empty text).
    void addString(const char* text);

    /// Sets the column table used by the by-name getters (not owned); done by
    /// Table::addRow.
    void setColumn(HashTable* columns);

    /// Replaces the text of cell `index` with a copy of `text`; false when the
    /// index is out of range or the cell is null.
    bool setValue(int index, const char* text);

    /// The text of cell `index`; null when out of range.
    const char* getString(int index);

    /// The text of the cell under `column` (exact byte-wise name); null when
    /// the column is unknown or the row has no column table.
    const char* getString(const char* column);

    ///@{
    /// The cell text converted with strtol, base 10; 0 for a missing cell.
    /// Out-of-range numbers saturate at INT_MIN / INT_MAX.
    int getInt(int index);
    int getInt(const char* column);
    ///@}

    ///@{
    /// The cell text converted with strtod; 0 for a missing cell.
    double getDouble(int index);
    double getDouble(const char* column);
    ///@}

private:
    // A table stores and deletes its rows through the list base.
    friend class Table;

    // Field order is the object's binary layout.
    HashTable* m_pColumns;
};

} // namespace Collection
} // namespace Data
} // namespace Vemlo

#endif // VEMLO_DATA_COLLECTION_ROW_H
