// The command set of one flash chip, and how the pair on the 16-bit bus sees it: the two chips
// sit side by side, one per byte lane, so a command reaches both as a word holding its byte
// twice, at the byte offset of twice the chip's address.
#pragma once

#include <cstdint>

namespace tn::flash {

namespace chip {
inline constexpr std::uint32_t kUnlockAddress = 0x5555;
inline constexpr std::uint32_t kUnlockAddress2 = 0x2AAA;
inline constexpr std::uint8_t kUnlock1 = 0xAA;
inline constexpr std::uint8_t kUnlock2 = 0x55;
inline constexpr std::uint8_t kEraseSetup = 0x80;
inline constexpr std::uint8_t kProgram = 0xA0;
inline constexpr std::uint8_t kSectorErase = 0x30;
inline constexpr std::uint8_t kChipErase = 0x10;
// Status bits while an operation runs.
inline constexpr std::uint8_t kDQ7 = 0x80;  // the complement of the bit being written
inline constexpr std::uint8_t kDQ6 = 0x40;  // toggles on every read
inline constexpr std::uint8_t kDQ5 = 0x20;  // time limit exceeded
inline constexpr std::uint8_t kDQ3 = 0x08;  // the erase has started
inline constexpr std::uint8_t kErased = 0xFF;
}  // namespace chip

/// A chip's byte as the word both chips receive.
constexpr std::uint16_t BothChips(std::uint8_t value) {
    return static_cast<std::uint16_t>(value * 0x0101u);
}
/// A chip's address as the byte offset on the pair's bus.
constexpr std::uint32_t PairOffset(std::uint32_t chipAddress) {
    return chipAddress * 2;
}

static_assert(BothChips(0x12) == 0x1212 && BothChips(0xFF) == 0xFFFF);
static_assert(PairOffset(chip::kUnlockAddress) == 0xAAAA);   // word 0x5555
static_assert(PairOffset(chip::kUnlockAddress2) == 0x5554);  // word 0x2AAA

}  // namespace tn::flash
