//===- Vemlo/Common/Convertor/Base64.h - Without line breaks ----*- C++ -*-===//
#ifndef VEMLO_COMMON_CONVERTOR_BASE64_H
#define VEMLO_COMMON_CONVERTOR_BASE64_H

#include <Vemlo/Export.h>

namespace Vemlo {
namespace Common {
namespace Convertor {
/// \brief Base64 encoding and decoding without line breaks, as two stateless functions.
///
/// Base64 encoding and decoding with the standard alphabet (A-Z a-z 0-9 + /)
/// and '=' padding, as two plain functions without state; safe to call from
/// any number of threads.
///
/// Kept for existing callers, who subtract the one themselves: when the input
/// length is a multiple of 3 (0 included), the length reported by
/// _base64_encode is one more than the number of characters.
///
/// Ownership: _base64_encode returns a NUL-terminated buffer from malloc that
/// the caller releases with free. _base64_decode writes into the caller's
/// buffer, which must hold (strlen(in) / 4) * 3 + 3 bytes; it never writes
/// more than that.
///
/// Choices for inputs the interface does not define: a null `in` or a
/// negative `len` encodes as the empty input; a null `outLen` is not written;
/// the encoder returns null when malloc fails or the text would not fit an
/// int. The decoder reads a null `in` as the empty text and returns -1 for a
/// null `out`.
namespace Base64 {

/// Encodes `len` bytes of `in` into new NUL-terminated text without line
/// breaks. `*outLen` is the number of characters when `len` is not a multiple
/// of 3, and the number of characters plus one when it is (an empty input
/// gives "" and 1).
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
