//===- Common/Convertor/CRC16.cpp - CRC-16/KERMIT checksum ----------------===//
#include <Vemlo/Common/Convertor/CRC16.h>

#include "Common/Convertor/CrcTables.h"

#include <cstdint>

namespace Vemlo {
namespace Common {
namespace Convertor {

namespace {

using detail::loadLe32;

// Table 0 is the byte-wise table of the reflected polynomial 0x1021 (entry 1
// is 0x1189, entry 128 is 0x8408); tables 1 to 7 serve eight bytes a step.
alignas(64) constexpr auto kCrc16 = detail::makeCrcTables<std::uint16_t, 8>(0x8408);

} // namespace

CRC16::CRC16() = default;

CRC16::~CRC16() = default;

unsigned int CRC16::crc16(const unsigned char* data, unsigned int length) {
    if (data == nullptr) {
        return 0;
    }
    const auto& t = kCrc16.t;
    std::uint32_t c = 0;
    // Same result as the byte-wise loop below, eight bytes a step: the
    // register is folded into the first bytes and each byte is looked up in
    // the table for the number of bytes that follow it.
    for (; length >= 8; length -= 8, data += 8) {
        const std::uint32_t lo = loadLe32(data) ^ c;
        const std::uint32_t hi = loadLe32(data + 4);
        c = t[7][lo & 0xff] ^ t[6][(lo >> 8) & 0xff] ^ t[5][(lo >> 16) & 0xff] ^ t[4][lo >> 24] ^
            t[3][hi & 0xff] ^ t[2][(hi >> 8) & 0xff] ^ t[1][(hi >> 16) & 0xff] ^ t[0][hi >> 24];
    }
    for (; length > 0; --length, ++data) {
        c = t[0][(c ^ *data) & 0xff] ^ (c >> 8);
    }
    return c;
}

} // namespace Convertor
} // namespace Common
} // namespace Vemlo
