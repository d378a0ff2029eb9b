//===- Vemlo/Data/Collection/ArrayList.h - Ordered list ---------*- C++ -*-===//
#ifndef VEMLO_DATA_COLLECTION_ARRAYLIST_H
#define VEMLO_DATA_COLLECTION_ARRAYLIST_H

#include <Vemlo/Export.h>
#include <Vemlo/Data/Object.h>
#include <Vemlo/Util/System/CCriticalSection.h>

#include <deque>

namespace Vemlo {
namespace Data {
namespace Collection {

/// \brief An ordered list of Object pointers with index access, optional ownership
/// and an optional lock.
///
/// Ownership: with the delete flag set (the default) the list deletes its
/// items in Clear, RemoveAt and the destructor; null items are never deleted.
/// Lists cannot be copied.
/// Threads: with the lock flag set, each call passes the list's critical
/// section and leaves it at once, before touching the items; existing code
/// depends on this, so shared lists need the callers' own locking.
/// Cost: one System V semaphore set per list (without one, no locking).
/// Failures: index access never throws; a bad index gives null, -1 or nothing.
/// Details: docs/Collections.md.
class VEMLO_API ArrayList : public Object {
public:
    /// Owns its items, locked.
    ArrayList();
    /// Owns its items when `deleteFlag` is true; locked.
    explicit ArrayList(bool deleteFlag);
    /// Owns its items when `deleteFlag` is true; passes the lock when
    /// `lockFlag` is true.
    ArrayList(bool deleteFlag, bool lockFlag);
    ArrayList(const ArrayList&) = delete;
    ArrayList& operator=(const ArrayList&) = delete;

    /// Clear(), then removes the list's semaphore set.
    ~ArrayList() override;

    /// Sets the delete flag; it affects later removals only.
    void setDeleteFlag(bool flag);

    /// Appends `item` (null accepted); the list owns it if the delete flag is
    /// set.
    void Add(Object* item);

    /// Appends a new HashElement with an empty key and a copy of `text` (null
    /// gives the empty text). The list deletes it only if the delete flag is
    /// set; otherwise the caller must delete it (At gives the pointer).
    void Add(const char* text);

    /// Number of items.
    int Count();

    /// The item at `index`; null when `index` is negative or not below Count().
    Object* At(int index);

    /// The text of the HashElement at `index`. Null when the index is out of
    /// range, the item is null, or the item is not a HashElement holding a
    /// String. Valid until the item is changed or removed. A standard library
    /// exception raised on the way is rethrown as `new Common::Exception(what,
    /// 0)`.
    const char* AtString(int index);

    /// -1 when `index` is out of range. Otherwise 0: if the item is a
    /// HashElement its value becomes a String copy of `text` (an owned old
    /// value is deleted); a null item or one of another type is left as it is.
    /// A standard library exception raised on the way is rethrown as
    /// `new Common::Exception(what, 0)`.
    int SetValueAtString(int index, const char* text);

    /// Removes the slot at `index` (later items move down one place), first
    /// deleting the item if the delete flag is set. A bad index does nothing.
    void RemoveAt(int index);

    /// Deletes every non-null item, front to back, if the delete flag is set;
    /// then empties the list.
    void Clear();

protected:
    /// Enters the list's critical section and leaves it at once (when the lock
    /// flag is set). Called before the work of every list operation.
    void PassLock();

    // Field order is the object's binary layout.
    /// The items, in order; null entries allowed.
    std::deque<Object*> m_elements;
    /// Whether Clear, RemoveAt and the destructor delete the items.
    bool m_bDeleteFlag;
    /// Whether the operations pass the critical section (see PassLock).
    bool m_bLockFlag;
    /// The list's critical section: one System V semaphore set.
    Util::System::CCriticalSection m_lock;
};

} // namespace Collection
} // namespace Data
} // namespace Vemlo

#endif // VEMLO_DATA_COLLECTION_ARRAYLIST_H
