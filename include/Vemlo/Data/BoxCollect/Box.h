//===- Vemlo/Data/BoxCollect/Box.h - Key/value bag for payloads -*- C++ -*-===//
#ifndef VEMLO_DATA_BOXCOLLECT_BOX_H
#define VEMLO_DATA_BOXCOLLECT_BOX_H

#include <Vemlo/Export.h>
#include <Vemlo/Data/Object.h>
#include <Vemlo/Data/Collection/HashElement.h>
#include <Vemlo/Data/Collection/HashTable.h>

namespace Vemlo {
namespace Data {
namespace BoxCollect {

/// \brief An ordered key/value bag for assembling requests and responses.
///
/// Box is a small ordered key/value bag for assembling requests and responses.
/// Values are added under a key, or under an automatic key "KEY_<n>" where n
/// is the number of entries just before the addition, and are stored as text
/// (or as objects) in a HashTable. Adding under a key that is present replaces
/// that entry's value in place (an old text or owned value is deleted when the
/// new value is a text; an object replaces the pointer only, and the old value
/// is then the caller's).
///
/// Since the automatic key is the count and not a running number, an entry
/// added by hand under "KEY_<count>" is replaced by the next automatic add.
///
/// Unsigned long values are stored with the format "%I64d" applied to the value
/// as one 32-bit int: a signed decimal right-aligned in a field of 64
/// characters, values of 2^31 and above negative. Readers of these payloads
/// depend on that exact text, so it is kept.
///
/// Ownership: the box owns its entries, and each entry owns its value (objects
/// given to Add(key, Object*) included).
///
/// Copies share: a copy made with the copy constructor refers to the same
/// entries as its source (an addition through one is seen by the other; the
/// cursor is copied, then moves independently). The entries are deleted when
/// the last box sharing them is destroyed, so copies and source may be
/// destroyed in any order. Assignment between boxes deliberately does nothing.
///
/// Clear deletes every entry and also forgets their keys, so a box may be
/// looked up and filled again by key after clearing.
///
/// Not locked for callers; a box (and every copy of it) must be used by one
/// thread at a time. Every box costs one System V semaphore set.
class VEMLO_API Box {
public:
    /// Empty, cursor 0.
    Box();

    /// Shares `other`'s entries and copies its cursor; see the class comment.
    Box(const Box& other);

    /// Deletes the entries (and their values) when no copy shares them any
    /// more.
    virtual ~Box();

    /// Deliberately does nothing and returns *this: a box is never overwritten
    /// by assignment.
    Box& operator=(const Box& other);

    /// \name Adding entries (every Add returns 1)
    ///@{

    /// A copy of `value` (null gives the empty text) under `key`.
    int Add(const char* key, const char* value);
    /// "%d" of `value` under `key`.
    int Add(const char* key, int value);
    /// "%I64d" of `value` as a 32-bit int under `key` (see the class comment).
    int Add(const char* key, unsigned long value);
    /// "%f" of `value` (six decimals) under `key`.
    int Add(const char* key, float value);
    /// `value` itself under `key`; the box's entry owns it.
    int Add(const char* key, Object* value);
    /// A copy of `value` under the automatic key (the same three forms as
    /// above).
    int Add(const char* value);
    /// "%d" of `value` under the automatic key.
    int Add(int value);
    /// "%f" of `value` under the automatic key.
    int Add(float value);
    ///@}

    /// The value text under `key`; "" when absent (or not a text).
    const char* getValue(const char* key);

    /// The value object under `key`; null when absent.
    Object* getObjValue(const char* key);

    /// Cursor back to 0 (before the first entry).
    void Reset();

    /// Advances to the next entry; false, the cursor left where it is, after
    /// the last one.
    bool MoveNext();

    /// The current entry (getKey / getStringValue give the pair); null before
    /// the first MoveNext.
    Collection::HashElement* getCurrent();

    /// Deletes every entry and forgets their keys.
    void Clear();

private:
    int AddAuto(const char* value);

    // Field order is the object's binary layout.
    Collection::HashTable* m_pTable;
    int m_nCursor;
};

} // namespace BoxCollect
} // namespace Data
} // namespace Vemlo

#endif // VEMLO_DATA_BOXCOLLECT_BOX_H
