//===- Base64Test.cpp - Base64 without line breaks ------------------------===//
#include "support/VemloTest.h"
#include "Common/Convertor/CodecTestUtil.h"

#include <cstdlib>
#include <cstring>
#include <string>

using namespace Vemlo::Common::Convertor;
using CodecTest::Bytes;

namespace {

std::string Encode(unsigned char* in, int length, int* outLen) {
    char* out = Base64::_base64_encode(in, length, outLen);
    EXPECT_NE(out, nullptr);
    std::string result = out ? out : "";
    std::free(out);
    return result;
}

// Decodes `text` into a buffer of the promised size, preset to 0xee.
int Decode(const std::string& text, std::string* out) {
    Bytes in(text.begin(), text.end());
    in.push_back(0);
    Bytes buffer(text.size() / 4 * 3 + 3, 0xee);
    const int n = Base64::_base64_decode(in.data(), 0, buffer.data());
    out->assign(buffer.begin(), buffer.end());
    return n;
}

} // namespace

TEST(Base64Test, EncodeMatchesRfc4648AndReportsOneMoreForWholeGroups) {
    // RFC 4648 section 10; one more than the characters when the input length
    // is a multiple of 3.
    const struct {
        const char *in, *out;
        int outLen;
    } vectors[] = {{"", "", 1}, {"f", "Zg==", 4}, {"foobar", "Zm9vYmFy", 9}};
    for (const auto& v : vectors) {
        int outLen = -7;
        Bytes in(v.in, v.in + std::strlen(v.in));
        EXPECT_EQ(Encode(in.data(), static_cast<int>(in.size()), &outLen), v.out);
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
    EXPECT_EQ(Encode(nullptr, 10, &outLen), "");
    EXPECT_EQ(Encode(man, -1, &outLen), "");
}

TEST(Base64Test, DecodeStopsAtNulOrPaddingAndSkipsOtherCharacters) {
    const struct {
        const char* in;
        int result;
        std::string out; // the start of the buffer
    } cases[] = {
        {"Zm9vYmFy", 6, "foobar"},                        // RFC 4648 section 10
        {" T W\r\n-F*u\x80", 3, std::string("Man\0", 4)}, // anything outside the alphabet
        {"TQ==", 1, std::string("M\0\0\xee", 4)},       // '=' after 2: partial byte and next zeroed
        {"TWE=garbage", 2, std::string("Ma\0\xee", 4)}, // after 3: nothing read after '='
        {"TWE", 2, std::string("Ma\0", 3)}, // unpadded: the NUL written over the partial byte
        {"", 0, std::string("\0", 1)},
        {"T===", -1, ""}, // '=' after 0 or 1 characters of a group is misplaced
        {"TWFu=", -1, ""},
    };
    for (const auto& c : cases) {
        std::string out;
        EXPECT_EQ(Decode(c.in, &out), c.result) << c.in;
        if (c.result >= 0) {
            EXPECT_EQ(out.substr(0, c.out.size()), c.out) << c.in;
        }
    }
    unsigned char text[] = "TWFu";
    EXPECT_EQ(Base64::_base64_decode(nullptr, 0, text), 0);
    EXPECT_EQ(Base64::_base64_decode(text, 4, nullptr), -1);
}
