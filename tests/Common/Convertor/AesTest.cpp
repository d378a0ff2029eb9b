//===- AesTest.cpp - AES block cipher, key schedule and CBC ---------------===//
#include "support/VemloTest.h"
#include "Common/Convertor/CodecTestUtil.h"

// The library's table generator (compile-time, internal).
#include "Common/Convertor/AesTables.h"

#include <cstring>
#include <vector>

using namespace Vemlo::Common::Convertor;
using CodecTest::Bytes;
using CodecTest::FromHex;
using CodecTest::ToHex;

namespace {

// Multiplication in GF(2^8), bit by bit: independent of the library's tables.
unsigned char gmul(unsigned char a, unsigned char b) {
    unsigned char p = 0;
    for (; b; b >>= 1, a = static_cast<unsigned char>((a << 1) ^ ((a & 0x80) ? 0x1b : 0)))
        p ^= (b & 1) ? a : 0;
    return p;
}

// FIPS-197 section 5.1.1: the multiplicative inverse (found by search here)
// followed by the affine transformation.
unsigned char Sbox(int x) {
    int inv = 0;
    while (x && gmul(static_cast<unsigned char>(x), static_cast<unsigned char>(inv)) != 1)
        ++inv;
    unsigned char s = 0x63;
    for (int i = 0; i < 5; ++i)
        s ^= static_cast<unsigned char>((inv << i) | (inv >> (8 - i)));
    return s;
}

// The column {a,b,c,d} rotated right by 8k bits.
unsigned int word(int k, unsigned char a, unsigned char b, unsigned char c, unsigned char d) {
    const unsigned int w = (unsigned(a) << 24) | (unsigned(b) << 16) | (unsigned(c) << 8) | d;
    return k ? (w >> 8 * k) | (w << (32 - 8 * k)) : w;
}

AES_KEY Key(const char* hex, bool encrypt) {
    const Bytes key = FromHex(hex);
    AES_KEY k{};
    const int bits = static_cast<int>(key.size() * 8);
    EXPECT_EQ(encrypt ? Aes::AESSetEncryptKey(key.data(), bits, &k)
                      : Aes::AESSetDecryptKey(key.data(), bits, &k),
              0);
    return k;
}

// NIST SP 800-38A appendix F.2.1 and F.2.5: CBC-AES128 and CBC-AES256.
const char* const kSpIv = "000102030405060708090a0b0c0d0e0f";
const char* const kSpPlain = "6bc1bee22e409f96e93d7e117393172aae2d8a571e03ac9c9eb76fac45af8e51"
                             "30c81c46a35ce411e5fbc1191a0a52eff69f2445df4f9b17ad2b417be66c3710";
const char* const kSpVectors[][2] = {
    {"2b7e151628aed2a6abf7158809cf4f3c",
     "7649abac8119b246cee98e9b12e9197d5086cb9b507219ee95db113a917678b2"
     "73bed6b8e3c1743b7116e69e222295163ff1caa1681fac09120eca307586e1a7"},
    {"603deb1015ca71be2b73aef0857d77811f352c073b6108d72d9810a30914dff4",
     "f58c4c04d6e5f1ba779eabfb5f7bfbd69cfc4e967edb808d679f777bc6702c7d"
     "39f23369a9d9bacfa530e26304231461b2eb05e2c39be9fcda6c19078c6a9d1b"},
};

} // namespace

TEST(AesTest, TablesAreTheFips197Values) {
    const auto& t = detail::kRijndael;
    // FIPS-197 figure 7, a few entries.
    EXPECT_EQ((std::vector<int>{t.S[0x00], t.S[0x53], t.S[0xff]}),
              (std::vector<int>{0x63, 0xed, 0x16}));
    for (int x = 0; x < 256; ++x) {
        const unsigned char s = Sbox(x), si = t.Si[x], b = static_cast<unsigned char>(x);
        ASSERT_EQ(t.S[x], s) << "S-box entry " << x;
        ASSERT_EQ(t.Si[s], x) << "inverse S-box entry " << int(s);
        // MixColumns coefficients {02,01,01,03}, InvMixColumns {0e,09,0d,0b}.
        for (int k = 0; k < 4; ++k) {
            ASSERT_EQ(t.Te[k][x], word(k, gmul(s, 2), s, s, gmul(s, 3))) << k << "," << x;
            ASSERT_EQ(t.Td[k][x], word(k, gmul(si, 14), gmul(si, 9), gmul(si, 13), gmul(si, 11)));
            ASSERT_EQ(t.U[k][x], word(k, gmul(b, 14), gmul(b, 9), gmul(b, 13), gmul(b, 11)));
        }
    }
    // FIPS-197 section 5.2: Rcon[i] = x^(i-1) for i = 1..10.
    const unsigned char rcon[10] = {0x01, 0x02, 0x04, 0x08, 0x10, 0x20, 0x40, 0x80, 0x1b, 0x36};
    EXPECT_EQ(0, std::memcmp(t.rcon, rcon, sizeof rcon));
}

TEST(AesTest, KeyScheduleAndBlocksMatchFips197) {
    // Appendix A.1 and A.3: round counts and the last expanded-key words.
    AES_KEY k = Key("2b7e151628aed2a6abf7158809cf4f3c", true);
    EXPECT_EQ(k.rounds, 10);
    EXPECT_EQ(k.rd_key[43], 0xb6630ca6u);
    k = Key("603deb1015ca71be2b73aef0857d77811f352c073b6108d72d9810a30914dff4", true);
    EXPECT_EQ(k.rounds, 14);
    EXPECT_EQ(k.rd_key[59], 0x706c631eu);

    // Appendix C.1-C.3; decryption in place.
    const Bytes plain = FromHex("00112233445566778899aabbccddeeff");
    const char* const vectors[][2] = {
        {"000102030405060708090a0b0c0d0e0f", "69c4e0d86a7b0430d8cdb78070b4c55a"},
        {"000102030405060708090a0b0c0d0e0f1011121314151617", "dda97ca4864cdfe06eaf70a0ec0d7191"},
        {"000102030405060708090a0b0c0d0e0f101112131415161718191a1b1c1d1e1f",
         "8ea2b7ca516745bfeafc49904b496089"}};
    for (const auto& v : vectors) {
        const AES_KEY ek = Key(v[0], true), dk = Key(v[0], false);
        unsigned char out[16];
        Aes::AESEncrypt(plain.data(), out, &ek);
        EXPECT_EQ(ToHex(out, 16), v[1]);
        Aes::AESDecrypt(out, out, &dk);
        EXPECT_EQ(ToHex(out, 16), ToHex(plain));
    }
}

TEST(AesTest, KeySetupRejectsNullsAndOtherSizes) {
    const Bytes key(32, 0x11);
    AES_KEY k{};
    k.rounds = 77;
    k.rd_key[0] = 0xdeadbeef;
    EXPECT_EQ(Aes::AESSetDecryptKey(key.data(), 64, &k), -2);
    EXPECT_EQ(Aes::AESSetDecryptKey(key.data(), 128, nullptr), -1);
    EXPECT_EQ(Aes::AESSetEncryptKey(nullptr, 160, &k), -1); // nulls are checked first
    EXPECT_EQ(k.rounds, 77);
    EXPECT_EQ(k.rd_key[0], 0xdeadbeefu);

    // A record that was never set up is not used.
    unsigned char block[16] = {1, 2, 3}, out[16] = {}, iv[16] = {};
    Aes::AESEncrypt(block, out, &k);
    Aes::AESCbcEncrypt(block, out, 16, &k, iv, AES_ENCRYPT_);
    EXPECT_EQ(ToHex(out, 16), std::string(32, '0'));
}

TEST(AesTest, CbcMatchesSp80038aAcrossCallsAndInPlace) {
    const Bytes plain = FromHex(kSpPlain);
    for (const auto& v : kSpVectors) {
        SCOPED_TRACE(v[0]);
        const AES_KEY ek = Key(v[0], true), dk = Key(v[0], false);
        // Two calls, the vector carried over, give the one-call ciphertext.
        Bytes iv = FromHex(kSpIv), out(64), back(64);
        Aes::AESCbcEncrypt(plain.data(), out.data(), 32, &ek, iv.data(), AES_ENCRYPT_);
        Aes::AESCbcEncrypt(plain.data() + 32, out.data() + 32, 32, &ek, iv.data(), AES_ENCRYPT_);
        EXPECT_EQ(ToHex(out), v[1]);
        EXPECT_EQ(ToHex(iv), ToHex(out.data() + 48, 16)); // vector = last block

        iv = FromHex(kSpIv);
        Aes::AESCbcEncrypt(out.data(), back.data(), 64, &dk, iv.data(), AES_DECRYPT_);
        EXPECT_EQ(back, plain);
        EXPECT_EQ(ToHex(iv), ToHex(out.data() + 48, 16));
        iv = FromHex(kSpIv);
        Aes::AESCbcEncrypt(out.data(), out.data(), 64, &dk, iv.data(), AES_DECRYPT_);
        EXPECT_EQ(out, plain);
    }
}

TEST(AesTest, CbcPartialBlockIsZeroPaddedAndLengthZeroChangesNothing) {
    const AES_KEY ek = Key(kSpVectors[0][0], true), dk = Key(kSpVectors[0][0], false);
    const Bytes plain = FromHex(std::string(kSpPlain).substr(0, 40)); // 20 bytes
    Bytes padded = plain;
    padded.resize(32, 0);

    // 20 bytes write 32 (and no more): the plaintext padded with zero bytes.
    Bytes iv = FromHex(kSpIv), ivPadded = iv, out(33, 0xee), expected(33, 0xee);
    Aes::AESCbcEncrypt(plain.data(), out.data(), 20, &ek, iv.data(), AES_ENCRYPT_);
    Aes::AESCbcEncrypt(padded.data(), expected.data(), 32, &ek, ivPadded.data(), AES_ENCRYPT_);
    EXPECT_EQ(out, expected);
    EXPECT_EQ(iv, ivPadded);

    // Decrypting 20 bytes, apart or in place, reads the whole second block and
    // writes 20 bytes; length 0 changes neither the output nor the vector.
    Bytes back(out.begin(), out.begin() + 32);
    for (unsigned char* target : {back.data(), out.data()}) {
        iv = FromHex(kSpIv);
        Aes::AESCbcEncrypt(out.data(), target, 20, &dk, iv.data(), AES_DECRYPT_);
        EXPECT_EQ(ToHex(iv), ToHex(expected.data() + 16, 16));
        EXPECT_EQ(ToHex(target, 21), ToHex(plain) + ToHex(expected.data() + 20, 1));
        Aes::AESCbcEncrypt(plain.data(), target, 0, &ek, iv.data(), AES_ENCRYPT_);
        Aes::AESCbcEncrypt(plain.data(), target, 0, &dk, iv.data(), AES_DECRYPT_);
        EXPECT_EQ(ToHex(target, 20), ToHex(plain));
        EXPECT_EQ(ToHex(iv), ToHex(expected.data() + 16, 16));
    }
}

TEST(AesDeathTest, CbcBadArgumentsAbortWithTheAssertionText) {
    const AES_KEY ek = Key(kSpIv, true);
    unsigned char buffer[16] = {}, iv[16] = {};
    EXPECT_DEATH(Aes::AESCbcEncrypt(nullptr, buffer, 16, &ek, iv, AES_ENCRYPT_),
                 "Aes.cpp:1022: .*Assertion `ucIn && ucOut && pKey && ucIvec' failed");
    EXPECT_DEATH(Aes::AESCbcEncrypt(buffer, buffer, 16, &ek, iv, 2),
                 "Aes.cpp:1023: .*Assertion `\\(AES_ENCRYPT_ == nEnc\\) \\|\\| "
                 "\\(AES_DECRYPT_ == nEnc\\)' failed");
}
