//===- AesOpenSslTest.cpp - Aes against OpenSSL's libcrypto ---------------===//
#include "support/VemloTest.h"
#include "Common/Convertor/CodecTestUtil.h"

#include <openssl/evp.h>

#include <random>

using namespace Vemlo::Common::Convertor;
using CodecTest::Bytes;

namespace {

const EVP_CIPHER* Cipher(size_t keyBytes, bool cbc) {
    switch (keyBytes) {
    case 16:
        return cbc ? EVP_aes_128_cbc() : EVP_aes_128_ecb();
    case 24:
        return cbc ? EVP_aes_192_cbc() : EVP_aes_192_ecb();
    default:
        return cbc ? EVP_aes_256_cbc() : EVP_aes_256_ecb();
    }
}

// OpenSSL over whole blocks, without padding.
Bytes OpenSsl(bool encrypt, bool cbc, const Bytes& key, const Bytes& iv, const Bytes& in) {
    EVP_CIPHER_CTX* ctx = EVP_CIPHER_CTX_new();
    Bytes out(in.size() + 16);
    int n = 0, tail = 0;
    EXPECT_EQ(EVP_CipherInit_ex(ctx, Cipher(key.size(), cbc), nullptr, key.data(),
                                cbc ? iv.data() : nullptr, encrypt ? 1 : 0),
              1);
    EVP_CIPHER_CTX_set_padding(ctx, 0);
    EXPECT_EQ(EVP_CipherUpdate(ctx, out.data(), &n, in.data(), static_cast<int>(in.size())), 1);
    EXPECT_EQ(EVP_CipherFinal_ex(ctx, out.data() + n, &tail), 1);
    EVP_CIPHER_CTX_free(ctx);
    out.resize(static_cast<size_t>(n + tail));
    return out;
}

} // namespace

TEST(AesOpenSslTest, BlocksAgreeForRandomKeysOfEverySize) {
    std::mt19937 rng(1197);
    for (int i = 0; i < 3000; ++i) {
        const Bytes key = CodecTest::RandomBytes(rng, 16 + 8 * (i % 3));
        const Bytes block = CodecTest::RandomBytes(rng, 16);
        AES_KEY ek, dk;
        ASSERT_EQ(Aes::AESSetEncryptKey(key.data(), static_cast<int>(key.size() * 8), &ek), 0);
        ASSERT_EQ(Aes::AESSetDecryptKey(key.data(), static_cast<int>(key.size() * 8), &dk), 0);
        Bytes out(16), back(16);
        Aes::AESEncrypt(block.data(), out.data(), &ek);
        ASSERT_EQ(out, OpenSsl(true, false, key, {}, block)) << CodecTest::ToHex(key);
        Aes::AESDecrypt(block.data(), back.data(), &dk);
        ASSERT_EQ(back, OpenSsl(false, false, key, {}, block)) << CodecTest::ToHex(key);
    }
}

TEST(AesOpenSslTest, CbcAgreesForRandomLengthsIncludingPartialBlocks) {
    std::mt19937 rng(3800);
    std::uniform_int_distribution<int> lengths(0, 300);
    for (int i = 0; i < 2000; ++i) {
        const Bytes key = CodecTest::RandomBytes(rng, 16 + 8 * (i % 3));
        const Bytes iv = CodecTest::RandomBytes(rng, 16);
        const size_t length = static_cast<size_t>(lengths(rng));
        const Bytes plain = CodecTest::RandomBytes(rng, length);
        // OpenSSL sees the plaintext padded with zero bytes to whole blocks.
        Bytes padded = plain;
        padded.resize((length + 15) / 16 * 16, 0);
        const Bytes expected = OpenSsl(true, true, key, iv, padded);

        AES_KEY ek, dk;
        ASSERT_EQ(Aes::AESSetEncryptKey(key.data(), static_cast<int>(key.size() * 8), &ek), 0);
        ASSERT_EQ(Aes::AESSetDecryptKey(key.data(), static_cast<int>(key.size() * 8), &dk), 0);
        // Buffers keep a spare block, so that none is a null pointer.
        Bytes vector = iv;
        Bytes input = plain;
        input.resize(length + 16);
        Bytes cipher(padded.size() + 16);
        Aes::AESCbcEncrypt(input.data(), cipher.data(), length, &ek, vector.data(), AES_ENCRYPT_);
        cipher.resize(padded.size());
        ASSERT_EQ(cipher, expected) << "length " << length;

        // Decryption of whole blocks in place against OpenSSL's.
        vector = iv;
        Bytes inPlace = cipher;
        inPlace.resize(cipher.size() + 16);
        Aes::AESCbcEncrypt(inPlace.data(), inPlace.data(), cipher.size(), &dk, vector.data(),
                           AES_DECRYPT_);
        inPlace.resize(cipher.size());
        ASSERT_EQ(inPlace, OpenSsl(false, true, key, iv, cipher)) << "length " << length;
        ASSERT_EQ(inPlace, padded);

        // And of the original length into a separate buffer.
        vector = iv;
        cipher.resize(cipher.size() + 16);
        Bytes back(length + 16);
        Aes::AESCbcEncrypt(cipher.data(), back.data(), length, &dk, vector.data(), AES_DECRYPT_);
        back.resize(length);
        ASSERT_EQ(back, plain) << "length " << length;
    }
}
