//===- Common/Cipher/RijnDaelEx.cpp - AES-128 with its own key ------------===//
#include <Vemlo/Common/Cipher/RijnDaelEx.h>

#include "Common/Convertor/AesTables.h"
#include "Common/Convertor/TableInit.h"

#include <cstring>

namespace Vemlo {
namespace Common {
namespace Cipher {

namespace {

using std::uint32_t;
using std::uint8_t;

constexpr const auto& kT = Convertor::detail::kRijndael;

constexpr int kBlock = 16;
constexpr int kRounds = 10;

inline uint32_t load32(const char* p) {
    const auto* b = reinterpret_cast<const unsigned char*>(p);
    return (uint32_t(b[0]) << 24) | (uint32_t(b[1]) << 16) | (uint32_t(b[2]) << 8) | uint32_t(b[3]);
}

inline void store32(char* p, uint32_t w) {
    auto* b = reinterpret_cast<unsigned char*>(p);
    b[0] = static_cast<unsigned char>(w >> 24);
    b[1] = static_cast<unsigned char>(w >> 16);
    b[2] = static_cast<unsigned char>(w >> 8);
    b[3] = static_cast<unsigned char>(w);
}

inline uint32_t lastRound(const uint8_t* box, uint32_t a, uint32_t b, uint32_t c, uint32_t d) {
    return (uint32_t(box[a >> 24]) << 24) | (uint32_t(box[(b >> 16) & 0xff]) << 16) |
           (uint32_t(box[(c >> 8) & 0xff]) << 8) | uint32_t(box[d & 0xff]);
}

// Whole blocks through `op`, each with the object that `pick` returns for
// its index; the tail is copied unchanged.
template <class Pick, class Op>
void blocks(const char* in, char* out, int length, Pick pick, Op op) {
    const int whole = length / kBlock;
    for (int k = 0; k < whole; ++k) {
        op(pick(k), in + k * kBlock, out + k * kBlock);
    }
    const int tail = length - whole * kBlock;
    if (tail > 0) {
        std::memmove(out + whole * kBlock, in + whole * kBlock, static_cast<size_t>(tail));
    }
}

} // namespace

// The published tables, computed at compile time and stored as constants.
const uint8_t RijnDaelEx::sm_S[256] = {VEMLO_TABLE256(kT.S)};
const uint8_t RijnDaelEx::sm_Si[256] = {VEMLO_TABLE256(kT.Si)};
const uint32_t RijnDaelEx::sm_T1[256] = {VEMLO_TABLE256(kT.Te[0])};
const uint32_t RijnDaelEx::sm_T2[256] = {VEMLO_TABLE256(kT.Te[1])};
const uint32_t RijnDaelEx::sm_T3[256] = {VEMLO_TABLE256(kT.Te[2])};
const uint32_t RijnDaelEx::sm_T4[256] = {VEMLO_TABLE256(kT.Te[3])};
const uint32_t RijnDaelEx::sm_T5[256] = {VEMLO_TABLE256(kT.Td[0])};
const uint32_t RijnDaelEx::sm_T6[256] = {VEMLO_TABLE256(kT.Td[1])};
const uint32_t RijnDaelEx::sm_T7[256] = {VEMLO_TABLE256(kT.Td[2])};
const uint32_t RijnDaelEx::sm_T8[256] = {VEMLO_TABLE256(kT.Td[3])};
const uint32_t RijnDaelEx::sm_U1[256] = {VEMLO_TABLE256(kT.U[0])};
const uint32_t RijnDaelEx::sm_U2[256] = {VEMLO_TABLE256(kT.U[1])};
const uint32_t RijnDaelEx::sm_U3[256] = {VEMLO_TABLE256(kT.U[2])};
const uint32_t RijnDaelEx::sm_U4[256] = {VEMLO_TABLE256(kT.U[3])};
const int RijnDaelEx::sm_log[256] = {VEMLO_TABLE256(kT.log)};
const int RijnDaelEx::sm_alog[256] = {VEMLO_TABLE256(kT.alog)};
const uint8_t RijnDaelEx::sm_rcon[30] = {VEMLO_TABLE16(kT.rcon, 0),
                                         VEMLO_TABLE4(kT.rcon, 16),
                                         VEMLO_TABLE4(kT.rcon, 20),
                                         VEMLO_TABLE4(kT.rcon, 24),
                                         kT.rcon[28],
                                         kT.rcon[29]};
// Rijndael's ShiftRows offsets C1..C3 are 1, 2, 3 for 4- and 6-column blocks
// and 1, 3, 4 for 8 columns; deciphering shifts by the column count minus C.
const int RijnDaelEx::sm_shifts[3][4][2] = {
    {{0, 0}, {1, 3}, {2, 2}, {3, 1}},
    {{0, 0}, {1, 5}, {2, 4}, {3, 3}},
    {{0, 0}, {1, 7}, {3, 5}, {4, 4}},
};

RijnDaelEx::RijnDaelEx() : m_nRounds(0) {
    std::memset(m_key, 0, sizeof m_key);
    for (auto& block : m_work) {
        std::memset(block, 0, 8);
    }
}

RijnDaelEx::~RijnDaelEx() = default;

void RijnDaelEx::SetKey(const char* key) {
    if (key == nullptr) {
        return;
    }
    m_nRounds = kRounds;
    std::memcpy(m_key, key, sizeof m_key);
    std::memset(m_Ke, 0, sizeof m_Ke);
    std::memset(m_Kd, 0, sizeof m_Kd);

    // FIPS-197 key expansion for Nk = 4, one round key per row of m_Ke.
    uint32_t w[4 * (kRounds + 1)];
    for (int i = 0; i < 4; ++i) {
        w[i] = load32(m_key + 4 * i);
    }
    for (int i = 4; i < 4 * (kRounds + 1); ++i) {
        uint32_t t = w[i - 1];
        if (i % 4 == 0) {
            t = (t << 8) | (t >> 24);
            t = (uint32_t(sm_S[t >> 24]) << 24) | (uint32_t(sm_S[(t >> 16) & 0xff]) << 16) |
                (uint32_t(sm_S[(t >> 8) & 0xff]) << 8) | uint32_t(sm_S[t & 0xff]);
            t ^= uint32_t(sm_rcon[i / 4 - 1]) << 24;
        }
        w[i] = w[i - 4] ^ t;
    }
    for (int r = 0; r <= kRounds; ++r) {
        for (int c = 0; c < 4; ++c) {
            m_Ke[r][c] = w[4 * r + c];
        }
    }
    // Equivalent inverse cipher: rounds reversed, InvMixColumns on the inner
    // round keys.
    for (int r = 0; r <= kRounds; ++r) {
        for (int c = 0; c < 4; ++c) {
            const uint32_t k = m_Ke[kRounds - r][c];
            m_Kd[r][c] = (r == 0 || r == kRounds) ? k
                                                  : sm_U1[k >> 24] ^ sm_U2[(k >> 16) & 0xff] ^
                                                        sm_U3[(k >> 8) & 0xff] ^ sm_U4[k & 0xff];
        }
    }
}

int RijnDaelEx::SetKeys(RijnDaelEx* objects, int count, const char* keys, int keyLength) {
    if (objects == nullptr || keys == nullptr || count < 0) {
        return 0;
    }
    if (keyLength / kBlock != count) {
        return 0;
    }
    for (int i = 0; i < count; ++i) {
        objects[i].SetKey(keys + kBlock * i);
    }
    return 1;
}

char* RijnDaelEx::getKey() {
    return m_key;
}

void RijnDaelEx::EncBlock(const char* in, char* out) {
    if (in == nullptr || out == nullptr) {
        return;
    }
    if (m_nRounds == 0) {
        std::memset(out, 0, kBlock);
        return;
    }
    uint32_t s0 = load32(in) ^ m_Ke[0][0];
    uint32_t s1 = load32(in + 4) ^ m_Ke[0][1];
    uint32_t s2 = load32(in + 8) ^ m_Ke[0][2];
    uint32_t s3 = load32(in + 12) ^ m_Ke[0][3];
    for (int r = 1; r < m_nRounds; ++r) {
        const uint32_t* k = m_Ke[r];
        const uint32_t t0 = sm_T1[s0 >> 24] ^ sm_T2[(s1 >> 16) & 0xff] ^ sm_T3[(s2 >> 8) & 0xff] ^
                            sm_T4[s3 & 0xff] ^ k[0];
        const uint32_t t1 = sm_T1[s1 >> 24] ^ sm_T2[(s2 >> 16) & 0xff] ^ sm_T3[(s3 >> 8) & 0xff] ^
                            sm_T4[s0 & 0xff] ^ k[1];
        const uint32_t t2 = sm_T1[s2 >> 24] ^ sm_T2[(s3 >> 16) & 0xff] ^ sm_T3[(s0 >> 8) & 0xff] ^
                            sm_T4[s1 & 0xff] ^ k[2];
        const uint32_t t3 = sm_T1[s3 >> 24] ^ sm_T2[(s0 >> 16) & 0xff] ^ sm_T3[(s1 >> 8) & 0xff] ^
                            sm_T4[s2 & 0xff] ^ k[3];
        s0 = t0;
        s1 = t1;
        s2 = t2;
        s3 = t3;
    }
    const uint32_t* k = m_Ke[m_nRounds];
    store32(out, lastRound(sm_S, s0, s1, s2, s3) ^ k[0]);
    store32(out + 4, lastRound(sm_S, s1, s2, s3, s0) ^ k[1]);
    store32(out + 8, lastRound(sm_S, s2, s3, s0, s1) ^ k[2]);
    store32(out + 12, lastRound(sm_S, s3, s0, s1, s2) ^ k[3]);
}

void RijnDaelEx::DecBlock(const char* in, char* out) {
    if (in == nullptr || out == nullptr) {
        return;
    }
    if (m_nRounds == 0) {
        std::memset(out, 0, kBlock);
        return;
    }
    uint32_t s0 = load32(in) ^ m_Kd[0][0];
    uint32_t s1 = load32(in + 4) ^ m_Kd[0][1];
    uint32_t s2 = load32(in + 8) ^ m_Kd[0][2];
    uint32_t s3 = load32(in + 12) ^ m_Kd[0][3];
    for (int r = 1; r < m_nRounds; ++r) {
        const uint32_t* k = m_Kd[r];
        const uint32_t t0 = sm_T5[s0 >> 24] ^ sm_T6[(s3 >> 16) & 0xff] ^ sm_T7[(s2 >> 8) & 0xff] ^
                            sm_T8[s1 & 0xff] ^ k[0];
        const uint32_t t1 = sm_T5[s1 >> 24] ^ sm_T6[(s0 >> 16) & 0xff] ^ sm_T7[(s3 >> 8) & 0xff] ^
                            sm_T8[s2 & 0xff] ^ k[1];
        const uint32_t t2 = sm_T5[s2 >> 24] ^ sm_T6[(s1 >> 16) & 0xff] ^ sm_T7[(s0 >> 8) & 0xff] ^
                            sm_T8[s3 & 0xff] ^ k[2];
        const uint32_t t3 = sm_T5[s3 >> 24] ^ sm_T6[(s2 >> 16) & 0xff] ^ sm_T7[(s1 >> 8) & 0xff] ^
                            sm_T8[s0 & 0xff] ^ k[3];
        s0 = t0;
        s1 = t1;
        s2 = t2;
        s3 = t3;
    }
    const uint32_t* k = m_Kd[m_nRounds];
    store32(out, lastRound(sm_Si, s0, s3, s2, s1) ^ k[0]);
    store32(out + 4, lastRound(sm_Si, s1, s0, s3, s2) ^ k[1]);
    store32(out + 8, lastRound(sm_Si, s2, s1, s0, s3) ^ k[2]);
    store32(out + 12, lastRound(sm_Si, s3, s2, s1, s0) ^ k[3]);
}

int RijnDaelEx::Enc(const char* in, char* out, int length) {
    if (length < 1 || in == nullptr || out == nullptr) {
        return 1;
    }
    // A tail of 1 to 15 bytes is copied unenciphered, without padding:
    // existing callers rely on the output having the input's length.
    blocks(
        in, out, length, [this](int) { return this; },
        [](RijnDaelEx* o, const char* i, char* b) { o->EncBlock(i, b); });
    return 1;
}

int RijnDaelEx::Dec(const char* in, char* out, int length) {
    if (length < 1 || in == nullptr || out == nullptr) {
        return 1;
    }
    blocks(
        in, out, length, [this](int) { return this; },
        [](RijnDaelEx* o, const char* i, char* b) { o->DecBlock(i, b); });
    return 1;
}

void RijnDaelEx::EncBlock(RijnDaelEx* objects, int count, const char* in, char* out, int length) {
    if (length < 1 || objects == nullptr || count < 1 || in == nullptr || out == nullptr) {
        return;
    }
    blocks(
        in, out, length, [objects, count](int k) { return &objects[k % count]; },
        [](RijnDaelEx* o, const char* i, char* b) { o->EncBlock(i, b); });
}

void RijnDaelEx::DecBlock(RijnDaelEx* objects, int count, const char* in, char* out, int length) {
    if (length < 1 || objects == nullptr || count < 1 || in == nullptr || out == nullptr) {
        return;
    }
    blocks(
        in, out, length, [objects, count](int k) { return &objects[k % count]; },
        [](RijnDaelEx* o, const char* i, char* b) { o->DecBlock(i, b); });
}

} // namespace Cipher
} // namespace Common
} // namespace Vemlo
