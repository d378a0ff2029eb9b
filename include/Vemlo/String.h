//===- Vemlo/String.h - The framework's text value --------------*- C++ -*-===//
#ifndef VEMLO_STRING_H
#define VEMLO_STRING_H

#include <Vemlo/Export.h>
#include <Vemlo/Data/Object.h>

#include <iosfwd>
#include <string>

/// \brief The framework's text value: a standard string that is also an Object.
///
/// Adds printf-style formatting, replacing, trimming and case conversion. A
/// few operations keep odd-looking behaviour existing callers depend on
/// (self-assignment empties, Replace(from, to, 0), TrimRight, ToLower and
/// ToUpper); each is marked where it is declared.
/// Ownership: a value; deletable through an Object* in the collections.
/// Threads: not locked; one object, one thread at a time.
/// Failures: a null `const char*` argument reads as the empty text.
/// Details: docs/Strings.md.
class VEMLO_API String : private std::string, public Vemlo::Data::Object {
public:
    using std::string::const_iterator;
    using std::string::const_reference;
    using std::string::iterator;
    using std::string::npos;
    using std::string::reference;
    using std::string::size_type;
    using std::string::value_type;

    /// An empty text.
    String();

    /// Copies `s` up to its terminating NUL; a null `s` gives an empty text.
    String(const char* s);

    /// Copies the whole of `s`, embedded NUL bytes included.
    explicit String(const std::string& s);

    /// Copies the whole text (member-wise copy).
    String(const String& other) = default;

    /// Takes over the text of `other`, which is left empty.
    String(String&& other) noexcept = default;

    ~String() override;

    /// Empties the text, then copies `s`; a null `s` leaves it empty.
    String& operator=(const char* s);

    /// Empties the text first, then copies `other` up to its first NUL.
    /// Because the clearing comes first, assigning a String to itself leaves it
    /// empty; existing callers rely on this order, so it is kept.
    String& operator=(const String& other);

    /// printf-style formatting into this string. The output is limited to 2047
    /// characters: longer output is cut there (never written past the 2048-byte
    /// formatting buffer). A null `fmt` gives an empty text.
    void Format(const char* fmt, ...) __attribute__((format(printf, 2, 3)));

    /// Replaces the first occurrence of `from` by `to` in this string itself and
    /// returns a copy of the result. An empty `from` or one that does not occur
    /// leaves the string unchanged. The result is cut at an embedded NUL.
    String Replace(const char* from, const char* to);

    /// Works on a copy: up to `count` successive replacements of the first
    /// occurrence of `from` in the text produced so far (so text inserted by
    /// `to` can match again), and never more passes than this string's length.
    /// This string is left unchanged. A `count` of 0, or an empty string, gives
    /// an empty text, not an unchanged one; existing callers rely on it.
    String Replace(const char* from, const char* to, unsigned int count);

    /// Copy without leading blanks (space, tab, CR, LF only).
    String TrimLeft();

    /// Copy without trailing blanks (space, tab, CR, LF only). The first
    /// character is never examined, so a string of one character is never
    /// trimmed and an all-blank string comes back as its first character;
    /// existing callers rely on both limits.
    String TrimRight();

    ///@{
    /// Copy with every character but the last converted by tolower/toupper
    /// (byte by byte, locale-dependent). The last character is deliberately
    /// left as it is; an empty string gives an empty string.
    String ToLower();
    String ToUpper();
    ///@}

    /// Standard string operations offered on String.
    using std::string::at;
    using std::string::back;
    using std::string::begin;
    using std::string::c_str;
    using std::string::capacity;
    using std::string::cbegin;
    using std::string::cend;
    using std::string::clear;
    using std::string::compare;
    using std::string::data;
    using std::string::empty;
    using std::string::end;
    using std::string::find;
    using std::string::find_first_not_of;
    using std::string::find_first_of;
    using std::string::find_last_not_of;
    using std::string::find_last_of;
    using std::string::front;
    using std::string::length;
    using std::string::operator[];
    using std::string::reserve;
    using std::string::resize;
    using std::string::rfind;
    using std::string::size;

    ///@{
    /// Appends `s` (a null `s` appends nothing) and returns *this.
    String& append(const char* s);
    String& append(const char* s, size_type n);
    String& append(const String& s);
    String& append(size_type n, char c);
    String& operator+=(const char* s) { return append(s); }
    String& operator+=(const String& s) { return append(s); }
    String& operator+=(char c) { return append(1, c); }
    ///@}

    /// The characters from `pos`, at most `n` of them; throws std::out_of_range
    /// when `pos` is past the end, as the standard string does.
    String substr(size_type pos = 0, size_type n = npos) const;

    /// The text as a plain standard string.
    const std::string& str() const { return *this; }
};

///@{
/// \relates String
/// Text comparison; a null `const char*` compares as the empty text.
VEMLO_API bool operator==(const String& a, const String& b);
VEMLO_API bool operator==(const String& a, const char* b);   ///< \relates String
VEMLO_API bool operator==(const char* a, const String& b);   ///< \relates String
VEMLO_API bool operator!=(const String& a, const String& b); ///< \relates String
VEMLO_API bool operator!=(const String& a, const char* b);   ///< \relates String
VEMLO_API bool operator!=(const char* a, const String& b);   ///< \relates String
VEMLO_API bool operator<(const String& a, const String& b);  ///< \relates String
///@}

///@{
/// \relates String
/// Concatenation.
VEMLO_API String operator+(const String& a, const String& b);
VEMLO_API String operator+(const String& a, const char* b); ///< \relates String
VEMLO_API String operator+(const char* a, const String& b); ///< \relates String
///@}

/// \relates String
/// Writes the text to a stream (used by test frameworks and logging).
VEMLO_API std::ostream& operator<<(std::ostream& os, const String& s);

#endif // VEMLO_STRING_H
