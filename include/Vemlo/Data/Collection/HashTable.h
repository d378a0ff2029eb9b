//===- Vemlo/Data/Collection/HashTable.h - String-keyed table ---*- C++ -*-===//
#ifndef VEMLO_DATA_COLLECTION_HASHTABLE_H
#define VEMLO_DATA_COLLECTION_HASHTABLE_H

#include <Vemlo/Export.h>
#include <Vemlo/Data/Collection/ArrayList.h>
#include <Vemlo/Data/Collection/HashElement.h>

#include <map>
#include <string>

namespace Vemlo {
namespace Data {
namespace Collection {

/// \brief The framework's string-keyed table, in insertion order.
///
/// Entries are HashElements kept in the inherited list (order, index) and in a
/// map by key; a key is entered once, re-adding replaces in place. Lookups of
/// an absent key leave a null entry in the map; existing callers rely on it.
/// Use Remove and ClearAll, not the inherited list calls.
/// Ownership: the table owns its elements, each element its value; a value
/// replaced by AddObj(key, Object*) stays the caller's.
/// Threads: as ArrayList: shared tables need the callers' own locking. One
/// System V semaphore set per table.
/// Failures: none thrown; getStringValue(key) never gives null.
/// Details: docs/Collections.md.
class VEMLO_API HashTable : public ArrayList {
public:
    /// Empty; owns its elements, locked.
    HashTable();
    HashTable(const HashTable&) = delete;
    HashTable& operator=(const HashTable&) = delete;

    /// Releases the elements as ClearAll does.
    ~HashTable() override;

    /// Under an existing key: the element's value pointer is replaced in place
    /// and the old value is NOT deleted. Otherwise a new element owning `value`
    /// is appended. A null `key` is the empty key.
    void AddObj(const char* key, Object* value);

    /// Under an existing key: the value becomes a String copy of `value` (the
    /// old value deleted if owned). Otherwise a new element is appended. A null
    /// `key` is the empty key, a null `value` the empty text.
    void AddObj(const char* key, const char* value);

    /// The element under `key`, or null. A missing key is left in the map
    /// with a null element; existing callers rely on it.
    HashElement* getElement(const char* key);

    /// The value under `key`, or null (leaving a null map entry, as getElement).
    Object* getValue(const char* key);

    /// The value text under `key`; "" when there is no element or its value is
    /// not a String (leaving a null map entry, as getElement). Never null.
    const char* getStringValue(const char* key);

    /// Index of the first element whose key equals `key` (byte-wise), or -1.
    /// The scan stops, with -1, at the first null item.
    int getPosition(const char* key);

    /// Number of elements.
    int getCount();

    /// The key at `index`; null when the index is out of range or the item is
    /// null.
    const char* getKey(int index);

    /// The value at `index`; null under the same conditions.
    Object* getValue(int index);

    /// The value text at `index`; null under the same conditions, and when the
    /// value is null or not a String (unlike the by-key form).
    const char* getStringValue(int index);

    /// Removes the element at `index` and its map entry; the element, and with
    /// it its value, is deleted when the table's delete flag is set. A bad
    /// index or a null item does nothing (a null slot is not removed).
    void Remove(int index);

    /// Remove(getPosition(key)) when the key is found; otherwise nothing.
    void Remove(const char* key);

    /// Deletes every non-null element (front to back) if the delete flag is
    /// set, empties the map, then empties the list.
    void ClearAll();

private:
    // Field order is the object's binary layout.
    std::map<std::string, HashElement*> m_map;
};

} // namespace Collection
} // namespace Data
} // namespace Vemlo

#endif // VEMLO_DATA_COLLECTION_HASHTABLE_H
