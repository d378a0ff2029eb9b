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
    EXPECT_EQ(
        EVP_CipherInit_ex(ctx, EVP_aes_128_ecb(), nullptr, key.data(), nullptr, encrypt ? 1 : 0),
        1);
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
    std::uniform_int_distribution<int> lengths(0, 200);
    for (int i = 0; i < 2000; ++i) {
        const Bytes key = CodecTest::RandomBytes(rng, 16);
        const size_t length = static_cast<size_t>(lengths(rng));
        const Bytes in = CodecTest::RandomBytes(rng, length);
        const size_t whole = length / 16 * 16;
        const Bytes blocks(in.begin(), in.begin() + static_cast<long>(whole));

        RijnDaelEx r;
        r.SetKey(reinterpret_cast<const char*>(key.data()));
        Bytes out(length), back(length);
        r.Enc(reinterpret_cast<const char*>(in.data()), reinterpret_cast<char*>(out.data()),
              static_cast<int>(length));
        ASSERT_EQ(Bytes(out.begin(), out.begin() + static_cast<long>(whole)),
                  OpenSslEcb(true, key, blocks));
        ASSERT_EQ(Bytes(out.begin() + static_cast<long>(whole), out.end()),
                  Bytes(in.begin() + static_cast<long>(whole), in.end()));

        r.Dec(reinterpret_cast<const char*>(in.data()), reinterpret_cast<char*>(back.data()),
              static_cast<int>(length));
        ASSERT_EQ(Bytes(back.begin(), back.begin() + static_cast<long>(whole)),
                  OpenSslEcb(false, key, blocks));
    }
}
