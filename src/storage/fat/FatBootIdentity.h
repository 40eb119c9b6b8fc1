// What a FAT boot sector says about its volume to someone listing drives: the name Windows
// shows for the file system, the volume id and the label.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "storage/fat/FatLayout.h"
#include "util/LittleEndian.h"

namespace tn::fat {

struct BootIdentity {
    std::string fileSystem;  ///< "FAT" or "FAT32", as Windows names them
    std::uint32_t serial = 0;
    std::string label;  ///< empty when the volume has none
};

inline std::string TrimmedField(const std::uint8_t* field, int length) {
    std::string text(reinterpret_cast<const char*>(field), static_cast<std::size_t>(length));
    while (!text.empty() && (text.back() == ' ' || text.back() == '\0'))
        text.pop_back();
    return text;
}

/// The identity in a volume's first sector, or nothing when the sector is shorter than a boot
/// sector, lacks the signature, or has no extended fields (then it names neither id nor label).
inline std::optional<BootIdentity> ReadBootIdentity(const std::uint8_t* sector,
                                                    std::size_t length) {
    if (sector == nullptr || length < static_cast<std::size_t>(kBootSectorMinimum) ||
        ReadLE16(sector + kBootSignature) != kSignature) {
        return std::nullopt;
    }
    // FAT32 has no 16-bit FAT size; its extended fields follow its longer parameter block.
    const bool fat32 = ReadLE16(sector + kBootSectorsPerFAT) == 0;
    const int shift = fat32 ? kBootFat32Shift : 0;
    if (sector[kBootExtendedSignature + shift] != kExtendedSignature) return std::nullopt;
    BootIdentity id;
    id.fileSystem = fat32 ? "FAT32" : "FAT";
    id.serial = ReadLE32(sector + kBootVolumeId + shift);
    id.label = TrimmedField(sector + kBootVolumeLabel + shift, kBootVolumeLabelLength);
    const auto* noName = reinterpret_cast<const std::uint8_t*>(kNoNameLabel);
    if (id.label == TrimmedField(noName, kBootVolumeLabelLength)) id.label.clear();
    return id;
}

}  // namespace tn::fat
