//===- CRC32Test.cpp - CRC-32/ISO-HDLC ------------------------------------===//
#include "support/VemloTest.h"
#include "Common/Convertor/CodecTestUtil.h"

#include <random>

using Vemlo::Common::Convertor::CRC32;

namespace {

const unsigned char kCheck[] = {'1', '2', '3', '4', '5', '6', '7', '8', '9'};

} // namespace

// Each test runs in its own process, so this one sees the flag as it starts.
TEST(CRC32Test, TableIsPrefilledAndRebuiltOnFirstUse) {
    EXPECT_EQ(CRC32::bFlag, 1);
    EXPECT_EQ(CRC32::crc_table[1], 0x77073096u);
    EXPECT_EQ(CRC32::crc_table[255], 0x2D02EF8Du);
    CRC32::crc_table[1] = 0; // the rebuild restores it
    EXPECT_EQ(CRC32::crc32(0, kCheck, 9), 0xCBF43926ul);
    EXPECT_EQ(CRC32::bFlag, 0);
    EXPECT_EQ(CRC32::crc_table[1], 0x77073096u);
    CRC32::bFlag = 1;
    CRC32::crc_table[2] = 0;
    CRC32::make_crc_table();
    EXPECT_EQ(CRC32::bFlag, 0);
    EXPECT_EQ(CRC32::crc_table[2], 0xEE0E612Cu);
}

TEST(CRC32Test, CheckValueContinuationAndTheBitwiseDefinition) {
    // CRC catalogue, CRC-32/ISO-HDLC: check value over "123456789".
    EXPECT_EQ(CRC32::crc32(CRC32::crc32(0, kCheck, 4), kCheck + 4, 5), 0xCBF43926ul);
    // Length 0 or no buffer: the previous value, unchanged.
    EXPECT_EQ(CRC32::crc32(0x12345678ul, kCheck, 0), 0x12345678ul);
    EXPECT_EQ(CRC32::crc32(0xCBF43926ul, nullptr, 9), 0xCBF43926ul);

    auto bitwise = [](unsigned long crc, const unsigned char* data, size_t length) {
        unsigned int c = ~static_cast<unsigned int>(crc);
        for (size_t i = 0; i < length; ++i) {
            c ^= data[i];
            for (int bit = 0; bit < 8; ++bit)
                c = (c & 1) ? (c >> 1) ^ 0xEDB88320u : c >> 1;
        }
        return static_cast<unsigned long>(~c);
    };
    std::mt19937 rng(32);
    const CodecTest::Bytes data = CodecTest::RandomBytes(rng, 4096 + 8);
    for (size_t offset = 0; offset < 8; ++offset) {
        for (size_t length = 1; length < 200; ++length) {
            const unsigned long start = rng();
            ASSERT_EQ(CRC32::crc32(start, data.data() + offset, static_cast<unsigned int>(length)),
                      bitwise(start, data.data() + offset, length))
                << "offset " << offset << " length " << length;
        }
    }
    EXPECT_EQ(CRC32::crc32(0, data.data(), 4096), bitwise(0, data.data(), 4096));
}
