//===- CRC32Test.cpp - CRC-32/ISO-HDLC and CRC-16/KERMIT ------------------===//
#include "support/VemloTest.h"
#include "Common/Convertor/CodecTestUtil.h"

#include <random>

using Vemlo::Common::Convertor::CRC16;
using Vemlo::Common::Convertor::CRC32;

namespace {

const unsigned char kCheck[] = {'1', '2', '3', '4', '5', '6', '7', '8', '9'};

} // namespace

// Each test runs in its own process, so this one sees the flag as it starts.
TEST(CRC32Test, TableIsPrefilledAndRebuiltOnFirstUse) {
    EXPECT_EQ(CRC32::bFlag, 1);
    CRC32::crc_table[1] = 0; // the rebuild restores it
    EXPECT_EQ(CRC32::crc32(0, kCheck, 9), 0xCBF43926ul);
    EXPECT_EQ(CRC32::bFlag, 0);
    EXPECT_EQ(CRC32::crc_table[1], 0x77073096u);
}

// CRC catalogue, CRC-32/ISO-HDLC: check value over "123456789". Random
// buffers are compared with zlib in CRC32ZlibTest.
TEST(CRC32Test, CheckValueAndContinuation) {
    EXPECT_EQ(CRC32::crc32(CRC32::crc32(0, kCheck, 4), kCheck + 4, 5), 0xCBF43926ul);
    // Length 0 or no buffer: the previous value, unchanged.
    EXPECT_EQ(CRC32::crc32(0xCBF43926ul, nullptr, 9), 0xCBF43926ul);
}

TEST(CRC16Test, CheckValueAndTheBitwiseDefinitionAtEveryLengthAndAlignment) {
    // CRC catalogue, CRC-16/KERMIT: check value over "123456789".
    EXPECT_EQ(CRC16::crc16(kCheck, 9), 0x2189u);
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
    const CodecTest::Bytes data = CodecTest::RandomBytes(rng, 208);
    for (size_t offset = 0; offset < 8; ++offset)
        for (size_t length = 0; length < 200; ++length)
            ASSERT_EQ(CRC16::crc16(data.data() + offset, static_cast<unsigned int>(length)),
                      bitwise(data.data() + offset, length))
                << "offset " << offset << " length " << length;
}
