//===- Vemlo/Common/Convertor/CRC32.h - CRC-32 checksum ---------*- C++ -*-===//
#ifndef VEMLO_COMMON_CONVERTOR_CRC32_H
#define VEMLO_COMMON_CONVERTOR_CRC32_H

#include <Vemlo/Export.h>

namespace Vemlo {
namespace Common {
namespace Convertor {

/// \brief CRC-32 (ISO-HDLC, as zlib, gzip and PNG) running checksum.
///
/// CRC32 computes the CRC-32 of ISO-HDLC, the checksum of zlib's crc32, gzip
/// and PNG ("123456789" gives 0xCBF43926). It is a running checksum: passing
/// the result of one call as the first argument of the next continues it over
/// concatenated buffers; 0 starts a new one.
///
/// crc_table (the table of the reflected polynomial 0xEDB88320) and bFlag are
/// public data kept for existing callers; crc32 never reads the table, so its
/// result does not depend on it, and concurrent calls are safe.
/// Details: docs/Codecs.md.
class VEMLO_API CRC32 {
public:
    CRC32();
    virtual ~CRC32();

    /// Continues the checksum `crc` (0 to start) over `length` bytes of
    /// `data`. Only the low 32 bits of `crc` are used and the result fits 32
    /// bits. A length of 0 or a null buffer returns `crc` unchanged.
    static unsigned long crc32(unsigned long crc, const unsigned char* data, unsigned int length);

    /// Fills crc_table and clears bFlag.
    static void make_crc_table();

    /// 1 until the table has been rebuilt, then 0.
    static int bFlag;
    /// The byte-wise table of the reflected polynomial 0xEDB88320, stored
    /// pre-filled and rebuilt with the same values on first use, so concurrent
    /// first calls are harmless. crc32 computes from read-only copies (and
    /// derived tables taking eight bytes a step) and does not read it.
    static unsigned int crc_table[256];
};

} // namespace Convertor
} // namespace Common
} // namespace Vemlo

#endif // VEMLO_COMMON_CONVERTOR_CRC32_H
