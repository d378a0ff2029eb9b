//===- Version.cpp - Dotted version strings -------------------------------===//
#include <Vemlo/Version.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

Version::Version() = default;

Version::Version(const char* text) {
    setVersion(text);
}

Version::~Version() = default;

Version& Version::operator=(const char* text) {
    setVersion(text);
    return *this;
}

Version& Version::operator=(const Version& other) {
    // The text only: comparisons keep using this object's own components.
    if (this != &other)
        m_sVersion = other.m_sVersion;
    return *this;
}

int Version::isValidFormat(const char* text) {
    if (!text)
        return 0;
    const size_t n = std::strlen(text);
    for (size_t i = 0; i < n; ++i) {
        const char c = text[i];
        if (c == '.') {
            if (i == 0 || i == n - 1 || text[i + 1] == '.')
                return 0;
        } else if (c < '0' || c > '9') {
            return 0;
        }
    }
    return 1;
}

void Version::setVersion(const char* text) {
    if (!isValidFormat(text))
        return;
    // Copied first: `text` may point into this object's own version text.
    std::vector<char> buffer(text, text + std::strlen(text) + 1);
    m_sVersion = buffer.data();
    const size_t n = buffer.size() - 1;
    if (n == 0)
        return;

    // The table is not cleared: components beyond the new count keep their
    // values (see the header).
    int position = 0;
    char* start = buffer.data();
    for (size_t i = 0; i < n; ++i) {
        if (buffer[i] == '.') {
            buffer[i] = '\0';
            setComponent(position, start);
            start = &buffer[i + 1];
            ++position;
        } else if (i == n - 1) {
            setComponent(position, start);
        }
    }
}

const char* Version::getVersion() const {
    return m_sVersion.c_str();
}

int Version::getCount() const {
    return m_components.getCount();
}

const char* Version::getNthVer(int n) const {
    return m_components.getStringValue(n);
}

const char* Version::getMajorVersion() const {
    return getNthVer(0);
}
const char* Version::getMinorVersion() const {
    return getNthVer(1);
}
const char* Version::getReleasePatchVersion() const {
    return getNthVer(2);
}
const char* Version::getBuildNumber() const {
    return getNthVer(3);
}

void Version::setMajorVersion(const char* value) {
    setComponent(0, value);
}

void Version::setMinorVersion(const char* value) {
    if (getCount() == 0)
        setComponent(0, "0");
    setComponent(1, value);
}

void Version::setReleasePatchVersion(const char* value) {
    if (getCount() == 0)
        setComponent(0, "0");
    if (getCount() < 2)
        setComponent(1, "0");
    setComponent(2, value);
}

void Version::setBuildNumber(const char* value) {
    if (getCount() == 0)
        setComponent(0, "0");
    if (getCount() < 2)
        setComponent(1, "0");
    if (getCount() < 3)
        setComponent(2, "0");
    setComponent(3, value);
}

int Version::operator==(const Version& other) const {
    const int k = getCount();
    if (k != other.getCount())
        return 0;
    for (int i = 0; i < k; ++i) {
        if (component(i) != other.component(i))
            return 0;
    }
    return 1;
}

int Version::operator!=(const Version& other) const {
    return *this == other ? 0 : 1;
}

int Version::operator>(const Version& other) const {
    return Order(other) == 1 ? 1 : 0;
}

int Version::operator<(const Version& other) const {
    return Order(other) == -1 ? 1 : 0;
}

// Equal up to the last position gives 1; two versions without components give
// 0, unlike ==, as callers have always had it.
int Version::operator>=(const Version& other) const {
    const int order = Order(other);
    return order == 1 || (order == 0 && getCount() > 0) ? 1 : 0;
}

int Version::operator<=(const Version& other) const {
    const int order = Order(other);
    return order == -1 || (order == 0 && getCount() > 0) ? 1 : 0;
}

int Version::Order(const Version& other) const {
    const int k = getCount();
    if (k != other.getCount())
        return 2;
    for (int i = 0; i < k; ++i) {
        const long a = component(i), b = other.component(i);
        if (a != b)
            return a > b ? 1 : -1;
    }
    return 0;
}

long Version::component(int n) const {
    const char* text = getNthVer(n);
    if (!text)
        return 0;
    // Numbers beyond 32 bits stop at the 32-bit limits, as strtol does on the
    // 32-bit devices, so that a comparison gives the same result everywhere.
    const long long value = std::strtoll(text, nullptr, 10);
    return static_cast<long>(std::clamp<long long>(value, INT32_MIN, INT32_MAX));
}

void Version::setComponent(int position, const char* value) {
    String key;
    key.Format("%d", position);
    m_components.AddObj(key.c_str(), value);
}
