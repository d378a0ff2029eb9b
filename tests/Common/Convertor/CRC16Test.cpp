//===- CRC16Test.cpp - CRC-16/KERMIT --------------------------------------===//
#include "support/VemloTest.h"
#include "Common/Convertor/CodecTestUtil.h"

#include <random>

using Vemlo::Common::Convertor::CRC16;

namespace {

// Bit at a time from the definition: reflected polynomial 0x8408, initial 0,
// no final XOR.
unsigned int BitwiseCrc16(const unsigned char* data, size_t length) {
    unsigned int c = 0;
    for (size_t i = 0; i < length; ++i) {
        c ^= data[i];
        for (int bit = 0; bit < 8; ++bit) {
            c = (c & 1) ? (c >> 1) ^ 0x8408 : c >> 1;
        }
    }
    return c;
}

} // namespace

TEST(CRC16Test, CheckValueAndTableEntries) {
    // CRC catalogue, CRC-16/KERMIT: check value over "123456789".
    const unsigned char check[] = {'1', '2', '3', '4', '5', '6', '7', '8', '9'};
    EXPECT_EQ(CRC16::crc16(check, 9), 0x2189u);
    EXPECT_EQ(CRC16::crc16(check, 0), 0u);
    EXPECT_EQ(CRC16::crc16(nullptr, 9), 0u);
    // From a zero register, one byte b gives table entry b.
    const unsigned char one[] = {1}, top[] = {128};
    EXPECT_EQ(CRC16::crc16(one, 1), 0x1189u);
    EXPECT_EQ(CRC16::crc16(top, 1), 0x8408u);
}

TEST(CRC16Test, MatchesTheBitwiseDefinitionAtEveryLengthAndAlignment) {
    std::mt19937 rng(16);
    const CodecTest::Bytes data = CodecTest::RandomBytes(rng, 4096 + 8);
    for (size_t offset = 0; offset < 8; ++offset) {
        for (size_t length = 0; length < 200; ++length) {
            ASSERT_EQ(CRC16::crc16(data.data() + offset, static_cast<unsigned int>(length)),
                      BitwiseCrc16(data.data() + offset, length))
                << "offset " << offset << " length " << length;
        }
    }
    EXPECT_EQ(CRC16::crc16(data.data(), 4096), BitwiseCrc16(data.data(), 4096));
}
