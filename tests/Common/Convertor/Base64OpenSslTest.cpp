//===- Base64OpenSslTest.cpp - Base64 codecs against EVP_EncodeBlock ------===//
#include "support/VemloTest.h"
#include "Common/Convertor/CodecTestUtil.h"

#include <openssl/evp.h>

#include <algorithm>
#include <cstdlib>
#include <random>
#include <string>

using namespace Vemlo::Common::Convertor;
using CodecTest::Bytes;

namespace {

std::string Take(char* text) {
    EXPECT_NE(text, nullptr);
    std::string out = text ? text : "";
    std::free(text);
    return out;
}

} // namespace

// Both encoders against EVP_EncodeBlock (Base64C's line breaks removed), and
// both decoders against EVP_DecodeBlock, on random data of random lengths.
TEST(Base64OpenSslTest, CodecsAgreeWithEvpEncodeAndDecodeBlock) {
    std::mt19937 rng(4648);
    Base64C codec;
    for (int i = 0; i < 2000; ++i) {
        Bytes data = CodecTest::RandomBytes(rng, rng() % 1001);
        const int size = static_cast<int>(data.size());
        std::string text(data.size() / 3 * 4 + 8, '\0');
        text.resize(static_cast<size_t>(
            EVP_EncodeBlock(reinterpret_cast<unsigned char*>(&text[0]), data.data(), size)));
        int outLen = 0;
        ASSERT_EQ(Take(Base64::_base64_encode(data.data(), size, &outLen)), text);
        std::string lines = Take(codec.Base64Encode(data.data(), size, &outLen));
        lines.erase(std::remove_if(lines.begin(), lines.end(),
                                   [](char c) { return c == '\r' || c == '\n'; }),
                    lines.end());
        ASSERT_EQ(lines, text);

        // EVP_DecodeBlock counts the padding as zero bytes: compare the bytes
        // before it, whose number is the length of the original data.
        Bytes in(text.c_str(), text.c_str() + text.size() + 1), expected(text.size() / 4 * 3 + 1);
        ASSERT_GE(EVP_DecodeBlock(expected.data(), in.data(), static_cast<int>(text.size())), size);
        expected.resize(data.size());
        ASSERT_EQ(expected, data);
        Bytes out(text.size() / 4 * 3 + 3);
        ASSERT_EQ(Base64::_base64_decode(in.data(), 0, out.data()), size);
        ASSERT_EQ(Bytes(out.begin(), out.begin() + size), expected);
        out.assign(out.size(), 0);
        ASSERT_EQ(codec.Base64Decode(in.data(), static_cast<int>(text.size()), out.data()), size);
        ASSERT_EQ(Bytes(out.begin(), out.begin() + size), expected);
    }
}
