//===- Vemlo/Data/Collection/Iterator.h - List with a cursor ----*- C++ -*-===//
#ifndef VEMLO_DATA_COLLECTION_ITERATOR_H
#define VEMLO_DATA_COLLECTION_ITERATOR_H

#include <Vemlo/Export.h>
#include <Vemlo/Data/Collection/ArrayList.h>

namespace Vemlo {
namespace Data {
namespace Collection {

/// \brief An ArrayList with a cursor: the output of operations that produce a sequence.
///
/// Owns its items and has the lock flag set, as ArrayList() does (same thread
/// rules, see ArrayList.h); items are added with the inherited Add. After k
/// successful MoveNext calls the current item is the one at index k-1.
/// \code{.cpp}
/// it.Reset();
/// while (it.MoveNext())
///     use(it.getCurrentString());
/// \endcode
/// Iterators cannot be copied. Details: docs/Collections.md.
class VEMLO_API Iterator : public ArrayList {
public:
    /// Empty, cursor 0; owns its items, locked.
    Iterator();
    Iterator(const Iterator&) = delete;
    Iterator& operator=(const Iterator&) = delete;

    ~Iterator() override;

    /// Cursor back to 0 (before the first item).
    void Reset();

    /// Advances to the next item: false, and the cursor left where it is, when
    /// every item has been passed.
    bool MoveNext();

    /// The current item; null before the first MoveNext, or when items were
    /// removed so that Count() is below the cursor. After the last MoveNext
    /// has returned false it stays on the last item.
    Object* getCurrent();

    /// The current item's text, with the rules of getCurrent and
    /// ArrayList::AtString.
    const char* getCurrentString();

private:
    // Field order is the object's binary layout.
    int m_nCursor;
};

} // namespace Collection
} // namespace Data
} // namespace Vemlo

#endif // VEMLO_DATA_COLLECTION_ITERATOR_H
