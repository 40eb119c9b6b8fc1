// The folders of a FAT volume on the medium: listing them into the tree, and finding room for
// new entries. Both walk a folder's sectors the same way (WalkDirectory).
#include <tnpackage/frame/Globals.h>
#include <tnpackage/storage/FatGlobals.h>
#include <tnpackage/storage/TPDateiInfo.h>
#include <tnpackage/storage/TPDirList.h>
#include <tnpackage/storage/TPVerzeichnisInfo.h>
#include <tnpackage/storage/TPVolumeFAT.h>
#include <tnpackage/storage/TPVolumeInfo.h>
#include <tnpackage/text/TPStringList.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "storage/fat/FatLayout.h"
#include "storage/fat/FatMessages.h"
#include "storage/fat/FatNames.h"

namespace tn {
// ---- walking a folder's sectors
// ----------------------------------------------------------------------

TPVolumeFAT::DirWalk TPVolumeFAT::WalkDirectory(TPVerzeichnisInfo* dir,
                                                const DirSectorVisitor& visit) {
    DirWalk walk;
    std::vector<unsigned char> bytes(BytesPerSector);
    const auto visitSector = [&](std::int64_t address, int entryBytes, bool startsCluster) {
        if (!ReadSector(address, bytes.data())) {
            walk.readFailed = true;
            return false;
        }
        if (!visit(DirSector{address, bytes.data(), entryBytes, startsCluster})) {
            walk.stopped = true;
            return false;
        }
        return true;
    };
    if (dir == Root) {
        // The root area need not end on a sector boundary; its last sector holds fewer entries.
        const std::int64_t end =
            std::int64_t{RootAddress} + fat::kEntrySize * std::int64_t{RootEntries};
        for (std::int64_t s = RootAddress; s < end; s += BytesPerSector) {
            const int entryBytes =
                static_cast<int>(std::min<std::int64_t>(BytesPerSector, end - s));
            if (!visitSector(s, entryBytes, s == RootAddress)) break;
        }
        return walk;
    }
    // A chain that comes back to a cluster it passed, or to one another folder of this listing
    // owns, ends there: listing it again would never end, or list one folder twice.
    std::vector<bool> ownSeen;
    std::vector<bool>& seen = listed_.empty() ? ownSeen : listed_;
    if (seen.empty()) seen.assign(static_cast<std::size_t>(std::max(dataLimit_, 0)), false);
    int c = dir->FirstCluster;
    for (std::int32_t steps = 0; steps < dataLimit_ && IsDataCluster(c); ++steps) {
        if (seen[static_cast<std::size_t>(c)]) {
            fat::Warn("FAT: Verzeichnis-Cluster " + std::to_string(c) + " mehrfach belegt");
            break;
        }
        seen[static_cast<std::size_t>(c)] = true;
        walk.lastCluster = c;
        int n = c;
        const std::int64_t a = static_cast<std::uint32_t>(ClusterAdresse(n));
        for (int i = 0; i < SectorsPerCluster; ++i) {
            if (!visitSector(a + std::int64_t{i} * BytesPerSector, BytesPerSector, i == 0)) {
                return walk;
            }
        }
        c = GetCluster(c);
    }
    return walk;
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
    std::vector<TPDirEintrag*> dirs;
    std::vector<TPDirEintrag*> others;
    fat::LongNameCollector lfn;
    std::string longName;
    WalkDirectory(dir, [&](const DirSector& sector) {
        if (StopAll) return false;
        for (int off = 0; off < sector.entryBytes; off += fat::kEntrySize) {
            unsigned char* e = sector.bytes + off;
            if (e[0] == fat::kEndOfDirectory) return false;
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
            const int at = static_cast<int>(sector.address + off);
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
        return true;
    });
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

// ---- room for new entries
// ----------------------------------------------------------------------------

std::vector<std::string> TPVolumeFAT::ShortNames(TPVerzeichnisInfo* dir) {
    std::vector<std::string> names;
    if (dir == nullptr) return names;
    names.reserve(static_cast<std::size_t>(dir->Count()));
    for (int i = 0; i < dir->Count(); ++i) {
        const TPDirEintrag* e = dir->Eintrag(i);
        names.emplace_back(reinterpret_cast<const char*>(e->Entry), fat::kEntryNameLength);
    }
    return names;
}

std::int64_t TPVolumeFAT::FindEntrySlots(TPVerzeichnisInfo* dir, int slots) {
    if (FATBuffer == nullptr || dir == nullptr || slots < 1) return 0;
    if (dir != Root && std::int64_t{slots} * fat::kEntrySize > ClusterSize) {
        fat::Warn("FAT: Name zu lang f\xFCr einen Cluster");
        return 0;
    }
    // A run of free entries never spans two clusters: the entries of one name are written as
    // one piece, and the next cluster of a chain need not follow on the medium.
    std::int64_t run = 0;
    std::int64_t start = 0;
    const DirWalk walk = WalkDirectory(dir, [&](const DirSector& sector) {
        if (sector.startsCluster) run = 0;
        for (int off = 0; off < sector.entryBytes; off += fat::kEntrySize) {
            const unsigned char first = sector.bytes[off];
            if (first != fat::kEndOfDirectory && first != fat::kDeleted) {
                run = 0;
                continue;
            }
            if (run++ == 0) start = sector.address + off;
            if (run == slots) return false;
        }
        return true;
    });
    if (walk.stopped) return start;
    if (walk.readFailed) return 0;
    if (dir == Root) {
        fat::Warn(std::string("FAT-Volume ") + DriveLetter + ": Stammverzeichnis ist voll");
        return 0;
    }
    if (!IsDataCluster(walk.lastCluster)) return 0;
    return GrowDirectory(walk.lastCluster);
}

std::int64_t TPVolumeFAT::GrowDirectory(int last) {
    // The folder grows by a cleared cluster. Its unused slots become deleted ones first, since a
    // first byte of 0 would end the folder before the new cluster.
    if (!IsDataCluster(GetFreeCluster(false))) {
        fat::WarnVolumeFull(DriveLetter);
        return 0;
    }
    int lastCopy = last;
    const std::int64_t lastAddress = static_cast<std::uint32_t>(ClusterAdresse(lastCopy));
    for (int i = 0; i < SectorsPerCluster; ++i) {
        const std::int64_t s = lastAddress + std::int64_t{i} * BytesPerSector;
        if (!ReadBuffered(s)) return 0;
        bool changed = false;
        for (int off = 0; off < BytesPerSector; off += fat::kEntrySize) {
            if (sectorBuffer_[off] == fat::kEndOfDirectory) {
                sectorBuffer_[off] = fat::kDeleted;
                changed = true;
            }
        }
        if (changed) WriteSector(s, sectorBuffer_);
    }
    const int added = AllocateCluster();
    if (added < 0) return 0;
    SetCluster(last, added);
    ClearCluster(added);
    WriteClusterBuffer();
    return static_cast<std::uint32_t>(WorkingAddress);
}

}  // namespace tn
