//===- Vemlo/Common/Convertor/Base64.h - Without line breaks ----*- C++ -*-===//
#ifndef VEMLO_COMMON_CONVERTOR_BASE64_H
#define VEMLO_COMMON_CONVERTOR_BASE64_H

#include <Vemlo/Export.h>

namespace Vemlo {
namespace Common {
namespace Convertor {
/// \brief Base64 encoding and decoding without line breaks, as two stateless functions.
///
/// Standard alphabet (A-Z a-z 0-9 + /) and '=' padding, as two plain
/// functions without state; safe from any number of threads. The length the
/// encoder reports is one too many when the input length is a multiple of 3
/// (see _base64_encode; kept for existing callers, who subtract the one).
/// Ownership: the encoder returns malloc'ed text the caller frees; the decoder
/// writes into the caller's buffer of (strlen(in) / 4) * 3 + 3 bytes.
/// Failures: null or negative input encodes as empty; the encoder returns null
/// when malloc fails; the decoder returns -1 for a null `out`.
/// Details: docs/Codecs.md.
namespace Base64 {

/// Encodes `len` bytes of `in` into new NUL-terminated text without line
/// breaks. `*outLen` is the number of characters when `len` is not a multiple
/// of 3, and the number of characters plus one when it is (an empty input
/// gives "" and 1); kept for existing callers, who subtract the one.
VEMLO_API char* _base64_encode(unsigned char* in, int len, int* outLen);

/// Decodes the NUL-terminated text `in` into `out` (`len` is not used).
/// Characters outside the alphabet are skipped, so line breaks and blanks are
/// ignored. Decoding stops at the NUL or at the first '='.
///  - At the NUL: a NUL is written after the decoded bytes and their number
///    is returned (an empty text writes a single NUL and returns 0).
///  - At '=': after 2 or 3 characters of a group, the partial byte is zeroed
///    (and, after 2, also the byte following it) and the number of complete
///    bytes is returned; after 0 or 1, the padding is misplaced and -1 is
///    returned.
VEMLO_API int _base64_decode(unsigned char* in, int len, unsigned char* out);

} // namespace Base64
} // namespace Convertor
} // namespace Common
} // namespace Vemlo

#endif // VEMLO_COMMON_CONVERTOR_BASE64_H
