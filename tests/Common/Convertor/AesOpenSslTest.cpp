//===- AesOpenSslTest.cpp - Aes and Base64 against OpenSSL ----------------===//
#include "support/VemloTest.h"
#include "Common/Convertor/CodecTestUtil.h"

#include <openssl/evp.h>

#include <algorithm>
#include <random>

using namespace Vemlo::Common::Convertor;
using CodecTest::Bytes;

namespace {

// OpenSSL's CBC encryption of whole blocks (no padding).
Bytes OpenSsl(const Bytes& key, const Bytes& iv, const Bytes& in) {
    const EVP_CIPHER* ciphers[3] = {EVP_aes_128_cbc(), EVP_aes_192_cbc(), EVP_aes_256_cbc()};
    EVP_CIPHER_CTX* ctx = EVP_CIPHER_CTX_new();
    Bytes out(in.size());
    int n = 0;
    EXPECT_EQ(
        EVP_EncryptInit_ex(ctx, ciphers[(key.size() - 16) / 8], nullptr, key.data(), iv.data()), 1);
    EVP_CIPHER_CTX_set_padding(ctx, 0);
    EXPECT_EQ(EVP_EncryptUpdate(ctx, out.data(), &n, in.data(), static_cast<int>(in.size())), 1);
    EXPECT_EQ(n, static_cast<int>(in.size()));
    EVP_CIPHER_CTX_free(ctx);
    return out;
}

} // namespace

// Random keys of every size, random whole-block lengths (partial blocks are
// AesTest's): CBC both ways.
TEST(AesOpenSslTest, CbcAgreesForRandomKeysAndLengths) {
    std::mt19937 rng(3800);
    for (int i = 0; i < 2000; ++i) {
        const Bytes key = CodecTest::RandomBytes(rng, 16 + 8 * (i % 3));
        const Bytes iv = CodecTest::RandomBytes(rng, 16);
        const Bytes plain = CodecTest::RandomBytes(rng, 16 * (1 + rng() % 19));
        const int bits = static_cast<int>(key.size() * 8);
        AES_KEY ek, dk;
        ASSERT_EQ(Aes::AESSetEncryptKey(key.data(), bits, &ek), 0);
        ASSERT_EQ(Aes::AESSetDecryptKey(key.data(), bits, &dk), 0);
        Bytes vector = iv, cipher(plain.size());
        Aes::AESCbcEncrypt(plain.data(), cipher.data(), plain.size(), &ek, vector.data(),
                           AES_ENCRYPT_);
        ASSERT_EQ(cipher, OpenSsl(key, iv, plain)) << CodecTest::ToHex(key);
        vector = iv;
        Aes::AESCbcEncrypt(cipher.data(), cipher.data(), plain.size(), &dk, vector.data(),
                           AES_DECRYPT_);
        ASSERT_EQ(cipher, plain);
    }
}

// Both encoders against EVP_EncodeBlock (Base64C's line breaks removed), and
// both decoders on its text, on random data of random lengths.
TEST(Base64OpenSslTest, CodecsAgreeWithEvpEncodeAndDecodeBlock) {
    std::mt19937 rng(4648);
    Base64C codec;
    for (int i = 0; i < 2000; ++i) {
        Bytes data = CodecTest::RandomBytes(rng, rng() % 1001);
        const int size = static_cast<int>(data.size());
        std::string text(data.size() / 3 * 4 + 8, '\0');
        text.resize(static_cast<size_t>(
            EVP_EncodeBlock(reinterpret_cast<unsigned char*>(&text[0]), data.data(), size)));
        int outLen = 0;
        ASSERT_EQ(CodecTest::Take(Base64::_base64_encode(data.data(), size, &outLen)), text);
        std::string lines = CodecTest::Take(codec.Base64Encode(data.data(), size, &outLen));
        lines.erase(std::remove_if(lines.begin(), lines.end(),
                                   [](char c) { return c == '\r' || c == '\n'; }),
                    lines.end());
        ASSERT_EQ(lines, text);

        // Both decoders give back the data OpenSSL's text was made from.
        Bytes in(text.c_str(), text.c_str() + text.size() + 1), out(text.size() / 4 * 3 + 3),
            back(out);
        ASSERT_EQ(Base64::_base64_decode(in.data(), 0, out.data()), size);
        ASSERT_EQ(codec.Base64Decode(in.data(), static_cast<int>(text.size()), back.data()), size);
        out.resize(data.size());
        back.resize(data.size());
        ASSERT_EQ(out, data);
        ASSERT_EQ(back, data);
    }
}
