//===- Common/Convertor/CodecTestUtil.h - Helpers of the codec tests ------===//
#ifndef VEMLO_TESTS_COMMON_CONVERTOR_CODECTESTUTIL_H
#define VEMLO_TESTS_COMMON_CONVERTOR_CODECTESTUTIL_H

#include <gtest/gtest.h>

#include <cstdlib>
#include <random>
#include <string>
#include <vector>

namespace CodecTest {

using Bytes = std::vector<unsigned char>;

// "00ff10" -> {0x00, 0xff, 0x10}
inline Bytes FromHex(const std::string& hex) {
    Bytes out;
    for (size_t i = 0; i + 1 < hex.size(); i += 2)
        out.push_back(static_cast<unsigned char>(std::stoul(hex.substr(i, 2), nullptr, 16)));
    return out;
}

inline std::string ToHex(const unsigned char* data, size_t length) {
    std::string out;
    for (size_t i = 0; i < length; ++i)
        out += {"0123456789abcdef"[data[i] >> 4], "0123456789abcdef"[data[i] & 0x0f]};
    return out;
}

inline std::string ToHex(const Bytes& data) {
    return ToHex(data.data(), data.size());
}

// The text of a malloc'ed result (which must not be null), freed.
inline std::string Take(char* text) {
    EXPECT_NE(text, nullptr);
    std::string out = text ? text : "";
    std::free(text);
    return out;
}

// Reproducible random bytes: the same seed gives the same inputs on every run.
inline Bytes RandomBytes(std::mt19937& rng, size_t length) {
    Bytes out(length);
    for (auto& b : out)
        b = static_cast<unsigned char>(rng());
    return out;
}

} // namespace CodecTest

#endif // VEMLO_TESTS_COMMON_CONVERTOR_CODECTESTUTIL_H
