//===- Common/Convertor/CrcTables.h - Reflected CRC tables ----------------===//
//
// Internal to libVemlo. Builds, as constant expressions, the tables of a
// reflected (least significant bit first) CRC: table 0 is the byte-wise
// table, and table k gives the effect of a byte followed by k zero bytes, so
// that slicing-by-N takes N bytes a step with N independent look-ups.
//
//===----------------------------------------------------------------------===//
#ifndef VEMLO_SRC_COMMON_CONVERTOR_CRCTABLES_H
#define VEMLO_SRC_COMMON_CONVERTOR_CRCTABLES_H

#include <cstdint>
#include <cstring>

namespace Vemlo {
namespace Common {
namespace Convertor {
namespace detail {

template <class Word, int N> struct CrcTables { Word t[N][256]; };

// `reflected` is the bit-reversed polynomial (0xEDB88320 for CRC-32, 0x8408
// for the 16-bit CRC of 0x1021).
template <class Word, int N> constexpr CrcTables<Word, N> makeCrcTables(Word reflected) {
    CrcTables<Word, N> tables{};
    for (unsigned int n = 0; n < 256; ++n) {
        Word c = static_cast<Word>(n);
        for (int bit = 0; bit < 8; ++bit) {
            c = (c & 1) ? static_cast<Word>((c >> 1) ^ reflected) : static_cast<Word>(c >> 1);
        }
        tables.t[0][n] = c;
    }
    for (int k = 1; k < N; ++k) {
        for (unsigned int n = 0; n < 256; ++n) {
            const Word prev = tables.t[k - 1][n];
            tables.t[k][n] = static_cast<Word>((prev >> 8) ^ tables.t[0][prev & 0xff]);
        }
    }
    return tables;
}

// Tables for braided CRC: table j gives the register after a byte at place j
// of a `Bytes`-byte word followed by the rest of that word and `zerosAfter`
// more zero bytes. `byteTable` is the byte-wise table (table 0 above).
template <int Bytes>
constexpr CrcTables<std::uint32_t, Bytes> makeBraidTables(const std::uint32_t (&byteTable)[256],
                                                          int zerosAfter) {
    CrcTables<std::uint32_t, Bytes> tables{};
    for (int j = 0; j < Bytes; ++j) {
        for (unsigned int n = 0; n < 256; ++n) {
            std::uint32_t v = byteTable[n];
            for (int z = 0; z < Bytes - 1 - j + zerosAfter; ++z) {
                v = (v >> 8) ^ byteTable[v & 0xff];
            }
            tables.t[j][n] = v;
        }
    }
    return tables;
}

inline std::uint32_t loadLe32(const unsigned char* p) {
    std::uint32_t w;
    std::memcpy(&w, p, 4);
#if __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
    w = __builtin_bswap32(w);
#endif
    return w;
}

} // namespace detail
} // namespace Convertor
} // namespace Common
} // namespace Vemlo

#endif // VEMLO_SRC_COMMON_CONVERTOR_CRCTABLES_H
