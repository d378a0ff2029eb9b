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
/// Property keeps the values of a property set in a HashTable (insertion
/// order, exact keys) and leaves reading and writing the file to its
/// subclasses: PlaneTextProperty (`key=value;` lines) and XmlProperty (nested
/// elements). Applications normally get a set through FileProperty or the
/// configuration manager rather than building one.
///
/// The IProperty base is private: outside the class hierarchy a Property* does
/// not convert to IProperty* (or Object*), so a set cannot be stored in a
/// collection or deleted through the interface by accident.
///
/// Ownership: the set owns its table and, through it, every value (see
/// HashTable.h for replaced object values, which stay the caller's).
/// Copying shares the table: the copy constructor takes over the table pointer,
/// so the copy and the original would both delete it. Neither the copy nor the
/// assignment (which does nothing) is used by the framework; do not copy sets.
///
/// Thread safety: none; a set shared between threads needs the callers' own
/// locking. Every set costs one System V semaphore set (its table's).
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
