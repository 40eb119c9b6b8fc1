// The checksum of a record's payload, shared by every persistent record.
#pragma once

#include <cstdint>

namespace tn::detail {

/// CRC-16 of `length` bytes: through the application's shared calculator when it has made one,
/// else CRC-16/XMODEM, which is what that calculator computes for the package's records.
std::uint16_t PayloadChecksum(const void* data, int length);

}  // namespace tn::detail
