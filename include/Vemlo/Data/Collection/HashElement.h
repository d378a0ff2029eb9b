//===- Vemlo/Data/Collection/HashElement.h - One key/value pair -*- C++ -*-===//
#ifndef VEMLO_DATA_COLLECTION_HASHELEMENT_H
#define VEMLO_DATA_COLLECTION_HASHELEMENT_H

#include <Vemlo/Export.h>
#include <Vemlo/Data/Object.h>
#include <Vemlo/String.h>

namespace Vemlo {
namespace Data {
namespace Collection {

class HashTable;

/// \brief One key/value entry of a HashTable; owns its value.
///
/// HashElement is one entry of a HashTable: a key and an Object value (a heap
/// String for text). It is also what ArrayList::Add(const char*) stores for a
/// bare text (with an empty key).
///
/// Ownership: every constructor makes the element own its value, and the
/// destructor deletes an owned value. setValue(Object*) stores a pointer only
/// (the old value is neither deleted nor released); setValue(const char*)
/// deletes an owned old value first.
///
/// Copies share: the copy constructor copies the key, the value pointer and the
/// owns-value flag, so both elements refer to the same value and both would
/// delete it. A caller that copies an element must, before either of the two is
/// destroyed, detach the value from all but one of them with
/// setValue((Object*)nullptr) (or give one of them another value that way).
/// Assignment deliberately does nothing: an element cannot be overwritten.
///
/// Text reads test the type: getStringValue gives null when the value is null
/// or not a String.
class VEMLO_API HashElement : public Object {
public:
    /// Copies `key` (null gives the empty key); the value is a new String copy
    /// of `value` (null gives the empty text), owned by the element.
    HashElement(const char* key, const char* value);

    /// Copies `key` (null gives the empty key) and takes ownership of `value`
    /// (which may be null).
    HashElement(const char* key, Object* value);

    /// Shares the value with `other`, owns-value flag included; see the class
    /// comment for how to treat the two elements afterwards.
    HashElement(const HashElement& other);

    /// Deletes the value if it is owned and not null.
    ~HashElement() override;

    /// Deliberately does nothing and returns *this: an element cannot be
    /// overwritten by assignment.
    HashElement& operator=(const HashElement& other);

    /// The key text (never null).
    const char* getKey();

    /// The value pointer (may be null).
    Object* getValue();

    /// The value's text; null when the value is null or not a String.
    const char* getStringValue();

    /// Stores the pointer only: the old value is not deleted and the owns-value
    /// flag is unchanged.
    void setValue(Object* value);

    /// Deletes the old value if it is owned, then stores a new String copy of
    /// `value` (null gives the empty text).
    void setValue(const char* value);

private:
    // The table sets the owns-value flag when it removes the element.
    friend class HashTable;

    // Field order is the object's binary layout.
    String m_sKey;
    Object* m_pValue;
    bool m_bOwnsValue;
};

} // namespace Collection
} // namespace Data
} // namespace Vemlo

#endif // VEMLO_DATA_COLLECTION_HASHELEMENT_H
