//===- Base64OpenSslTest.cpp - Base64 against OpenSSL ---------------------===//
#include "support/VemloTest.h"
#include "Common/Convertor/CodecTestUtil.h"

#include <openssl/evp.h>

#include <algorithm>
#include <random>

using namespace Vemlo::Common::Convertor;
using CodecTest::Bytes;

// Both encoders against EVP_EncodeBlock (Base64C's line breaks removed), and
// both decoders on its text, on random data of random lengths.
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
        ASSERT_EQ(CodecTest::Take(Base64::_base64_encode(data.data(), size, &outLen)), text);
        std::string lines = CodecTest::Take(codec.Base64Encode(data.data(), size, &outLen));
        lines.erase(std::remove_if(lines.begin(), lines.end(),
                                   [](char c) { return c == '\r' || c == '\n'; }),
                    lines.end());
        ASSERT_EQ(lines, text);

        // Both decoders give back the data OpenSSL's text was made from.
        Bytes in(text.c_str(), text.c_str() + text.size() + 1), out(text.size() / 4 * 3 + 3),
            back(out);
        ASSERT_EQ(Base64::_base64_decode(in.data(), 0, out.data()), size);
        ASSERT_EQ(codec.Base64Decode(in.data(), static_cast<int>(text.size()), back.data()), size);
        out.resize(data.size());
        back.resize(data.size());
        ASSERT_EQ(out, data);
        ASSERT_EQ(back, data);
    }
}
