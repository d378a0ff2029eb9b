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
/// Values are added under a key, or under the automatic key "KEY_<count>", and
/// stored as text or objects in a HashTable; adding under a present key
/// replaces the value in place. Unsigned long values keep their old "%I64d"
/// text, which readers depend on.
/// Ownership: the box owns its entries, each entry its value. Copies share the
/// entries (deleted with the last box); assignment deliberately does nothing.
/// Threads: not locked; a box and its copies, one thread at a time. Each box
/// costs one System V semaphore set.
/// Failures: none thrown; absent keys read as null.
/// Details: docs/Collections.md.
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
    /// "%I64d" of `value` as a 32-bit int under `key`: a signed decimal
    /// right-aligned in 64 characters. Readers depend on that exact text.
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
