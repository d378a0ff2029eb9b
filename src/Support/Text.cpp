//===- Support/Text.cpp - Small text helpers shared by the sources --------===//
#include "Support/Text.h"

namespace Vemlo {
namespace detail {

bool isShellWord(std::string_view word) {
    return !word.empty() &&
           word.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789"
                                  "/._-+,:@%=") == std::string_view::npos;
}

std::string shellQuote(std::string_view word) {
    if (isShellWord(word))
        return std::string(word);
    std::string quoted = "'";
    for (char c : word) {
        if (c == '\'')
            quoted += "'\\''";
        else
            quoted += c;
    }
    quoted += "'";
    return quoted;
}

} // namespace detail
} // namespace Vemlo
