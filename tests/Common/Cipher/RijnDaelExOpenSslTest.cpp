//===- RijnDaelExOpenSslTest.cpp - RijnDaelEx against OpenSSL's AES-128 ---===//
#include "support/VemloTest.h"
#include "Common/Convertor/CodecTestUtil.h"

#include <openssl/evp.h>

#include <random>

using CodecTest::Bytes;
using Vemlo::Common::Cipher::RijnDaelEx;

namespace {

// AES-128-ECB over whole blocks, without padding.
Bytes OpenSslEcb(bool encrypt, const Bytes& key, const Bytes& in) {
    EVP_CIPHER_CTX* ctx = EVP_CIPHER_CTX_new();
    Bytes out(in.size() + 16);
    int n = 0, tail = 0;
    EXPECT_EQ(EVP_CipherInit_ex(ctx, EVP_aes_128_ecb(), nullptr, key.data(), nullptr, encrypt), 1);
    EVP_CIPHER_CTX_set_padding(ctx, 0);
    EXPECT_EQ(EVP_CipherUpdate(ctx, out.data(), &n, in.data(), static_cast<int>(in.size())), 1);
    EXPECT_EQ(EVP_CipherFinal_ex(ctx, out.data() + n, &tail), 1);
    EVP_CIPHER_CTX_free(ctx);
    out.resize(static_cast<size_t>(n + tail));
    return out;
}

} // namespace

TEST(RijnDaelExOpenSslTest, EncAndDecAgreeWithEcbForRandomKeys) {
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
        // The tail after the whole blocks is copied unchanged.
        Bytes expected = OpenSslEcb(true, key, Bytes(in.begin(), whole));
        expected.insert(expected.end(), whole, in.end());
        ASSERT_EQ(out, expected);
        expected = OpenSslEcb(false, key, Bytes(in.begin(), whole));
        ASSERT_EQ(Bytes(back.begin(), back.begin() + (whole - in.begin())), expected);
    }
}
