// The system area of a fresh volume (boot sector, both FATs, root directory) and the rules for
// its label.
#include <tnpackage/storage/FatFormat.h>

#include <cctype>
#include <cstring>
#include <string>

#include "storage/fat/FatFormatLayout.h"
#include "util/LittleEndian.h"

namespace tn {
namespace {

// A short jump over the parameter block to the stub below.
constexpr std::uint8_t kJump[] = {0xEB, 0x3C, 0x90};
static_assert(fat::kBootJump + sizeof kJump == fat::kBootOemName);
static_assert(0x3C + 2 == fat::kBootCode);  // the jump lands on the stub
constexpr char kOemName[] = "TNPKG1.0";
static_assert(sizeof kOemName - 1 == fat::kBootOemNameLength);
// int 18h (no bootable medium: let the firmware try the next one), then halt for good.
constexpr std::uint8_t kStub[] = {0xCD, 0x18, 0xF4, 0xEB, 0xFD};
constexpr std::uint8_t kHardDiskDrive = 0x80;
// Above this many sectors the 16-bit total stays 0 and the 32-bit one counts.
constexpr std::uint32_t kTotal16Limit = 0x10000;

void WriteBootSector(std::uint8_t* b, const FatGeometry& g, const std::string& paddedLabel,
                     std::uint32_t serial) {
    using namespace fat;
    std::memcpy(b + kBootJump, kJump, sizeof kJump);
    std::memcpy(b + kBootOemName, kOemName, kBootOemNameLength);
    WriteLE16(b + kBootBytesPerSector, kFormatSector);
    b[kBootSectorsPerCluster] = g.sectorsPerCluster;
    WriteLE16(b + kBootReservedSectors, g.reservedSectors);
    b[kBootNumberOfFATs] = kFormatFats;
    WriteLE16(b + kBootRootEntries, g.rootEntries);
    const bool small = g.totalSectors < kTotal16Limit;
    WriteLE16(b + kBootTotalSectors16, small ? g.totalSectors : 0);
    b[kBootMedia] = kFormatMedia;
    WriteLE16(b + kBootSectorsPerFAT, g.sectorsPerFat);
    WriteLE16(b + kBootSectorsPerTrack, g.sectorsPerTrack);
    WriteLE16(b + kBootHeads, g.heads);
    WriteLE32(b + kBootHiddenSectors, 0);  // the volume starts the image
    WriteLE32(b + kBootTotalSectors32, small ? 0 : g.totalSectors);
    b[kBootDriveNumber] = kHardDiskDrive;
    b[kBootExtendedSignature] = kExtendedSignature;
    WriteLE32(b + kBootVolumeId, serial);
    std::memcpy(b + kBootVolumeLabel, paddedLabel.data(), kBootVolumeLabelLength);
    std::memcpy(b + kBootTypeText, g.fatBits == 12 ? kFat12TypeText : kFat16TypeText,
                kBootTypeTextLength);
    std::memcpy(b + kBootCode, kStub, sizeof kStub);
    WriteLE16(b + kBootSignature, kSignature);
}

// Entry 0 holds the media byte, entry 1 the end of a chain; everything else is free.
void WriteEmptyFat(std::uint8_t* fat, int fatBits) {
    fat[0] = fat::kFormatMedia;
    fat[1] = 0xFF;
    fat[2] = 0xFF;
    if (fatBits == 16) fat[3] = 0xFF;
}

void WriteLabelEntry(std::uint8_t* entry, const std::string& paddedLabel,
                     std::uint32_t fatDateTime) {
    std::memcpy(entry + fat::kEntryName, paddedLabel.data(), fat::kEntryNameLength);
    entry[fat::kEntryAttributes] = fat::kAttrVolume;
    WriteLE32(entry + fat::kEntryTime, fatDateTime);
}

std::vector<std::uint8_t> SystemArea(const FatGeometry& g, const std::string& label,
                                     std::uint32_t serial, std::uint32_t fatDateTime) {
    // A geometry not made by ChooseFatGeometry still gets a boot sector, FATs and a root of
    // their own sectors, or nothing.
    const bool laidOut = g.reservedSectors >= 1 && g.sectorsPerFat >= 1 &&
                         g.rootEntries >= fat::kFormatSector / fat::kEntrySize &&
                         (g.fatBits == 12 || g.fatBits == 16);
    if (!laidOut) return {};
    const std::uint32_t fatsStart = g.reservedSectors;
    const std::uint32_t rootStart = fatsStart + fat::kFormatFats * g.sectorsPerFat;
    const std::uint32_t sectors = rootStart + g.rootEntries * fat::kEntrySize / fat::kFormatSector;
    std::vector<std::uint8_t> area(std::size_t{sectors} * fat::kFormatSector, 0);
    std::uint8_t* b = area.data();
    std::string padded = label.empty() ? std::string(fat::kNoNameLabel) : label;
    padded.resize(fat::kBootVolumeLabelLength, ' ');
    WriteBootSector(b, g, padded, serial);
    for (std::uint32_t f = 0; f < fat::kFormatFats; ++f)
        WriteEmptyFat(b + (fatsStart + f * g.sectorsPerFat) * fat::kFormatSector, g.fatBits);
    if (!label.empty()) WriteLabelEntry(b + rootStart * fat::kFormatSector, padded, fatDateTime);
    return area;
}

}  // namespace

std::vector<std::uint8_t> FatSystemArea(const FatGeometry& g, const std::string& label,
                                        std::uint32_t serial, std::uint32_t fatDateTime) {
    try {
        return SystemArea(g, label, serial, fatDateTime);
    } catch (...) {
        return {};  // only a failed allocation gets here
    }
}

std::string CheckVolumeLabel(std::string& label) {
    try {
        if (label.size() > 11) return "a volume label has at most 11 characters";
        for (char& c : label) {
            const auto u = static_cast<unsigned char>(c);
            // Short names are in the reader's OEM code page: only ASCII reads the same everywhere.
            if (u >= 0x7F) return "a volume label holds ASCII characters only";
            if (u < 0x20 || std::strchr("\"*+,./:;<=>?[\\]|", c) != nullptr) {
                return std::string("a volume label cannot hold '") +
                       (u < 0x20 ? std::string("control character") : std::string(1, c)) + "'";
            }
            c = static_cast<char>(std::toupper(u));
        }
        if (!label.empty() && label[0] == ' ') return "a volume label cannot start with a blank";
        return {};
    } catch (...) {
        return "the label cannot be checked";
    }
}

}  // namespace tn
