//===- Vemlo/Common/Convertor/Base64C.h - In 80-column lines ----*- C++ -*-===//
#ifndef VEMLO_COMMON_CONVERTOR_BASE64C_H
#define VEMLO_COMMON_CONVERTOR_BASE64C_H

#include <Vemlo/Export.h>

namespace Vemlo {
namespace Common {
namespace Convertor {

/// \brief Base64 encoding in 80-column CR LF lines, and decoding of such text.
///
/// Standard alphabet with '=' padding, lines of 80 characters ended by CR LF.
/// Ownership: Base64Encode returns a malloc'ed, NUL-terminated buffer the
/// caller frees; Base64Decode writes at most len * 3 / 4 bytes into the
/// caller's buffer, with no NUL.
/// Threads: the object is only read after construction; threads may share it.
/// Failures: null or negative input encodes as empty; the encoder returns null
/// when malloc fails; decoding null input or into null output returns 0.
/// Details: docs/Codecs.md.
class VEMLO_API Base64C {
public:
    /// The standard alphabet and '=' as the padding character.
    Base64C();
    ///@{
    /// Member-wise copy: the same alphabet and padding character.
    Base64C(const Base64C& other) = default;
    Base64C& operator=(const Base64C& other) = default;
    ///@}

    virtual ~Base64C();

    /// Encodes `len` bytes of `in` into new NUL-terminated text. Carriage
    /// return and line feed follow every 80th character, as soon as a group
    /// (the final, padded one included) brings the count to a multiple of 80,
    /// also at the very end. `*outLen` is the number of characters written,
    /// line breaks included, plus one.
    char* Base64Encode(unsigned char* in, int len, int* outLen);

    /// Decodes at most `len` characters of `in` into `out` and returns the
    /// number of bytes written. Carriage returns and line feeds are skipped;
    /// the padding character or any other character outside the alphabet ends
    /// the decoding without an error. A last group of k = 1, 2 or 3 characters
    /// gives k - 1 bytes.
    int Base64Decode(unsigned char* in, int len, unsigned char* out);

    /// 1 for an ASCII letter or digit, '+', '/', carriage return (13) or line
    /// feed (10); otherwise 0.
    int isBase64(unsigned char c);

private:
    // Field order is the object's binary layout.
    char m_szAlphabet[65];
    char m_cPadding;
};

} // namespace Convertor
} // namespace Common
} // namespace Vemlo

#endif // VEMLO_COMMON_CONVERTOR_BASE64C_H
