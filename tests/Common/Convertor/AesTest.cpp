//===- AesTest.cpp - AES block cipher, key schedule and CBC ---------------===//
#include "support/VemloTest.h"
#include "Common/Convertor/CodecTestUtil.h"

// The tables are computed at compile time, so a fault there changes many
// entries: the published vectors for every key size show it.

using namespace Vemlo::Common::Convertor;
using CodecTest::Bytes;
using CodecTest::FromHex;
using CodecTest::ToHex;

namespace {

AES_KEY Key(const char* hex, bool encrypt) {
    const Bytes key = FromHex(hex);
    AES_KEY k{};
    const int bits = static_cast<int>(key.size() * 8);
    EXPECT_EQ(encrypt ? Aes::AESSetEncryptKey(key.data(), bits, &k)
                      : Aes::AESSetDecryptKey(key.data(), bits, &k),
              0);
    return k;
}

// NIST SP 800-38A appendix F.2: CBC-AES128, -AES192 and -AES256 share the
// vector and the plaintext.
const char* const kSpIv = "000102030405060708090a0b0c0d0e0f";
const char* const kSpPlain = "6bc1bee22e409f96e93d7e117393172aae2d8a571e03ac9c9eb76fac45af8e51"
                             "30c81c46a35ce411e5fbc1191a0a52eff69f2445df4f9b17ad2b417be66c3710";
const char* const kSpKey = "2b7e151628aed2a6abf7158809cf4f3c";

} // namespace

// Every key size: CBC in two calls, the vector carried over, gives the
// one-call ciphertext and deciphers in place; the first block alone is the
// plaintext xor the vector, enciphered.
TEST(AesTest, CbcAndSingleBlocksMatchSp80038aForEveryKeySize) {
    const Bytes plain = FromHex(kSpPlain);
    for (const auto& [key, cipher] :
         {std::pair<const char*, std::string>{
              kSpKey, "7649abac8119b246cee98e9b12e9197d5086cb9b507219ee95db113a917678b2"
                      "73bed6b8e3c1743b7116e69e222295163ff1caa1681fac09120eca307586e1a7"},
          {"8e73b0f7da0e6452c810f32b809079e562f8ead2522c6b7b",
           "4f021db243bc633d7178183a9fa071e8b4d9ada9ad7dedf4e5e738763f69145a"
           "571b242012fb7ae07fa9baac3df102e008b0e27988598881d920a9e64f5615cd"},
          {"603deb1015ca71be2b73aef0857d77811f352c073b6108d72d9810a30914dff4",
           "f58c4c04d6e5f1ba779eabfb5f7bfbd69cfc4e967edb808d679f777bc6702c7d"
           "39f23369a9d9bacfa530e26304231461b2eb05e2c39be9fcda6c19078c6a9d1b"}}) {
        SCOPED_TRACE(key);
        const AES_KEY ek = Key(key, true), dk = Key(key, false);
        Bytes iv = FromHex(kSpIv), out(64), first = FromHex(kSpIv), block(16);
        Aes::AESCbcEncrypt(plain.data(), out.data(), 32, &ek, iv.data(), AES_ENCRYPT_);
        Aes::AESCbcEncrypt(plain.data() + 32, out.data() + 32, 32, &ek, iv.data(), AES_ENCRYPT_);
        EXPECT_EQ(ToHex(out), cipher);
        EXPECT_EQ(ToHex(iv), cipher.substr(96)); // vector = last block
        for (int i = 0; i < 16; ++i)
            first[i] ^= plain[i];
        Aes::AESEncrypt(first.data(), block.data(), &ek);
        EXPECT_EQ(ToHex(block), cipher.substr(0, 32));
        Aes::AESDecrypt(block.data(), block.data(), &dk); // in place
        EXPECT_EQ(block, first);
        iv = FromHex(kSpIv);
        Aes::AESCbcEncrypt(out.data(), out.data(), 64, &dk, iv.data(), AES_DECRYPT_);
        EXPECT_EQ(out, plain);
    }
}

TEST(AesTest, KeySetupRejectsNullsAndOtherSizes) {
    const Bytes key(32, 0x11);
    AES_KEY k{};
    k.rounds = 77;
    EXPECT_EQ(Aes::AESSetDecryptKey(key.data(), 64, &k), -2);
    EXPECT_EQ(Aes::AESSetEncryptKey(nullptr, 160, &k), -1); // nulls are checked first
    EXPECT_EQ(k.rounds, 77);
    // A record that was never set up is not used.
    unsigned char block[16] = {1, 2, 3}, out[16] = {};
    Aes::AESEncrypt(block, out, &k);
    EXPECT_EQ(ToHex(out, 16), std::string(32, '0'));
}

TEST(AesTest, CbcPartialBlockIsZeroPaddedAndLengthZeroChangesNothing) {
    const AES_KEY ek = Key(kSpKey, true), dk = Key(kSpKey, false);
    const Bytes plain = FromHex(std::string(kSpPlain).substr(0, 40)); // 20 bytes
    Bytes padded = plain;
    padded.resize(32, 0);
    // 20 bytes write 32 (and no more): the plaintext padded with zero bytes.
    Bytes iv = FromHex(kSpIv), ivPadded = iv, out(33, 0xee), expected(33, 0xee);
    Aes::AESCbcEncrypt(plain.data(), out.data(), 20, &ek, iv.data(), AES_ENCRYPT_);
    Aes::AESCbcEncrypt(padded.data(), expected.data(), 32, &ek, ivPadded.data(), AES_ENCRYPT_);
    EXPECT_EQ(out, expected);
    EXPECT_EQ(iv, ivPadded);

    // Decrypting 20 bytes in place reads the whole second block and writes 20
    // bytes; length 0 changes neither the output nor the vector.
    iv = FromHex(kSpIv);
    Aes::AESCbcEncrypt(out.data(), out.data(), 20, &dk, iv.data(), AES_DECRYPT_);
    EXPECT_EQ(ToHex(out.data(), 21), ToHex(plain) + ToHex(expected.data() + 20, 1));
    Aes::AESCbcEncrypt(plain.data(), out.data(), 0, &dk, iv.data(), AES_DECRYPT_);
    EXPECT_EQ(ToHex(out.data(), 20), ToHex(plain));
    EXPECT_EQ(ToHex(iv), ToHex(expected.data() + 16, 16));
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
