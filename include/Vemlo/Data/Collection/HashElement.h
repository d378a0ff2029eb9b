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
/// A key and an Object value (a heap String for text); also what
/// ArrayList::Add(const char*) stores for a bare text.
/// Ownership: an element owns its value; setValue(Object*) stores the pointer
/// only. Copies share the value and both would delete it: detach it from all
/// but one first. Assignment deliberately does nothing.
/// Threads: not locked.
/// Failures: getStringValue gives null for a null or non-String value.
/// Details: docs/Collections.md.
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
