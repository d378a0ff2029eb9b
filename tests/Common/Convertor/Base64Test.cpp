//===- Base64Test.cpp - Base64, plain and in 80-column lines --------------===//
#include "support/VemloTest.h"
#include "Common/Convertor/CodecTestUtil.h"

#include <cstring>

using namespace Vemlo::Common::Convertor;
using CodecTest::Bytes;

namespace {

// The result and the first `shown` bytes of the buffer (of the promised size,
// preset to 0xee) after decoding `text`.
std::string Decode(const std::string& text, size_t shown) {
    Bytes in(text.c_str(), text.c_str() + text.size() + 1), buffer(text.size() / 4 * 3 + 3, 0xee);
    const int n = Base64::_base64_decode(in.data(), 0, buffer.data());
    return std::to_string(n) + ":" + std::string(buffer.begin(), buffer.begin() + shown);
}

// The text and its reported length, checked to be one more than the text's.
std::string EncodeC(Base64C& codec, Bytes in) {
    int outLen = 0;
    const std::string result =
        CodecTest::Take(codec.Base64Encode(in.data(), static_cast<int>(in.size()), &outLen));
    EXPECT_EQ(outLen, static_cast<int>(result.size()) + 1);
    return result;
}

// Decodes the first `len` characters of `text` into a buffer of exactly the
// promised size, len * 3 / 4, and checks nothing is written past it.
std::string DecodeC(Base64C& codec, const std::string& text, int len = -1) {
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

// RFC 4648 section 10, both ways with both codecs; the plain encoder reports
// one more than the characters when the input length is a multiple of 3.
TEST(Base64Test, BothCodecsMatchRfc4648BothWays) {
    Base64C codec;
    const std::string plain = "foobar";
    const char* const texts[] = {"", "Zg==", "Zm8=", "Zm9v", "Zm9vYg==", "Zm9vYmE=", "Zm9vYmFy"};
    int outLen = 0;
    for (size_t n = 0; n <= plain.size(); ++n) {
        SCOPED_TRACE(texts[n]);
        Bytes data(plain.begin(), plain.begin() + n);
        EXPECT_EQ(CodecTest::Take(Base64::_base64_encode(data.data(), int(n), &outLen)), texts[n]);
        EXPECT_EQ(outLen, int(std::strlen(texts[n]) + (n % 3 == 0)));
        EXPECT_EQ(EncodeC(codec, data), texts[n]);
        EXPECT_EQ(Decode(texts[n], n), std::to_string(n) + ":" + plain.substr(0, n));
        EXPECT_EQ(DecodeC(codec, texts[n]), plain.substr(0, n));
    }
    // No input: the empty text.
    EXPECT_EQ(CodecTest::Take(Base64::_base64_encode(nullptr, 3, &outLen)), "");
}

TEST(Base64Test, DecodeStopsAtNulOrPaddingAndSkipsOtherCharacters) {
    // Anything outside the alphabet is skipped.
    EXPECT_EQ(Decode(" T W\r\n-F*u\x80", 4), std::string("3:Man\0", 6));
    // '=' after 2: the partial byte and the next zeroed; after 3: nothing read
    // after it; after 0 or 1 characters of a group: misplaced.
    EXPECT_EQ(Decode("TQ==", 4), std::string("1:M\0\0\xee", 6));
    EXPECT_EQ(Decode("TWE=garbage", 4), std::string("2:Ma\0\xee", 6));
    EXPECT_EQ(Decode("T===", 0), "-1:");
    unsigned char text[] = "TWFu";
    EXPECT_EQ(Base64::_base64_decode(text, 4, nullptr), -1);
}

TEST(Base64CTest, EncodeBreaksLinesAfterEvery80Characters) {
    Base64C codec;
    const std::string line(80, 'A');
    // The break follows a full line even at the very end, padded or not.
    EXPECT_EQ(EncodeC(codec, Bytes(60, 0)), line + "\r\n");
    EXPECT_EQ(EncodeC(codec, Bytes(121, 0)), line + "\r\n" + line + "\r\nAA==");
}

TEST(Base64CTest, DecodeSkipsLineBreaksAndStopsAtOtherCharacters) {
    Base64C codec;
    EXPECT_EQ(DecodeC(codec, "TW\r\nFu\r\nTWE="), "ManMa"); // also within a group
    EXPECT_EQ(DecodeC(codec, "TW-Fu"), "M");                // stops at '-', partial group "TW"
    EXPECT_EQ(DecodeC(codec, "TWFuTWFu", 6), "ManM");       // at most len characters
    EXPECT_EQ(DecodeC(codec, "TWFu", -4), "");
}
