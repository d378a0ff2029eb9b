//===- Base64Test.cpp - Base64 without line breaks ------------------------===//
#include "support/VemloTest.h"
#include "Common/Convertor/CodecTestUtil.h"

#include <cstdlib>
#include <cstring>
#include <random>
#include <string>

using namespace Vemlo::Common::Convertor;
using CodecTest::Bytes;

namespace {

// Encodes `text`; returns the text and stores the reported length.
std::string Encode(const std::string& text, int* outLen) {
    Bytes in(text.begin(), text.end());
    char* out = Base64::_base64_encode(in.data(), static_cast<int>(in.size()), outLen);
    EXPECT_NE(out, nullptr);
    std::string result = out ? out : "";
    std::free(out);
    return result;
}

// Decodes `text` into a buffer of the promised size; returns the result and
// the buffer.
int Decode(const std::string& text, Bytes* out) {
    Bytes in(text.begin(), text.end());
    in.push_back(0);
    out->assign(text.size() / 4 * 3 + 3, 0xee);
    return Base64::_base64_decode(in.data(), 0, out->data());
}

std::string Prefix(const Bytes& b, int n) {
    return std::string(b.begin(), b.begin() + n);
}

} // namespace

TEST(Base64Test, EncodeMatchesRfc4648AndReportsOneMoreForWholeGroups) {
    // RFC 4648 section 10 test vectors, with the reported length: one more
    // than the characters when the input length is a multiple of 3.
    const struct {
        const char* in;
        const char* out;
        int outLen;
    } vectors[] = {{"", "", 1},
                   {"f", "Zg==", 4},
                   {"fo", "Zm8=", 4},
                   {"foo", "Zm9v", 5},
                   {"foob", "Zm9vYg==", 8},
                   {"fooba", "Zm9vYmE=", 8},
                   {"foobar", "Zm9vYmFy", 9},
                   {"Man", "TWFu", 5},
                   {"Ma", "TWE=", 4},
                   {"M", "TQ==", 4}};
    for (const auto& v : vectors) {
        int outLen = -7;
        EXPECT_EQ(Encode(v.in, &outLen), v.out);
        EXPECT_EQ(outLen, v.outLen) << "input \"" << v.in << "\"";
    }

    // The buffer past the text is zero: ((3 / 3) * 3 + 3) * 4 / 3 + 1 = 9.
    unsigned char man[] = {'M', 'a', 'n'};
    char* out = Base64::_base64_encode(man, 3, nullptr);
    ASSERT_NE(out, nullptr);
    EXPECT_EQ(std::string(out, 9), std::string("TWFu\0\0\0\0\0", 9));
    std::free(out);

    // Null input or negative length: the empty text.
    int outLen = 0;
    out = Base64::_base64_encode(nullptr, 10, &outLen);
    ASSERT_NE(out, nullptr);
    EXPECT_STREQ(out, "");
    EXPECT_EQ(outLen, 1);
    std::free(out);
    out = Base64::_base64_encode(man, -1, &outLen);
    ASSERT_NE(out, nullptr);
    EXPECT_STREQ(out, "");
    std::free(out);
}

TEST(Base64Test, DecodeStopsAtNulOrPaddingAndSkipsOtherCharacters) {
    Bytes out;
    EXPECT_EQ(Decode("TWFu", &out), 3);
    EXPECT_EQ(Prefix(out, 4), std::string("Man\0", 4)); // NUL after the bytes
    EXPECT_EQ(Decode("TW\r\nFu", &out), 3);
    EXPECT_EQ(Prefix(out, 3), "Man");
    EXPECT_EQ(Decode(" T W-F*u\x80", &out), 3); // anything outside the alphabet
    EXPECT_EQ(Prefix(out, 3), "Man");
    // RFC 4648 section 10 vectors decode back.
    EXPECT_EQ(Decode("Zm9vYmE=", &out), 5);
    EXPECT_EQ(Prefix(out, 5), "fooba");
    EXPECT_EQ(Decode("Zm9vYmFy", &out), 6);
    EXPECT_EQ(Prefix(out, 6), "foobar");

    // '=' after 2 characters: partial byte and the next zeroed.
    EXPECT_EQ(Decode("TQ==", &out), 1);
    EXPECT_EQ(Prefix(out, 4), std::string("M\0\0\xee", 4));
    // After 3: the partial byte zeroed.
    EXPECT_EQ(Decode("TWE=", &out), 2);
    EXPECT_EQ(Prefix(out, 4), std::string("Ma\0\xee", 4));
    EXPECT_EQ(Decode("TWE=garbage", &out), 2); // nothing read after '='
    // '=' after 0 or 1 characters of a group is misplaced.
    EXPECT_EQ(Decode("T===", &out), -1);
    EXPECT_EQ(Decode("TWFu=", &out), -1);
    EXPECT_EQ(Decode("=", &out), -1);

    // An unpadded partial group ends with the NUL written over it.
    EXPECT_EQ(Decode("TWE", &out), 2);
    EXPECT_EQ(Prefix(out, 3), std::string("Ma\0", 3));
    EXPECT_EQ(Decode("TWFuT", &out), 3);
    EXPECT_EQ(Prefix(out, 4), std::string("Man\0", 4));

    EXPECT_EQ(Decode("", &out), 0);
    EXPECT_EQ(out[0], 0);
    EXPECT_EQ(Base64::_base64_decode(nullptr, 0, out.data()), 0);
    unsigned char text[] = "TWFu";
    EXPECT_EQ(Base64::_base64_decode(text, 4, nullptr), -1);
}

TEST(Base64Test, RandomBytesRoundTrip) {
    std::mt19937 rng(64);
    for (int len = 0; len < 300; ++len) {
        Bytes in = CodecTest::RandomBytes(rng, static_cast<size_t>(len));
        int outLen = 0;
        char* text = Base64::_base64_encode(in.data(), len, &outLen);
        ASSERT_NE(text, nullptr);
        const size_t chars = std::strlen(text);
        ASSERT_EQ(chars, static_cast<size_t>((len + 2) / 3 * 4));
        ASSERT_EQ(static_cast<size_t>(outLen), len % 3 == 0 ? chars + 1 : chars);
        Bytes out;
        ASSERT_EQ(Decode(text, &out), len);
        ASSERT_EQ(Bytes(out.begin(), out.begin() + len), in);
        std::free(text);
    }
}
