//===- Vemlo/Data/Properties/Property.h - Key/value store -------*- C++ -*-===//
#ifndef VEMLO_DATA_PROPERTIES_PROPERTY_H
#define VEMLO_DATA_PROPERTIES_PROPERTY_H

#include <Vemlo/Export.h>
#include <Vemlo/Data/Properties/IProperty.h>

namespace Vemlo {
namespace Data {
namespace Collection {
class HashTable;
} // namespace Collection

namespace Properties {

/// \brief A property set kept in a HashTable; the subclasses read and write the file.
///
/// Values in a HashTable (insertion order, exact keys); the subclasses
/// PlaneTextProperty and XmlProperty read and write the file. Applications get
/// sets through FileProperty or the configuration manager.
/// Ownership: the set owns its table and every value. The IProperty base is
/// private; do not copy sets (a copy would share and delete the table).
/// Threads: none. Each set costs one System V semaphore set.
/// Details: docs/Configuration.md.
class VEMLO_API Property : private IProperty {
public:
    /// An empty set with its own empty table.
    Property();

    /// Shares `other`'s table (both objects then delete it): kept for existing
    /// code, never use it on a set that will be destroyed.
    Property(const Property& other);

    /// Deletes the table and with it every entry.
    ~Property() override;

    /// Deliberately does nothing: a set cannot be overwritten by assignment.
    Property& operator=(const Property& other);

    /// Adds or replaces. On replacement the old object is not deleted: it is
    /// the caller's again.
    void setObjValue(const char* key, Vemlo::Data::Object* value) override;

    /// Adds or replaces with a copy of `value`.
    void setValue(const char* key, const char* value) override;

    /// The text under `key`; "" when the key is absent or its value is not a
    /// text. Never null. Valid until the entry changes.
    const char* getValue(const char* key) override;

    /// The object under `key`, or null.
    Vemlo::Data::Object* getObjValue(const char* key) override;

    /// strtol(value, 10): "12abc" gives 12, a missing or non-numeric value 0;
    /// numbers beyond the range of int give INT_MAX or INT_MIN.
    int getIntValue(const char* key) override;

    /// strtod(value): a missing or non-numeric value gives 0.
    double getDoubleValue(const char* key) override;

    /// Reads the file `path` into the set; see the subclass.
    virtual int Load(const char* path) = 0;

    /// Checks (and, when missing, creates) the file `path`; see the subclass.
    virtual int IsValidate(const char* path) = 0;

    /// Writes every entry to the file `path`; see the subclass.
    virtual int Update(const char* path) = 0;

protected:
    /// The entries, for the file formats (never null while the set lives).
    Vemlo::Data::Collection::HashTable* getTable() { return m_pTable; }

private:
    // Field order is the object's binary layout.
    Vemlo::Data::Collection::HashTable* m_pTable;
};

} // namespace Properties
} // namespace Data
} // namespace Vemlo

#endif // VEMLO_DATA_PROPERTIES_PROPERTY_H
