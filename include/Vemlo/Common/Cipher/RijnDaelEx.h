//===- Vemlo/Common/Cipher/RijnDaelEx.h - AES-128, own key ------*- C++ -*-===//
#ifndef VEMLO_COMMON_CIPHER_RIJNDAELEX_H
#define VEMLO_COMMON_CIPHER_RIJNDAELEX_H

#include <Vemlo/Export.h>

#include <cstdint>

namespace Vemlo {
namespace Common {
namespace Cipher {

/// \brief AES-128 (Rijndael with 128-bit blocks and keys) that keeps its key schedule
/// inside the object.
///
/// Enciphers single 16-byte blocks and whole buffers block by block (no
/// chaining, no IV); the static helpers rotate blocks over an array of objects
/// with different keys. A tail of 1 to 15 bytes is copied unchanged, so the
/// output has the input's length (see Enc).
/// Ownership: plain data; the key schedule lives in the object.
/// Threads: not locked; once the key is set, the block operations only read.
/// Failures: none thrown; null keys, buffers or arrays do nothing.
/// Details: docs/Codecs.md.
class VEMLO_API RijnDaelEx {
public:
    /// No key, rounds 0.
    RijnDaelEx();
    ///@{
    /// Member-wise copy: the copy has the same key and schedules.
    RijnDaelEx(const RijnDaelEx& other) = default;
    RijnDaelEx& operator=(const RijnDaelEx& other) = default;
    ///@}

    virtual ~RijnDaelEx();

    /// Sets rounds to 10, copies 16 bytes of `key` and computes both schedules.
    void SetKey(const char* key);

    /// Gives object i of `objects` the 16 key bytes at 16 x i of `keys`. The
    /// number of keys is keyLength / 16 (a remainder is ignored); when it is
    /// not `count`, returns 0 and sets nothing. Returns 1 otherwise.
    static int SetKeys(RijnDaelEx* objects, int count, const char* keys, int keyLength);

    /// The 16 key bytes last given to SetKey (all zero before).
    char* getKey();

    /// One 16-byte block with this object's key; `in` and `out` may be the
    /// same buffer.
    void EncBlock(const char* in, char* out);

    /// Inverse of EncBlock.
    void DecBlock(const char* in, char* out);

    /// Enciphers each whole 16-byte block of `in` independently; a tail of 1
    /// to 15 bytes is copied unchanged. The output has the input's length:
    /// existing data and callers depend on that, so it is kept.
    /// Always returns 1 (also for a length below 1, which does nothing).
    int Enc(const char* in, char* out, int length);

    /// Inverse of Enc; always returns 1.
    int Dec(const char* in, char* out, int length);

    /// Whole blocks in order, block k with objects[k % count]; a tail below 16
    /// bytes is copied unchanged. A length below 1 does nothing.
    static void EncBlock(RijnDaelEx* objects, int count, const char* in, char* out, int length);

    /// Inverse of the static EncBlock with the same objects.
    static void DecBlock(RijnDaelEx* objects, int count, const char* in, char* out, int length);

    ///@{
    /// Class-wide constant tables holding the published Rijndael values. Round
    /// table words pack a column big-endian (row 0 in the high byte).
    static const std::uint8_t sm_S[256];
    static const std::uint8_t sm_Si[256];
    static const std::uint32_t sm_T1[256];
    static const std::uint32_t sm_T2[256];
    static const std::uint32_t sm_T3[256];
    static const std::uint32_t sm_T4[256];
    static const std::uint32_t sm_T5[256];
    static const std::uint32_t sm_T6[256];
    static const std::uint32_t sm_T7[256];
    static const std::uint32_t sm_T8[256];
    static const std::uint32_t sm_U1[256];
    static const std::uint32_t sm_U2[256];
    static const std::uint32_t sm_U3[256];
    static const std::uint32_t sm_U4[256];
    ///@}
    ///@{
    /// GF(2^8) logarithms to base 3 and powers of 3 (sm_log[0] is 0).
    static const int sm_log[256];
    static const int sm_alog[256];
    ///@}
    /// Round constants of the key schedule.
    static const std::uint8_t sm_rcon[30];
    /// Row shifts for block sizes of 128, 192 and 256 bits: for each row the
    /// offset used when enciphering and the one used when deciphering.
    static const int sm_shifts[3][4][2];

private:
    // Field order is the object's binary layout.
    char m_key[16];
    std::uint32_t m_Ke[15][4];
    std::uint32_t m_Kd[15][4];
    char m_work[3][16];
    int m_nRounds;
};

} // namespace Cipher
} // namespace Common
} // namespace Vemlo

#endif // VEMLO_COMMON_CIPHER_RIJNDAELEX_H
