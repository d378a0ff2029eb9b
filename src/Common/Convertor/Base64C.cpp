//===- Common/Convertor/Base64C.cpp - Base64 in 80-column lines -----------===//
#include <Vemlo/Common/Convertor/Base64C.h>

#include "Common/Convertor/Base64Tables.h"

#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace Vemlo {
namespace Common {
namespace Convertor {

namespace {

using detail::kBase64;

// Characters a line holds before its carriage return and line feed.
constexpr std::size_t kLineLength = 80;

} // namespace

Base64C::Base64C() : m_cPadding('=') {
    std::memcpy(m_szAlphabet, detail::kBase64Alphabet, sizeof m_szAlphabet);
}

Base64C::~Base64C() = default;

char* Base64C::Base64Encode(unsigned char* in, int len, int* outLen) {
    if (in == nullptr || len < 0) {
        len = 0;
    }
    const std::size_t length = static_cast<std::size_t>(len);
    const std::size_t e = (length / 3 * 3 + 3) * 4 / 3;
    const std::size_t size = e + (e + 2) / kLineLength * 2 + 5;
    if (size > static_cast<std::size_t>(INT_MAX)) {
        return nullptr;
    }
    char* const text = static_cast<char*>(std::malloc(size));
    if (text == nullptr) {
        return nullptr;
    }
    const char* const alphabet = m_szAlphabet;
    char* out = text;
    std::size_t lineFill = 0;
    std::size_t i = 0;
    for (; i + 3 <= length; i += 3) {
        const std::uint32_t v =
            (std::uint32_t(in[i]) << 16) | (std::uint32_t(in[i + 1]) << 8) | in[i + 2];
        out[0] = alphabet[v >> 18];
        out[1] = alphabet[(v >> 12) & 0x3f];
        out[2] = alphabet[(v >> 6) & 0x3f];
        out[3] = alphabet[v & 0x3f];
        out += 4;
        lineFill += 4;
        if (lineFill == kLineLength) {
            *out++ = '\r';
            *out++ = '\n';
            lineFill = 0;
        }
    }
    const std::size_t remainder = length - i;
    if (remainder > 0) {
        const unsigned int b0 = in[i];
        const unsigned int b1 = remainder == 2 ? in[i + 1] : 0;
        out[0] = alphabet[b0 >> 2];
        out[1] = alphabet[((b0 & 0x03) << 4) | (b1 >> 4)];
        out[2] = remainder == 2 ? alphabet[(b1 & 0x0f) << 2] : m_cPadding;
        out[3] = m_cPadding;
        out += 4;
        lineFill += 4;
        if (lineFill == kLineLength) {
            *out++ = '\r';
            *out++ = '\n';
        }
    }
    *out = '\0';
    if (outLen != nullptr) {
        *outLen = static_cast<int>(out - text) + 1;
    }
    return text;
}

int Base64C::Base64Decode(unsigned char* in, int len, unsigned char* out) {
    if (in == nullptr || out == nullptr || len <= 0) {
        return 0;
    }
    const std::size_t n = static_cast<std::size_t>(len);
    std::size_t i = 0;
    std::size_t j = 0;
    std::uint32_t group = 0;
    int k = 0; // characters collected in `group`
    while (i < n) {
        if (k == 0) {
            // Whole groups of four alphabet characters in one step; a line
            // break, the padding or any other byte takes the byte-wise path.
            for (; i + 4 <= n; i += 4, j += 3) {
                const std::uint32_t g = detail::decodeGroup(in + i);
                if (g & detail::kNotAlphabetFlag) {
                    break;
                }
                out[j] = static_cast<unsigned char>(g >> 16);
                out[j + 1] = static_cast<unsigned char>(g >> 8);
                out[j + 2] = static_cast<unsigned char>(g);
            }
            if (i >= n) {
                break;
            }
        }
        const unsigned char c = in[i];
        if (c == static_cast<unsigned char>(m_cPadding) || !isBase64(c)) {
            break;
        }
        ++i;
        if (c == '\r' || c == '\n') {
            continue;
        }
        group |= std::uint32_t(kBase64.value[c]) << (18 - 6 * k);
        if (++k == 4) {
            out[j] = static_cast<unsigned char>(group >> 16);
            out[j + 1] = static_cast<unsigned char>(group >> 8);
            out[j + 2] = static_cast<unsigned char>(group);
            j += 3;
            group = 0;
            k = 0;
        }
    }
    // A partial group counts as completed with zero values: k - 1 bytes.
    for (int b = 0; b < k - 1; ++b) {
        out[j++] = static_cast<unsigned char>(group >> (16 - 8 * b));
    }
    return static_cast<int>(j);
}

int Base64C::isBase64(unsigned char c) {
    if ((c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9')) {
        return 1;
    }
    return (c == '+' || c == '/' || c == '\r' || c == '\n') ? 1 : 0;
}

} // namespace Convertor
} // namespace Common
} // namespace Vemlo
