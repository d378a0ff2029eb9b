//===- RijnDaelExTest.cpp - AES-128 with the key in the object ------------===//
#include "support/VemloTest.h"
#include "Common/Convertor/CodecTestUtil.h"

// A wrong table entry would show in the vector here and in the comparison
// with Aes on random keys and blocks.
#include <random>

using CodecTest::Bytes;
using CodecTest::FromHex;
using CodecTest::ToHex;
using Vemlo::Common::Cipher::RijnDaelEx;

namespace {

// FIPS-197 appendix C.1.
const Bytes kKey = FromHex("000102030405060708090a0b0c0d0e0f");
const char* const kPlain = "00112233445566778899aabbccddeeff";
const char* const kCipher = "69c4e0d86a7b0430d8cdb78070b4c55a";

const char* chars(const Bytes& b) {
    return reinterpret_cast<const char*>(b.data());
}
char* chars(Bytes& b) {
    return reinterpret_cast<char*>(b.data());
}
std::string KeyHex(RijnDaelEx& r) {
    return ToHex(reinterpret_cast<unsigned char*>(r.getKey()), 16);
}

Bytes EncryptOne(RijnDaelEx& r, const unsigned char* block) {
    Bytes out(16);
    r.EncBlock(reinterpret_cast<const char*>(block), chars(out));
    return out;
}

} // namespace

TEST(RijnDaelExTest, WithoutAKeyGivesZerosAndANullKeyOrLengthIsIgnored) {
    RijnDaelEx r;
    Bytes block = FromHex(kPlain), out(16, 0x55);
    EXPECT_EQ(ToHex(EncryptOne(r, block.data())), std::string(32, '0')); // never the plaintext
    r.SetKey(chars(kKey));
    r.SetKey(nullptr);
    EXPECT_EQ(ToHex(EncryptOne(r, block.data())), kCipher);
    EXPECT_EQ(r.Dec(chars(block), chars(out), -5), 1); // nothing to do
    r.EncBlock(nullptr, chars(out));
    r.DecBlock(chars(block), nullptr);
    EXPECT_EQ(out, Bytes(16, 0x55));
}

// Enc is Aes with a 128-bit key (which AesTest checks) block
// by block, for random keys; it copies a tail of under 16 bytes as it is, and
// Dec, in place, undoes it.
TEST(RijnDaelExTest, EncIsAes128ByBlockAndCopiesTheTail) {
    using namespace Vemlo::Common::Convertor;
    std::mt19937 rng(128);
    for (int i = 0; i < 1000; ++i) {
        const Bytes key = CodecTest::RandomBytes(rng, 16), in = CodecTest::RandomBytes(rng, 36);
        RijnDaelEx r;
        r.SetKey(chars(key));
        AES_KEY aes;
        ASSERT_EQ(Aes::AESSetEncryptKey(key.data(), 128, &aes), 0);
        Bytes out(37, 0x55), expected = in;
        expected.push_back(0x55);
        for (int b = 0; b < 32; b += 16)
            Aes::AESEncrypt(in.data() + b, expected.data() + b, &aes);
        ASSERT_EQ(r.Enc(chars(in), chars(out), 36), 1);
        ASSERT_EQ(out, expected);
        ASSERT_EQ(r.Dec(chars(out), chars(out), 36), 1);
        ASSERT_EQ(Bytes(out.begin(), out.begin() + 36), in);
    }
}

TEST(RijnDaelExTest, SetKeysAndStaticHelpersRotateKeysOverTheArray) {
    std::mt19937 rng(12);
    const Bytes keys = CodecTest::RandomBytes(rng, 48);
    RijnDaelEx objects[3];
    // One key per object, or nothing is set; a remainder is ignored.
    EXPECT_EQ(RijnDaelEx::SetKeys(objects, 3, chars(keys), 40), 0);
    EXPECT_EQ(KeyHex(objects[2]), std::string(32, '0')); // as constructed
    ASSERT_EQ(RijnDaelEx::SetKeys(objects, 3, chars(keys), 50), 1);
    EXPECT_EQ(KeyHex(objects[0]) + KeyHex(objects[1]) + KeyHex(objects[2]), ToHex(keys));

    const Bytes in = CodecTest::RandomBytes(rng, 70); // 4 blocks and a 6-byte tail
    Bytes out(70), back(70);
    RijnDaelEx::EncBlock(objects, 3, chars(in), chars(out), 70);
    for (int k = 0; k < 4; ++k) // keys 0, 1, 2, 0
        EXPECT_EQ(Bytes(out.begin() + 16 * k, out.begin() + 16 * k + 16),
                  EncryptOne(objects[k % 3], in.data() + 16 * k))
            << k;
    EXPECT_EQ(Bytes(out.begin() + 64, out.end()), Bytes(in.begin() + 64, in.end()));
    RijnDaelEx::DecBlock(objects, 3, chars(out), chars(back), 70);
    EXPECT_EQ(back, in);
    RijnDaelEx::DecBlock(nullptr, 3, chars(in), chars(back), 16); // no objects: nothing done
    RijnDaelEx::EncBlock(nullptr, 3, chars(in), chars(back), 16);
    EXPECT_EQ(back, in);
    // One object will do, and a single byte is a tail, copied by every form.
    Bytes one(20);
    RijnDaelEx::DecBlock(objects, 1, chars(out), chars(one), 16);
    RijnDaelEx::DecBlock(objects, 1, chars(in) + 16, chars(one) + 16, 1);
    RijnDaelEx::EncBlock(objects, 1, chars(in) + 17, chars(one) + 17, 1);
    objects[0].Dec(chars(in) + 18, chars(one) + 18, 1);
    objects[0].Enc(chars(in) + 19, chars(one) + 19, 1);
    EXPECT_EQ(one, Bytes(in.begin(), in.begin() + 20));
}
