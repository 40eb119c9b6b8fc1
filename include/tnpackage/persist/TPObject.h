// The root of the persistent records: the first eight bytes of every record.
//
// A record's bytes are the object's bytes: the header fields are the object's first members,
// little-endian 16-bit words, and there are no virtual functions to put anything in front of
// them. A class derived from TPSaveObject whose own fields are fixed-width integers laid out
// without gaps is therefore its own record, byte for byte.
#pragma once

#include <tnpackage/Export.h>

#include <bit>
#include <cstdint>

namespace tn {

static_assert(std::endian::native == std::endian::little,
              "records are little-endian and are the objects' own bytes");

class TN_EXPORT TPObject {
  public:
    /// "ZK": 0x5A then 0x4B.
    static constexpr std::uint16_t kMagic = 0x4B5A;
    /// Length of the full header of a saved record (TPObject and TPSaveObject fields).
    static constexpr int kHeaderSize = 16;

    std::uint16_t Magic;
    std::uint16_t Size;     ///< record length in bytes, header included
    std::uint16_t Type;     ///< type number of the record's class
    std::uint16_t Version;  ///< record version; readers skip records below their minimum

    /// Type 0, size 8, version 1.
    constexpr TPObject() noexcept : TPObject(0, 8, 1) {}
    constexpr TPObject(std::uint16_t type, std::uint16_t size, std::uint16_t version) noexcept
        : Magic(kMagic), Size(size), Type(type), Version(version) {}

    constexpr void Init(std::uint16_t type, std::uint16_t size, std::uint16_t version) noexcept {
        Type = type;
        Size = size;
        Version = version;
    }

    /// CRC-16 of the payload (the bytes after the 16-byte header); 0 when there is none.
    std::uint16_t CheckSumme() const;
    /// Whether the payload's CRC-16 equals `expected`; false when there is no payload.
    bool CheckSumCheck(std::uint16_t expected) const;
    /// Fills the object from the record at `source`, as many bytes as that record's size says
    /// but never more than this object's own size; `source` is not advanced.
    void Copy(void*& source);
};

}  // namespace tn
