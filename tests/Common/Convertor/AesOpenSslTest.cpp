//===- AesOpenSslTest.cpp - Aes and RijnDaelEx against OpenSSL ------------===//
#include "support/VemloTest.h"
#include "Common/Convertor/CodecTestUtil.h"

#include <openssl/evp.h>

#include <random>

using namespace Vemlo::Common::Convertor;
using CodecTest::Bytes;
using Vemlo::Common::Cipher::RijnDaelEx;

namespace {

// OpenSSL over whole blocks, without padding.
Bytes OpenSsl(bool encrypt, bool cbc, const Bytes& key, const Bytes& iv, const Bytes& in) {
    const EVP_CIPHER* ciphers[3][2] = {{EVP_aes_128_ecb(), EVP_aes_128_cbc()},
                                       {EVP_aes_192_ecb(), EVP_aes_192_cbc()},
                                       {EVP_aes_256_ecb(), EVP_aes_256_cbc()}};
    EVP_CIPHER_CTX* ctx = EVP_CIPHER_CTX_new();
    Bytes out(in.size() + 16);
    int n = 0, tail = 0;
    EXPECT_EQ(EVP_CipherInit_ex(ctx, ciphers[(key.size() - 16) / 8][cbc], nullptr, key.data(),
                                cbc ? iv.data() : nullptr, encrypt),
              1);
    EVP_CIPHER_CTX_set_padding(ctx, 0);
    EXPECT_EQ(EVP_CipherUpdate(ctx, out.data(), &n, in.data(), static_cast<int>(in.size())), 1);
    EXPECT_EQ(EVP_CipherFinal_ex(ctx, out.data() + n, &tail), 1);
    EVP_CIPHER_CTX_free(ctx);
    out.resize(static_cast<size_t>(n + tail));
    return out;
}

} // namespace

// Random keys of every size: one block each way (ECB), then CBC over random
// lengths, partial last blocks included.
TEST(AesOpenSslTest, EcbAndCbcAgreeForRandomKeysAndLengths) {
    std::mt19937 rng(3800);
    for (int i = 0; i < 2000; ++i) {
        const Bytes key = CodecTest::RandomBytes(rng, 16 + 8 * (i % 3));
        const Bytes iv = CodecTest::RandomBytes(rng, 16);
        const size_t length = rng() % 301;
        const Bytes plain = CodecTest::RandomBytes(rng, length);
        const int bits = static_cast<int>(key.size() * 8);
        AES_KEY ek, dk;
        ASSERT_EQ(Aes::AESSetEncryptKey(key.data(), bits, &ek), 0);
        ASSERT_EQ(Aes::AESSetDecryptKey(key.data(), bits, &dk), 0);

        Bytes block(16), back(16);
        Aes::AESEncrypt(iv.data(), block.data(), &ek);
        ASSERT_EQ(block, OpenSsl(true, false, key, {}, iv)) << CodecTest::ToHex(key);
        Aes::AESDecrypt(iv.data(), back.data(), &dk);
        ASSERT_EQ(back, OpenSsl(false, false, key, {}, iv)) << CodecTest::ToHex(key);

        // OpenSSL sees the plaintext padded with zero bytes to whole blocks.
        // Buffers keep a spare block, so that none is a null pointer.
        Bytes padded = plain;
        padded.resize((length + 15) / 16 * 16, 0);
        Bytes vector = iv, input = plain, cipher(padded.size() + 16);
        input.resize(length + 16);
        Aes::AESCbcEncrypt(input.data(), cipher.data(), length, &ek, vector.data(), AES_ENCRYPT_);
        cipher.resize(padded.size());
        ASSERT_EQ(cipher, OpenSsl(true, true, key, iv, padded)) << "length " << length;

        // Whole blocks in place, then the original length into another buffer.
        vector = iv;
        Bytes inPlace = cipher;
        inPlace.resize(cipher.size() + 16);
        Aes::AESCbcEncrypt(inPlace.data(), inPlace.data(), cipher.size(), &dk, vector.data(),
                           AES_DECRYPT_);
        inPlace.resize(cipher.size());
        ASSERT_EQ(inPlace, padded) << "length " << length;
        vector = iv;
        cipher.resize(cipher.size() + 16);
        Bytes result(length + 16);
        Aes::AESCbcEncrypt(cipher.data(), result.data(), length, &dk, vector.data(), AES_DECRYPT_);
        result.resize(length);
        ASSERT_EQ(result, plain) << "length " << length;
    }
}

// RijnDaelEx's own AES-128: Enc/Dec without chaining, a tail under 16 bytes
// copied unchanged.
TEST(AesOpenSslTest, RijnDaelExEncAndDecAgreeWithEcbForRandomKeys) {
    std::mt19937 rng(128);
    for (int i = 0; i < 1000; ++i) {
        const Bytes key = CodecTest::RandomBytes(rng, 16);
        const Bytes in = CodecTest::RandomBytes(rng, rng() % 201);
        const auto length = static_cast<int>(in.size());
        const auto whole = in.begin() + length / 16 * 16;
        RijnDaelEx r;
        r.SetKey(reinterpret_cast<const char*>(key.data()));
        Bytes out(in.size()), back(in.size());
        r.Enc(reinterpret_cast<const char*>(in.data()), reinterpret_cast<char*>(out.data()),
              length);
        r.Dec(reinterpret_cast<const char*>(in.data()), reinterpret_cast<char*>(back.data()),
              length);
        Bytes expected = OpenSsl(true, false, key, {}, Bytes(in.begin(), whole));
        expected.insert(expected.end(), whole, in.end());
        ASSERT_EQ(out, expected);
        expected = OpenSsl(false, false, key, {}, Bytes(in.begin(), whole));
        ASSERT_EQ(Bytes(back.begin(), back.begin() + (whole - in.begin())), expected);
    }
}
