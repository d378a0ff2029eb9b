//===- Vemlo/Common/Convertor/CRC16.h - CRC-16/KERMIT checksum --*- C++ -*-===//
#ifndef VEMLO_COMMON_CONVERTOR_CRC16_H
#define VEMLO_COMMON_CONVERTOR_CRC16_H

#include <Vemlo/Export.h>

namespace Vemlo {
namespace Common {
namespace Convertor {

/// \brief CRC-16/KERMIT checksum.
///
/// CRC16 computes the 16-bit CRC of the polynomial 0x1021, least significant
/// bit first, starting from 0 with no final XOR (the CRC-16/KERMIT parameter
/// set: "123456789" gives 0x2189). Stateless; safe from any thread.
/// Details: docs/Codecs.md.
class VEMLO_API CRC16 {
public:
    CRC16();
    virtual ~CRC16();

    /// The CRC of `length` bytes of `data` (0 for an empty or null buffer).
    static unsigned int crc16(const unsigned char* data, unsigned int length);
};

} // namespace Convertor
} // namespace Common
} // namespace Vemlo

#endif // VEMLO_COMMON_CONVERTOR_CRC16_H
