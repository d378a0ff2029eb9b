//===- String.cpp - The framework's text value ----------------------------===//
#include <Vemlo/String.h>

#include "Support/Text.h"

#include <cctype>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <ostream>
#include <vector>

namespace {

using Vemlo::detail::isBlank;
using Vemlo::detail::orEmpty;

// Formatting buffer: every message, file name and value the library formats
// goes through it, so 2047 characters is the ceiling of Format.
constexpr size_t kFormatBufferSize = 2048;

} // namespace

String::String() = default;

String::String(const char* s) : std::string(orEmpty(s)) {}

String::String(const std::string& s) : std::string(s) {}

String::~String() = default;

String& String::operator=(const char* s) {
    std::string::clear();
    if (s)
        std::string::append(s);
    return *this;
}

String& String::operator=(const String& other) {
    // Cleared before copying: assigning a String to itself empties it, and
    // existing callers rely on that. The copy stops at the first NUL.
    std::string::clear();
    if (!other.empty())
        std::string::append(other.c_str());
    return *this;
}

void String::Format(const char* fmt, ...) {
    std::vector<char> buffer(kFormatBufferSize, '\0');
    if (fmt) {
        va_list args;
        va_start(args, fmt);
        // Bounded: output past 2047 characters is cut, never written beyond
        // the buffer.
        vsnprintf(buffer.data(), buffer.size(), fmt, args);
        va_end(args);
    }
    std::string::clear();
    std::string::append(buffer.data());
}

String String::Replace(const char* from, const char* to) {
    const size_t n = from ? std::strlen(from) : 0;
    if (n == 0)
        return *this;
    const size_t pos = std::string::find(from);
    if (pos == npos)
        return *this;
    std::string::replace(pos, n, orEmpty(to));

    // The result is taken up to its first NUL, both here and in the copy.
    String temp(c_str());
    std::string::clear();
    if (!temp.empty())
        std::string::append(temp.c_str());
    return temp;
}

String String::Replace(const char* from, const char* to, unsigned int count) {
    String result;
    String work(*this);
    const size_t length = size();
    if (count == 0 || length == 0)
        return result; // An empty text, not an unchanged one; callers rely on it.

    size_t i = 0;
    do {
        result = work.Replace(from, to);
        // This string never changes, so the position can never equal its
        // length; the test is kept as callers have always had it.
        if (std::string::find(orEmpty(from)) == length)
            break;
        work = result;
        ++i;
    } while (i < length && i < count);
    return result;
}

String String::TrimLeft() {
    const size_t length = size();
    if (length == 0)
        return *this;
    size_t count = 0;
    while (count < length && isBlank((*this)[count]))
        ++count;
    if (count == 0)
        return *this;
    return substr(count);
}

String String::TrimRight() {
    const size_t length = size();
    // A string of one character is never trimmed, and position 0 is never
    // examined below; existing callers rely on both limits.
    if (length <= 1)
        return *this;
    size_t count = 0;
    for (size_t i = length - 1; i >= 1 && isBlank((*this)[i]); --i)
        ++count;
    if (count == 0)
        return *this;
    return String(std::string::substr(0, length - count).c_str());
}

namespace {

// Converts every character but the last; the last is deliberately kept.
String convertCase(const std::string& text, int (*convert)(int)) {
    std::string buffer(text);
    if (buffer.size() != 1) {
        for (size_t i = 0; i + 1 < buffer.size(); ++i)
            buffer[i] = static_cast<char>(convert(static_cast<unsigned char>(buffer[i])));
    }
    return String(buffer);
}

} // namespace

String String::ToLower() {
    return convertCase(*this, ::tolower);
}

String String::ToUpper() {
    return convertCase(*this, ::toupper);
}

String& String::append(const char* s) {
    if (s)
        std::string::append(s);
    return *this;
}

String& String::append(const char* s, size_type n) {
    if (s)
        std::string::append(s, n);
    return *this;
}

String& String::append(const String& s) {
    std::string::append(s.str());
    return *this;
}

String& String::append(size_type n, char c) {
    std::string::append(n, c);
    return *this;
}

String String::substr(size_type pos, size_type n) const {
    return String(std::string::substr(pos, n));
}

bool operator==(const String& a, const String& b) {
    return a.str() == b.str();
}
bool operator==(const String& a, const char* b) {
    return a.str() == orEmpty(b);
}
bool operator==(const char* a, const String& b) {
    return b == a;
}
bool operator!=(const String& a, const String& b) {
    return !(a == b);
}
bool operator!=(const String& a, const char* b) {
    return !(a == b);
}
bool operator!=(const char* a, const String& b) {
    return !(b == a);
}
bool operator<(const String& a, const String& b) {
    return a.str() < b.str();
}

String operator+(const String& a, const String& b) {
    String r(a);
    r.append(b);
    return r;
}

String operator+(const String& a, const char* b) {
    String r(a);
    r.append(b);
    return r;
}

String operator+(const char* a, const String& b) {
    String r(a);
    r.append(b);
    return r;
}

std::ostream& operator<<(std::ostream& os, const String& s) {
    return os << s.str();
}
