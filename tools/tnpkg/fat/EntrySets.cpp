#include "fat/EntrySets.h"

#include <algorithm>
#include <vector>

namespace tnpkg {
namespace {

struct Slot {
    std::int64_t address;
    unsigned char bytes[tn::TPDirEintrag::kEntrySize];
};

// Every slot of `folder` up to and including `until` (root: its fixed area; a subfolder: its
// cluster chain, no longer than the data area).
std::vector<Slot> SlotsUpTo(tn::TPVolumeFAT& v, tn::TPDirEintrag* folder, std::int64_t until) {
    std::vector<Slot> slots;
    std::vector<unsigned char> sector(v.BytesPerSector);
    const auto readRun = [&](std::int64_t start, std::int64_t end) {
        for (std::int64_t s = start; s < end; s += v.BytesPerSector) {
            if (!v.ReadSector(s, sector.data())) return true;
            for (int off = 0; off < v.BytesPerSector && s + off < end;
                 off += tn::TPDirEintrag::kEntrySize) {
                Slot slot{s + off, {}};
                std::copy_n(sector.data() + off, tn::TPDirEintrag::kEntrySize, slot.bytes);
                slots.push_back(slot);
                if (slot.address == until) return true;
            }
        }
        return false;
    };
    if (folder->Parent == nullptr) {
        readRun(v.RootAddress, std::int64_t{v.RootAddress} + 32 * std::int64_t{v.RootEntries});
        return slots;
    }
    int c = folder->FirstCluster;
    for (std::int32_t steps = 0; steps < v.DataClusterLimit() && v.IsDataCluster(c); ++steps) {
        int n = c;
        const std::int64_t a = static_cast<std::uint32_t>(v.ClusterAdresse(n));
        if (readRun(a, a + v.ClusterSize)) break;
        c = v.GetCluster(c);
    }
    return slots;
}

}  // namespace

std::vector<std::int64_t> EntrySetAddresses(tn::TPVolumeFAT& v, tn::TPDirEintrag& node) {
    std::vector<std::int64_t> set;
    if (node.EntryAddress == 0 || node.Parent == nullptr) return set;
    const std::int64_t own = static_cast<std::uint32_t>(node.EntryAddress);
    const std::vector<Slot> slots = SlotsUpTo(v, node.Parent, own);
    if (slots.empty() || slots.back().address != own) return set;
    const std::uint8_t sum = tn::fat::ShortNameChecksum(slots.back().bytes);
    // The pieces stand in reverse order before the short entry: piece 1 right before it, the
    // last piece (marked 0x40) furthest away.
    std::size_t i = slots.size() - 1;
    int piece = 1;
    while (i > 0) {
        const unsigned char* e = slots[i - 1].bytes;
        if (e[kEntryAttributes] != kLongNameAttributes || e[0] == kDeletedEntry ||
            e[kEntryLongChecksum] != sum || (e[0] & 0x1F) != piece) {
            break;
        }
        --i;
        ++piece;
        if ((e[0] & 0x40) != 0) break;
    }
    for (; i < slots.size(); ++i)
        set.push_back(slots[i].address);
    return set;
}

void MarkDeleted(tn::TPVolumeFAT& v, const std::vector<std::int64_t>& slots) {
    unsigned char mark = kDeletedEntry;
    for (const std::int64_t address : slots)
        v.Write(static_cast<int>(address), reinterpret_cast<char*>(&mark), 1);
}

std::uint32_t ChainLength(tn::TPVolumeFAT& v, std::int32_t first) {
    std::uint32_t n = 0;
    int c = first;
    for (std::int32_t steps = 0; steps < v.DataClusterLimit() && v.IsDataCluster(c); ++steps) {
        ++n;
        const int next = v.GetCluster(c);
        if (next == 0 || v.IsChainEnd(next)) break;
        c = next;
    }
    return n;
}

std::uint32_t FreeChain(tn::TPVolumeFAT& v, std::int32_t first) {
    std::uint32_t n = 0;
    int c = first;
    for (std::int32_t steps = 0; steps < v.DataClusterLimit() && v.IsDataCluster(c); ++steps) {
        const int next = v.GetCluster(c);
        if (next == 0) break;  // already free: the chain ran into someone else's end
        v.SetCluster(c, 0);
        ++n;
        if (v.IsChainEnd(next)) break;
        c = next;
    }
    return n;
}

namespace {

bool IsDotEntry(const unsigned char* e) {
    return e[0] == '.' && (e[1] == ' ' || (e[1] == '.' && e[2] == ' '));
}

// Frees everything below `dir` and marks its used slots deleted in one pass over the folder
// (the folder's own clusters stay: the caller frees them with its entry).
std::uint32_t RemoveContent(tn::TPVolumeFAT& v, tn::TPVerzeichnisInfo* dir) {
    std::uint32_t freed = 0;
    for (int i = 0; i < dir->Count(); ++i) {
        tn::TPDirEintrag* child = dir->Eintrag(i);
        if (child->IsVolumeLabel()) continue;
        if (child->IsDirectory()) {
            freed += RemoveContent(v, static_cast<tn::TPVerzeichnisInfo*>(child));
        }
        freed += FreeChain(v, child->FirstCluster);
    }
    std::vector<std::int64_t> used;
    for (const Slot& slot : SlotsUpTo(v, dir, -1)) {
        if (slot.bytes[0] == 0) break;  // the end of the folder
        if (slot.bytes[0] != kDeletedEntry && !IsDotEntry(slot.bytes)) used.push_back(slot.address);
    }
    MarkDeleted(v, used);
    if (dir->List != nullptr) dir->List->Clear();
    return freed;
}

}  // namespace

std::uint32_t RemoveNode(tn::TPVolumeFAT& v, tn::TPDirEintrag* node) {
    if (node == nullptr || node->Parent == nullptr) return 0;
    std::uint32_t freed = 0;
    if (node->IsDirectory()) freed += RemoveContent(v, static_cast<tn::TPVerzeichnisInfo*>(node));
    MarkDeleted(v, EntrySetAddresses(v, *node));
    freed += FreeChain(v, node->FirstCluster);
    tn::TPVerzeichnisInfo* parent = node->Parent;
    for (int i = 0; i < parent->Count(); ++i) {
        if (parent->Eintrag(i) == node) {
            parent->List->Delete(i);
            break;
        }
    }
    return freed;
}

}  // namespace tnpkg
