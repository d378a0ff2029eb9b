//===- Data/Collection/Table.cpp - A query result -------------------------===//
#include <Vemlo/Data/Collection/Table.h>

namespace Vemlo {
namespace Data {
namespace Collection {

Table::Table() : ArrayList(), m_nCursor(0) {}

// The members go first (the column table), then the list base deletes the
// rows.
Table::~Table() = default;

bool Table::addColumn(const char* name) {
    m_columns.AddObj(name, name);
    return true;
}

bool Table::addRow(Row* row) {
    if (!row)
        return false;
    row->setColumn(&m_columns);
    Add(static_cast<Object*>(row));
    return true;
}

int Table::getRowCount() {
    return Count();
}

int Table::getColumnCount() {
    return m_columns.getCount();
}

void Table::Reset() {
    m_nCursor = 0;
}

bool Table::MoveNext() {
    if (m_nCursor >= Count())
        return false;
    ++m_nCursor;
    return true;
}

Row* Table::getCurrent() {
    if (Count() < m_nCursor)
        return nullptr;
    // Only rows are ever added (the list base is private).
    return static_cast<Row*>(At(m_nCursor - 1));
}

} // namespace Collection
} // namespace Data
} // namespace Vemlo
