//===- CRC16Test.cpp - CRC-16/KERMIT --------------------------------------===//
#include "support/VemloTest.h"
#include "Common/Convertor/CodecTestUtil.h"

#include <random>

using Vemlo::Common::Convertor::CRC16;

TEST(CRC16Test, CheckValueAndTheBitwiseDefinitionAtEveryLengthAndAlignment) {
    // CRC catalogue, CRC-16/KERMIT: check value over "123456789".
    const unsigned char check[] = {'1', '2', '3', '4', '5', '6', '7', '8', '9'};
    EXPECT_EQ(CRC16::crc16(check, 9), 0x2189u);
    EXPECT_EQ(CRC16::crc16(check, 0), 0u);
    EXPECT_EQ(CRC16::crc16(nullptr, 9), 0u);

    // Bit at a time: reflected polynomial 0x8408, initial 0, no final XOR.
    auto bitwise = [](const unsigned char* data, size_t length) {
        unsigned int c = 0;
        for (size_t i = 0; i < length; ++i) {
            c ^= data[i];
            for (int bit = 0; bit < 8; ++bit)
                c = (c & 1) ? (c >> 1) ^ 0x8408 : c >> 1;
        }
        return c;
    };
    std::mt19937 rng(16);
    const CodecTest::Bytes data = CodecTest::RandomBytes(rng, 4096 + 8);
    for (size_t offset = 0; offset < 8; ++offset) {
        for (size_t length = 0; length < 200; ++length) {
            ASSERT_EQ(CRC16::crc16(data.data() + offset, static_cast<unsigned int>(length)),
                      bitwise(data.data() + offset, length))
                << "offset " << offset << " length " << length;
        }
    }
    EXPECT_EQ(CRC16::crc16(data.data(), 4096), bitwise(data.data(), 4096));
}
