//===- Support/Text.h - Small text helpers shared by the sources -*- C++ -*-===//
#ifndef VEMLO_SRC_SUPPORT_TEXT_H
#define VEMLO_SRC_SUPPORT_TEXT_H

#include <string>
#include <string_view>

namespace Vemlo {
namespace detail {

// A null text reads as "".
inline const char* orEmpty(const char* s) {
    return s ? s : "";
}

// The four blanks String's trims remove, tested in this order.
inline bool isBlank(char c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

// The two blanks that separate the fields of a `ps` line.
inline bool isSpaceOrTab(char c) {
    return c == ' ' || c == '\t';
}

// True when `word` can be handed to the shell as one word unchanged: not
// empty, and only letters, digits and "/._-+,:@%=".
bool isShellWord(std::string_view word);

// `word` as one word for the shell: unchanged when isShellWord, else
// single-quoted (a quote inside becomes '\'').
std::string shellQuote(std::string_view word);

} // namespace detail
} // namespace Vemlo

#endif // VEMLO_SRC_SUPPORT_TEXT_H
