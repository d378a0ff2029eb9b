//===- Common/Convertor/Base64.cpp - Base64 without line breaks -----------===//
#include <Vemlo/Common/Convertor/Base64.h>

#include "Common/Convertor/Base64Tables.h"

#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace Vemlo {
namespace Common {
namespace Convertor {
namespace Base64 {

namespace {

using detail::kBase64;

// Encodes `groups` whole groups of 3 bytes; returns the end of the output.
char* encodeGroups(const unsigned char* in, std::size_t groups, char* out) {
#if __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
    // Two groups a turn from one 8-byte load (the last 2 bytes are unused, so
    // at least one more group must follow).
    for (; groups > 2; groups -= 2, in += 6, out += 8) {
        std::uint64_t v;
        std::memcpy(&v, in, 8);
        v = __builtin_bswap64(v);
        std::memcpy(out, kBase64.pairs[(v >> 52) & 0xfff], 2);
        std::memcpy(out + 2, kBase64.pairs[(v >> 40) & 0xfff], 2);
        std::memcpy(out + 4, kBase64.pairs[(v >> 28) & 0xfff], 2);
        std::memcpy(out + 6, kBase64.pairs[(v >> 16) & 0xfff], 2);
    }
#endif
    for (; groups > 0; --groups, in += 3, out += 4) {
        detail::encodeGroup(in, out);
    }
    return out;
}

} // namespace

char* _base64_encode(unsigned char* in, int len, int* outLen) {
    if (in == nullptr || len < 0) {
        len = 0;
    }
    const std::size_t groups = static_cast<std::size_t>(len) / 3;
    const std::size_t remainder = static_cast<std::size_t>(len) % 3;
    const std::size_t size = (groups * 3 + 3) * 4 / 3 + 1;
    if (size > static_cast<std::size_t>(INT_MAX)) {
        return nullptr;
    }
    char* const text = static_cast<char*>(std::malloc(size));
    if (text == nullptr) {
        return nullptr;
    }
    char* out = encodeGroups(in, groups, text);
    if (remainder > 0) {
        const unsigned char* rest = in + groups * 3;
        const unsigned int b0 = rest[0];
        const unsigned int b1 = remainder == 2 ? rest[1] : 0;
        *out++ = detail::kBase64Alphabet[b0 >> 2];
        *out++ = detail::kBase64Alphabet[((b0 & 0x03) << 4) | (b1 >> 4)];
        *out++ = remainder == 2 ? detail::kBase64Alphabet[(b1 & 0x0f) << 2] : '=';
        *out++ = '=';
    }
    const std::size_t written = static_cast<std::size_t>(out - text);
    // The whole buffer is zero-filled, as callers have always received it;
    // only the bytes after the text need it, the rest is overwritten.
    std::memset(out, 0, size - written);
    if (outLen != nullptr) {
        // One more than the characters for a multiple of 3: existing callers
        // subtract it, so it is kept.
        *outLen = static_cast<int>(remainder == 0 ? written + 1 : written);
    }
    return text;
}

int _base64_decode(unsigned char* in, int /*len*/, unsigned char* out) {
    if (out == nullptr) {
        return -1;
    }
    if (in == nullptr || *in == '\0') {
        out[0] = '\0';
        return 0;
    }
    const std::size_t n = std::strlen(reinterpret_cast<const char*>(in));
    std::size_t i = 0;
    std::size_t j = 0;
    unsigned int count = 0; // alphabet characters taken, modulo 4
    for (;;) {
        if (count == 0) {
            // Whole groups of four alphabet characters in one step; anything
            // else (a skipped byte, '=', the end) takes the byte-wise path.
            for (; i + 4 <= n; i += 4, j += 3) {
                const std::uint32_t group = detail::decodeGroup(in + i);
                if (group & detail::kNotAlphabetFlag) {
                    break;
                }
                out[j] = static_cast<unsigned char>(group >> 16);
                out[j + 1] = static_cast<unsigned char>(group >> 8);
                out[j + 2] = static_cast<unsigned char>(group);
            }
        }
        const unsigned char c = in[i];
        if (c == '\0') {
            out[j] = '\0';
            return static_cast<int>(j);
        }
        if (c == '=') {
            break;
        }
        ++i;
        const unsigned int v = kBase64.value[c];
        if (v == detail::kNotAlphabet) {
            continue;
        }
        switch (count) {
        case 0:
            out[j] = static_cast<unsigned char>(v << 2);
            break;
        case 1:
            out[j++] |= static_cast<unsigned char>(v >> 4);
            out[j] = static_cast<unsigned char>((v & 0x0f) << 4);
            break;
        case 2:
            out[j++] |= static_cast<unsigned char>(v >> 2);
            out[j] = static_cast<unsigned char>((v & 0x03) << 6);
            break;
        default:
            out[j++] |= static_cast<unsigned char>(v);
            break;
        }
        count = (count + 1) & 3;
    }
    // Padding: allowed only after 2 or 3 characters of a group.
    switch (count) {
    case 2:
        out[j] = '\0';
        out[j + 1] = '\0';
        return static_cast<int>(j);
    case 3:
        out[j] = '\0';
        return static_cast<int>(j);
    default:
        return -1;
    }
}

} // namespace Base64
} // namespace Convertor
} // namespace Common
} // namespace Vemlo
