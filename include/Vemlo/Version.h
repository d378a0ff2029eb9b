//===- Vemlo/Version.h - Dotted version strings -----------------*- C++ -*-===//
#ifndef VEMLO_VERSION_H
#define VEMLO_VERSION_H

#include <Vemlo/Export.h>
#include <Vemlo/Data/Collection/HashTable.h>
#include <Vemlo/String.h>

/// \brief A dotted version text such as "2.10.0.31", split into components and compared as numbers.
///
/// Version holds a dotted version text such as "2.10.0.31", splits it into
/// numbered components (the first four are major, minor, release/patch and
/// build) and compares two versions component by component as numbers.
///
/// Behaviour that existing callers rely on and that is kept:
///  - setVersion ignores an invalid text silently (test with isValidFormat
///    first); a null text is invalid.
///  - setVersion does not clear the components first: "1.2.3.4" followed by
///    "5.6" gives the components 5, 6, 3, 4 while getVersion() is "5.6".
///  - Assigning another Version copies its text only; the components, and so
///    every comparison, stay as they were. Assigning a Version to itself
///    changes nothing.
///  - Versions with different component counts are never ordered: "1.2" and
///    "1.2.0" are neither equal, greater nor smaller, and != is true.
///  - Two versions without components are equal, but >= and <= are false.
///
/// Texts returned point into storage the object owns; they stay valid until
/// the object is changed or destroyed. Versions cannot be copy-constructed.
/// Not locked: one object must not be used by two threads at once. Every
/// Version costs one System V semaphore set (its component table).
///
/// Departures: docs/Compatibility.md.
class VEMLO_API Version {
public:
    /// Empty text, no components.
    Version();
    /// Version() followed by setVersion(text).
    Version(const char* text);
    Version(const Version&) = delete;

    virtual ~Version();

    /// setVersion(text).
    Version& operator=(const char* text);

    /// Copies the version text only; the components are left as they were.
    Version& operator=(const Version& other);

    /// Stores a valid text and splits it into the components "0", "1", ...,
    /// replacing those already present and keeping any beyond the new count.
    /// An invalid text changes nothing.
    void setVersion(const char* text);

    /// 1 when `text` is empty or digits separated by single dots (no dot at
    /// either end); otherwise 0, also for null.
    static int isValidFormat(const char* text);

    /// The stored version text (never null).
    const char* getVersion() const;

    /// Number of components.
    int getCount() const;

    /// The component at position `n`; null when out of range.
    const char* getNthVer(int n) const;

    ///@{
    /// The components at positions 0, 1, 2 and 3; null when absent.
    const char* getMajorVersion() const;
    const char* getMinorVersion() const;
    const char* getReleasePatchVersion() const;
    const char* getBuildNumber() const;
    ///@}

    ///@{
    /// Set one component without any format test; the version text is not
    /// changed. Missing lower components are first added as "0" (so
    /// setMinorVersion("7") on an empty Version gives 0, 7).
    void setMajorVersion(const char* value);
    void setMinorVersion(const char* value);
    void setReleasePatchVersion(const char* value);
    void setBuildNumber(const char* value);
    ///@}

    ///@{
    /// Numeric comparison of the components (strtol, base 10; a non-numeric
    /// text counts as 0), 1 or 0. Only versions with equal component counts
    /// compare equal or ordered. A number beyond the 32-bit range counts as
    /// the nearest 32-bit limit on every platform, as on the 32-bit devices
    /// ("4294967296" equals "2147483648").
    int operator==(const Version& other) const;
    int operator!=(const Version& other) const;
    int operator>(const Version& other) const;
    int operator<(const Version& other) const;
    int operator>=(const Version& other) const;
    int operator<=(const Version& other) const;
    ///@}

private:
    // 1 or -1 at the first component that differs, 0 when all are equal, 2
    // when the component counts differ (never ordered).
    int Order(const Version& other) const;
    // The component at position `n` as a number.
    long component(int n) const;
    // Adds or replaces component `position` with `value`.
    void setComponent(int position, const char* value);

    // Field order is the object's binary layout.
    String m_sVersion;
    // Read positionally by const operations, which pass the table's lock.
    mutable Vemlo::Data::Collection::HashTable m_components;
};

#endif // VEMLO_VERSION_H
