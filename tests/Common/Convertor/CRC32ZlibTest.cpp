//===- CRC32ZlibTest.cpp - CRC32 against zlib's crc32 ---------------------===//
#include "support/VemloTest.h"
#include "Common/Convertor/CodecTestUtil.h"

#include <zlib.h>

#include <random>

using Vemlo::Common::Convertor::CRC32;

TEST(CRC32ZlibTest, AgreesWithZlibOnRandomBuffersAndSplits) {
    std::mt19937 rng(1952);
    for (int i = 0; i < 3000; ++i) {
        const auto length = static_cast<unsigned int>(rng() % 5001);
        // One spare byte, so that an empty buffer is not a null pointer
        // (zlib returns 0 for a null buffer).
        const CodecTest::Bytes data = CodecTest::RandomBytes(rng, length + 1);
        const unsigned long start = i % 2 ? rng() : 0;
        const unsigned long expected = ::crc32(start, data.data(), length);
        ASSERT_EQ(CRC32::crc32(start, data.data(), length), expected) << "length " << length;
        // Continued over two parts split anywhere.
        const unsigned int split = length ? static_cast<unsigned int>(rng() % length) : 0;
        const unsigned long first = CRC32::crc32(start, data.data(), split);
        ASSERT_EQ(CRC32::crc32(first, data.data() + split, length - split), expected);
    }
}
