//===- Common/Convertor/CodecTest.cpp - Ciphers, Base64 and CRCs ----------===//
//
// AES (key schedule, blocks, CBC), RijnDaelEx (AES-128 with the key in the
// object), Base64 (plain and in 80-column lines) and CRC-32/CRC-16, against
// published vectors, against each other and, where OpenSSL is found, against
// OpenSSL's Base64 on random data.
//
//===----------------------------------------------------------------------===//
#include "support/VemloTest.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <random>

#ifdef VEMLO_TEST_OPENSSL
#include <openssl/evp.h>
#endif

using namespace Vemlo::Common::Convertor;
using Vemlo::Common::Cipher::RijnDaelEx;

namespace {

using Bytes = std::vector<unsigned char>;

// "00ff10" -> {0x00, 0xff, 0x10}
Bytes FromHex(const std::string& hex) {
    Bytes out;
    for (size_t i = 0; i + 1 < hex.size(); i += 2)
        out.push_back(static_cast<unsigned char>(std::stoul(hex.substr(i, 2), nullptr, 16)));
    return out;
}

// The bytes of `data` from `from`, at most `length` of them, in hex.
std::string ToHex(const Bytes& data, size_t from = 0, size_t length = SIZE_MAX) {
    std::string out;
    for (size_t i = from; i < data.size() && i - from < length; ++i)
        out += {"0123456789abcdef"[data[i] >> 4], "0123456789abcdef"[data[i] & 0x0f]};
    return out;
}

// The text of a malloc'ed result (which must not be null), freed.
std::string Take(char* text) {
    EXPECT_NE(text, nullptr);
    std::string out = text ? text : "";
    std::free(text);
    return out;
}

// Reproducible random bytes: the same seed gives the same inputs on every run.
Bytes RandomBytes(std::mt19937& rng, size_t length) {
    Bytes out(length);
    for (auto& b : out)
        b = static_cast<unsigned char>(rng());
    return out;
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

// NIST SP 800-38A appendix F.2: CBC-AES128, -AES192 and -AES256 share the
// vector and the plaintext.
const char* const kSpIv = "000102030405060708090a0b0c0d0e0f";
const char* const kSpPlain = "6bc1bee22e409f96e93d7e117393172aae2d8a571e03ac9c9eb76fac45af8e51"
                             "30c81c46a35ce411e5fbc1191a0a52eff69f2445df4f9b17ad2b417be66c3710";
const char* const kSpKey = "2b7e151628aed2a6abf7158809cf4f3c";

const char* chars(const Bytes& b) {
    return reinterpret_cast<const char*>(b.data());
}
char* chars(Bytes& b) {
    return reinterpret_cast<char*>(b.data());
}
std::string KeyHex(RijnDaelEx& r) {
    const auto* key = reinterpret_cast<unsigned char*>(r.getKey());
    return ToHex(Bytes(key, key + 16));
}

Bytes EncryptOne(RijnDaelEx& r, const unsigned char* block) {
    Bytes out(16);
    r.EncBlock(reinterpret_cast<const char*>(block), chars(out));
    return out;
}

// The result and the first `shown` bytes of the buffer (of the promised size,
// preset to 0xee) after decoding `text`.
std::string Decode(const std::string& text, size_t shown) {
    Bytes in(text.c_str(), text.c_str() + text.size() + 1), buffer(text.size() / 4 * 3 + 3, 0xee);
    const int n = Base64::_base64_decode(in.data(), 0, buffer.data());
    return std::to_string(n) + ":" + std::string(buffer.begin(), buffer.begin() + shown);
}

// The text and its reported length, checked to be one more than the text's.
std::string EncodeC(Base64C& codec, Bytes in) {
    int outLen = 0;
    const std::string result =
        Take(codec.Base64Encode(in.data(), static_cast<int>(in.size()), &outLen));
    EXPECT_EQ(outLen, static_cast<int>(result.size()) + 1);
    return result;
}

// Decodes the first `len` characters of `text` into a buffer of exactly the
// promised size, len * 3 / 4, and checks nothing is written past it.
std::string DecodeC(Base64C& codec, const std::string& text, int len = -1) {
    len = len == -1 ? static_cast<int>(text.size()) : len;
    Bytes in(text.begin(), text.end());
    const size_t promised = len > 0 ? static_cast<size_t>(len) * 3 / 4 : 0;
    Bytes out(promised + 1, 0xee);
    const int n = codec.Base64Decode(in.data(), len, out.data());
    EXPECT_TRUE(n >= 0 && static_cast<size_t>(n) <= promised) << n;
    EXPECT_EQ(out[promised], 0xee);
    return std::string(out.begin(), out.begin() + std::max(n, 0));
}

} // namespace

// The tables are computed at compile time, so a fault there changes many
// entries: the published vectors for every key size show it. Every key size:
// CBC in two calls, the vector carried over, gives the one-call ciphertext and
// deciphers in place; the first block alone is the plaintext xor the vector,
// enciphered. Then a partial block and bad key set-ups.
TEST(AesTest, CbcAndSingleBlocksMatchSp80038aPartialBlocksArePaddedAndBadKeySetupsRejected) {
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
        EXPECT_EQ(ToHex(out) + ToHex(iv), cipher + cipher.substr(96)); // vector = last block
        for (int i = 0; i < 16; ++i)
            first[i] ^= plain[i];
        Aes::AESEncrypt(first.data(), block.data(), &ek);
        EXPECT_EQ(ToHex(block), cipher.substr(0, 32));
        Aes::AESDecrypt(block.data(), block.data(), &dk); // in place
        EXPECT_EQ(block, first);
        Bytes tail(61); // a tail of 13 bytes: every word of the last block
        iv = FromHex(kSpIv);
        Aes::AESCbcEncrypt(FromHex(cipher).data(), tail.data(), 61, &dk, iv.data(), AES_DECRYPT_);
        EXPECT_EQ(tail, Bytes(plain.begin(), plain.begin() + 61));
        iv = FromHex(kSpIv);
        Aes::AESCbcEncrypt(out.data(), out.data(), 64, &dk, iv.data(), AES_DECRYPT_);
        EXPECT_EQ(out, plain);
    }

    const AES_KEY ek = Key(kSpKey, true), dk = Key(kSpKey, false);
    const Bytes part = FromHex(std::string(kSpPlain).substr(0, 40)); // 20 bytes
    Bytes padded = part;
    padded.resize(32, 0);
    // 20 bytes write 32 (and no more): the plaintext padded with zero bytes.
    Bytes iv = FromHex(kSpIv), ivPadded = iv, out(33, 0xee), expected(33, 0xee);
    Aes::AESCbcEncrypt(part.data(), out.data(), 20, &ek, iv.data(), AES_ENCRYPT_);
    Aes::AESCbcEncrypt(padded.data(), expected.data(), 32, &ek, ivPadded.data(), AES_ENCRYPT_);
    EXPECT_EQ(std::make_pair(out, iv), std::make_pair(expected, ivPadded));

    // Decrypting 20 bytes in place reads the whole second block and writes 20
    // bytes; length 0 changes neither the output nor the vector.
    iv = FromHex(kSpIv);
    Aes::AESCbcEncrypt(out.data(), out.data(), 20, &dk, iv.data(), AES_DECRYPT_);
    EXPECT_EQ(ToHex(out, 0, 21), ToHex(part) + ToHex(expected, 20, 1));
    Aes::AESCbcEncrypt(part.data(), out.data(), 0, &dk, iv.data(), AES_DECRYPT_);
    EXPECT_EQ(ToHex(out, 0, 20) + ToHex(iv), ToHex(part) + ToHex(expected, 16, 16));

    // Key setup rejects nulls and other sizes.
    const Bytes key(32, 0x11);
    AES_KEY k{};
    k.rounds = 77;
    EXPECT_EQ(Aes::AESSetDecryptKey(key.data(), 64, &k), -2);
    EXPECT_EQ(Aes::AESSetEncryptKey(nullptr, 160, &k), -1); // nulls are checked first
    EXPECT_EQ(k.rounds, 77);
    // A record that was never set up is not used.
    Bytes block(16, 1), cipher(16);
    Aes::AESEncrypt(block.data(), cipher.data(), &k);
    EXPECT_EQ(cipher, Bytes(16));
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

// Enc is Aes with a 128-bit key (checked above) block by block, for random
// keys; it copies a tail of under 16 bytes as it is, and Dec, in place,
// undoes it.
TEST(RijnDaelExTest, EncIsAes128ByBlockCopiesTheTailMatchesFips197AndRotatesKeysOverAnArray) {
    std::mt19937 rng(128);
    for (int i = 0; i < 1000; ++i) {
        const Bytes key = RandomBytes(rng, 16), in = RandomBytes(rng, 36);
        RijnDaelEx r;
        r.SetKey(chars(key));
        AES_KEY aes;
        ASSERT_EQ(Aes::AESSetEncryptKey(key.data(), 128, &aes), 0);
        Bytes out(37, 0x55), expected = in;
        expected.push_back(0x55);
        for (int b = 0; b < 32; b += 16)
            Aes::AESEncrypt(in.data() + b, expected.data() + b, &aes);
        ASSERT_EQ(r.Enc(chars(in), chars(out), 36), 1);
        ASSERT_EQ(out, expected);
        ASSERT_EQ(r.Dec(chars(out), chars(out), 36), 1);
        ASSERT_EQ(Bytes(out.begin(), out.begin() + 36), in);
    }

    // Without a key a block enciphers to zeros, never the plaintext; a null
    // key, length or buffer is ignored; FIPS-197 appendix C.1 (key
    // 000102...0f). Then SetKeys and the static helpers rotate the keys over
    // an array of objects.
    RijnDaelEx objects[3];
    Bytes block = FromHex("00112233445566778899aabbccddeeff"), untouched(16, 0x55);
    EXPECT_EQ(ToHex(EncryptOne(objects[0], block.data())), std::string(32, '0'));
    objects[0].SetKey(chars(FromHex(kSpIv)));
    objects[0].SetKey(nullptr);
    EXPECT_EQ(ToHex(EncryptOne(objects[0], block.data())), "69c4e0d86a7b0430d8cdb78070b4c55a");
    EXPECT_EQ(objects[0].Dec(chars(block), chars(untouched), -5), 1); // nothing to do
    objects[0].EncBlock(nullptr, chars(untouched));
    objects[0].DecBlock(chars(block), nullptr);
    EXPECT_EQ(untouched, Bytes(16, 0x55));

    rng.seed(12);
    const Bytes keys = RandomBytes(rng, 48);
    // One key per object, or nothing is set; a remainder is ignored.
    EXPECT_EQ(RijnDaelEx::SetKeys(objects, 3, chars(keys), 40), 0);
    EXPECT_EQ(KeyHex(objects[2]), std::string(32, '0')); // as constructed
    ASSERT_EQ(RijnDaelEx::SetKeys(objects, 3, chars(keys), 50), 1);
    EXPECT_EQ(KeyHex(objects[0]) + KeyHex(objects[1]) + KeyHex(objects[2]), ToHex(keys));

    const Bytes in = RandomBytes(rng, 70); // 4 blocks and a 6-byte tail
    Bytes out(70), back(70);
    RijnDaelEx::EncBlock(objects, 3, chars(in), chars(out), 70);
    for (int k = 0; k < 4; ++k) // keys 0, 1, 2, 0
        EXPECT_EQ(Bytes(out.begin() + 16 * k, out.begin() + 16 * k + 16),
                  EncryptOne(objects[k % 3], in.data() + 16 * k))
            << k;
    EXPECT_EQ(Bytes(out.begin() + 64, out.end()), Bytes(in.begin() + 64, in.end()));
    // Deciphered back; then, with no objects, nothing is done.
    RijnDaelEx::DecBlock(objects, 3, chars(out), chars(back), 70);
    RijnDaelEx::DecBlock(nullptr, 3, chars(in), chars(back), 16);
    RijnDaelEx::EncBlock(nullptr, 3, chars(in), chars(back), 16);
    EXPECT_EQ(back, in);
    // One object will do, and a single byte is a tail, copied by every form.
    Bytes one(20);
    RijnDaelEx::DecBlock(objects, 1, chars(out), chars(one), 16);
    RijnDaelEx::DecBlock(objects, 1, chars(in) + 16, chars(one) + 16, 1);
    RijnDaelEx::EncBlock(objects, 1, chars(in) + 17, chars(one) + 17, 1);
    objects[0].Dec(chars(in) + 18, chars(one) + 18, 1);
    objects[0].Enc(chars(in) + 19, chars(one) + 19, 1);
    EXPECT_EQ(one, Bytes(in.begin(), in.begin() + 20));
}

// RFC 4648 section 10, both ways with both codecs; the plain encoder reports
// one more than the characters when the input length is a multiple of 3.
TEST(Base64Test, BothCodecsMatchRfc4648Base64CBreaksLinesAndDecodingSkipsOrStops) {
    Base64C codec;
    const std::string plain = "foobar";
    const char* const texts[] = {"", "Zg==", "Zm8=", "Zm9v", "Zm9vYg==", "Zm9vYmE=", "Zm9vYmFy"};
    int outLen = 0;
    for (size_t n = 0; n <= plain.size(); ++n) {
        SCOPED_TRACE(texts[n]);
        Bytes data(plain.begin(), plain.begin() + n);
        EXPECT_EQ(Take(Base64::_base64_encode(data.data(), int(n), &outLen)), texts[n]);
        EXPECT_EQ(outLen, int(std::strlen(texts[n]) + (n % 3 == 0)));
        EXPECT_EQ(EncodeC(codec, data), texts[n]);
        EXPECT_EQ(Decode(texts[n], n), std::to_string(n) + ":" + plain.substr(0, n));
        EXPECT_EQ(DecodeC(codec, texts[n]), plain.substr(0, n));
    }
    // No input: the empty text.
    EXPECT_EQ(Take(Base64::_base64_encode(nullptr, 3, &outLen)), "");

    // Base64C: lines of 80 characters. The break follows a full line even at
    // the very end, padded or not; decoding skips the breaks and stops at
    // other characters.
    const std::string line(80, 'A');
    EXPECT_EQ(EncodeC(codec, Bytes(60, 0)), line + "\r\n");
    EXPECT_EQ(EncodeC(codec, Bytes(121, 0)), line + "\r\n" + line + "\r\nAA==");
    EXPECT_EQ(DecodeC(codec, "TW\r\nFu\r\nTWE="), "ManMa"); // also within a group
    EXPECT_EQ(DecodeC(codec, "TW-Fu"), "M");                // stops at '-', partial group "TW"
    EXPECT_EQ(DecodeC(codec, "TWFuTWFu", 6), "ManM");       // at most len characters
    EXPECT_EQ(DecodeC(codec, "TWFu", -4), "");

    // The plain decoder stops at NUL or padding; anything outside the
    // alphabet is skipped.
    EXPECT_EQ(Decode(" T W\r\n-F*u\x80", 4), std::string("3:Man\0", 6));
    // '=' after 2: the partial byte and the next zeroed; after 3: nothing read
    // after it; after 0 or 1 characters of a group: misplaced.
    EXPECT_EQ(Decode("TQ==", 4), std::string("1:M\0\0\xee", 6));
    EXPECT_EQ(Decode("TWE=garbage", 4), std::string("2:Ma\0\xee", 6));
    EXPECT_EQ(Decode("T===", 0), "-1:");
    unsigned char text[] = "TWFu";
    EXPECT_EQ(Base64::_base64_decode(text, 4, nullptr), -1);

#ifdef VEMLO_TEST_OPENSSL
    // Base64 on random data against OpenSSL (the published vectors leave most
    // of the alphabet and the encoder's fast path unused): both encoders
    // against EVP_EncodeBlock (Base64C's line breaks removed), and both
    // decoders on its text, on random data of random lengths.
    std::mt19937 rng(4648);
    for (int i = 0; i < 2000; ++i) {
        Bytes data = RandomBytes(rng, rng() % 1001);
        const int size = static_cast<int>(data.size());
        std::string text(data.size() / 3 * 4 + 8, '\0');
        text.resize(static_cast<size_t>(
            EVP_EncodeBlock(reinterpret_cast<unsigned char*>(&text[0]), data.data(), size)));
        ASSERT_EQ(Take(Base64::_base64_encode(data.data(), size, &outLen)), text);
        std::string lines = Take(codec.Base64Encode(data.data(), size, &outLen));
        lines.erase(std::remove_if(lines.begin(), lines.end(),
                                   [](char c) { return c == '\r' || c == '\n'; }),
                    lines.end());
        ASSERT_EQ(lines, text);

        // Both decoders give back the data OpenSSL's text was made from.
        Bytes in(text.c_str(), text.c_str() + text.size() + 1), out(text.size() / 4 * 3 + 3),
            back(out);
        ASSERT_EQ(Base64::_base64_decode(in.data(), 0, out.data()), size);
        ASSERT_EQ(codec.Base64Decode(in.data(), static_cast<int>(text.size()), back.data()), size);
        ASSERT_EQ(Bytes(out.begin(), out.begin() + size), data);
        ASSERT_EQ(Bytes(back.begin(), back.begin() + size), data);
    }
#endif
}

// Each test runs in its own process, so this one sees the flag as it starts.
// The CRC catalogue's check value over "123456789" (CRC-32/ISO-HDLC; the
// self-test checks CRC-16/KERMIT's); no buffer gives the previous value, 0 for
// CRC16. Then both
// against their definition, a bit at a time (reflected; CRC32 inverts the
// register before and after), from random start values, at every length up
// to several of CRC32's 64-byte blocks and at every alignment.
TEST(CRC32Test, CheckValuesTheTableRebuiltOnFirstUseAndTheBitwiseDefinition) {
    std::mt19937 rng(16);
    const Bytes data = RandomBytes(rng, 608);
    const unsigned char check[] = "123456789";
    EXPECT_EQ(CRC32::bFlag, 1);
    CRC32::crc_table[1] = 0; // the rebuild restores it
    EXPECT_EQ(CRC32::crc32(0, check, 9), 0xCBF43926ul);
    EXPECT_EQ(std::make_pair(CRC32::bFlag, CRC32::crc_table[1]), std::make_pair(0, 0x77073096u));
    EXPECT_EQ(CRC32::crc32(0xCBF43926ul, nullptr, 9), 0xCBF43926ul);
    EXPECT_EQ(CRC16::crc16(nullptr, 9), 0u);

    auto bitwise = [](unsigned long c, unsigned long poly, const unsigned char* data, size_t n) {
        for (size_t i = 0; i < n; ++i) {
            c ^= data[i];
            for (int bit = 0; bit < 8; ++bit)
                c = (c & 1) ? (c >> 1) ^ poly : c >> 1;
        }
        return c;
    };
    for (size_t offset = 0; offset < 8; ++offset)
        for (unsigned int length = 0; length < 600; ++length) {
            const unsigned char* p = data.data() + offset;
            const unsigned long start = rng();
            ASSERT_EQ(
                std::make_pair(CRC32::crc32(start, p, length), 0ul + CRC16::crc16(p, length)),
                std::make_pair(bitwise(~start & 0xffffffffu, 0xEDB88320u, p, length) ^ 0xffffffffu,
                               bitwise(0, 0x8408, p, length)))
                << "offset " << offset << " length " << length;
        }
}
