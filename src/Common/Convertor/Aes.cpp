//===- Common/Convertor/Aes.cpp - AES block cipher and CBC ----------------===//
#include <Vemlo/Common/Convertor/Aes.h>

#include "Common/Convertor/AesTables.h"

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace Vemlo {
namespace Common {
namespace Convertor {

namespace {

using std::uint32_t;

constexpr const auto& kT = detail::kRijndael;
constexpr const uint32_t (&Te0)[256] = kT.Te[0];
constexpr const uint32_t (&Te1)[256] = kT.Te[1];
constexpr const uint32_t (&Te2)[256] = kT.Te[2];
constexpr const uint32_t (&Te3)[256] = kT.Te[3];
constexpr const uint32_t (&Td0)[256] = kT.Td[0];
constexpr const uint32_t (&Td1)[256] = kT.Td[1];
constexpr const uint32_t (&Td2)[256] = kT.Td[2];
constexpr const uint32_t (&Td3)[256] = kT.Td[3];
constexpr const std::uint8_t (&Sbox)[256] = kT.S;
constexpr const std::uint8_t (&InvSbox)[256] = kT.Si;

// Prints the assertion text in the C library's format and aborts. The file
// name and line are the ones this check has always reported; crash reports
// collected from devices are matched against them, so they stay fixed.
[[noreturn]] void assertionFailed(const char* expression, unsigned int line, const char* function) {
    std::fprintf(stderr, "%s: %s:%u: %s: Assertion `%s' failed.\n", program_invocation_short_name,
                 "../Common/Convertor/Aes.cpp", line, function, expression);
    std::fflush(stderr);
    std::abort();
}

inline bool validRounds(int rounds) {
    return rounds == 10 || rounds == 12 || rounds == 14;
}

// Columns are big-endian words: byte 0 of a column in the high byte.
inline uint32_t load32(const unsigned char* p) {
    uint32_t w;
    std::memcpy(&w, p, 4);
#if __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
    w = __builtin_bswap32(w);
#endif
    return w;
}

inline void store32(unsigned char* p, uint32_t w) {
#if __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
    w = __builtin_bswap32(w);
#endif
    std::memcpy(p, &w, 4);
}

inline uint32_t subWord(uint32_t w) {
    return (uint32_t(Sbox[w >> 24]) << 24) | (uint32_t(Sbox[(w >> 16) & 0xff]) << 16) |
           (uint32_t(Sbox[(w >> 8) & 0xff]) << 8) | uint32_t(Sbox[w & 0xff]);
}

// One cipher round: the four columns `s` into `t` with round key `k`.
#define VEMLO_AES_ROUND(t0, t1, t2, t3, s0, s1, s2, s3, k)                                         \
    t0 = Te0[s0 >> 24] ^ Te1[(s1 >> 16) & 0xff] ^ Te2[(s2 >> 8) & 0xff] ^ Te3[s3 & 0xff] ^ (k)[0]; \
    t1 = Te0[s1 >> 24] ^ Te1[(s2 >> 16) & 0xff] ^ Te2[(s3 >> 8) & 0xff] ^ Te3[s0 & 0xff] ^ (k)[1]; \
    t2 = Te0[s2 >> 24] ^ Te1[(s3 >> 16) & 0xff] ^ Te2[(s0 >> 8) & 0xff] ^ Te3[s1 & 0xff] ^ (k)[2]; \
    t3 = Te0[s3 >> 24] ^ Te1[(s0 >> 16) & 0xff] ^ Te2[(s1 >> 8) & 0xff] ^ Te3[s2 & 0xff] ^ (k)[3]

// One round of the equivalent inverse cipher (inverse ShiftRows order).
#define VEMLO_AES_INV_ROUND(t0, t1, t2, t3, s0, s1, s2, s3, k)                                     \
    t0 = Td0[s0 >> 24] ^ Td1[(s3 >> 16) & 0xff] ^ Td2[(s2 >> 8) & 0xff] ^ Td3[s1 & 0xff] ^ (k)[0]; \
    t1 = Td0[s1 >> 24] ^ Td1[(s0 >> 16) & 0xff] ^ Td2[(s3 >> 8) & 0xff] ^ Td3[s2 & 0xff] ^ (k)[1]; \
    t2 = Td0[s2 >> 24] ^ Td1[(s1 >> 16) & 0xff] ^ Td2[(s0 >> 8) & 0xff] ^ Td3[s3 & 0xff] ^ (k)[2]; \
    t3 = Td0[s3 >> 24] ^ Td1[(s2 >> 16) & 0xff] ^ Td2[(s1 >> 8) & 0xff] ^ Td3[s0 & 0xff] ^ (k)[3]

// The last round's SubBytes and ShiftRows, through the byte S-box `box`.
inline uint32_t lastRound(const std::uint8_t* box, uint32_t a, uint32_t b, uint32_t c, uint32_t d) {
    return (uint32_t(box[a >> 24]) << 24) ^ (uint32_t(box[(b >> 16) & 0xff]) << 16) ^
           (uint32_t(box[(c >> 8) & 0xff]) << 8) ^ uint32_t(box[d & 0xff]);
}

// One block through the cipher; the state is the four columns s0..s3. The
// round count is a template argument, so the rounds unroll completely and the
// round-key offsets are constants.
template <int Rounds>
__attribute__((always_inline)) inline void encryptColumns(uint32_t& s0, uint32_t& s1, uint32_t& s2,
                                                          uint32_t& s3, const uint32_t* rk) {
    uint32_t t0, t1, t2, t3;
    s0 ^= rk[0];
    s1 ^= rk[1];
    s2 ^= rk[2];
    s3 ^= rk[3];
#pragma GCC unroll 8
    for (int r = 1; r < Rounds - 1; r += 2) {
        VEMLO_AES_ROUND(t0, t1, t2, t3, s0, s1, s2, s3, rk + 4 * r);
        VEMLO_AES_ROUND(s0, s1, s2, s3, t0, t1, t2, t3, rk + 4 * r + 4);
    }
    VEMLO_AES_ROUND(t0, t1, t2, t3, s0, s1, s2, s3, rk + 4 * (Rounds - 1));
    rk += 4 * Rounds;
    s0 = lastRound(Sbox, t0, t1, t2, t3) ^ rk[0];
    s1 = lastRound(Sbox, t1, t2, t3, t0) ^ rk[1];
    s2 = lastRound(Sbox, t2, t3, t0, t1) ^ rk[2];
    s3 = lastRound(Sbox, t3, t0, t1, t2) ^ rk[3];
}

template <int Rounds>
__attribute__((always_inline)) inline void decryptColumns(uint32_t& s0, uint32_t& s1, uint32_t& s2,
                                                          uint32_t& s3, const uint32_t* rk) {
    uint32_t t0, t1, t2, t3;
    s0 ^= rk[0];
    s1 ^= rk[1];
    s2 ^= rk[2];
    s3 ^= rk[3];
#pragma GCC unroll 8
    for (int r = 1; r < Rounds - 1; r += 2) {
        VEMLO_AES_INV_ROUND(t0, t1, t2, t3, s0, s1, s2, s3, rk + 4 * r);
        VEMLO_AES_INV_ROUND(s0, s1, s2, s3, t0, t1, t2, t3, rk + 4 * r + 4);
    }
    VEMLO_AES_INV_ROUND(t0, t1, t2, t3, s0, s1, s2, s3, rk + 4 * (Rounds - 1));
    rk += 4 * Rounds;
    s0 = lastRound(InvSbox, t0, t3, t2, t1) ^ rk[0];
    s1 = lastRound(InvSbox, t1, t0, t3, t2) ^ rk[1];
    s2 = lastRound(InvSbox, t2, t1, t0, t3) ^ rk[2];
    s3 = lastRound(InvSbox, t3, t2, t1, t0) ^ rk[3];
}

#undef VEMLO_AES_ROUND
#undef VEMLO_AES_INV_ROUND

// InvMixColumns of one round-key word.
inline uint32_t invMixColumn(uint32_t w) {
    return kT.U[0][w >> 24] ^ kT.U[1][(w >> 16) & 0xff] ^ kT.U[2][(w >> 8) & 0xff] ^
           kT.U[3][w & 0xff];
}

template <int Rounds>
void cbcEncrypt(const unsigned char* in, unsigned char* out, unsigned long length,
                const stAesKeySt* key, unsigned char* ivec) {
    const uint32_t* rk = key->rd_key;
    uint32_t c0 = load32(ivec), c1 = load32(ivec + 4), c2 = load32(ivec + 8),
             c3 = load32(ivec + 12);
    for (; length >= 16; length -= 16, in += 16, out += 16) {
        c0 ^= load32(in);
        c1 ^= load32(in + 4);
        c2 ^= load32(in + 8);
        c3 ^= load32(in + 12);
        encryptColumns<Rounds>(c0, c1, c2, c3, rk);
        store32(out, c0);
        store32(out + 4, c1);
        store32(out + 8, c2);
        store32(out + 12, c3);
    }
    if (length > 0) {
        // The missing plaintext bytes count as zeros: the chain's bytes pass
        // into the block unchanged.
        unsigned char block[16];
        store32(block, c0);
        store32(block + 4, c1);
        store32(block + 8, c2);
        store32(block + 12, c3);
        for (unsigned long i = 0; i < length; ++i) {
            block[i] ^= in[i];
        }
        c0 = load32(block);
        c1 = load32(block + 4);
        c2 = load32(block + 8);
        c3 = load32(block + 12);
        encryptColumns<Rounds>(c0, c1, c2, c3, rk);
        store32(out, c0);
        store32(out + 4, c1);
        store32(out + 8, c2);
        store32(out + 12, c3);
    }
    store32(ivec, c0);
    store32(ivec + 4, c1);
    store32(ivec + 8, c2);
    store32(ivec + 12, c3);
}

// Blocks are deciphered from the last to the first: the chain value of block
// i is input block i - 1, which is still intact when block i is written even
// when deciphering in place, so nothing but the state has to be carried
// through the rounds. The result is the same as in the forward order.
template <int Rounds>
void cbcDecrypt(const unsigned char* in, unsigned char* out, unsigned long length,
                const stAesKeySt* key, unsigned char* ivec) {
    if (length == 0) {
        return;
    }
    const uint32_t* rk = key->rd_key;
    const unsigned long whole = length / 16;
    const unsigned long tail = length % 16;
    // The last input block becomes the vector; saved before it is overwritten.
    unsigned char nextIvec[16];
    std::memcpy(nextIvec, in + 16 * (tail ? whole : whole - 1), 16);
    if (tail > 0) {
        // The input holds a whole block; only `tail` plaintext bytes are
        // written.
        const unsigned char* block = in + 16 * whole;
        const unsigned char* chain = whole ? block - 16 : ivec;
        uint32_t s0 = load32(block), s1 = load32(block + 4), s2 = load32(block + 8),
                 s3 = load32(block + 12);
        decryptColumns<Rounds>(s0, s1, s2, s3, rk);
        unsigned char plain[16];
        store32(plain, s0 ^ load32(chain));
        store32(plain + 4, s1 ^ load32(chain + 4));
        store32(plain + 8, s2 ^ load32(chain + 8));
        store32(plain + 12, s3 ^ load32(chain + 12));
        std::memcpy(out + 16 * whole, plain, tail);
    }
    for (unsigned long i = whole; i-- > 0;) {
        const unsigned char* block = in + 16 * i;
        uint32_t s0 = load32(block), s1 = load32(block + 4), s2 = load32(block + 8),
                 s3 = load32(block + 12);
        decryptColumns<Rounds>(s0, s1, s2, s3, rk);
        const unsigned char* chain = i ? block - 16 : ivec;
        unsigned char* o = out + 16 * i;
        store32(o, s0 ^ load32(chain));
        store32(o + 4, s1 ^ load32(chain + 4));
        store32(o + 8, s2 ^ load32(chain + 8));
        store32(o + 12, s3 ^ load32(chain + 12));
    }
    std::memcpy(ivec, nextIvec, 16);
}

} // namespace

Aes::Aes() = default;

Aes::~Aes() = default;

int Aes::AESSetEncryptKey(const unsigned char* userKey, int bits, stAesKeySt* key) {
    if (userKey == nullptr || key == nullptr) {
        return -1;
    }
    if (bits != 128 && bits != 192 && bits != 256) {
        return -2;
    }
    const int nk = bits / 32;
    const int rounds = nk + 6;
    const int words = 4 * (rounds + 1);
    uint32_t* w = key->rd_key;
    for (int i = 0; i < nk; ++i) {
        w[i] = load32(userKey + 4 * i);
    }
    for (int i = nk; i < words; ++i) {
        uint32_t temp = w[i - 1];
        if (i % nk == 0) {
            temp = subWord((temp << 8) | (temp >> 24)) ^ (uint32_t(kT.rcon[i / nk - 1]) << 24);
        } else if (nk > 6 && i % nk == 4) {
            temp = subWord(temp);
        }
        w[i] = w[i - nk] ^ temp;
    }
    key->rounds = rounds;
    return 0;
}

int Aes::AESSetDecryptKey(const unsigned char* userKey, int bits, stAesKeySt* key) {
    const int result = AESSetEncryptKey(userKey, bits, key);
    if (result != 0) {
        return result;
    }
    uint32_t* rk = key->rd_key;
    const int rounds = key->rounds;
    // Round keys in reverse order of rounds...
    for (int i = 0, j = 4 * rounds; i < j; i += 4, j -= 4) {
        for (int k = 0; k < 4; ++k) {
            const uint32_t t = rk[i + k];
            rk[i + k] = rk[j + k];
            rk[j + k] = t;
        }
    }
    // ...and InvMixColumns on all but the first and the last.
    for (int i = 4; i < 4 * rounds; ++i) {
        rk[i] = invMixColumn(rk[i]);
    }
    return 0;
}

namespace {

// The rounds of one block, in the direction asked.
template <bool Encrypt, int Rounds>
__attribute__((always_inline)) inline void columns(uint32_t& s0, uint32_t& s1, uint32_t& s2,
                                                   uint32_t& s3, const uint32_t* rk) {
    if (Encrypt)
        encryptColumns<Rounds>(s0, s1, s2, s3, rk);
    else
        decryptColumns<Rounds>(s0, s1, s2, s3, rk);
}

// One block through the body for the key's 10, 12 or 14 rounds. Bad
// arguments leave `out` untouched.
template <bool Encrypt>
void cryptBlock(const unsigned char* in, unsigned char* out, const stAesKeySt* key) {
    if (in == nullptr || out == nullptr || key == nullptr || !validRounds(key->rounds)) {
        return;
    }
    uint32_t s0 = load32(in), s1 = load32(in + 4), s2 = load32(in + 8), s3 = load32(in + 12);
    switch (key->rounds) {
    case 10:
        columns<Encrypt, 10>(s0, s1, s2, s3, key->rd_key);
        break;
    case 12:
        columns<Encrypt, 12>(s0, s1, s2, s3, key->rd_key);
        break;
    default:
        columns<Encrypt, 14>(s0, s1, s2, s3, key->rd_key);
        break;
    }
    store32(out, s0);
    store32(out + 4, s1);
    store32(out + 8, s2);
    store32(out + 12, s3);
}

} // namespace

void Aes::AESEncrypt(const unsigned char* in, unsigned char* out, const stAesKeySt* key) {
    cryptBlock<true>(in, out, key);
}

void Aes::AESDecrypt(const unsigned char* in, unsigned char* out, const stAesKeySt* key) {
    cryptBlock<false>(in, out, key);
}

void Aes::AESCbcEncrypt(const unsigned char* ucIn, unsigned char* ucOut, unsigned long length,
                        const stAesKeySt* pKey, unsigned char* ucIvec, int nEnc) {
    // Bad arguments stop the process in every build: the operation has no
    // error result, and carrying on would read or write through null.
    if (!(ucIn && ucOut && pKey && ucIvec)) {
        assertionFailed("ucIn && ucOut && pKey && ucIvec", 1022, __PRETTY_FUNCTION__);
    }
    if (!((AES_ENCRYPT_ == nEnc) || (AES_DECRYPT_ == nEnc))) {
        assertionFailed("(AES_ENCRYPT_ == nEnc) || (AES_DECRYPT_ == nEnc)", 1023,
                        __PRETTY_FUNCTION__);
    }
    auto run = nEnc == AES_ENCRYPT_ ? cbcEncrypt<10> : cbcDecrypt<10>;
    switch (pKey->rounds) {
    case 10:
        break;
    case 12:
        run = nEnc == AES_ENCRYPT_ ? cbcEncrypt<12> : cbcDecrypt<12>;
        break;
    case 14:
        run = nEnc == AES_ENCRYPT_ ? cbcEncrypt<14> : cbcDecrypt<14>;
        break;
    default:
        return; // not a set-up record
    }
    run(ucIn, ucOut, length, pKey, ucIvec);
}

} // namespace Convertor
} // namespace Common
} // namespace Vemlo
