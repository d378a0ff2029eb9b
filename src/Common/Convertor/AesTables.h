//===- Common/Convertor/AesTables.h - Rijndael tables at compile time -----===//
//
// Internal to libVemlo. Computes the AES (Rijndael) tables from their
// definition in GF(2^8) with the reduction polynomial x^8+x^4+x^3+x+1, as
// constant expressions: the S-box and its inverse, the round tables for the
// encryption and the (equivalent) inverse cipher, the InvMixColumns tables
// used on decryption round keys, the log/antilog tables and the round
// constants. Nothing runs at start-up and the values are fixed in the
// library's read-only data; the published test vectors of every key size check them.
//
// Word convention: a 32-bit word packs a column big-endian, row 0 in the high
// byte. Te[0][x] = S[x]*{02,01,01,03}, Td[0][x] = Si[x]*{0e,09,0d,0b},
// U[0][x] = x*{0e,09,0d,0b}; table k is table 0 rotated right by 8k bits.
//
//===----------------------------------------------------------------------===//
#ifndef VEMLO_SRC_COMMON_CONVERTOR_AESTABLES_H
#define VEMLO_SRC_COMMON_CONVERTOR_AESTABLES_H

#include <cstdint>

namespace Vemlo {
namespace Common {
namespace Convertor {
namespace detail {

struct RijndaelTables {
    std::uint8_t S[256];
    std::uint8_t Si[256];
    std::uint32_t Te[4][256];
    std::uint32_t Td[4][256];
    std::uint32_t U[4][256];
    // alog[i] = 3^i; log[alog[i]] = i. log[0] has no meaning and is 0.
    int log[256];
    int alog[256];
    // rcon[i] = x^i: the round constant of key-schedule step i + 1.
    std::uint8_t rcon[30];
};

constexpr std::uint8_t xtime(std::uint8_t b) {
    return static_cast<std::uint8_t>((b << 1) ^ ((b & 0x80) ? 0x1b : 0x00));
}

constexpr std::uint8_t rotl8(std::uint8_t b, int n) {
    return static_cast<std::uint8_t>((b << n) | (b >> (8 - n)));
}

constexpr std::uint32_t rotr32(std::uint32_t w, int n) {
    return (w >> n) | (w << (32 - n));
}

constexpr std::uint32_t pack(std::uint8_t b0, std::uint8_t b1, std::uint8_t b2, std::uint8_t b3) {
    return (std::uint32_t(b0) << 24) | (std::uint32_t(b1) << 16) | (std::uint32_t(b2) << 8) |
           std::uint32_t(b3);
}

constexpr RijndaelTables makeRijndaelTables() {
    RijndaelTables t{};

    // 3 generates the multiplicative group of GF(2^8).
    std::uint8_t a = 1;
    for (int i = 0; i < 256; ++i) {
        t.alog[i] = a;
        a = static_cast<std::uint8_t>(a ^ xtime(a));
    }
    for (int i = 0; i < 255; ++i) {
        t.log[t.alog[i]] = i;
    }
    auto mul = [&t](int x, int y) -> std::uint8_t {
        if (x == 0 || y == 0) {
            return 0;
        }
        return static_cast<std::uint8_t>(t.alog[(t.log[x] + t.log[y]) % 255]);
    };

    // S-box: multiplicative inverse followed by the affine transformation.
    for (int x = 0; x < 256; ++x) {
        const std::uint8_t inv =
            x == 0 ? 0 : static_cast<std::uint8_t>(t.alog[(255 - t.log[x]) % 255]);
        const std::uint8_t s = static_cast<std::uint8_t>(inv ^ rotl8(inv, 1) ^ rotl8(inv, 2) ^
                                                         rotl8(inv, 3) ^ rotl8(inv, 4) ^ 0x63);
        t.S[x] = s;
        t.Si[s] = static_cast<std::uint8_t>(x);
    }

    for (int x = 0; x < 256; ++x) {
        const std::uint8_t s = t.S[x];
        const std::uint8_t si = t.Si[x];
        const std::uint32_t te = pack(mul(s, 2), s, s, mul(s, 3));
        const std::uint32_t td = pack(mul(si, 14), mul(si, 9), mul(si, 13), mul(si, 11));
        const std::uint32_t u = pack(mul(x, 14), mul(x, 9), mul(x, 13), mul(x, 11));
        for (int k = 0; k < 4; ++k) {
            t.Te[k][x] = k == 0 ? te : rotr32(te, 8 * k);
            t.Td[k][x] = k == 0 ? td : rotr32(td, 8 * k);
            t.U[k][x] = k == 0 ? u : rotr32(u, 8 * k);
        }
    }

    std::uint8_t r = 1;
    for (int i = 0; i < 30; ++i) {
        t.rcon[i] = r;
        r = xtime(r);
    }
    return t;
}

inline constexpr RijndaelTables kRijndael = makeRijndaelTables();

} // namespace detail
} // namespace Convertor
} // namespace Common
} // namespace Vemlo

#endif // VEMLO_SRC_COMMON_CONVERTOR_AESTABLES_H
