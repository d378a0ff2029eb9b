//===- RijnDaelExTest.cpp - AES-128 with the key in the object ------------===//
#include "support/VemloTest.h"
#include "Common/Convertor/CodecTestUtil.h"

// A wrong table entry would show in the vector here and in the random
// blocks of AesOpenSslTest.
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

TEST(RijnDaelExTest, BlockMatchesFips197AndKeyIsKept) {
    RijnDaelEx r;
    Bytes block = FromHex(kPlain);
    EXPECT_EQ(ToHex(EncryptOne(r, block.data())),
              std::string(32, '0')); // no key yet: never the plaintext

    r.SetKey(chars(kKey));
    r.EncBlock(chars(block), chars(block)); // in place
    EXPECT_EQ(ToHex(block), kCipher);
    r.DecBlock(chars(block), chars(block));
    EXPECT_EQ(ToHex(block), kPlain);

    r.SetKey(nullptr); // ignored
    EXPECT_EQ(ToHex(EncryptOne(r, block.data())), kCipher);
}

TEST(RijnDaelExTest, EncCopiesATailOfUnder16BytesUnchanged) {
    RijnDaelEx r;
    r.SetKey(chars(kKey));
    const Bytes in = FromHex(std::string(kPlain) + "deadbeef"); // 20 bytes
    Bytes out(21, 0x55), back(20);
    EXPECT_EQ(r.Enc(chars(in), chars(out), 20), 1);
    EXPECT_EQ(ToHex(out.data(), 21), std::string(kCipher) + "deadbeef55");
    EXPECT_EQ(r.Dec(chars(out), chars(back), 20), 1);
    EXPECT_EQ(back, in);
    EXPECT_EQ(r.Dec(chars(in), chars(out), -5), 1); // nothing to do
    EXPECT_EQ(ToHex(out.data(), 21), std::string(kCipher) + "deadbeef55");
}

TEST(RijnDaelExTest, SetKeysAndStaticHelpersRotateKeysOverTheArray) {
    std::mt19937 rng(12);
    const Bytes keys = CodecTest::RandomBytes(rng, 48);
    RijnDaelEx objects[3];
    // One key per object, or nothing is set; a remainder is ignored.
    EXPECT_EQ(RijnDaelEx::SetKeys(objects, 3, chars(keys), 40), 0);
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
    EXPECT_EQ(back, in);
}
