// The FAT of a volume in memory: entries read and written in the volume's width, free clusters,
// and the dirty FAT sectors written back to every copy.
#include <tnpackage/storage/TPSpeicher.h>
#include <tnpackage/storage/TPVolumeFAT.h>

#include <algorithm>
#include <cstring>
#include <string>

#include "storage/fat/FatLayout.h"
#include "storage/fat/FatMessages.h"
#include "util/LittleEndian.h"

namespace tn {

namespace {

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
}  // namespace

int TPVolumeFAT::GetCluster(int n) {
    if (FATType == fat::kType12) {
        const int value = Entry12(FATBuffer, FATSize, n);
        if (value < 0) return -1;
        if (standard_) return value >= fat::kFat12Bad ? value - fat::kFat12Values : value;
        return value > fat::kFat12Max ? value | ~0xF : value;
    }
    if (fat::Is16BitType(FATType)) {
        const int value = Entry16(FATBuffer, FATSize, n);
        if (standard_) return value >= fat::kFat16Bad ? value - fat::kFat16Values : value;
        return value < 0 ? 0xFFFF : value;
    }
    return -1;
}

void TPVolumeFAT::SetCluster(int n, int value) {
    const bool wide = fat::Is16BitType(FATType);
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

}  // namespace tn
