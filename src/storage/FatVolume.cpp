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

#include "storage/FatLayout.h"
#include "storage/FatMessages.h"
#include "storage/FatNames.h"

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

bool Is16BitType(std::uint8_t type) {
    switch (type) {
        case 4:
        case 5:
        case 6:
        case 11:
        case 12:
        case 14:
        case 15:
            return true;
        default:
            return false;
    }
}

std::uint8_t TypeOfClusters(std::int64_t clusters, std::uint8_t previous) {
    if (clusters < fat::kClusters12Limit) return fat::kType12;
    if (clusters < fat::kClusters16Limit) return fat::kType16;
    return previous;
}

const char* TypeName(std::uint8_t type) {
    return type == fat::kType12 ? "FAT12" : Is16BitType(type) ? "FAT16" : "?";
}

// The 12-bit entry n as it stands, or -1 when its bytes lie outside the FAT.
int Entry12(const unsigned char* fat, std::int64_t size, int n) {
    const std::int64_t k = 3 * std::int64_t{n / 2};
    const bool odd = (n & 1) != 0;
    if (fat == nullptr || n < 0 || k + (odd ? 2 : 1) >= size) return -1;
    return odd ? (fat[k + 2] << 4) | (fat[k + 1] >> 4) : ((fat[k + 1] & 0x0F) << 8) | fat[k];
}

// The 16-bit entry n as it stands, or -1 when its bytes lie outside the FAT.
int Entry16(const unsigned char* fat, std::int64_t size, int n) {
    const std::int64_t k = 2 * std::int64_t{n};
    if (fat == nullptr || n < 0 || k + 1 >= size) return -1;
    return ReadLE16(fat + k);
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
    const unsigned char* b = sectorBuffer_;
    standard_ = FATStandard;
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

    const std::string where = std::string("FAT-Volume ") + DriveLetter + ": ";
    const MountResult geometry = CheckGeometry(b, where);
    if (geometry != MountResult::Mounted) return geometry;

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
    const std::int64_t bps = BytesPerSector;

    VolumeSize = static_cast<std::uint32_t>(bps * TotalSectors);
    FATAddress = static_cast<std::uint32_t>(VolumeBase + bps * ReservedSectors);
    FATSize = static_cast<std::uint32_t>(SectorsPerFAT * bps);
    ClusterSize = static_cast<std::uint32_t>(SectorsPerCluster * bps);
    RootAddress = FATAddress + NumberOfFATs * FATSize;
    ClusterBase = RootAddress + 32u * RootEntries - 2u * ClusterSize;

    // Clusters the FAT can describe and the data area can hold.
    const std::int64_t entries = FATType == fat::kType12 ? FATSize * 2 / 3
                                 : Is16BitType(FATType)  ? FATSize / 2
                                                         : 0;
    dataLimit_ = static_cast<std::int32_t>(std::min<std::int64_t>(dataClusters_ + 2, entries));

    Medium->BlockSize = BytesPerSector;
    FATBuffer = new unsigned char[FATSize]();
    bitmapWords_ = (SectorsPerFAT + 31) >> 5;
    dirtyBitmap_.assign(static_cast<std::size_t>(bitmapWords_), 0u);
    fatSectorFlags_.assign(static_cast<std::size_t>(std::max(ClusterCount, 0)), 0);
    return MountResult::Mounted;
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

// ---- FAT
// -----------------------------------------------------------------------------------------

int TPVolumeFAT::GetCluster(int n) {
    if (FATType == fat::kType12) {
        const int value = Entry12(FATBuffer, FATSize, n);
        if (value < 0) return -1;
        if (standard_) return value >= fat::kFat12Bad ? value - fat::kFat12Values : value;
        return value > fat::kFat12Max ? value | ~0xF : value;
    }
    if (Is16BitType(FATType)) {
        const int value = Entry16(FATBuffer, FATSize, n);
        if (standard_) return value >= fat::kFat16Bad ? value - fat::kFat16Values : value;
        return value < 0 ? 0xFFFF : value;
    }
    return -1;
}

void TPVolumeFAT::SetCluster(int n, int value) {
    const bool wide = Is16BitType(FATType);
    if (FATType != fat::kType12 && !wide) return;
    if (FATBuffer == nullptr || n < 0) return;
    if (wide && standard_) {
        const std::int64_t at = 2 * std::int64_t{n};
        if (at + 1 >= FATSize) return;
        WriteLE16(FATBuffer + at, static_cast<std::uint32_t>(value));
        MarkDirty(at);  // an even offset: both bytes lie in one sector
        if (value == 0) freeHint_ = std::max(fat::kFirstDataCluster, std::min(freeHint_, n));
        return;
    }
    const std::int64_t k = 3 * std::int64_t{n / 2};
    const bool odd = (n & 1) != 0;
    if (k + (odd ? 2 : 1) >= FATSize || (wide && std::int64_t{n} >= std::int64_t{FATSize})) {
        return;
    }
    if (wide) FATBuffer[n] = static_cast<unsigned char>(value);
    std::int64_t o;
    if (odd) {
        FATBuffer[k + 2] = static_cast<unsigned char>(value >> 4);
        FATBuffer[k + 1] =
            static_cast<unsigned char>(((value << 4) & 0xF0) | (FATBuffer[k + 1] & 0x0F));
        o = k + 1;
    } else {
        FATBuffer[k] = static_cast<unsigned char>(value & 0xFF);
        FATBuffer[k + 1] =
            static_cast<unsigned char>((FATBuffer[k + 1] & 0xF0) | ((value >> 8) & 0x0F));
        o = k;
    }
    MarkDirty(o);
    if ((o + 1) % BytesPerSector == 0) MarkDirty(o + 1);
    // The lowest free cluster can only move down where an entry may have become free.
    const std::int64_t lowest = wide ? std::min<std::int64_t>(n / 2, k / 2) : n;
    if (value == 0 || wide) {
        freeHint_ = static_cast<std::int32_t>(std::max<std::int64_t>(
            fat::kFirstDataCluster, std::min<std::int64_t>(freeHint_, lowest)));
    }
}

void TPVolumeFAT::MarkDirty(std::int64_t offset) {
    const std::int64_t s = offset / BytesPerSector;
    if (s < 0 || s >= std::int64_t{bitmapWords_} * 32) return;
    dirtyBitmap_[static_cast<std::size_t>(s / 32)] |= 1u << (s % 32);
    if (s < static_cast<std::int64_t>(fatSectorFlags_.size())) {
        fatSectorFlags_[static_cast<std::size_t>(s)] |= 1u;
    }
}

int TPVolumeFAT::GetFreeCluster(bool allocate) {
    if (FATBuffer == nullptr) return -1;
    // The package always searched up to total sectors / sectors per cluster, past the data area.
    const std::int32_t end = standard_ ? dataLimit_ : ClusterCount;
    for (std::int32_t n = std::max<std::int32_t>(freeHint_, fat::kFirstDataCluster); n < end; ++n) {
        if (GetCluster(n) == 0) {
            freeHint_ = n;
            if (allocate) SetCluster(n, -1);
            return n;
        }
    }
    freeHint_ = std::max<std::int32_t>(end, fat::kFirstDataCluster);
    return -1;
}

int TPVolumeFAT::TakeDataCluster() {
    const int n = GetFreeCluster(false);
    if (!IsDataCluster(n)) return -1;
    SetCluster(n, -1);
    return n;
}

int TPVolumeFAT::AllocateCluster() {
    const int n = TakeDataCluster();
    if (n < 0) fat::WarnVolumeFull(DriveLetter);
    return n;
}

int TPVolumeFAT::ClusterAdresse(int& n) {
    // A new file's first cluster comes from the data area like every later one: a FAT entry
    // behind it would be marked for a cluster that can hold nothing.
    if (n == 0) n = TakeDataCluster();
    return static_cast<int>(ClusterBase + static_cast<std::uint32_t>(n) * ClusterSize);
}

int TPVolumeFAT::Follow(int c) {
    // A free or reserved entry inside a chain ends it like an end mark (standard volumes read
    // every end and bad mark negative). A cluster past the data area is left to the transfer
    // guards, which report it.
    const int next = GetCluster(c);
    return next < fat::kFirstDataCluster ? -1 : next;
}

void TPVolumeFAT::ClearCluster(int n) {
    if (FATBuffer == nullptr) return;
    std::memset(sectorBuffer_, 0, BytesPerSector);
    const int a = ClusterAdresse(n);
    WorkingAddress = a;
    bufferedAddress_ = a;
    if (!InDataArea(a, ClusterSize)) {
        fat::Warn("FAT: Cluster " + std::to_string(n) +
                  " liegt au\xDF"
                  "erhalb des Volumes");
        return;
    }
    for (int i = 0; i < SectorsPerCluster; ++i) {
        Medium->WriteBlock(sectorBuffer_, std::int64_t{a} + std::int64_t{i} * BytesPerSector);
    }
}

void TPVolumeFAT::ReadClusterBuffer() {
    if (FATBuffer == nullptr) return;
    for (std::uint32_t i = 0; i < FATSize; i += BytesPerSector) {
        Medium->ReadBlock(FATBuffer + i, std::int64_t{FATAddress} + i);
    }
    freeHint_ = fat::kFirstDataCluster;
}

void TPVolumeFAT::WriteClusterBuffer() {
    if (FATBuffer == nullptr) return;
    for (std::int32_t w = 0; w < bitmapWords_; ++w) {
        std::uint32_t& word = dirtyBitmap_[static_cast<std::size_t>(w)];
        for (int j = 0; j < 32 && word != 0; ++j) {
            if ((word & (1u << j)) == 0) continue;
            const std::int64_t s = 32 * std::int64_t{w} + j;
            const std::int64_t p = standard_ ? s * BytesPerSector : s << fat::kFatSectorShift;
            if (p + BytesPerSector <= FATSize) {
                for (int c = 0; c < NumberOfFATs; ++c) {
                    Medium->WriteBlock(FATBuffer + p,
                                       std::int64_t{FATAddress} + p + std::int64_t{c} * FATSize);
                }
            }
            word &= ~(1u << j);
            if (s < static_cast<std::int64_t>(fatSectorFlags_.size())) {
                fatSectorFlags_[static_cast<std::size_t>(s)] &= static_cast<unsigned char>(~1u);
            }
        }
    }
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

// ---- listing
// --------------------------------------------------------------------------------------

bool TPVolumeFAT::DirListing(TPVerzeichnisInfo* dir) {
    if (FATBuffer == nullptr || dir == nullptr || dir->List == nullptr) return false;
    dir->List->Clear();
    listed_.assign(static_cast<std::size_t>(std::max(dataLimit_, 0)), false);
    ListDirectory(dir);
    listed_.clear();
    listed_.shrink_to_fit();
    return true;
}

bool TPVolumeFAT::IsSkippedDotEntry(const unsigned char* entry) const {
    if (entry[0] != '.') return false;
    if (!standard_) return true;
    static constexpr char kDot[] = ".          ";
    static constexpr char kDotDot[] = "..         ";
    static_assert(sizeof(kDot) - 1 == fat::kEntryNameLength);
    static_assert(sizeof(kDotDot) - 1 == fat::kEntryNameLength);
    return std::memcmp(entry, kDot, fat::kEntryNameLength) == 0 ||
           std::memcmp(entry, kDotDot, fat::kEntryNameLength) == 0;
}

void TPVolumeFAT::ListDirectory(TPVerzeichnisInfo* dir) {
    if (dir->Depth > kMaxDepth) {
        fat::Warn("FAT: Verzeichnisse zu tief verschachtelt (" + ToStdString(dir->Name) + ")");
        return;
    }
    // The sectors of the directory: the root area, or the cluster chain.
    std::vector<std::int64_t> sectors;
    if (dir == Root) {
        const std::int64_t bytes = 32 * std::int64_t{RootEntries};
        for (std::int64_t i = 0; i < bytes; i += BytesPerSector)
            sectors.push_back(RootAddress + i);
    } else {
        std::int64_t c = dir->FirstCluster;
        for (std::int32_t steps = 0; steps < dataLimit_ && IsDataCluster(c); ++steps) {
            if (listed_[static_cast<std::size_t>(c)]) {
                fat::Warn("FAT: Verzeichnis-Cluster " + std::to_string(c) + " mehrfach belegt");
                break;
            }
            listed_[static_cast<std::size_t>(c)] = true;
            int n = static_cast<int>(c);
            const std::int64_t a = static_cast<std::uint32_t>(ClusterAdresse(n));
            for (int i = 0; i < SectorsPerCluster; ++i)
                sectors.push_back(a + i * BytesPerSector);
            c = GetCluster(static_cast<int>(c));
        }
    }
    std::vector<TPDirEintrag*> dirs;
    std::vector<TPDirEintrag*> others;
    fat::LongNameCollector lfn;
    std::string longName;
    std::vector<unsigned char> sector(BytesPerSector);
    const std::int64_t rootEnd = std::int64_t{RootAddress} + 32 * std::int64_t{RootEntries};
    bool end = false;
    for (std::size_t s = 0; s < sectors.size() && !end && !StopAll; ++s) {
        if (!ReadSector(sectors[s], sector.data())) break;
        for (int off = 0; off < BytesPerSector; off += fat::kEntrySize) {
            const std::int64_t address = sectors[s] + off;
            if (dir == Root && address >= rootEnd) {
                end = true;
                break;
            }
            unsigned char* e = sector.data() + off;
            if (e[0] == fat::kEndOfDirectory) {
                end = true;
                break;
            }
            if (e[0] == fat::kDeleted) {
                lfn.Reset();
                continue;
            }
            if (e[fat::kEntryAttributes] == fat::kAttrLongName) {
                lfn.Piece(e);
                continue;
            }
            if (IsSkippedDotEntry(e)) {
                lfn.Reset();
                continue;
            }
            lfn.Take(e, longName);
            char* name = longName.empty() ? nullptr : longName.data();
            const int at = static_cast<int>(address);
            const std::uint8_t attr = e[fat::kEntryAttributes];
            if ((attr & fat::kAttrDirectory) != 0) {
                auto* node = new TPVerzeichnisInfo(dir, name, e, at);
                dirs.push_back(node);
                if (OnDirEntry != nullptr) OnDirEntry(node);
            } else if ((attr & fat::kAttrVolume) != 0) {
                others.push_back(new TPVolumeInfo(dir, e, at));
            } else {
                auto* node = new TPDateiInfo(dir, name, e, at);
                others.push_back(node);
                if (OnFileEntry != nullptr) OnFileEntry(node);
            }
        }
    }
    // Directories first, then the rest, each in medium order; one pass, no inserts.
    dir->List->SetCapacity(static_cast<int>(dir->List->Count + dirs.size() + others.size()));
    for (TPDirEintrag* d : dirs)
        dir->List->Add(d);
    for (TPDirEintrag* o : others)
        dir->List->Add(o);
    for (TPDirEintrag* d : dirs) {
        if (StopAll) break;
        ListDirectory(static_cast<TPVerzeichnisInfo*>(d));
    }
}

TPStringList* TPVolumeFAT::VerzeichnisStrings() {
    auto* list = new TPStringList();
    if (Root != nullptr) Root->String(list, TPString());
    return list;
}

}  // namespace tn
