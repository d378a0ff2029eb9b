//===- Base64CTest.cpp - Base64 in 80-column lines ------------------------===//
#include "support/VemloTest.h"
#include "Common/Convertor/CodecTestUtil.h"

#include <cstdlib>
#include <cstring>
#include <random>
#include <string>

using namespace Vemlo::Common::Convertor;
using CodecTest::Bytes;

namespace {

// The text and its reported length, checked to be one more than the text's.
std::string Encode(Base64C& codec, Bytes in, bool null = false) {
    int outLen = 0;
    char* out =
        codec.Base64Encode(null ? nullptr : in.data(), static_cast<int>(in.size()), &outLen);
    EXPECT_NE(out, nullptr);
    std::string result = out ? out : "";
    std::free(out);
    EXPECT_EQ(outLen, static_cast<int>(result.size()) + 1);
    return result;
}

// Decodes the first `len` characters of `text` into a buffer of exactly the
// promised size, len * 3 / 4, and checks nothing is written past it.
std::string Decode(Base64C& codec, const std::string& text, int len = -1) {
    len = len == -1 ? static_cast<int>(text.size()) : len;
    Bytes in(text.begin(), text.end());
    const size_t promised = len > 0 ? static_cast<size_t>(len) * 3 / 4 : 0;
    Bytes out(promised + 1, 0xee);
    const int n = codec.Base64Decode(in.data(), len, out.data());
    EXPECT_TRUE(n >= 0 && static_cast<size_t>(n) <= promised) << n;
    EXPECT_EQ(out[promised], 0xee);
    return std::string(out.begin(), out.begin() + std::max(n, 0));
}

} // namespace

TEST(Base64CTest, EncodeBreaksLinesAfterEvery80Characters) {
    Base64C codec;
    const std::string line(80, 'A');
    EXPECT_EQ(Encode(codec, Bytes{'f', 'o', 'o', 'b', 'a'}), "Zm9vYmE="); // RFC 4648 section 10
    EXPECT_EQ(Encode(codec, Bytes(5), true), "");
    // The break follows a full line even at the very end, padded or not.
    EXPECT_EQ(Encode(codec, Bytes(60, 0)), line + "\r\n");
    EXPECT_EQ(Encode(codec, Bytes(59, 0)), std::string(79, 'A') + "=\r\n");
    EXPECT_EQ(Encode(codec, Bytes(121, 0)), line + "\r\n" + line + "\r\nAA==");
}

TEST(Base64CTest, DecodeSkipsLineBreaksAndStopsAtOtherCharacters) {
    Base64C codec;
    for (int c = 0; c < 256; ++c) {
        const bool expected = c != 0 && std::strchr("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmn"
                                                    "opqrstuvwxyz0123456789+/\r\n",
                                                    c);
        EXPECT_EQ(codec.isBase64(static_cast<unsigned char>(c)), expected ? 1 : 0) << c;
    }
    EXPECT_EQ(Decode(codec, "Zm9vYmFy"), "foobar"); // RFC 4648 section 10
    EXPECT_EQ(Decode(codec, "TWFu\r\nTWE="), "ManMa");
    EXPECT_EQ(Decode(codec, "TW-Fu"), "M");       // stops at '-', partial group "TW"
    EXPECT_EQ(Decode(codec, std::string("TW\0Fu", 5)), "M");
    EXPECT_EQ(Decode(codec, "T"), "");               // one character gives no byte
    EXPECT_EQ(Decode(codec, "TWFuTWFu", 6), "ManM"); // at most len characters
    EXPECT_EQ(Decode(codec, "TWFu", -4), "");
    unsigned char text[] = "TWFu";
    EXPECT_EQ(codec.Base64Decode(text, 4, nullptr), 0);
    EXPECT_EQ(codec.Base64Decode(nullptr, 4, text), 0);
}

TEST(Base64CTest, RandomBytesRoundTripThroughBothDecoders) {
    Base64C codec;
    std::mt19937 rng(80);
    for (int len = 0; len < 400; len += 1 + len / 50) {
        const Bytes in = CodecTest::RandomBytes(rng, static_cast<size_t>(len));
        const std::string text = Encode(codec, in);
        // Every line but the last holds exactly 80 characters.
        size_t start = 0;
        for (size_t brk; (brk = text.find("\r\n", start)) != std::string::npos; start = brk + 2)
            ASSERT_EQ(brk - start, 80u);
        ASSERT_LT(text.size() - start, 81u);
        ASSERT_EQ(Decode(codec, text), std::string(in.begin(), in.end()));

        // The line-less decoder skips the breaks.
        Bytes z(text.c_str(), text.c_str() + text.size() + 1), out(text.size() / 4 * 3 + 3);
        ASSERT_EQ(Base64::_base64_decode(z.data(), 0, out.data()), len);
        ASSERT_EQ(Bytes(out.begin(), out.begin() + len), in);
    }
}
