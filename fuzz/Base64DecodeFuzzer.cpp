//===- Base64DecodeFuzzer.cpp - Fuzz Base64::_base64_decode ---------------===//
//
// Any bytes as the text (read up to the first NUL). The output buffer is a
// heap block of exactly the promised size, (strlen(text) / 4) * 3 + 3, so
// AddressSanitizer reports any write past it. The result and every byte of
// the output are compared with a plain one-character-at-a-time decoder, and
// the input bytes must survive an encode/decode round trip.
//
//===----------------------------------------------------------------------===//
#include <Vemlo/Common/Convertor/Base64.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>

using namespace Vemlo::Common::Convertor;

namespace {

const char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

int referenceDecode(const unsigned char* in, unsigned char* out) {
    size_t j = 0;
    int count = 0;
    for (; *in != '\0' && *in != '='; ++in) {
        const char* p = std::strchr(kAlphabet, *in);
        if (p == nullptr) {
            continue;
        }
        const auto v = static_cast<unsigned char>(p - kAlphabet);
        switch (count) {
        case 0:
            out[j] = static_cast<unsigned char>(v << 2);
            break;
        case 1:
            out[j++] |= v >> 4;
            out[j] = static_cast<unsigned char>((v & 0x0f) << 4);
            break;
        case 2:
            out[j++] |= v >> 2;
            out[j] = static_cast<unsigned char>((v & 0x03) << 6);
            break;
        default:
            out[j++] |= v;
        }
        count = (count + 1) % 4;
    }
    if (*in == '\0') {
        out[j] = 0;
        return static_cast<int>(j);
    }
    if (count == 2) {
        out[j] = out[j + 1] = 0;
        return static_cast<int>(j);
    }
    if (count == 3) {
        out[j] = 0;
        return static_cast<int>(j);
    }
    return -1;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::unique_ptr<unsigned char[]> text(new unsigned char[size + 1]);
    if (size > 0) {
        std::memcpy(text.get(), data, size);
    }
    text[size] = '\0';
    const std::size_t promised = std::strlen(reinterpret_cast<char*>(text.get())) / 4 * 3 + 3;
    std::unique_ptr<unsigned char[]> out(new unsigned char[promised]);
    std::unique_ptr<unsigned char[]> expected(new unsigned char[promised]);
    std::memset(out.get(), 0xa5, promised);
    std::memset(expected.get(), 0xa5, promised);

    const int n = Base64::_base64_decode(text.get(), static_cast<int>(size), out.get());
    if (n != referenceDecode(text.get(), expected.get()) ||
        std::memcmp(out.get(), expected.get(), promised) != 0) {
        std::abort();
    }

    // Round trip of the raw bytes.
    int outLen = 0;
    char* encoded =
        Base64::_base64_encode(const_cast<std::uint8_t*>(data), static_cast<int>(size), &outLen);
    if (encoded == nullptr) {
        std::abort();
    }
    const std::size_t chars = std::strlen(encoded);
    if (chars != (size + 2) / 3 * 4 ||
        static_cast<std::size_t>(outLen) != (size % 3 == 0 ? chars + 1 : chars)) {
        std::abort();
    }
    std::unique_ptr<unsigned char[]> back(new unsigned char[chars / 4 * 3 + 3]);
    const int m = Base64::_base64_decode(reinterpret_cast<unsigned char*>(encoded), 0, back.get());
    if (m != static_cast<int>(size) || (size > 0 && std::memcmp(back.get(), data, size) != 0)) {
        std::abort();
    }
    std::free(encoded);
    return 0;
}
