// TPCRC::Check: the trailing CRC of a loaded file.
//
// Such a file carries its own length L as a 32-bit little-endian word at offset 12; the CRC of
// its first L bytes (the length word included) follows at offset L.
#include <tnpackage/crc/TPCRC.h>
#include <tnpackage/frame/Messages.h>
#include <tnpackage/storage/TPDateiInfo.h>
#include <tnpackage/text/Standards.h>

#include <cstdint>

namespace tn {

namespace {

constexpr int kLengthOffset = 12;
constexpr int kWordBytes = 4;
constexpr int kHexDigits = 8;

std::uint32_t ReadLittleEndian32(const unsigned char* p) {
    return static_cast<std::uint32_t>(p[0]) | static_cast<std::uint32_t>(p[1]) << 8 |
           static_cast<std::uint32_t>(p[2]) << 16 | static_cast<std::uint32_t>(p[3]) << 24;
}

TPString Hex(std::uint32_t value) {
    return zkIntToHex(static_cast<int>(value), kHexDigits);
}

}  // namespace

bool TPCRC::Check(TPDateiInfo* datei) const {
    if (datei == nullptr || datei->Block() == nullptr) return false;
    const unsigned char* block = datei->Block();
    const std::int64_t size = datei->BlockLength();
    if (size < kLengthOffset + kWordBytes) {
        Warning(TPString("CRC-Check: Datei zu kurz (") + static_cast<int>(size) + " Bytes)");
        return false;
    }
    const auto length = static_cast<std::int32_t>(ReadLittleEndian32(block + kLengthOffset));
    if (length < 1) return false;
    // A stored CRC behind the end of the block cannot match; it is never read.
    if (std::int64_t{length} + kWordBytes > size) {
        Warning(TPString("CRC-Check: L\xE4nge ") + Hex(static_cast<std::uint32_t>(length)) +
                " gr\xF6\xDF"
                "er als die Datei (" +
                static_cast<int>(size) + " Bytes)");
        return false;
    }
    const std::uint32_t computed = Create(block, length);
    const std::uint32_t stored = ReadLittleEndian32(block + length);
    if (computed == stored) return true;
    Warning(Hex(computed) + " (" + Hex(static_cast<std::uint32_t>(length)) + " Bytes) <==> " +
            Hex(stored));
    return false;
}

}  // namespace tn
