// The package's two fixed CRCs: CRC-16/XMODEM over a table filled by InitCRC16, and the CRC-7
// byte that ends a memory-card command frame.
#pragma once

#include <tnpackage/Export.h>

#include <cstdint>

namespace tn {

/// Fills the table of CreateCRC16; until it has run, CreateCRC16 gives 0 for any data.
TN_EXPORT void InitCRC16();
/// CRC-16/XMODEM (polynomial 0x1021, start 0, no reflection) of `len` bytes; 0 for none.
TN_EXPORT std::uint16_t CreateCRC16(const void* data, int len);
/// The same result one table step per byte: the plain form the faster one is checked against.
TN_EXPORT std::uint16_t CreateCRC16ByteByByte(const void* data, int len);
/// The CRC-7/MMC of `len` bytes shifted left by one with the end bit set; 1 for no bytes.
TN_EXPORT std::uint8_t CreateCRC7(const void* data, int len);

}  // namespace tn
