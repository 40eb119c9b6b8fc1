// The partition layout buffer of the Windows drive-layout query: queried from the system where
// it has the query, and otherwise built from the master boot record the same way, so that every
// platform reports the same entries and keeps the same five-entry limit.
#include <tnpackage/frame/Messages.h>
#include <tnpackage/storage/PartitionTable.h>
#include <tnpackage/storage/TPDriveLayout.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>

#include "platform/Platform.h"
#include "storage/drives/DriveMap.h"
#include "storage/fat/FatLayout.h"
#include "storage/media/SpeicherMessages.h"
#include "util/LittleEndian.h"

namespace tn {

namespace {

// Field offsets in the buffer and in one entry.
constexpr int kCountOffset = 0;
constexpr int kSignatureOffset = 4;
constexpr int kStartOffset = 0;
constexpr int kLengthOffset = 8;
constexpr int kHiddenOffset = 16;
constexpr int kNumberOffset = 20;
constexpr int kTypeOffset = 24;
constexpr int kBootOffset = 25;
constexpr int kRecognizedOffset = 26;
constexpr int kRewriteOffset = 27;

// Where a master boot record keeps the disk signature.
constexpr int kDiskSignatureOffset = 440;

// Partition types as Windows names them.
constexpr std::uint8_t kFat12 = 0x01;
constexpr std::uint8_t kFat16 = 0x04;
constexpr std::uint8_t kExtended = 0x05;
constexpr std::uint8_t kHuge = 0x06;
constexpr std::uint8_t kIfs = 0x07;
constexpr std::uint8_t kFat32 = 0x0B;
constexpr std::uint8_t kFat32Lba = 0x0C;
constexpr std::uint8_t kLba = 0x0E;
constexpr std::uint8_t kExtendedLba = 0x0F;
constexpr std::uint8_t kLinuxExtended = 0x85;
constexpr std::uint8_t kFaultTolerant = 0x80;

constexpr int kSectorSize = PartitionTable::kSectorSize;

bool IsContainer(std::uint8_t type) {
    return type == kExtended || type == kExtendedLba || type == kLinuxExtended;
}

// The partition types Windows mounts itself; others are listed but not recognised.
bool IsRecognized(std::uint8_t type) {
    const std::uint8_t base = type & static_cast<std::uint8_t>(~0xC0);
    const bool plain = type == kFat12 || type == kFat16 || type == kHuge || type == kIfs ||
                       type == kFat32 || type == kFat32Lba || type == kLba;
    const bool faultTolerant =
        (type & kFaultTolerant) != 0 &&
        (base == kIfs || base == kHuge || base == kFat32 || base == kFat32Lba || base == kLba);
    return plain || faultTolerant;
}

void WarnCannotOpenDevice(const std::string& device) {
    Warning(storage::Owned("CreateFile mit '" + device + "' ist fehlgeschlagen!"));
}

void WarnLayoutFailed(const std::string& source, const std::string& reason) {
    std::string text = "Partitionen von '" + source + "' k\xF6nnen nicht gelesen werden!";
    if (!reason.empty()) text += " (" + reason + ")";
    Warning(storage::Owned(text));
}

void PutEntry(unsigned char* e, std::int64_t start, std::int64_t length, std::uint32_t hidden,
              std::uint32_t number, std::uint8_t type, bool boot) {
    WriteLE64(e + kStartOffset, start);
    WriteLE64(e + kLengthOffset, length);
    WriteLE32(e + kHiddenOffset, hidden);
    WriteLE32(e + kNumberOffset, number);
    e[kTypeOffset] = type;
    e[kBootOffset] = boot ? 1 : 0;
    e[kRecognizedOffset] = IsRecognized(type) ? 1 : 0;
    e[kRewriteOffset] = 0;
}

// The type a volume without partition table is given: what its boot sector calls itself.
std::uint8_t SuperFloppyType(const unsigned char* sector) {
    // The name decides, not what pads it.
    constexpr std::size_t kCompared = 5;
    if (std::memcmp(sector + fat::kBootFat32TypeText, fat::kFat32TypeText, kCompared) == 0) {
        return kFat32Lba;
    }
    if (std::memcmp(sector + fat::kBootTypeText, fat::kFat12TypeText, kCompared) == 0) {
        return kFat12;
    }
    return kHuge;
}

// Builds the layout from the first sector of a disk of `size` bytes, as the Windows query
// would: four entries per partition table, numbers for the partitions that are neither empty
// nor containers, and a volume without a table as one partition over the whole disk.
bool FromFirstSector(TPDriveLayout& layout, const unsigned char* sector, std::int64_t size,
                     const std::string& source) {
    std::memset(layout.Buffer, 0, sizeof layout.Buffer);
    layout.Bytes = 0;
    const PartitionTable table(sector, kSectorSize);
    unsigned char* entries = layout.Buffer + TPDriveLayout::kHeaderSize;
    int count = 0;
    if (table.Kind() == PartitionTable::SectorKind::FatBootSector) {
        PutEntry(entries, 0, size, 0, 1, SuperFloppyType(sector), false);
        count = 1;
    } else if (table.IsValid()) {
        for (int i = 0; i < PartitionTable::kEntries; ++i) {
            if (IsContainer(table.At(i).type)) {
                // Its own table adds four entries more, and they do not fit.
                WarnLayoutFailed(source, "mehr als " + std::to_string(TPDriveLayout::kMaxEntries) +
                                             " Eintr\xE4ge");
                return false;
            }
        }
        std::uint32_t number = 0;
        for (int i = 0; i < PartitionTable::kEntries; ++i) {
            const PartitionTable::Entry& e = table.At(i);
            const bool counted = e.IsUsed();
            PutEntry(entries + i * TPDriveLayout::kEntrySize, counted ? e.Offset() : 0,
                     counted ? e.Length() : 0, counted ? e.firstLba : 0, counted ? ++number : 0,
                     counted ? e.type : 0, counted && e.IsActive());
        }
        count = PartitionTable::kEntries;
        WriteLE32(layout.Buffer + kSignatureOffset, ReadLE32(sector + kDiskSignatureOffset));
    } else {
        WarnLayoutFailed(source, "kein Master Boot Record");
        return false;
    }
    WriteLE32(layout.Buffer + kCountOffset, static_cast<std::uint32_t>(count));
    layout.Bytes =
        static_cast<std::uint32_t>(TPDriveLayout::kHeaderSize + count * TPDriveLayout::kEntrySize);
    return true;
}

// Reads the first sector and the size of a disk or image file and builds the layout from them.
bool FromFile(TPDriveLayout& layout, const std::string& path, bool isDevice) {
    const platform::ScopedFile file(platform::FileOpen(path.c_str(), platform::FileAccess::Read));
    if (!file.IsOpen()) {
        if (isDevice) {
            WarnCannotOpenDevice(path);
        } else {
            storage::WarnCannotOpen(storage::Owned(path));
        }
        return false;
    }
    unsigned char sector[kSectorSize] = {};
    const std::int64_t read = platform::FileRead(file.get(), sector, kSectorSize);
    const std::int64_t size = platform::FileSeek(file.get(), 0, platform::SeekOrigin::End);
    if (read != kSectorSize || size < kSectorSize) {
        WarnLayoutFailed(path, "kein Master Boot Record");
        return false;
    }
    return FromFirstSector(layout, sector, size, path);
}

}  // namespace

bool TPDriveLayout::ReadDrive(TPString drive) {
    std::memset(Buffer, 0, sizeof Buffer);
    Bytes = 0;
    if (drive.Length() < 2 || drive[2] != ':') return false;
    const std::string name = drive.c_str();
    const std::string folder = storage::MappedFolder(name[0]);
    std::string device = folder.empty() ? std::string() : platform::DriveDevice(folder.c_str());
    if (device.empty()) device = "\\\\.\\" + name;
    if (!platform::HasDriveLetters()) {
        if (folder.empty()) {
            WarnCannotOpenDevice(device);
            return false;
        }
        return FromFile(*this, device, true);
    }
    std::uint32_t returned = 0;
    switch (platform::QueryDriveLayout(device.c_str(), Buffer, kBufferSize, returned)) {
        case platform::LayoutQuery::Done:
            Bytes = std::min<std::uint32_t>(returned, kBufferSize);
            if (Bytes == 0) {
                Warning(TPString(0));
                return false;
            }
            return true;
        case platform::LayoutQuery::OpenFailed:
            WarnCannotOpenDevice(device);
            return false;
        case platform::LayoutQuery::QueryFailed:
        case platform::LayoutQuery::Unsupported:
            break;
    }
    WarnLayoutFailed(device, "");
    return false;
}

bool TPDriveLayout::ReadImage(TPString fileName) {
    std::memset(Buffer, 0, sizeof Buffer);
    Bytes = 0;
    return FromFile(*this, ToStdString(fileName), false);
}

int TPDriveLayout::PartitionCount() const {
    if (Bytes < static_cast<std::uint32_t>(kHeaderSize)) return 0;
    const auto returned =
        static_cast<int>((std::min<std::uint32_t>(Bytes, kBufferSize) - kHeaderSize) / kEntrySize);
    const std::uint32_t count = ReadLE32(Buffer + kCountOffset);
    return static_cast<int>(std::min<std::uint32_t>(count, static_cast<std::uint32_t>(returned)));
}

std::uint32_t TPDriveLayout::Signature() const {
    return ReadLE32(Buffer + kSignatureOffset);
}

bool TPDriveLayout::Partition(int index, Entry& entry) const {
    if (index < 0 || index >= PartitionCount()) return false;
    const unsigned char* e = Buffer + kHeaderSize + index * kEntrySize;
    entry.StartingOffset = ReadLE64(e + kStartOffset);
    entry.PartitionLength = ReadLE64(e + kLengthOffset);
    entry.HiddenSectors = ReadLE32(e + kHiddenOffset);
    entry.PartitionNumber = ReadLE32(e + kNumberOffset);
    entry.PartitionType = e[kTypeOffset];
    entry.BootIndicator = e[kBootOffset] != 0;
    entry.RecognizedPartition = e[kRecognizedOffset] != 0;
    entry.RewritePartition = e[kRewriteOffset] != 0;
    return true;
}

TPString TPDriveLayout::Report() const {
    char line[96];
    std::snprintf(line, sizeof line, "Ok %uBytes\nPartCount = %u, Signature = 0x%08X",
                  static_cast<unsigned>(Bytes),
                  static_cast<unsigned>(ReadLE32(Buffer + kCountOffset)),
                  static_cast<unsigned>(Signature()));
    std::string text = line;
    Entry e;
    for (int i = 0; Partition(i, e); ++i) {
        std::snprintf(line, sizeof line, "\nPartition = %d, Type: 0x%02X, No: 0x%08X, Test: %d", i,
                      static_cast<unsigned>(e.PartitionType),
                      static_cast<unsigned>(e.PartitionNumber), e.RecognizedPartition ? 1 : 0);
        text += line;
        if (!e.RecognizedPartition) text += ", n.e.!";
    }
    return storage::Owned(text);
}

}  // namespace tn
