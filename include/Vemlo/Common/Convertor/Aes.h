//===- Vemlo/Common/Convertor/Aes.h - AES block cipher and CBC --*- C++ -*-===//
#ifndef VEMLO_COMMON_CONVERTOR_AES_H
#define VEMLO_COMMON_CONVERTOR_AES_H

#include <Vemlo/Export.h>

namespace Vemlo {
namespace Common {
namespace Convertor {

///@{
/// Directions of Aes::AESCbcEncrypt.
constexpr int AES_ENCRYPT_ = 1;
constexpr int AES_DECRYPT_ = 0;
///@}

/// \brief An expanded AES key, filled by Aes::AESSetEncryptKey or
/// Aes::AESSetDecryptKey.
///
/// An expanded key: 4 x (rounds + 1) round-key words are used, each a
/// big-endian packing of four key bytes (byte 0 in the high byte).
struct stAesKeySt {
    unsigned int rd_key[60]; ///< The round keys; 4 x (rounds + 1) words are used.
    int rounds;              ///< 10, 12 or 14 for 128-, 192- and 256-bit keys.
};
/// The key record under the name existing callers use.
typedef stAesKeySt AES_KEY;

/// \brief Table-driven AES block cipher (128-, 192- and 256-bit keys) with CBC over buffers.
///
/// Table-driven software AES of FIPS-197 (16-byte blocks), fit for processors
/// without AES instructions.
/// Ownership: the object holds no state; every operation works on a key record
/// (stAesKeySt, also AES_KEY) that the caller allocates and owns.
/// Threads: a record filled by AESSetEncryptKey/AESSetDecryptKey is only read
/// afterwards, so several threads may share it.
/// Failures: AESCbcEncrypt stops the process with an assertion message for null
/// buffers or an unknown direction; the block calls do nothing for a record
/// that was never set up or a null pointer.
/// Details: docs/Codecs.md.
class VEMLO_API Aes {
public:
    Aes();
    virtual ~Aes();

    /// Expands `userKey` (`bits` = 128, 192 or 256) into `key` for encryption.
    /// Returns 0 on success, -1 when `userKey` or `key` is null, -2 for any
    /// other bit count; on failure `key` is left untouched.
    static int AESSetEncryptKey(const unsigned char* userKey, int bits, stAesKeySt* key);

    /// Same arguments and results; fills `key` with the decryption schedule
    /// (equivalent inverse cipher) used by AESDecrypt and CBC decryption.
    static int AESSetDecryptKey(const unsigned char* userKey, int bits, stAesKeySt* key);

    /// Enciphers one 16-byte block; `in` and `out` may be the same buffer.
    static void AESEncrypt(const unsigned char* in, unsigned char* out, const stAesKeySt* key);

    /// Deciphers one 16-byte block with a decryption schedule; `in` and `out`
    /// may be the same buffer.
    static void AESDecrypt(const unsigned char* in, unsigned char* out, const stAesKeySt* key);

    /// CBC over `length` bytes with `ivec` (16 bytes) as the chaining value,
    /// read and updated so that consecutive calls continue the chain. `nEnc`
    /// is AES_ENCRYPT_ (with an encryption schedule) or AES_DECRYPT_ (with a
    /// decryption schedule). `ucIn` and `ucOut` may be the same buffer.
    ///
    /// A last partial block of n bytes is handled as if the plaintext were
    /// padded with zero bytes: encryption writes a whole block, so `ucOut`
    /// needs `length` rounded up to 16; decryption reads a whole block from
    /// `ucIn` and writes only n bytes. Length 0 changes nothing.
    ///
    /// Null buffers or another direction abort the process with the messages
    /// "ucIn && ucOut && pKey && ucIvec" and
    /// "(AES_ENCRYPT_ == nEnc) || (AES_DECRYPT_ == nEnc)".
    static void AESCbcEncrypt(const unsigned char* ucIn, unsigned char* ucOut, unsigned long length,
                              const stAesKeySt* pKey, unsigned char* ucIvec, int nEnc);
};

} // namespace Convertor
} // namespace Common
} // namespace Vemlo

#endif // VEMLO_COMMON_CONVERTOR_AES_H
