// What every volume the package formats has in common, as mkfs.fat makes hard-disk volumes.
#pragma once

#include <cstdint>

#include "storage/fat/FatLayout.h"

namespace tn::fat {

inline constexpr std::uint32_t kFormatSector = 512;
inline constexpr std::uint32_t kFormatFats = 2;
inline constexpr std::uint32_t kFormatRootEntries = 512;
inline constexpr std::uint8_t kFormatMedia = 0xF8;
inline constexpr std::uint32_t kFormatRootSectors = kFormatRootEntries * kEntrySize / kFormatSector;
static_assert(kFormatRootSectors * kFormatSector == kFormatRootEntries * kEntrySize);

}  // namespace tn::fat
