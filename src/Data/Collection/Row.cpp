//===- Data/Collection/Row.cpp - One row of a query result ----------------===//
#include <Vemlo/Data/Collection/Row.h>

#include <Vemlo/Data/Collection/HashElement.h>
#include <Vemlo/Data/Collection/HashTable.h>

#include <climits>
#include <cstdlib>

namespace Vemlo {
namespace Data {
namespace Collection {

namespace {

// Lenient conversions; a missing cell (null text) reads as 0. Out-of-range
// numbers saturate at the int limits on every platform, as strtol does where
// long is 32 bits wide.
inline int toInt(const char* text) {
    if (!text)
        return 0;
    const long value = std::strtol(text, nullptr, 10);
    if (value > INT_MAX)
        return INT_MAX;
    if (value < INT_MIN)
        return INT_MIN;
    return static_cast<int>(value);
}

inline double toDouble(const char* text) {
    return text ? std::strtod(text, nullptr) : 0.0;
}

} // namespace

Row::Row() : ArrayList(), m_pColumns(nullptr) {}

Row::~Row() = default;

void Row::addString(const char* text) {
    Add(text);
}

void Row::setColumn(HashTable* columns) {
    m_pColumns = columns;
}

bool Row::setValue(int index, const char* text) {
    if (index < 0 || index >= Count() || !At(index))
        return false;
    SetValueAtString(index, text);
    return true;
}

const char* Row::getString(int index) {
    return AtString(index);
}

const char* Row::getString(const char* column) {
    if (!m_pColumns)
        return nullptr;
    // Position -1 for an unknown column: AtString gives null.
    return AtString(m_pColumns->getPosition(column));
}

int Row::getInt(int index) {
    return toInt(getString(index));
}

int Row::getInt(const char* column) {
    return toInt(getString(column));
}

double Row::getDouble(int index) {
    return toDouble(getString(index));
}

double Row::getDouble(const char* column) {
    return toDouble(getString(column));
}

} // namespace Collection
} // namespace Data
} // namespace Vemlo
