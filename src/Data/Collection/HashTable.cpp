//===- Data/Collection/HashTable.cpp - String-keyed table -----------------===//
#include <Vemlo/Data/Collection/HashTable.h>

#include "Support/Text.h"

#include <cstring>
#include <memory>

namespace Vemlo {
namespace Data {
namespace Collection {

namespace {

using Vemlo::detail::orEmpty;

// The key's element, found in the map's `slot`, gets the value in place (an
// Object* value replaced that way stays the caller's); a new key gets a new
// element at the end of the list.
template <class Value>
void setOrAppend(ArrayList& list, HashElement*& slot, const char* key, Value value) {
    if (slot) {
        slot->setValue(value);
        return;
    }
    std::unique_ptr<HashElement> element(new HashElement(key, value));
    list.Add(static_cast<Object*>(element.get()));
    slot = element.release();
}

} // namespace

HashTable::HashTable() : ArrayList(true, true) {}

// The list's own destructor deletes the elements front to back (when the
// delete flag is set) and empties the list, as ClearAll would; letting it do
// so alone passes the list's section once instead of twice. The map holds
// only pointers and goes first.
HashTable::~HashTable() = default;

void HashTable::AddObj(const char* key, Object* value) {
    setOrAppend(*this, m_map[orEmpty(key)], key, value);
}

void HashTable::AddObj(const char* key, const char* value) {
    setOrAppend(*this, m_map[orEmpty(key)], key, value);
}

HashElement* HashTable::getElement(const char* key) {
    // Insert-if-missing: an absent key stays in the map with a null element.
    return m_map[orEmpty(key)];
}

Object* HashTable::getValue(const char* key) {
    HashElement* element = getElement(key);
    return element ? element->getValue() : nullptr;
}

const char* HashTable::getStringValue(const char* key) {
    HashElement* element = getElement(key);
    const char* text = element ? element->getStringValue() : nullptr;
    return orEmpty(text);
}

int HashTable::getPosition(const char* key) {
    const char* wanted = orEmpty(key);
    const int count = Count();
    for (int i = 0; i < count; ++i) {
        Object* item = At(i);
        if (!item)
            return -1;
        HashElement* element = dynamic_cast<HashElement*>(item);
        if (element && std::strcmp(element->getKey(), wanted) == 0)
            return i;
    }
    return -1;
}

int HashTable::getCount() {
    return Count();
}

const char* HashTable::getKey(int index) {
    HashElement* element = dynamic_cast<HashElement*>(At(index));
    return element ? element->getKey() : nullptr;
}

Object* HashTable::getValue(int index) {
    HashElement* element = dynamic_cast<HashElement*>(At(index));
    return element ? element->getValue() : nullptr;
}

const char* HashTable::getStringValue(int index) {
    HashElement* element = dynamic_cast<HashElement*>(At(index));
    return element ? element->getStringValue() : nullptr;
}

void HashTable::Remove(int index) {
    if (index < 0 || index >= Count())
        return;
    HashElement* element = dynamic_cast<HashElement*>(At(index));
    if (!element)
        return;
    // The value lives or dies with the element.
    element->m_bOwnsValue = m_bDeleteFlag;
    auto entry = m_map.find(element->m_sKey.str());
    if (entry != m_map.end() && entry->second == element)
        m_map.erase(entry);
    RemoveAt(index);
}

void HashTable::Remove(const char* key) {
    const int index = getPosition(key);
    if (index >= 0)
        Remove(index);
}

void HashTable::ClearAll() {
    if (m_bDeleteFlag) {
        for (Object*& item : m_elements) {
            delete item;
            item = nullptr;
        }
    }
    m_map.clear();
    // The slots are null by now, so this only empties the list.
    Clear();
}

} // namespace Collection
} // namespace Data
} // namespace Vemlo
