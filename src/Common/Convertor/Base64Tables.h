//===- Common/Convertor/Base64Tables.h - Base64 look-up tables ------------===//
//
// Internal to libVemlo. The standard Base64 alphabet and the tables both
// codecs derive from it at compile time:
//  - kPairs: the two characters for every 12-bit value, so one look-up
//    encodes half a group;
//  - kValue: the 6-bit value of an alphabet character, kNotAlphabet for any
//    other byte;
//  - kShifted[p]: the value already shifted to its place p (0 to 3) in a
//    24-bit group, with bit 24 set for bytes outside the alphabet, so that
//    OR-ing four look-ups decodes a group and flags any non-alphabet byte.
//
//===----------------------------------------------------------------------===//
#ifndef VEMLO_SRC_COMMON_CONVERTOR_BASE64TABLES_H
#define VEMLO_SRC_COMMON_CONVERTOR_BASE64TABLES_H

#include <cstdint>
#include <cstring>

namespace Vemlo {
namespace Common {
namespace Convertor {
namespace detail {

inline constexpr char kBase64Alphabet[] =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

constexpr std::uint8_t kNotAlphabet = 0xff;
constexpr std::uint32_t kNotAlphabetFlag = 0x01000000;

struct Base64Tables {
    char pairs[4096][2];
    std::uint8_t value[256];
    std::uint32_t shifted[4][256];
};

constexpr Base64Tables makeBase64Tables() {
    Base64Tables t{};
    for (int v = 0; v < 4096; ++v) {
        t.pairs[v][0] = kBase64Alphabet[v >> 6];
        t.pairs[v][1] = kBase64Alphabet[v & 0x3f];
    }
    for (int c = 0; c < 256; ++c) {
        t.value[c] = kNotAlphabet;
        for (int p = 0; p < 4; ++p) {
            t.shifted[p][c] = kNotAlphabetFlag;
        }
    }
    for (int v = 0; v < 64; ++v) {
        const auto c = static_cast<unsigned char>(kBase64Alphabet[v]);
        t.value[c] = static_cast<std::uint8_t>(v);
        for (int p = 0; p < 4; ++p) {
            t.shifted[p][c] = std::uint32_t(v) << (18 - 6 * p);
        }
    }
    return t;
}

inline constexpr Base64Tables kBase64 = makeBase64Tables();

// Decodes the 4 characters at `in` into a 24-bit group; bit 24 is set when
// any of them is outside the alphabet.
inline std::uint32_t decodeGroup(const unsigned char* in) {
    return kBase64.shifted[0][in[0]] | kBase64.shifted[1][in[1]] | kBase64.shifted[2][in[2]] |
           kBase64.shifted[3][in[3]];
}

// Encodes the 3 bytes at `in` into 4 characters at `out`.
inline void encodeGroup(const unsigned char* in, char* out) {
    const std::uint32_t v = (std::uint32_t(in[0]) << 16) | (std::uint32_t(in[1]) << 8) | in[2];
    std::memcpy(out, kBase64.pairs[v >> 12], 2);
    std::memcpy(out + 2, kBase64.pairs[v & 0xfff], 2);
}

} // namespace detail
} // namespace Convertor
} // namespace Common
} // namespace Vemlo

#endif // VEMLO_SRC_COMMON_CONVERTOR_BASE64TABLES_H
