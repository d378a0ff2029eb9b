//===- CodecBenchmark.cpp - Checksums, ciphers and Base64 side by side ----===//
//
// Each libVemlo codec beside what an application would otherwise call:
//  - CRC32::crc32 beside zlib's crc32, CRC16::crc16 beside the plain
//    byte-at-a-time loop over the same table, 1 MiB each;
//  - Aes (AES-128) single blocks beside OpenSSL's AES_encrypt/AES_decrypt,
//    and CBC over 1 MiB beside EVP aes-128-cbc;
//  - Base64 and Base64C over 1 MiB and for one 57-byte line beside OpenSSL's
//    EVP_EncodeBlock/EVP_DecodeBlock (libVemlo's encoders include their
//    malloc, zero-fill and free).
// Compare bytes_per_second (or the time per call) of the pairs.
//
// libVemlo's AES is the table-driven form for processors without AES
// instructions, so OpenSSL is measured in its table-driven form too: unless
// OPENSSL_ia32cap is already set, the program runs itself again with AES-NI
// and SSSE3 masked (OPENSSL_ia32cap="~0x200020200000000"; masking AES-NI alone
// would select OpenSSL's vector-permute code instead).
//
//===----------------------------------------------------------------------===//
#include <Vemlo/Vemlo.h>

#include <benchmark/benchmark.h>

#define OPENSSL_SUPPRESS_DEPRECATED // AES_encrypt: OpenSSL's raw block function
#include <openssl/aes.h>
#include <openssl/evp.h>
#include <zlib.h>

#include <cstdlib>
#include <cstring>
#include <random>
#include <unistd.h>
#include <vector>

using namespace Vemlo::Common::Convertor;

namespace {

constexpr size_t kMiB = 1 << 20;
constexpr size_t kLine = 57; // one 76-character line of a typical caller

const std::vector<unsigned char>& randomBytes() {
    static const std::vector<unsigned char> data = [] {
        std::vector<unsigned char> out(kMiB + 64);
        std::mt19937 rng(2024);
        for (auto& b : out) {
            b = static_cast<unsigned char>(rng());
        }
        return out;
    }();
    return data;
}

const unsigned char kKey[16] = {0x2b, 0x7e, 0x15, 0x16, 0x28, 0xae, 0xd2, 0xa6,
                                0xab, 0xf7, 0x15, 0x88, 0x09, 0xcf, 0x4f, 0x3c};

// ---- CRC ------------------------------------------------------------------

void BM_Crc32_Vemlo(benchmark::State& state) {
    const auto& data = randomBytes();
    for (auto _ : state) {
        benchmark::DoNotOptimize(CRC32::crc32(0, data.data(), kMiB));
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kMiB));
}
BENCHMARK(BM_Crc32_Vemlo);

void BM_Crc32_Zlib(benchmark::State& state) {
    const auto& data = randomBytes();
    for (auto _ : state) {
        benchmark::DoNotOptimize(::crc32(0, data.data(), kMiB));
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kMiB));
}
BENCHMARK(BM_Crc32_Zlib);

void BM_Crc16_Vemlo(benchmark::State& state) {
    const auto& data = randomBytes();
    for (auto _ : state) {
        benchmark::DoNotOptimize(CRC16::crc16(data.data(), kMiB));
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kMiB));
}
BENCHMARK(BM_Crc16_Vemlo);

// The textbook loop: one table look-up per byte.
void BM_Crc16_ByteLoop(benchmark::State& state) {
    static const std::vector<unsigned int> table = [] {
        std::vector<unsigned int> t(256);
        for (unsigned int n = 0; n < 256; ++n) {
            unsigned int c = n;
            for (int k = 0; k < 8; ++k) {
                c = (c & 1) ? (c >> 1) ^ 0x8408 : c >> 1;
            }
            t[n] = c;
        }
        return t;
    }();
    const auto& data = randomBytes();
    for (auto _ : state) {
        unsigned int c = 0;
        for (size_t i = 0; i < kMiB; ++i) {
            c = table[(c ^ data[i]) & 0xff] ^ (c >> 8);
        }
        benchmark::DoNotOptimize(c);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kMiB));
}
BENCHMARK(BM_Crc16_ByteLoop);

// ---- AES ------------------------------------------------------------------

void BM_Aes128Block_Encrypt_Vemlo(benchmark::State& state) {
    stAesKeySt key;
    Aes::AESSetEncryptKey(kKey, 128, &key);
    unsigned char block[16] = {};
    for (auto _ : state) {
        Aes::AESEncrypt(block, block, &key);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * 16));
}
BENCHMARK(BM_Aes128Block_Encrypt_Vemlo);

void BM_Aes128Block_Encrypt_OpenSsl(benchmark::State& state) {
    ::AES_KEY key;
    AES_set_encrypt_key(kKey, 128, &key);
    unsigned char block[16] = {};
    for (auto _ : state) {
        AES_encrypt(block, block, &key);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * 16));
}
BENCHMARK(BM_Aes128Block_Encrypt_OpenSsl);

void BM_Aes128Block_Decrypt_Vemlo(benchmark::State& state) {
    stAesKeySt key;
    Aes::AESSetDecryptKey(kKey, 128, &key);
    unsigned char block[16] = {};
    for (auto _ : state) {
        Aes::AESDecrypt(block, block, &key);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * 16));
}
BENCHMARK(BM_Aes128Block_Decrypt_Vemlo);

void BM_Aes128Block_Decrypt_OpenSsl(benchmark::State& state) {
    ::AES_KEY key;
    AES_set_decrypt_key(kKey, 128, &key);
    unsigned char block[16] = {};
    for (auto _ : state) {
        AES_decrypt(block, block, &key);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * 16));
}
BENCHMARK(BM_Aes128Block_Decrypt_OpenSsl);

void aesCbcVemlo(benchmark::State& state, int direction) {
    stAesKeySt key;
    if (direction == AES_ENCRYPT_) {
        Aes::AESSetEncryptKey(kKey, 128, &key);
    } else {
        Aes::AESSetDecryptKey(kKey, 128, &key);
    }
    const auto& data = randomBytes();
    std::vector<unsigned char> out(kMiB);
    unsigned char iv[16] = {};
    for (auto _ : state) {
        Aes::AESCbcEncrypt(data.data(), out.data(), kMiB, &key, iv, direction);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kMiB));
}

void aesCbcOpenSsl(benchmark::State& state, int encrypt) {
    EVP_CIPHER_CTX* ctx = EVP_CIPHER_CTX_new();
    unsigned char iv[16] = {};
    EVP_CipherInit_ex(ctx, EVP_aes_128_cbc(), nullptr, kKey, iv, encrypt);
    EVP_CIPHER_CTX_set_padding(ctx, 0);
    const auto& data = randomBytes();
    std::vector<unsigned char> out(kMiB + 16);
    for (auto _ : state) {
        int n = 0;
        EVP_CipherUpdate(ctx, out.data(), &n, data.data(), static_cast<int>(kMiB));
        benchmark::ClobberMemory();
    }
    EVP_CIPHER_CTX_free(ctx);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kMiB));
}

void BM_Aes128Cbc_Encrypt_Vemlo(benchmark::State& state) {
    aesCbcVemlo(state, AES_ENCRYPT_);
}
void BM_Aes128Cbc_Encrypt_OpenSsl(benchmark::State& state) {
    aesCbcOpenSsl(state, 1);
}
void BM_Aes128Cbc_Decrypt_Vemlo(benchmark::State& state) {
    aesCbcVemlo(state, AES_DECRYPT_);
}
void BM_Aes128Cbc_Decrypt_OpenSsl(benchmark::State& state) {
    aesCbcOpenSsl(state, 0);
}
BENCHMARK(BM_Aes128Cbc_Encrypt_Vemlo);
BENCHMARK(BM_Aes128Cbc_Encrypt_OpenSsl);
BENCHMARK(BM_Aes128Cbc_Decrypt_Vemlo);
BENCHMARK(BM_Aes128Cbc_Decrypt_OpenSsl);

// ---- Base64 ---------------------------------------------------------------

void base64EncodeVemlo(benchmark::State& state, size_t length) {
    auto& data = const_cast<std::vector<unsigned char>&>(randomBytes());
    for (auto _ : state) {
        int outLen = 0;
        char* text = Base64::_base64_encode(data.data(), static_cast<int>(length), &outLen);
        benchmark::DoNotOptimize(text);
        std::free(text);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * length));
}

void base64EncodeOpenSsl(benchmark::State& state, size_t length) {
    const auto& data = randomBytes();
    std::vector<unsigned char> out(length / 3 * 4 + 8);
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            EVP_EncodeBlock(out.data(), data.data(), static_cast<int>(length)));
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * length));
}

void base64CEncodeVemlo(benchmark::State& state, size_t length) {
    auto& data = const_cast<std::vector<unsigned char>&>(randomBytes());
    Base64C codec;
    for (auto _ : state) {
        int outLen = 0;
        char* text = codec.Base64Encode(data.data(), static_cast<int>(length), &outLen);
        benchmark::DoNotOptimize(text);
        std::free(text);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * length));
}

void BM_Base64Encode1MiB_Vemlo(benchmark::State& state) {
    base64EncodeVemlo(state, kMiB);
}
void BM_Base64Encode1MiB_OpenSsl(benchmark::State& state) {
    base64EncodeOpenSsl(state, kMiB);
}
void BM_Base64CEncode1MiB_Vemlo(benchmark::State& state) {
    base64CEncodeVemlo(state, kMiB);
}
void BM_Base64Encode57_Vemlo(benchmark::State& state) {
    base64EncodeVemlo(state, kLine);
}
void BM_Base64Encode57_OpenSsl(benchmark::State& state) {
    base64EncodeOpenSsl(state, kLine);
}
void BM_Base64CEncode57_Vemlo(benchmark::State& state) {
    base64CEncodeVemlo(state, kLine);
}
BENCHMARK(BM_Base64Encode1MiB_Vemlo);
BENCHMARK(BM_Base64Encode1MiB_OpenSsl);
BENCHMARK(BM_Base64CEncode1MiB_Vemlo);
BENCHMARK(BM_Base64Encode57_Vemlo);
BENCHMARK(BM_Base64Encode57_OpenSsl);
BENCHMARK(BM_Base64CEncode57_Vemlo);

// The Base64 text of the random MiB, NUL-terminated.
std::vector<unsigned char>& encodedMiB() {
    static std::vector<unsigned char> text = [] {
        std::vector<unsigned char> out(kMiB / 3 * 4 + 8);
        const int n = EVP_EncodeBlock(out.data(), randomBytes().data(), static_cast<int>(kMiB));
        out.resize(static_cast<size_t>(n) + 1);
        out.back() = '\0';
        return out;
    }();
    return text;
}

// Decoding speed is given per byte of decoded output (1 MiB).
void BM_Base64Decode1MiB_Vemlo(benchmark::State& state) {
    auto& text = encodedMiB();
    std::vector<unsigned char> out(text.size() / 4 * 3 + 3);
    for (auto _ : state) {
        benchmark::DoNotOptimize(Base64::_base64_decode(text.data(), 0, out.data()));
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kMiB));
}
BENCHMARK(BM_Base64Decode1MiB_Vemlo);

void BM_Base64Decode1MiB_OpenSsl(benchmark::State& state) {
    auto& text = encodedMiB();
    std::vector<unsigned char> out(text.size() / 4 * 3 + 3);
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            EVP_DecodeBlock(out.data(), text.data(), static_cast<int>(text.size() - 1)));
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kMiB));
}
BENCHMARK(BM_Base64Decode1MiB_OpenSsl);

void BM_Base64CDecode1MiB_Vemlo(benchmark::State& state) {
    auto& data = const_cast<std::vector<unsigned char>&>(randomBytes());
    Base64C codec;
    int outLen = 0;
    char* text = codec.Base64Encode(data.data(), static_cast<int>(kMiB), &outLen);
    std::vector<unsigned char> out(kMiB + 16);
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            codec.Base64Decode(reinterpret_cast<unsigned char*>(text), outLen - 1, out.data()));
        benchmark::ClobberMemory();
    }
    std::free(text);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kMiB));
}
BENCHMARK(BM_Base64CDecode1MiB_Vemlo);

} // namespace

int main(int argc, char** argv) {
    if (std::getenv("OPENSSL_ia32cap") == nullptr) {
        // OpenSSL reads the mask when it loads, so it must be in the
        // environment from the start: run again with it.
        setenv("OPENSSL_ia32cap", "~0x200020200000000", 1);
        execv("/proc/self/exe", argv);
    }
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
