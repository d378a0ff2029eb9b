//===- RijnDaelExTest.cpp - AES-128 with the key in the object ------------===//
#include "support/VemloTest.h"
#include "Common/Convertor/CodecTestUtil.h"

// The library's table generator (compile-time, internal), itself checked
// against FIPS-197 by AesTest.
#include "Common/Convertor/AesTables.h"

#include <cstring>
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
const std::string kZeros(32, '0');

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

TEST(RijnDaelExTest, ClassTablesHoldThePublishedValues) {
    const auto& t = Vemlo::Common::Convertor::detail::kRijndael;
    EXPECT_EQ(0, std::memcmp(RijnDaelEx::sm_S, t.S, 256));
    EXPECT_EQ(0, std::memcmp(RijnDaelEx::sm_Si, t.Si, 256));
    const std::uint32_t* tables[] = {RijnDaelEx::sm_T1, RijnDaelEx::sm_T2, RijnDaelEx::sm_T3,
                                     RijnDaelEx::sm_T4, RijnDaelEx::sm_T5, RijnDaelEx::sm_T6,
                                     RijnDaelEx::sm_T7, RijnDaelEx::sm_T8, RijnDaelEx::sm_U1,
                                     RijnDaelEx::sm_U2, RijnDaelEx::sm_U3, RijnDaelEx::sm_U4};
    const std::uint32_t* expected[] = {t.Te[0], t.Te[1], t.Te[2], t.Te[3], t.Td[0], t.Td[1],
                                       t.Td[2], t.Td[3], t.U[0],  t.U[1],  t.U[2],  t.U[3]};
    for (int i = 0; i < 12; ++i)
        EXPECT_EQ(0, std::memcmp(tables[i], expected[i], 256 * 4)) << "table " << i;
    // Powers of the generator 3 and their logarithms; round constants x^i.
    EXPECT_EQ(RijnDaelEx::sm_alog[1], 3);
    EXPECT_EQ(RijnDaelEx::sm_alog[255], 1);
    for (int x = 1; x < 256; ++x)
        ASSERT_EQ(RijnDaelEx::sm_alog[RijnDaelEx::sm_log[x]], x);
    EXPECT_EQ(RijnDaelEx::sm_rcon[9], 0x36);
    EXPECT_EQ(RijnDaelEx::sm_shifts[2][3][1], 4); // 8 columns, Rijndael proposal
}

TEST(RijnDaelExTest, BlockMatchesFips197AndKeyIsKept) {
    RijnDaelEx r;
    Bytes block = FromHex(kPlain);
    EXPECT_EQ(KeyHex(r), kZeros);
    EXPECT_EQ(ToHex(EncryptOne(r, block.data())), kZeros); // no key yet: never the plaintext

    r.SetKey(chars(kKey));
    EXPECT_EQ(KeyHex(r), ToHex(kKey));
    r.EncBlock(chars(block), chars(block)); // in place
    EXPECT_EQ(ToHex(block), kCipher);
    r.DecBlock(chars(block), chars(block));
    EXPECT_EQ(ToHex(block), kPlain);

    RijnDaelEx copy(r);
    EXPECT_EQ(ToHex(EncryptOne(copy, block.data())), kCipher);
    r.SetKey(nullptr); // ignored
    EXPECT_EQ(ToHex(EncryptOne(r, block.data())), kCipher);
}

TEST(RijnDaelExTest, EncCopiesATailOfUnder16BytesUnchanged) {
    RijnDaelEx r;
    r.SetKey(chars(kKey));
    const Bytes in = FromHex(std::string(kPlain) + "deadbeef"); // 20 bytes
    Bytes out(21, 0x55), back(20), untouched(16, 0x55);
    EXPECT_EQ(r.Enc(chars(in), chars(out), 20), 1);
    EXPECT_EQ(ToHex(out.data(), 21), std::string(kCipher) + "deadbeef55");
    EXPECT_EQ(r.Dec(chars(out), chars(back), 20), 1);
    EXPECT_EQ(back, in);

    EXPECT_EQ(r.Enc(chars(in), chars(untouched), 0), 1);
    EXPECT_EQ(r.Dec(chars(in), chars(untouched), -5), 1);
    EXPECT_EQ(untouched, Bytes(16, 0x55));
}

TEST(RijnDaelExTest, SetKeysAndStaticHelpersRotateKeysOverTheArray) {
    std::mt19937 rng(12);
    const Bytes keys = CodecTest::RandomBytes(rng, 48);
    RijnDaelEx objects[3];
    // One key per object, or nothing is set; a remainder is ignored.
    EXPECT_EQ(RijnDaelEx::SetKeys(objects, 3, chars(keys), 40), 0);
    EXPECT_EQ(RijnDaelEx::SetKeys(objects, 3, nullptr, 48), 0);
    EXPECT_EQ(KeyHex(objects[0]) + KeyHex(objects[1]) + KeyHex(objects[2]), std::string(96, '0'));
    ASSERT_EQ(RijnDaelEx::SetKeys(objects, 3, chars(keys), 50), 1);
    EXPECT_EQ(KeyHex(objects[0]) + KeyHex(objects[1]) + KeyHex(objects[2]), ToHex(keys));

    const Bytes in = CodecTest::RandomBytes(rng, 70); // 4 blocks and a 6-byte tail
    Bytes out(70), back(70), untouched(16, 0x55);
    RijnDaelEx::EncBlock(objects, 3, chars(in), chars(out), 70);
    const int used[4] = {0, 1, 2, 0};
    for (int k = 0; k < 4; ++k) {
        EXPECT_EQ(Bytes(out.begin() + 16 * k, out.begin() + 16 * k + 16),
                  EncryptOne(objects[used[k]], in.data() + 16 * k))
            << "block " << k;
    }
    EXPECT_EQ(Bytes(out.begin() + 64, out.end()), Bytes(in.begin() + 64, in.end()));
    RijnDaelEx::DecBlock(objects, 3, chars(out), chars(back), 70);
    EXPECT_EQ(back, in);

    // Nothing to do: no objects, or no length.
    RijnDaelEx::DecBlock(nullptr, 3, chars(in), chars(untouched), 16);
    RijnDaelEx::EncBlock(objects, 3, chars(in), chars(untouched), 0);
    EXPECT_EQ(untouched, Bytes(16, 0x55));
}
