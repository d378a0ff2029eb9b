//===- Vemlo/Version.h - Dotted version strings -----------------*- C++ -*-===//
#ifndef VEMLO_VERSION_H
#define VEMLO_VERSION_H

#include <Vemlo/Export.h>
#include <Vemlo/Data/Collection/HashTable.h>
#include <Vemlo/String.h>

/// \brief A dotted version text such as "2.10.0.31", split into components and compared as numbers.
///
/// Components compare one by one as numbers; versions with different
/// component counts are never ordered. Several odd-looking behaviours are kept
/// for existing callers (setVersion keeps old components, assignment copies
/// the text only); each is marked where it is declared.
/// Ownership: returned texts point into the object's storage. Not
/// copy-constructible. Each Version costs one System V semaphore set.
/// Threads: not locked; one thread at a time.
/// Failures: setVersion ignores an invalid text silently (isValidFormat).
/// Details: docs/Strings.md; departures: docs/Compatibility.md.
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
    /// Kept: existing callers rely on it.
    Version& operator=(const Version& other);

    /// Stores a valid text and splits it into the components "0", "1", ...,
    /// replacing those already present and keeping any beyond the new count.
    /// An invalid text changes nothing, silently (test with isValidFormat);
    /// existing callers rely on both.
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
    /// compare equal or ordered (kept for existing callers); two empty
    /// versions are equal, yet >= and <= give 0. A number beyond the 32-bit
    /// range counts as the nearest 32-bit limit on every platform, as on the
    /// 32-bit devices ("4294967296" equals "2147483648").
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
