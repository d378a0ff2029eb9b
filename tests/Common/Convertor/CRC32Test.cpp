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
// The CRC catalogue's check values over "123456789" (CRC-32/ISO-HDLC,
// CRC-16/KERMIT); no buffer gives the previous value, 0 for CRC16.
TEST(CRC32Test, CheckValuesAndTheTableRebuiltOnFirstUse) {
    EXPECT_EQ(CRC32::bFlag, 1);
    CRC32::crc_table[1] = 0; // the rebuild restores it
    EXPECT_EQ(CRC32::crc32(0, kCheck, 9), 0xCBF43926ul);
    EXPECT_EQ(CRC32::bFlag, 0);
    EXPECT_EQ(CRC32::crc_table[1], 0x77073096u);
    EXPECT_EQ(CRC16::crc16(kCheck, 9), 0x2189u);
    EXPECT_EQ(CRC32::crc32(0xCBF43926ul, nullptr, 9), 0xCBF43926ul);
    EXPECT_EQ(CRC16::crc16(nullptr, 9), 0u);
}

// Both against their definition, a bit at a time (reflected; CRC32 inverts
// the register before and after), from random start values, at every length
// up to several of CRC32's 64-byte blocks and at every alignment.
TEST(CRC32Test, BothFollowTheBitwiseDefinitionAtEveryLengthAndAlignment) {
    auto bitwise = [](unsigned long c, unsigned long poly, const unsigned char* data, size_t n) {
        for (size_t i = 0; i < n; ++i) {
            c ^= data[i];
            for (int bit = 0; bit < 8; ++bit)
                c = (c & 1) ? (c >> 1) ^ poly : c >> 1;
        }
        return c;
    };
    std::mt19937 rng(16);
    const CodecTest::Bytes data = CodecTest::RandomBytes(rng, 608);
    for (size_t offset = 0; offset < 8; ++offset)
        for (unsigned int length = 0; length < 600; ++length) {
            const unsigned char* p = data.data() + offset;
            const unsigned long start = rng();
            ASSERT_EQ(
                std::make_pair(CRC32::crc32(start, p, length), 0ul + CRC16::crc16(p, length)),
                std::make_pair(bitwise(~start & 0xffffffffu, 0xEDB88320u, p, length) ^ 0xffffffffu,
                               bitwise(0, 0x8408, p, length)))
                << "offset " << offset << " length " << length;
        }
}
