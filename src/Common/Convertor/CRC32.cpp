//===- Common/Convertor/CRC32.cpp - CRC-32 checksum -----------------------===//
#include <Vemlo/Common/Convertor/CRC32.h>

#include "Common/Convertor/CrcTables.h"
#include "Common/Convertor/TableInit.h"

#include <cstdint>

namespace Vemlo {
namespace Common {
namespace Convertor {

namespace {

using detail::loadLe32;

// Table 0 is crc_table's content; tables 1 to 7 serve eight bytes a step.
alignas(64) constexpr auto kCrc32 = detail::makeCrcTables<std::uint32_t, 8>(0xEDB88320u);

// Eight bytes through the register, slicing-by-8.
inline std::uint32_t step8(std::uint32_t c, const unsigned char* data) {
    const auto& t = kCrc32.t;
    const std::uint32_t lo = loadLe32(data) ^ c;
    const std::uint32_t hi = loadLe32(data + 4);
    return t[7][lo & 0xff] ^ t[6][(lo >> 8) & 0xff] ^ t[5][(lo >> 16) & 0xff] ^ t[4][lo >> 24] ^
           t[3][hi & 0xff] ^ t[2][(hi >> 8) & 0xff] ^ t[1][(hi >> 16) & 0xff] ^ t[0][hi >> 24];
}

#if __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
// Braided CRC for long buffers. The CRC is linear, and a register value
// stands for the same value XOR-ed into the next four message bytes. So the
// buffer is cut into blocks of kLanes words of 8 bytes, and lane k carries the
// effect of its word of one block forward to its word of the next block,
// independently of the other lanes: the look-ups of the lanes overlap instead
// of waiting on one register. The last block folds the lanes back into one
// register. Only the first four bytes of a word take the lane's value; the
// other four are looked up straight from the buffer.
constexpr int kWordBytes = 8;
// Enough independent chains to keep the loads busy, few enough to stay in
// registers.
constexpr int kLanes = UINTPTR_MAX > 0xffffffffu ? 8 : 5;
constexpr std::size_t kBlockBytes = kWordBytes * kLanes;
alignas(64) constexpr auto kBraid = detail::makeBraidTables<kWordBytes>(kCrc32.t[0],
                                                                        kWordBytes*(kLanes - 1));

// The effect of the word at `p`, with `lane` folded in, one block later.
inline std::uint32_t braid(const unsigned char* p, std::uint32_t lane) {
    const auto& t = kBraid.t;
    const std::uint32_t x = loadLe32(p) ^ lane;
    return t[0][x & 0xff] ^ t[1][(x >> 8) & 0xff] ^ t[2][(x >> 16) & 0xff] ^ t[3][x >> 24] ^
           t[4][p[4]] ^ t[5][p[5]] ^ t[6][p[6]] ^ t[7][p[7]];
}

// Takes whole blocks from `data` while at least two remain; returns the
// register and advances `data` and `length`.
std::uint32_t braided(std::uint32_t c, const unsigned char*& data, std::size_t& length) {
    const std::size_t blocks = length / kBlockBytes;
    if (blocks < 2) {
        return c;
    }
    std::uint32_t lane[kLanes] = {c};
    const unsigned char* p = data;
    for (std::size_t b = 1; b < blocks; ++b, p += kBlockBytes) {
#pragma GCC unroll 8
        for (int k = 0; k < kLanes; ++k) {
            lane[k] = braid(p + k * kWordBytes, lane[k]);
        }
    }
    // The last block: each word with its lane folded in, through one register.
    c = 0;
    for (int k = 0; k < kLanes; ++k) {
        c = step8(c ^ lane[k], p + k * kWordBytes);
    }
    data = p + kBlockBytes;
    length -= blocks * kBlockBytes;
    return c;
}
#endif

} // namespace

int CRC32::bFlag = 1;

unsigned int CRC32::crc_table[256] = {VEMLO_TABLE256(kCrc32.t[0])};

CRC32::CRC32() = default;

CRC32::~CRC32() = default;

unsigned long CRC32::crc32(unsigned long crc, const unsigned char* data, unsigned int length) {
    if (__atomic_load_n(&bFlag, __ATOMIC_RELAXED)) {
        make_crc_table();
    }
    if (data == nullptr || length == 0) {
        return crc;
    }
    // Same result as the byte-wise loop at the end (c = crc_table[(c ^ b) &
    // 0xff] ^ (c >> 8) for each byte b), with several bytes a step.
    const auto& t0 = kCrc32.t[0];
    std::uint32_t c = ~static_cast<std::uint32_t>(crc);
    std::size_t n = length;
#if __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
    if (n >= 2 * kBlockBytes) {
        for (; reinterpret_cast<std::uintptr_t>(data) % kWordBytes != 0; --n, ++data) {
            c = t0[(c ^ *data) & 0xff] ^ (c >> 8);
        }
        c = braided(c, data, n);
    }
#endif
    for (; n >= 8; n -= 8, data += 8) {
        c = step8(c, data);
    }
    for (; n > 0; --n, ++data) {
        c = t0[(c ^ *data) & 0xff] ^ (c >> 8);
    }
    return ~c;
}

void CRC32::make_crc_table() {
    // Threads that call this at the same time write the same values; the
    // relaxed atomic stores make that well-defined without a lock.
    for (unsigned int n = 0; n < 256; ++n) {
        unsigned int c = n;
        for (int k = 0; k < 8; ++k) {
            c = (c & 1) ? (c >> 1) ^ 0xEDB88320u : c >> 1;
        }
        __atomic_store_n(&crc_table[n], c, __ATOMIC_RELAXED);
    }
    __atomic_store_n(&bFlag, 0, __ATOMIC_RELAXED);
}

} // namespace Convertor
} // namespace Common
} // namespace Vemlo
