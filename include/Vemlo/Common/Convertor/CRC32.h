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
/// crc_table is the byte-wise table of the reflected polynomial 0xEDB88320. It
/// is stored pre-filled and rebuilt once more on first use: bFlag starts as 1,
/// and the first crc32 call (or a make_crc_table call) fills the table and sets
/// bFlag to 0. The rebuild writes the values already there, so concurrent
/// first calls from several threads are harmless. crc32 itself computes from
/// read-only copies of these values (and derived tables that take eight bytes
/// a step), so its result never depends on what is in crc_table.
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
    /// The byte-wise table of the reflected polynomial 0xEDB88320 (see the
    /// class comment); crc32 does not read it.
    static unsigned int crc_table[256];
};

} // namespace Convertor
} // namespace Common
} // namespace Vemlo

#endif // VEMLO_COMMON_CONVERTOR_CRC32_H
