// The file layer of a FAT volume: open-file records walking cluster chains, path lookup,
// creation of files and folders, copying and comparing whole files.
#include <tnpackage/storage/FatGlobals.h>
#include <tnpackage/storage/TPDateiInfo.h>
#include <tnpackage/storage/TPDirList.h>
#include <tnpackage/storage/TPFile.h>
#include <tnpackage/storage/TPSpeicher.h>
#include <tnpackage/storage/TPVerzeichnisInfo.h>
#include <tnpackage/storage/TPVolumeFAT.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "storage/fat/FatLayout.h"
#include "storage/fat/FatMessages.h"

#ifdef CreateFile
#undef CreateFile
#endif

namespace tn {

namespace {

constexpr std::int64_t kCopyWindow = 0x100000;  // a target is addressed in 1 MiB windows
constexpr std::int64_t kCopyLimit = 0x80000;    // a copy ends after 512 KiB
constexpr int kCompareLimit = 32;

std::vector<std::string> SplitPath(const std::string& path) {
    std::vector<std::string> parts;
    std::string part;
    for (char c : path) {
        if (c == '\\') {
            parts.push_back(part);
            part.clear();
        } else {
            part.push_back(c);
        }
    }
    parts.push_back(part);
    return parts;
}

}  // namespace

// ---- chain walking
// ---------------------------------------------------------------------------------

bool TPVolumeFAT::SetFilePointer(TPFile* f, int position) {
    if (f == nullptr || f->File == nullptr) return false;
    TPDateiInfo* node = f->File;
    f->Cluster = node->FirstCluster;
    f->SectorIndex = 0;
    if (position < 0 || position > node->FileSize) {
        f->Position = 0;
        return false;
    }
    f->Position = position;
    std::int64_t r = position;
    if (r > 0 && ClusterSize > 0) {
        for (std::int32_t steps = 0; r > ClusterSize && steps <= ClusterCount; ++steps) {
            r -= ClusterSize;
            f->Cluster = Follow(f->Cluster);
        }
        while (r > BytesPerSector) {
            f->SectorIndex += 1;
            r -= BytesPerSector;
        }
    }
    f->SectorAddress = ClusterAdresse(f->Cluster) + BytesPerSector * f->SectorIndex;
    return true;
}

bool TPVolumeFAT::NextSector(TPFile* f, bool allocate) {
    if (f == nullptr) return false;
    f->SectorIndex += 1;
    if (f->SectorIndex < SectorsPerCluster) {
        f->SectorAddress += BytesPerSector;
        return true;
    }
    return NextCluster(f, allocate);
}

bool TPVolumeFAT::NextCluster(TPFile* f, bool allocate) {
    if (f == nullptr || FATBuffer == nullptr) return false;
    const int p = f->Cluster;
    bool linked = false;
    if (p != 0) {
        f->Cluster = Follow(p);
        linked = f->Cluster >= 0;
    }
    if (!linked) {
        if (p != 0 && !allocate) {
            f->Cluster = p;
            return false;
        }
        const int n = AllocateCluster();
        if (n < 0) {
            f->Cluster = p;
            return false;
        }
        f->Cluster = n;
        if (p == 0) {
            if (f->File != nullptr) f->File->FirstCluster = n;
        } else {
            SetCluster(p, n);
        }
    }
    WriteClusterBuffer();
    f->SectorIndex = 0;
    f->SectorAddress = ClusterAdresse(f->Cluster);
    return true;
}

// ---- the file's sector buffer
// --------------------------------------------------------------------

bool TPVolumeFAT::LoadFileSector(TPFile* f) {
    f->EnsureBuffer(BytesPerSector);
    if (f->BufferedAddress == f->SectorAddress) return true;
    if (!InDataArea(f->SectorAddress, BytesPerSector)) {
        fat::Warn("FAT: Sektor " + fat::Hex(f->SectorAddress) +
                  " liegt au\xDF"
                  "erhalb der Daten");
        return false;
    }
    Medium->ReadBlock(f->Buffer, f->SectorAddress);
    f->BufferedAddress = f->SectorAddress;
    return true;
}

bool TPVolumeFAT::StoreFileSector(TPFile* f, std::int64_t address, const char* data, int n) {
    const std::int64_t z = BytesPerSector;
    const std::int64_t sector = address - address % z;
    // A data area that does not start on a sector boundary (a corrupt root size) would put the
    // bytes across two sectors or the sector start into the root: nothing is written then.
    if (address % z + n > z || !InDataArea(sector, z)) {
        fat::Warn("FAT: Sektor " + fat::Hex(sector) +
                  " liegt au\xDF"
                  "erhalb der Daten");
        return false;
    }
    if (address == sector && n >= z) {
        f->EnsureBuffer(BytesPerSector);
        f->BufferedAddress = static_cast<std::int32_t>(sector);
    } else if (!LoadFileSector(f)) {
        return false;
    }
    std::memcpy(f->Buffer + address % z, data, static_cast<std::size_t>(n));
    if (f->BufferedAddress != sector) Warning(TPString("Wieso?", 0));
    f->BufferedAddress = static_cast<std::int32_t>(sector);
    ForgetSector(sector);
    Medium->WriteBlock(f->Buffer, sector);
    return true;
}

// ---- read and write
// ----------------------------------------------------------------------------------

int TPVolumeFAT::FileRead(TPFile* f, char* data, int count) {
    if (FATBuffer == nullptr || f == nullptr || f->File == nullptr) return 0;
    std::int64_t n = std::int64_t{f->File->FileSize} - f->Position;
    if (count >= 0 && n > count) n = count;
    // No file holds more than the data area: a corrupt size never walks a looping chain long.
    n = std::min<std::int64_t>(n, std::int64_t{std::max(dataLimit_ - 2, 0)} * ClusterSize);
    if (n < 1 || f->Position < 0) return 0;
    const std::int64_t z = BytesPerSector;
    std::int64_t off = f->Position % z;
    std::int64_t chunk = off + n > z ? z - off : n;
    int done = 0;
    bool stop = false;
    while (!stop) {
        if (!LoadFileSector(f)) break;
        if (data != nullptr) {
            std::memcpy(data + done, f->Buffer + off, static_cast<std::size_t>(chunk));
        }
        done += static_cast<int>(chunk);
        n -= chunk;
        if (off + chunk >= z) stop = !NextSector(f, false);
        if (n < 1) stop = true;
        off = 0;
        chunk = std::min(z, n);
    }
    return done;
}

int TPVolumeFAT::FileWrite(TPFile* f, char* data, int count, bool saveEntry) {
    if (FATBuffer == nullptr || f == nullptr || f->File == nullptr || data == nullptr ||
        count < 1 || f->Position < 0) {
        return 0;
    }
    TPDateiInfo* node = f->File;
    // A record opened on an empty file got its first cluster in the record only; the file
    // takes it over with its first byte.
    if (node->FirstCluster == 0 && f->Cluster != 0 && f->Position == 0 &&
        IsDataCluster(f->Cluster)) {
        node->FirstCluster = f->Cluster;
    }
    if (f->Cluster == 0 || f->SectorIndex >= SectorsPerCluster) {
        if (!NextCluster(f, true)) return 0;
    }
    const std::int64_t limit = std::numeric_limits<std::int32_t>::max();
    if (std::int64_t{f->Position} + count > limit) {
        count = static_cast<int>(limit - f->Position);
    }
    const std::int32_t oldSize = node->FileSize;
    const std::int64_t z = BytesPerSector;
    std::int64_t off = f->Position % z;
    if (std::int64_t{f->Position} + count > node->FileSize) node->FileSize = f->Position + count;
    std::int64_t remaining = count;
    std::int64_t chunk = off + remaining > z ? z - off : remaining;
    int done = 0;
    bool stop = false;
    while (!stop) {
        if (!InDataArea(f->SectorAddress, z)) {
            fat::WarnVolumeFull(DriveLetter);
            break;
        }
        if (!StoreFileSector(f, f->SectorAddress + off, data + done, static_cast<int>(chunk))) {
            break;
        }
        done += static_cast<int>(chunk);
        remaining -= chunk;
        f->Position += static_cast<std::int32_t>(chunk);
        if (off + chunk >= z) stop = !NextSector(f, remaining >= 1);
        if (remaining < 1) stop = true;
        off = 0;
        chunk = std::min(z, remaining);
    }
    if (remaining > 0) node->FileSize = std::max(oldSize, f->Position);
    f->Written = done >= 1;
    if (saveEntry && f->Written) node->SaveEntry(false);
    return done;
}

// ---- paths
// ---------------------------------------------------------------------------------------------

TPDateiInfo* TPVolumeFAT::SearchFile(TPString path) {
    if (Root == nullptr) return nullptr;
    std::string rest = ToStdString(path);
    TPVerzeichnisInfo* node = Current != nullptr ? Current : Root;
    if (!rest.empty() && rest[0] == '\\') {
        node = Root;
        rest.erase(0, 1);
    }
    const std::vector<std::string> parts = SplitPath(rest);
    for (std::size_t i = 0; i + 1 < parts.size() && node != nullptr; ++i) {
        TPDirEintrag* hit = node->Search(fat::Text(parts[i]), TPDirEintrag::kDirectory);
        node = static_cast<TPVerzeichnisInfo*>(hit);
    }
    if (node == nullptr) return nullptr;
    return static_cast<TPDateiInfo*>(node->Search(fat::Text(parts.back()), TPDirEintrag::kFile));
}

TPVerzeichnisInfo* TPVolumeFAT::ForceDirectories(TPString path) {
    if (Root == nullptr) return nullptr;
    TPVerzeichnisInfo* node = Root;
    for (const std::string& part : SplitPath(ToStdString(path))) {
        if (part.empty()) continue;
        const TPString name = fat::Text(part);
        TPVerzeichnisInfo* next = nullptr;
        for (int i = 0; i < node->Count(); ++i) {
            TPDirEintrag* e = node->Eintrag(i);
            if (e->Type == TPDirEintrag::kFile) break;
            if (e->Type == TPDirEintrag::kDirectory && e->Name == name) {
                next = static_cast<TPVerzeichnisInfo*>(e);
                break;
            }
        }
        if (next == nullptr) {
            next = new TPVerzeichnisInfo(node, name);
            if (next->EntryAddress == 0) {
                delete next;
                return nullptr;
            }
        }
        node = next;
    }
    return node;
}

TPDateiInfo* TPVolumeFAT::CreateFile(TPFile* f, TPString path) {
    if (Root == nullptr) return nullptr;
    const std::string text = ToStdString(path);
    const auto slash = text.rfind('\\');
    TPVerzeichnisInfo* dir = Current;
    std::string name = text;
    if (slash != std::string::npos) {
        dir = ForceDirectories(fat::Text(text.substr(0, slash)));
        name = text.substr(slash + 1);
    }
    if (dir == nullptr || name.empty()) return nullptr;
    const TPString tname = fat::Text(name);
    TPDirEintrag* found = dir->Search(tname, 0);
    TPDateiInfo* node = nullptr;
    if (found != nullptr) {
        if (found->Type != TPDirEintrag::kFile) {
            fat::Warn("FAT: '" + name + "' ist keine Datei");
            return nullptr;
        }
        node = static_cast<TPDateiInfo*>(found);
    } else {
        node = new TPDateiInfo(dir, tname);
        if (node->EntryAddress == 0) {
            delete node;
            return nullptr;
        }
    }
    WriteClusterBuffer();
    if (f != nullptr) {
        // A file that found no cluster keeps none (not the -1 of a full volume).
        int first = node->FirstCluster;
        const int address = ClusterAdresse(first);
        if (first > 0) node->FirstCluster = first;
        f->Open(node, address);
    }
    return node;
}

// ---- whole files
// ------------------------------------------------------------------------------------------

bool TPVolumeFAT::FileCopy(TPDateiInfo* file, void* destination, TPSpeicher* target) {
    if (target != nullptr) {
        return FileCopy(
            file, static_cast<std::int64_t>(reinterpret_cast<std::uintptr_t>(destination)), target);
    }
    if (FATBuffer == nullptr || file == nullptr || destination == nullptr) return false;
    auto* out = static_cast<unsigned char*>(destination);
    std::int64_t offset = 0;
    return CopySectors(file, [&](const unsigned char* sector, std::int64_t piece) {
        if (piece > 0) std::memcpy(out + offset, sector, static_cast<std::size_t>(piece));
        offset += piece;
    });
}

bool TPVolumeFAT::FileCopy(TPDateiInfo* file, std::int64_t destination, TPSpeicher* target) {
    if (target == nullptr) return false;
    if (FATBuffer == nullptr || file == nullptr || destination < 0) return false;
    if (target->BlockSize < 1 || target->BlockSize > kMaxSectorSize) return false;
    target->SetSector(static_cast<int>(destination - destination % kCopyWindow));
    std::int64_t writeOffset = destination % kCopyWindow;
    // A target always takes whole sectors, even for the last, shorter piece.
    const bool reached = CopySectors(file, [&](const unsigned char* sector, std::int64_t piece) {
        target->WriteBlock(sector, writeOffset);
        writeOffset += piece;
    });
    target->SetSector(-1);
    return reached;
}

bool TPVolumeFAT::CopySectors(TPDateiInfo* file, const SectorSink& sink) {
    int c = file->FirstCluster;
    std::int64_t address = static_cast<std::uint32_t>(ClusterAdresse(c));
    std::int64_t remaining =
        std::min<std::int64_t>((std::int64_t{file->FileSize} + 1) & ~std::int64_t{1}, kCopyLimit);
    int index = 0;
    for (;;) {
        if (!InDataArea(address, BytesPerSector) || !ReadBuffered(address)) return false;
        const bool last = BytesPerSector >= remaining;
        const std::int64_t piece = last ? remaining : BytesPerSector;
        sink(sectorBuffer_, piece);
        remaining -= piece;
        if (last) return true;
        address += BytesPerSector;
        if (++index == SectorsPerCluster) {
            if (c >= 0) {
                c = Follow(c);
                if (c >= 0) address = static_cast<std::uint32_t>(ClusterAdresse(c));
            }
            index = 0;
            if (c < 0) return false;
        }
    }
}

bool TPVolumeFAT::FileEqual(TPDateiInfo* file, void* data) {
    if (FATBuffer == nullptr || file == nullptr || data == nullptr) return false;
    int first = file->FirstCluster;
    const std::int64_t address = static_cast<std::uint32_t>(ClusterAdresse(first));
    if (first > 0) file->FirstCluster = first;
    const int n = (std::min(std::max(file->FileSize, 0), kCompareLimit) + 1) & ~1;
    if (!InDataArea(address, BytesPerSector) || !ReadBuffered(address)) return false;
    return std::memcmp(sectorBuffer_, data, static_cast<std::size_t>(n)) == 0;
}

void TPVolumeFAT::Update() {
    if (Root != nullptr && Root->List != nullptr) {
        for (int i = 0; i < Root->List->Count; ++i) {
            TPDirEintrag* e = Root->List->Eintrag(i);
            if (e != nullptr && e->Type == TPDirEintrag::kFile && OnFileFound != nullptr) {
                OnFileFound(static_cast<TPDateiInfo*>(e));
            }
        }
    }
    if (OnUpdateEnde != nullptr) OnUpdateEnde();
}

}  // namespace tn
