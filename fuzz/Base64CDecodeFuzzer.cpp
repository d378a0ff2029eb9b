//===- Base64CDecodeFuzzer.cpp - Fuzz Base64C::Base64Decode ---------------===//
//
// Any bytes as the input, in a heap block of exactly that size (no NUL), so
// AddressSanitizer reports any read past `len`; the output is a heap block of
// exactly the promised len * 3 / 4 bytes. The result and the output are
// compared with a plain one-character-at-a-time decoder, and the input bytes
// must survive an encode (with line breaks) and decode round trip.
//
//===----------------------------------------------------------------------===//
#include <Vemlo/Common/Convertor/Base64C.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>

using namespace Vemlo::Common::Convertor;

namespace {

const char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

int referenceDecode(const unsigned char* in, std::size_t len, unsigned char* out) {
    unsigned int group[4] = {};
    int k = 0;
    std::size_t j = 0;
    for (std::size_t i = 0; i < len; ++i) {
        const unsigned char c = in[i];
        if (c == '\r' || c == '\n') {
            continue;
        }
        const char* p = c ? std::strchr(kAlphabet, c) : nullptr;
        if (p == nullptr) {
            break; // '=' and everything else outside the alphabet
        }
        group[k++] = static_cast<unsigned int>(p - kAlphabet);
        if (k == 4) {
            out[j++] = static_cast<unsigned char>((group[0] << 2) | (group[1] >> 4));
            out[j++] = static_cast<unsigned char>((group[1] << 4) | (group[2] >> 2));
            out[j++] = static_cast<unsigned char>((group[2] << 6) | group[3]);
            k = 0;
        }
    }
    for (int z = k; z < 4; ++z) {
        group[z] = 0;
    }
    const unsigned char last[3] = {static_cast<unsigned char>((group[0] << 2) | (group[1] >> 4)),
                                   static_cast<unsigned char>((group[1] << 4) | (group[2] >> 2)),
                                   static_cast<unsigned char>((group[2] << 6) | group[3])};
    for (int b = 0; b < k - 1; ++b) {
        out[j++] = last[b];
    }
    return static_cast<int>(j);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Base64C codec;
    std::unique_ptr<unsigned char[]> text(new unsigned char[size]);
    if (size > 0) {
        std::memcpy(text.get(), data, size);
    }
    const std::size_t promised = size * 3 / 4;
    std::unique_ptr<unsigned char[]> out(new unsigned char[promised]);
    std::unique_ptr<unsigned char[]> expected(new unsigned char[promised]);
    std::memset(out.get(), 0xa5, promised);
    std::memset(expected.get(), 0xa5, promised);

    const int n = codec.Base64Decode(text.get(), static_cast<int>(size), out.get());
    if (n != referenceDecode(text.get(), size, expected.get()) ||
        std::memcmp(out.get(), expected.get(), promised) != 0) {
        std::abort();
    }

    // Round trip of the raw bytes through the line-breaking encoder.
    int outLen = 0;
    char* encoded = codec.Base64Encode(text.get(), static_cast<int>(size), &outLen);
    if (encoded == nullptr) {
        std::abort();
    }
    const std::size_t chars = std::strlen(encoded);
    if (static_cast<std::size_t>(outLen) != chars + 1) {
        std::abort();
    }
    std::unique_ptr<unsigned char[]> back(new unsigned char[chars * 3 / 4]);
    const int m = codec.Base64Decode(reinterpret_cast<unsigned char*>(encoded),
                                     static_cast<int>(chars), back.get());
    if (m != static_cast<int>(size) || (size > 0 && std::memcmp(back.get(), data, size) != 0)) {
        std::abort();
    }
    std::free(encoded);
    return 0;
}
