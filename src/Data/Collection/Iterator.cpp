//===- Data/Collection/Iterator.cpp - List with a cursor ------------------===//
#include <Vemlo/Data/Collection/Iterator.h>

namespace Vemlo {
namespace Data {
namespace Collection {

Iterator::Iterator() : ArrayList(), m_nCursor(0) {}

Iterator::~Iterator() = default;

void Iterator::Reset() {
    m_nCursor = 0;
}

bool Iterator::MoveNext() {
    if (m_nCursor >= Count())
        return false;
    ++m_nCursor;
    return true;
}

Object* Iterator::getCurrent() {
    if (Count() < m_nCursor)
        return nullptr;
    // Index -1 before the first MoveNext: At gives null.
    return At(m_nCursor - 1);
}

const char* Iterator::getCurrentString() {
    if (Count() < m_nCursor)
        return nullptr;
    return AtString(m_nCursor - 1);
}

} // namespace Collection
} // namespace Data
} // namespace Vemlo
