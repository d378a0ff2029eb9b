//===- AesTest.cpp - AES block cipher, key schedule and CBC ---------------===//
#include "support/VemloTest.h"
#include "Common/Convertor/CodecTestUtil.h"

// The library's table generator (compile-time, internal).
#include "Common/Convertor/AesTables.h"

#include <cstring>

using namespace Vemlo::Common::Convertor;
using CodecTest::Bytes;
using CodecTest::FromHex;
using CodecTest::ToHex;

namespace {

// FIPS-197 figure 7: the S-box.
const unsigned char kFipsSbox[256] = {
    0x63, 0x7c, 0x77, 0x7b, 0xf2, 0x6b, 0x6f, 0xc5, 0x30, 0x01, 0x67, 0x2b, 0xfe, 0xd7, 0xab, 0x76,
    0xca, 0x82, 0xc9, 0x7d, 0xfa, 0x59, 0x47, 0xf0, 0xad, 0xd4, 0xa2, 0xaf, 0x9c, 0xa4, 0x72, 0xc0,
    0xb7, 0xfd, 0x93, 0x26, 0x36, 0x3f, 0xf7, 0xcc, 0x34, 0xa5, 0xe5, 0xf1, 0x71, 0xd8, 0x31, 0x15,
    0x04, 0xc7, 0x23, 0xc3, 0x18, 0x96, 0x05, 0x9a, 0x07, 0x12, 0x80, 0xe2, 0xeb, 0x27, 0xb2, 0x75,
    0x09, 0x83, 0x2c, 0x1a, 0x1b, 0x6e, 0x5a, 0xa0, 0x52, 0x3b, 0xd6, 0xb3, 0x29, 0xe3, 0x2f, 0x84,
    0x53, 0xd1, 0x00, 0xed, 0x20, 0xfc, 0xb1, 0x5b, 0x6a, 0xcb, 0xbe, 0x39, 0x4a, 0x4c, 0x58, 0xcf,
    0xd0, 0xef, 0xaa, 0xfb, 0x43, 0x4d, 0x33, 0x85, 0x45, 0xf9, 0x02, 0x7f, 0x50, 0x3c, 0x9f, 0xa8,
    0x51, 0xa3, 0x40, 0x8f, 0x92, 0x9d, 0x38, 0xf5, 0xbc, 0xb6, 0xda, 0x21, 0x10, 0xff, 0xf3, 0xd2,
    0xcd, 0x0c, 0x13, 0xec, 0x5f, 0x97, 0x44, 0x17, 0xc4, 0xa7, 0x7e, 0x3d, 0x64, 0x5d, 0x19, 0x73,
    0x60, 0x81, 0x4f, 0xdc, 0x22, 0x2a, 0x90, 0x88, 0x46, 0xee, 0xb8, 0x14, 0xde, 0x5e, 0x0b, 0xdb,
    0xe0, 0x32, 0x3a, 0x0a, 0x49, 0x06, 0x24, 0x5c, 0xc2, 0xd3, 0xac, 0x62, 0x91, 0x95, 0xe4, 0x79,
    0xe7, 0xc8, 0x37, 0x6d, 0x8d, 0xd5, 0x4e, 0xa9, 0x6c, 0x56, 0xf4, 0xea, 0x65, 0x7a, 0xae, 0x08,
    0xba, 0x78, 0x25, 0x2e, 0x1c, 0xa6, 0xb4, 0xc6, 0xe8, 0xdd, 0x74, 0x1f, 0x4b, 0xbd, 0x8b, 0x8a,
    0x70, 0x3e, 0xb5, 0x66, 0x48, 0x03, 0xf6, 0x0e, 0x61, 0x35, 0x57, 0xb9, 0x86, 0xc1, 0x1d, 0x9e,
    0xe1, 0xf8, 0x98, 0x11, 0x69, 0xd9, 0x8e, 0x94, 0x9b, 0x1e, 0x87, 0xe9, 0xce, 0x55, 0x28, 0xdf,
    0x8c, 0xa1, 0x89, 0x0d, 0xbf, 0xe6, 0x42, 0x68, 0x41, 0x99, 0x2d, 0x0f, 0xb0, 0x54, 0xbb, 0x16};

// Multiplication in GF(2^8), bit by bit: independent of the library's
// log/antilog tables.
unsigned char gmul(unsigned char a, unsigned char b) {
    unsigned char p = 0;
    for (int i = 0; i < 8; ++i) {
        if (b & 1) {
            p ^= a;
        }
        a = static_cast<unsigned char>((a << 1) ^ ((a & 0x80) ? 0x1b : 0));
        b >>= 1;
    }
    return p;
}

unsigned int word(unsigned char a, unsigned char b, unsigned char c, unsigned char d) {
    return (unsigned(a) << 24) | (unsigned(b) << 16) | (unsigned(c) << 8) | d;
}

unsigned int rotr(unsigned int w, int n) {
    return (w >> n) | (w << (32 - n));
}

AES_KEY EncryptKey(const Bytes& key) {
    AES_KEY k{};
    EXPECT_EQ(Aes::AESSetEncryptKey(key.data(), static_cast<int>(key.size() * 8), &k), 0);
    return k;
}

AES_KEY DecryptKey(const Bytes& key) {
    AES_KEY k{};
    EXPECT_EQ(Aes::AESSetDecryptKey(key.data(), static_cast<int>(key.size() * 8), &k), 0);
    return k;
}

struct CbcVector {
    const char* key;
    const char* ciphertext;
};

// NIST SP 800-38A appendix F.2.1, F.2.3, F.2.5: CBC-AES128/192/256 with the
// same IV and plaintext.
const char* const kSpIv = "000102030405060708090a0b0c0d0e0f";
const char* const kSpPlain = "6bc1bee22e409f96e93d7e117393172aae2d8a571e03ac9c9eb76fac45af8e51"
                             "30c81c46a35ce411e5fbc1191a0a52eff69f2445df4f9b17ad2b417be66c3710";
const CbcVector kSpVectors[] = {
    {"2b7e151628aed2a6abf7158809cf4f3c",
     "7649abac8119b246cee98e9b12e9197d5086cb9b507219ee95db113a917678b2"
     "73bed6b8e3c1743b7116e69e222295163ff1caa1681fac09120eca307586e1a7"},
    {"8e73b0f7da0e6452c810f32b809079e562f8ead2522c6b7b",
     "4f021db243bc633d7178183a9fa071e8b4d9ada9ad7dedf4e5e738763f69145a"
     "571b242012fb7ae07fa9baac3df102e008b0e27988598881d920a9e64f5615cd"},
    {"603deb1015ca71be2b73aef0857d77811f352c073b6108d72d9810a30914dff4",
     "f58c4c04d6e5f1ba779eabfb5f7bfbd69cfc4e967edb808d679f777bc6702c7d"
     "39f23369a9d9bacfa530e26304231461b2eb05e2c39be9fcda6c19078c6a9d1b"},
};

} // namespace

TEST(AesTest, TablesAreTheFips197Values) {
    const auto& t = detail::kRijndael;
    for (int x = 0; x < 256; ++x) {
        ASSERT_EQ(t.S[x], kFipsSbox[x]) << "S-box entry " << x;
        ASSERT_EQ(t.Si[kFipsSbox[x]], x) << "inverse S-box entry " << int(kFipsSbox[x]);
        const unsigned char s = kFipsSbox[x];
        const unsigned char si = t.Si[x];
        // MixColumns coefficients {02,01,01,03}, InvMixColumns {0e,09,0d,0b}.
        const unsigned int te = word(gmul(s, 2), s, s, gmul(s, 3));
        const unsigned int td = word(gmul(si, 14), gmul(si, 9), gmul(si, 13), gmul(si, 11));
        const auto b = static_cast<unsigned char>(x);
        const unsigned int u = word(gmul(b, 14), gmul(b, 9), gmul(b, 13), gmul(b, 11));
        for (int k = 0; k < 4; ++k) {
            ASSERT_EQ(t.Te[k][x], k ? rotr(te, 8 * k) : te) << "Te" << k << "[" << x << "]";
            ASSERT_EQ(t.Td[k][x], k ? rotr(td, 8 * k) : td) << "Td" << k << "[" << x << "]";
            ASSERT_EQ(t.U[k][x], k ? rotr(u, 8 * k) : u) << "U" << k << "[" << x << "]";
        }
    }
    // FIPS-197 figure 14 (inverse S-box), first and last entries.
    EXPECT_EQ(t.Si[0x00], 0x52);
    EXPECT_EQ(t.Si[0x01], 0x09);
    EXPECT_EQ(t.Si[0xff], 0x7d);
    // Well-known first entries of the round tables.
    EXPECT_EQ(t.Te[0][0], 0xc66363a5u);
    EXPECT_EQ(t.Td[0][0], 0x51f4a750u);
    // FIPS-197 section 5.2: Rcon[i] = x^(i-1) for i = 1..10.
    const unsigned char rcon[10] = {0x01, 0x02, 0x04, 0x08, 0x10, 0x20, 0x40, 0x80, 0x1b, 0x36};
    EXPECT_EQ(0, std::memcmp(t.rcon, rcon, sizeof rcon));
}

TEST(AesTest, KeyScheduleMatchesFips197AppendixA) {
    // FIPS-197 appendix A.1: words w4 and w43 of the AES-128 expansion.
    AES_KEY k = EncryptKey(FromHex("2b7e151628aed2a6abf7158809cf4f3c"));
    EXPECT_EQ(k.rounds, 10);
    EXPECT_EQ(k.rd_key[0], 0x2b7e1516u);
    EXPECT_EQ(k.rd_key[4], 0xa0fafe17u);
    EXPECT_EQ(k.rd_key[43], 0xb6630ca6u);
    // Appendix A.2 (192 bits): w51; appendix A.3 (256 bits): w59.
    k = EncryptKey(FromHex("8e73b0f7da0e6452c810f32b809079e562f8ead2522c6b7b"));
    EXPECT_EQ(k.rounds, 12);
    EXPECT_EQ(k.rd_key[51], 0x01002202u);
    k = EncryptKey(FromHex("603deb1015ca71be2b73aef0857d77811f352c073b6108d72d9810a30914dff4"));
    EXPECT_EQ(k.rounds, 14);
    EXPECT_EQ(k.rd_key[59], 0x706c631eu);
}

TEST(AesTest, BlocksMatchFips197AppendixC) {
    // FIPS-197 appendix C.1, C.2, C.3.
    const Bytes plain = FromHex("00112233445566778899aabbccddeeff");
    const struct {
        const char* key;
        const char* cipher;
    } vectors[] = {
        {"000102030405060708090a0b0c0d0e0f", "69c4e0d86a7b0430d8cdb78070b4c55a"},
        {"000102030405060708090a0b0c0d0e0f1011121314151617", "dda97ca4864cdfe06eaf70a0ec0d7191"},
        {"000102030405060708090a0b0c0d0e0f101112131415161718191a1b1c1d1e1f",
         "8ea2b7ca516745bfeafc49904b496089"},
    };
    for (const auto& v : vectors) {
        const AES_KEY ek = EncryptKey(FromHex(v.key));
        const AES_KEY dk = DecryptKey(FromHex(v.key));
        unsigned char out[16];
        Aes::AESEncrypt(plain.data(), out, &ek);
        EXPECT_EQ(ToHex(out, 16), v.cipher);
        Aes::AESDecrypt(out, out, &dk); // in place
        EXPECT_EQ(ToHex(out, 16), ToHex(plain));
    }
}

TEST(AesTest, KeySetupRejectsNullsAndOtherSizes) {
    const Bytes key(32, 0x11);
    AES_KEY k{};
    k.rounds = 77;
    k.rd_key[0] = 0xdeadbeef;
    EXPECT_EQ(Aes::AESSetEncryptKey(key.data(), 160, &k), -2);
    EXPECT_EQ(Aes::AESSetDecryptKey(key.data(), 64, &k), -2);
    EXPECT_EQ(Aes::AESSetEncryptKey(nullptr, 128, &k), -1);
    EXPECT_EQ(Aes::AESSetDecryptKey(key.data(), 128, nullptr), -1);
    EXPECT_EQ(Aes::AESSetEncryptKey(nullptr, 160, &k), -1); // nulls are checked first
    EXPECT_EQ(k.rounds, 77);
    EXPECT_EQ(k.rd_key[0], 0xdeadbeefu);

    // A record that was never set up is not used.
    unsigned char block[16] = {1, 2, 3};
    unsigned char out[16] = {};
    unsigned char iv[16] = {};
    Aes::AESEncrypt(block, out, &k);
    Aes::AESCbcEncrypt(block, out, 16, &k, iv, AES_ENCRYPT_);
    EXPECT_EQ(ToHex(out, 16), std::string(32, '0'));
}

TEST(AesTest, CbcMatchesSp80038aAndContinuesAcrossCalls) {
    const Bytes plain = FromHex(kSpPlain);
    for (const auto& v : kSpVectors) {
        SCOPED_TRACE(v.key);
        const AES_KEY ek = EncryptKey(FromHex(v.key));
        const AES_KEY dk = DecryptKey(FromHex(v.key));

        Bytes iv = FromHex(kSpIv);
        Bytes out(64);
        Aes::AESCbcEncrypt(plain.data(), out.data(), 64, &ek, iv.data(), AES_ENCRYPT_);
        EXPECT_EQ(ToHex(out), v.ciphertext);
        EXPECT_EQ(ToHex(iv), ToHex(out.data() + 48, 16)); // vector = last block

        // Two calls with the updated vector give the same ciphertext.
        iv = FromHex(kSpIv);
        Bytes split(64);
        Aes::AESCbcEncrypt(plain.data(), split.data(), 32, &ek, iv.data(), AES_ENCRYPT_);
        Aes::AESCbcEncrypt(plain.data() + 32, split.data() + 32, 32, &ek, iv.data(), AES_ENCRYPT_);
        EXPECT_EQ(split, out);

        // Decryption, separate buffers and in place.
        iv = FromHex(kSpIv);
        Bytes back(64);
        Aes::AESCbcEncrypt(out.data(), back.data(), 64, &dk, iv.data(), AES_DECRYPT_);
        EXPECT_EQ(back, plain);
        EXPECT_EQ(ToHex(iv), ToHex(out.data() + 48, 16));
        iv = FromHex(kSpIv);
        Aes::AESCbcEncrypt(out.data(), out.data(), 64, &dk, iv.data(), AES_DECRYPT_);
        EXPECT_EQ(out, plain);
    }
}

TEST(AesTest, CbcPartialBlockIsZeroPaddedAndLengthZeroChangesNothing) {
    const Bytes key = FromHex("2b7e151628aed2a6abf7158809cf4f3c");
    const AES_KEY ek = EncryptKey(key);
    const AES_KEY dk = DecryptKey(key);
    const Bytes plain = FromHex(std::string(kSpPlain).substr(0, 40)); // 20 bytes

    // 20 bytes write 32: the same as the plaintext padded with zero bytes.
    Bytes iv = FromHex(kSpIv);
    Bytes out(33, 0xee);
    Aes::AESCbcEncrypt(plain.data(), out.data(), 20, &ek, iv.data(), AES_ENCRYPT_);
    EXPECT_EQ(out[32], 0xee);
    Bytes padded = plain;
    padded.resize(32, 0);
    Bytes ivPadded = FromHex(kSpIv);
    Bytes expected(32);
    Aes::AESCbcEncrypt(padded.data(), expected.data(), 32, &ek, ivPadded.data(), AES_ENCRYPT_);
    EXPECT_EQ(Bytes(out.begin(), out.begin() + 32), expected);
    EXPECT_EQ(iv, ivPadded);

    // Decrypting 20 bytes reads the whole second block and writes 20 bytes.
    iv = FromHex(kSpIv);
    Bytes back(32, 0xee);
    Aes::AESCbcEncrypt(out.data(), back.data(), 20, &dk, iv.data(), AES_DECRYPT_);
    EXPECT_EQ(Bytes(back.begin(), back.begin() + 20), plain);
    EXPECT_EQ(back[20], 0xee);
    EXPECT_EQ(ToHex(iv), ToHex(out.data() + 16, 16));
    iv = FromHex(kSpIv);
    Aes::AESCbcEncrypt(out.data(), out.data(), 20, &dk, iv.data(), AES_DECRYPT_);
    EXPECT_EQ(Bytes(out.begin(), out.begin() + 20), plain);

    // Length 0: output and vector untouched.
    iv = FromHex(kSpIv);
    Bytes untouched(16, 0xee);
    Aes::AESCbcEncrypt(plain.data(), untouched.data(), 0, &ek, iv.data(), AES_ENCRYPT_);
    Aes::AESCbcEncrypt(plain.data(), untouched.data(), 0, &dk, iv.data(), AES_DECRYPT_);
    EXPECT_EQ(untouched, Bytes(16, 0xee));
    EXPECT_EQ(ToHex(iv), kSpIv);
}

TEST(AesDeathTest, CbcBadArgumentsAbortWithTheAssertionText) {
    const AES_KEY ek = EncryptKey(Bytes(16, 0));
    unsigned char buffer[16] = {};
    unsigned char iv[16] = {};
    EXPECT_DEATH(Aes::AESCbcEncrypt(nullptr, buffer, 16, &ek, iv, AES_ENCRYPT_),
                 "Aes.cpp:1022: .*Assertion `ucIn && ucOut && pKey && ucIvec' failed");
    EXPECT_DEATH(Aes::AESCbcEncrypt(buffer, buffer, 16, &ek, nullptr, AES_DECRYPT_),
                 "Assertion `ucIn && ucOut && pKey && ucIvec' failed");
    EXPECT_DEATH(Aes::AESCbcEncrypt(buffer, buffer, 16, &ek, iv, 2),
                 "Aes.cpp:1023: .*Assertion `\\(AES_ENCRYPT_ == nEnc\\) \\|\\| "
                 "\\(AES_DECRYPT_ == nEnc\\)' failed");
}
