//===- Base64OpenSslTest.cpp - Base64 codecs against EVP_EncodeBlock ------===//
#include "support/VemloTest.h"
#include "Common/Convertor/CodecTestUtil.h"

#include <openssl/evp.h>

#include <cstdlib>
#include <random>
#include <string>

using namespace Vemlo::Common::Convertor;
using CodecTest::Bytes;

namespace {

std::string OpenSslEncode(const Bytes& in) {
    std::string out(in.size() / 3 * 4 + 8, '\0');
    const int n = EVP_EncodeBlock(reinterpret_cast<unsigned char*>(&out[0]), in.data(),
                                  static_cast<int>(in.size()));
    out.resize(static_cast<size_t>(n));
    return out;
}

std::string WithoutLineBreaks(std::string text) {
    std::string out;
    for (char c : text) {
        if (c != '\r' && c != '\n') {
            out += c;
        }
    }
    return out;
}

} // namespace

TEST(Base64OpenSslTest, EncodersAgreeWithEvpEncodeBlock) {
    std::mt19937 rng(4648);
    std::uniform_int_distribution<int> lengths(0, 1000);
    Base64C codec;
    for (int i = 0; i < 3000; ++i) {
        Bytes in = CodecTest::RandomBytes(rng, static_cast<size_t>(lengths(rng)));
        const std::string expected = OpenSslEncode(in);
        int outLen = 0;
        char* text = Base64::_base64_encode(in.data(), static_cast<int>(in.size()), &outLen);
        ASSERT_NE(text, nullptr);
        ASSERT_EQ(text, expected);
        std::free(text);
        text = codec.Base64Encode(in.data(), static_cast<int>(in.size()), &outLen);
        ASSERT_NE(text, nullptr);
        ASSERT_EQ(WithoutLineBreaks(text), expected);
        std::free(text);
    }
}

TEST(Base64OpenSslTest, DecodersAgreeWithEvpDecodeBlock) {
    std::mt19937 rng(4649);
    std::uniform_int_distribution<int> lengths(0, 1000);
    Base64C codec;
    for (int i = 0; i < 3000; ++i) {
        const Bytes data = CodecTest::RandomBytes(rng, static_cast<size_t>(lengths(rng)));
        const std::string text = OpenSslEncode(data);
        // EVP_DecodeBlock counts the padding as zero bytes: compare the bytes
        // before it, whose number is the length of the original data.
        Bytes expected(text.size() / 4 * 3 + 1);
        const int n =
            EVP_DecodeBlock(expected.data(), reinterpret_cast<const unsigned char*>(text.data()),
                            static_cast<int>(text.size()));
        ASSERT_GE(n, static_cast<int>(data.size()));
        expected.resize(data.size());
        ASSERT_EQ(expected, data);

        Bytes in(text.begin(), text.end());
        in.push_back(0);
        Bytes out(text.size() / 4 * 3 + 3);
        ASSERT_EQ(Base64::_base64_decode(in.data(), 0, out.data()), static_cast<int>(data.size()));
        ASSERT_EQ(Bytes(out.begin(), out.begin() + static_cast<long>(data.size())), expected);
        ASSERT_EQ(codec.Base64Decode(in.data(), static_cast<int>(text.size()), out.data()),
                  static_cast<int>(data.size()));
        ASSERT_EQ(Bytes(out.begin(), out.begin() + static_cast<long>(data.size())), expected);
    }
}
