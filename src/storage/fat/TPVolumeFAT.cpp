// A FAT12/FAT16 volume: geometry, the FAT in memory, the one-sector buffer and the listing of
// the directory tree.
#include <tnpackage/frame/Globals.h>
#include <tnpackage/storage/FatGlobals.h>
#include <tnpackage/storage/TPDateiInfo.h>
#include <tnpackage/storage/TPDirList.h>
#include <tnpackage/storage/TPSpeicher.h>
#include <tnpackage/storage/TPVerzeichnisInfo.h>
#include <tnpackage/storage/TPVolumeFAT.h>
#include <tnpackage/storage/TPVolumeInfo.h>
#include <tnpackage/text/TPStringList.h>
#include <tnpackage/util/TPLogFile.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <string>

#include "storage/fat/FatLayout.h"
#include "storage/fat/FatMessages.h"
#include "storage/fat/FatNames.h"

namespace tn {

namespace {

// Progress warnings of the mount steps, for diagnosing a host's heap; never on in a release.
constexpr bool kMountDiagnostics = false;

void MountDiagnostic(const char* step) {
    if (!kMountDiagnostics) return;
    Warning(TPString(step, 0));
    Warning(TPString("Heap=0x00000000", 0));
}

bool IsPowerOfTwo(unsigned v) {
    return v != 0 && (v & (v - 1)) == 0;
}

std::uint8_t TypeOfClusters(std::int64_t clusters, std::uint8_t previous) {
    if (clusters < fat::kClusters12Limit) return fat::kType12;
    if (clusters < fat::kClusters16Limit) return fat::kType16;
    return previous;
}

const char* TypeName(std::uint8_t type) {
    return type == fat::kType12 ? "FAT12" : fat::Is16BitType(type) ? "FAT16" : "?";
}

// The FAT32 layout keeps its FAT size at 36 only, and has no fixed root area or names itself.
bool HasFat32Layout(const unsigned char* boot) {
    if (ReadLE16(boot + fat::kBootSectorsPerFAT) != 0) return false;
    return ReadLE16(boot + fat::kBootRootEntries) == 0 ||
           std::memcmp(boot + fat::kBootFat32TypeText, fat::kFat32TypeText,
                       fat::kBootTypeTextLength) == 0;
}

}  // namespace

// ---- construction -------------------------------------------------------------------------------

TPVolumeFAT::TPVolumeFAT(TPSpeicher* medium, char driveLetter, int base) {
    Valid = true;
    StopAll = false;
    sectorBuffer_ = new unsigned char[kMaxSectorSize]();
    Medium = medium;
    DriveLetter = driveLetter;
    VolumeBase = base;
    WorkingAddress = base;
    bufferedAddress_ = base;
    if (Medium == nullptr || base < 0) {
        fat::Warn("FAT-Volume: kein Medium");
        mountResult_ = MountResult::NoMedium;
        Valid = false;
        return;
    }
    if (Medium->BlockSize < 1 || Medium->BlockSize > kMaxSectorSize) {
        fat::Warn(
            "FAT-Volume: Blockgr\xF6\xDF"
            "e des Mediums ung\xFCltig");
        mountResult_ = MountResult::BadBlockSize;
        Valid = false;
        return;
    }
    Medium->ReadBlock(sectorBuffer_, base);
    if (!IsFATSector(sectorBuffer_)) {
        mountResult_ = MountResult::NoFileSystem;
        return;
    }
    mountResult_ = Mount();
    if (mountResult_ != MountResult::Mounted) {
        Valid = false;
        return;
    }
    MountDiagnostic("Test 1");
    ReadClusterBuffer();
    MountDiagnostic("Test 2");
    Root = new TPVerzeichnisInfo(this);
    MountDiagnostic("Test 3");
    if (LogEveryEntry && LogFile != nullptr) LogFile->Write(VolumeString() + "FAT");
    CreateList();
}

TPVolumeFAT::MountResult TPVolumeFAT::Mount() {
    const unsigned char* boot = sectorBuffer_;
    standard_ = FATStandard;
    ReadBootFields(boot);
    const std::string where = std::string("FAT-Volume ") + DriveLetter + ": ";
    const MountResult geometry = CheckGeometry(boot, where);
    if (geometry != MountResult::Mounted) return geometry;
    DeriveType(boot, where);
    DeriveLayout();
    return MountResult::Mounted;
}

void TPVolumeFAT::ReadBootFields(const unsigned char* b) {
    BytesPerSector = ReadLE16(b + fat::kBootBytesPerSector);
    SectorsPerCluster = b[fat::kBootSectorsPerCluster];
    ReservedSectors = ReadLE16(b + fat::kBootReservedSectors);
    NumberOfFATs = b[fat::kBootNumberOfFATs];
    RootEntries = ReadLE16(b + fat::kBootRootEntries);
    TotalSectors = ReadLE16(b + fat::kBootTotalSectors16);
    if (TotalSectors == 0) TotalSectors = ReadLE32(b + fat::kBootTotalSectors32);
    MediaDescriptor = b[fat::kBootMedia];
    SectorsPerFAT = ReadLE16(b + fat::kBootSectorsPerFAT);
    if (SectorsPerFAT == 0) SectorsPerFAT = ReadLE16(b + fat::kBootSectorsPerFAT32Low);
    SectorsPerTrack = ReadLE16(b + fat::kBootSectorsPerTrack);
    Heads = ReadLE16(b + fat::kBootHeads);
    HiddenSectors = ReadLE16(b + fat::kBootHiddenSectors);
}

void TPVolumeFAT::DeriveType(const unsigned char* b, const std::string& where) {
    ClusterCount = static_cast<std::int32_t>(TotalSectors / SectorsPerCluster);
    const std::uint8_t bySectors = TypeOfClusters(ClusterCount, FATType);
    const std::uint8_t byData = TypeOfClusters(dataClusters_, FATType);
    typeByCount_ = TypeOfClusters(ClusterCount, 0);
    FATType = standard_ || FATTypeByDataClusters ? byData : bySectors;
    const std::string text(reinterpret_cast<const char*>(b + fat::kBootTypeText), 5);
    const bool textNamesType = text == "FAT12" || text == "FAT16";
    // A standard volume is typed as FAT defines it; a disagreement is no news there.
    if (!standard_ && (bySectors != byData || (textNamesType && text != TypeName(FATType)))) {
        fat::Warn(where + "FAT-Typ " + TypeName(FATType) + " (Cluster " +
                  std::to_string(ClusterCount) + ", Datencluster " + std::to_string(dataClusters_) +
                  ", Bootsektor '" + (textNamesType ? text : std::string("-")) + "')");
    }
}

void TPVolumeFAT::DeriveLayout() {
    const std::int64_t bps = BytesPerSector;
    VolumeSize = static_cast<std::uint32_t>(bps * TotalSectors);
    FATAddress = static_cast<std::uint32_t>(VolumeBase + bps * ReservedSectors);
    FATSize = static_cast<std::uint32_t>(SectorsPerFAT * bps);
    ClusterSize = static_cast<std::uint32_t>(SectorsPerCluster * bps);
    RootAddress = FATAddress + NumberOfFATs * FATSize;
    ClusterBase = RootAddress + 32u * RootEntries - 2u * ClusterSize;

    // Clusters the FAT can describe and the data area can hold.
    const std::int64_t entries = FATType == fat::kType12     ? FATSize * 2 / 3
                                 : fat::Is16BitType(FATType) ? FATSize / 2
                                                             : 0;
    dataLimit_ = static_cast<std::int32_t>(std::min<std::int64_t>(dataClusters_ + 2, entries));

    Medium->BlockSize = BytesPerSector;
    FATBuffer = new unsigned char[FATSize]();
    bitmapWords_ = (SectorsPerFAT + 31) >> 5;
    dirtyBitmap_.assign(static_cast<std::size_t>(bitmapWords_), 0u);
    fatSectorFlags_.assign(static_cast<std::size_t>(std::max(ClusterCount, 0)), 0);
}

TPVolumeFAT::MountResult TPVolumeFAT::CheckGeometry(const unsigned char* b,
                                                    const std::string& where) {
    if (!IsPowerOfTwo(BytesPerSector) || BytesPerSector < 512 || BytesPerSector > kMaxSectorSize) {
        fat::Warn(where + "Bytes pro Sektor ung\xFCltig (" + std::to_string(BytesPerSector) + ")");
        return MountResult::BadGeometry;
    }
    const auto refuseFat32 = [&where] {
        fat::Warn(where + "FAT32 volumes are not supported");
        return MountResult::FAT32;
    };
    if (HasFat32Layout(b)) return refuseFat32();
    if (SectorsPerCluster == 0 || NumberOfFATs == 0 || SectorsPerFAT == 0 || TotalSectors == 0) {
        fat::Warn(where + "Bootsektor unvollst\xE4ndig");
        return MountResult::BadGeometry;
    }
    const std::int64_t bps = BytesPerSector;
    const std::int64_t rootSectors = (32 * std::int64_t{RootEntries} + bps - 1) / bps;
    const std::int64_t firstDataSector =
        std::int64_t{ReservedSectors} + std::int64_t{NumberOfFATs} * SectorsPerFAT + rootSectors;
    const std::int64_t volumeEnd = std::int64_t{VolumeBase} + bps * TotalSectors;
    const std::int64_t mediumSize = Medium->MediumSize();
    missingBytes_ = mediumSize >= 0 ? std::max<std::int64_t>(volumeEnd - mediumSize, 0) : 0;
    if (firstDataSector <= TotalSectors) {
        dataClusters_ = (TotalSectors - firstDataSector) / SectorsPerCluster;
        typeByData_ = TypeOfClusters(dataClusters_, 0);
        if (dataClusters_ >= fat::kClusters16Limit) return refuseFat32();
    }
    if (volumeEnd > std::numeric_limits<std::int32_t>::max()) {
        fat::Warn(where + "Adressen passen nicht in 32 Bit");
        return MountResult::OutOfRange;
    }
    if (firstDataSector > TotalSectors) {
        fat::Warn(where +
                  "FAT gr\xF6\xDF"
                  "er als das Volume");
        return MountResult::BadGeometry;
    }
    const std::int64_t fatEnd =
        std::int64_t{VolumeBase} + (std::int64_t{ReservedSectors} + SectorsPerFAT) * bps;
    if (mediumSize >= 0 && fatEnd > mediumSize) {
        fat::Warn(where +
                  "FAT gr\xF6\xDF"
                  "er als das Medium");
        return MountResult::FatBeyondMedium;
    }
    return MountResult::Mounted;
}

TPVolumeFAT::~TPVolumeFAT() {
    delete Root;
    delete[] FATBuffer;
    delete[] sectorBuffer_;
}

// ---- areas and sectors -------------------------------------------------------------------------

bool TPVolumeFAT::InVolume(std::int64_t address, std::int64_t length) const {
    return FATBuffer != nullptr && address >= VolumeBase && length >= 0 &&
           address + length <= std::int64_t{VolumeBase} + VolumeSize;
}

bool TPVolumeFAT::InDataArea(std::int64_t address, std::int64_t length) const {
    const std::int64_t start = std::int64_t{RootAddress} + 32 * std::int64_t{RootEntries};
    const std::int64_t end = start + std::int64_t{std::max(dataLimit_ - 2, 0)} * ClusterSize;
    return InVolume(address, length) && address >= start && address + length <= end;
}

void TPVolumeFAT::ForgetSector(std::int64_t address) {
    if (address >= bufferedAddress_ && address < bufferedAddress_ + BytesPerSector) {
        bufferedAddress_ = -1;
    }
}

bool TPVolumeFAT::ReadSector(std::int64_t address, unsigned char* buffer) {
    if (!InVolume(address, BytesPerSector)) {
        std::memset(buffer, 0, BytesPerSector);
        fat::Warn(
            "FAT: Lesen au\xDF"
            "erhalb des Volumes (" +
            fat::Hex(address) + ")");
        return false;
    }
    Medium->ReadBlock(buffer, address);
    return true;
}

bool TPVolumeFAT::WriteSector(std::int64_t address, const unsigned char* buffer) {
    if (!InVolume(address, BytesPerSector) || address < RootAddress) {
        fat::Warn(
            "FAT: Schreiben au\xDF"
            "erhalb des Datenbereichs (" +
            fat::Hex(address) + ")");
        return false;
    }
    Medium->WriteBlock(buffer, address);
    return true;
}

bool TPVolumeFAT::ReadBuffered(std::int64_t address) {
    bufferedAddress_ = address;
    return ReadSector(address, sectorBuffer_);
}

void TPVolumeFAT::Write(int address, char* data, int length) {
    if (address == 0 || FATBuffer == nullptr || data == nullptr || length < 0) return;
    std::int64_t offset;
    if (address >= bufferedAddress_ && address < bufferedAddress_ + BytesPerSector) {
        offset = address - bufferedAddress_;
    } else {
        offset = address % BytesPerSector;
        if (!ReadBuffered(address - offset)) return;
    }
    if (offset + length > BytesPerSector) {
        fat::Warn(
            "FAT: Schreiben \xFC"
            "ber das Sektorende (" +
            fat::Hex(address) + ")");
        length = static_cast<int>(BytesPerSector - offset);
    }
    std::memcpy(sectorBuffer_ + offset, data, static_cast<std::size_t>(length));
    WriteSector(bufferedAddress_, sectorBuffer_);
}

void TPVolumeFAT::Write(TPDirEintrag* entry) {
    if (entry == nullptr || entry->EntryAddress == 0 || FATBuffer == nullptr) return;
    const std::int64_t offset = entry->EntryOffset;
    if (offset < 0 || offset + TPDirEintrag::kEntrySize > BytesPerSector) return;
    const std::int64_t sector = std::int64_t{entry->EntryAddress} - offset;
    if (sector != bufferedAddress_ && !ReadBuffered(sector)) return;
    std::memcpy(sectorBuffer_ + offset, entry->Entry, TPDirEintrag::kEntrySize);
    WriteSector(bufferedAddress_, sectorBuffer_);
}

// ---- registry and geometry --------------------------------------------------------------------

TPString TPVolumeFAT::VolumeString() {
    return TPString(DriveLetter) + ":\\";
}

int TPVolumeFAT::GetSectorSize(const TPVolumeFAT* volume) {
    return volume == nullptr ? 512 : volume->BytesPerSector;
}

int TPVolumeFAT::RootEnde() {
    return static_cast<int>(ClusterBase + 2u * ClusterSize);
}

TPDirList* TPVolumeFAT::RootList() {
    return Root != nullptr ? Root->List : nullptr;
}

void TPVolumeFAT::CreateList() {
    Current = Root;
    if (Root != nullptr) DirListing(Root);
}

}  // namespace tn
