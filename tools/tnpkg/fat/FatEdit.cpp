// `tnpkg fat rm` and `tnpkg fat mv`: the commands that take entries away or give them another
// name or folder. Like put, each works on the session's overlay, checks the result through a
// fresh mount and only then commits.
#include <tnpackage/text/Encodings.h>

#include <cstring>

#include "cli/Warnings.h"
#include "fat/EntrySets.h"
#include "fat/FatCommand.h"
#include "fat/HostNames.h"
#include "util/LittleEndian.h"

namespace tnpkg {
namespace {

std::string PathOf(const tn::TPDirEintrag& node) {
    return tn::Win1252ToUtf8(NodePath(node));
}

// A fresh mount of what the overlay holds now.
std::unique_ptr<MountedImage> Remount(MountedImage& w) {
    auto m = std::make_unique<MountedImage>(w.Session(), w.Where(), false);
    if (!m->Problem().empty()) {
        FatNote("the written volume does not mount: " + m->Problem());
        return nullptr;
    }
    return m;
}

bool Absent(MountedImage& m, const std::string& fatPath) {
    std::string problem;
    return m.Find(fatPath, problem, false) == nullptr;
}

// Whether `node` is `folder` or lies below it.
bool IsWithin(const tn::TPDirEintrag* node, const tn::TPDirEintrag* folder) {
    for (const tn::TPDirEintrag* n = node; n != nullptr; n = n->Parent) {
        if (n == folder) return true;
    }
    return false;
}

int RemoveAll(FatRequest& r, MountedImage& w) {
    const WarningCapture warnings("tnpkg fat: while writing the image");
    tn::TPVolumeFAT& v = w.Volume();
    const bool recursive = r.args.Flag("-r");
    const std::uint32_t freeBefore = w.FreeClusters();
    std::uint32_t freed = 0;
    std::vector<std::string> removed;
    for (const auto& path : r.operands) {
        std::string problem;
        tn::TPDirEintrag* node = w.Find(path, problem);
        if (node == nullptr) return FatFail(problem + "; " + Unchanged(r));
        if (node->Parent == nullptr) return FatFail("the root cannot be removed; " + Unchanged(r));
        if (node->IsDirectory() && !recursive && !Children(node).empty()) {
            return FatFail(PathOf(*node) + " is a folder that is not empty (-r removes it with " +
                           "everything in it); " + Unchanged(r));
        }
        removed.push_back(NodePath(*node));
        freed += RemoveNode(v, node);
    }
    if (!w.Flush() || warnings.Count() > 0) return FatFail(Unchanged(r));
    const auto check = Remount(w);
    if (!check) return FatFail(Unchanged(r));
    for (const auto& path : removed) {
        if (!Absent(*check, path)) {
            return FatFail(tn::Win1252ToUtf8(path) + " is still there after removing; " +
                           Unchanged(r));
        }
    }
    if (check->FreeClusters() != freeBefore + freed) {
        return FatFail("the freed clusters do not read back as free; " + Unchanged(r));
    }
    return CommitFatWrite(r, *w.Session());
}

// Where a move or rename goes: the folder and the entry's new name (Windows-1252).
struct Destination {
    tn::TPDirEintrag* folder = nullptr;
    std::string name;
};

bool EndsInSeparator(const std::string& path) {
    return !path.empty() && (path.back() == '/' || path.back() == '\\');
}

bool FindDestination(MountedImage& w, const std::string& target, tn::TPDirEintrag& source,
                     Destination& d) {
    std::string problem;
    tn::TPDirEintrag* hit = w.Find(target, problem);
    if (EndsInSeparator(target) || (hit != nullptr && hit->IsDirectory() && hit != &source)) {
        if (hit == nullptr || !hit->IsDirectory()) {
            FatNote("no folder " + target + " in the image");
            return false;
        }
        d.folder = hit;
        d.name = ShownName(source);
        return true;
    }
    auto parts = VolumePathParts(target);
    if (parts.empty() || parts.back() == "..") {
        FatNote(target + " does not name an entry");
        return false;
    }
    const std::string last = parts.back();
    parts.pop_back();
    std::string parent;
    for (const auto& p : parts)
        parent += "/" + p;
    d.folder = w.Find(parent, problem);
    if (d.folder == nullptr || !d.folder->IsDirectory()) {
        FatNote("no folder " + (parent.empty() ? std::string("/") : parent) + " in the image");
        return false;
    }
    bool changed = false;
    d.name = FatLongName(last, changed);
    if (changed) {
        FatNote("FAT cannot hold the name " + last + " (it would become " +
                tn::Win1252ToUtf8(d.name) + ")");
        return false;
    }
    return true;
}

// Why the move cannot be done, or empty. Removes a file the move replaces (with --force).
std::string CheckMove(FatRequest& r, MountedImage& w, tn::TPDirEintrag& source,
                      const Destination& d) {
    if (source.IsDirectory() && IsWithin(d.folder, &source)) {
        return PathOf(source) + " cannot move into itself or a folder below it";
    }
    tn::TPDirEintrag* existing = ChildNamed(d.folder, d.name);
    if (existing == nullptr || existing == &source) return {};
    const std::string there = PathOf(*existing);
    if (existing->IsDirectory() || source.IsDirectory()) {
        return there + " exists already; only a file replaces a file (with --force)";
    }
    if (!r.args.Flag("--force")) return there + " exists already (--force replaces it)";
    RemoveNode(w.Volume(), existing);
    return {};
}

// The package gives every new entry a cluster of its own, which the moved entry gives back at
// once. On a full volume there is none to give, so one is lent for that moment: the moved
// entry's own first cluster (or the first allocated one) is marked free, taken by the new
// entry, and its FAT value put back. Should the folder need that cluster to grow instead, the
// package reports the volume full and the move fails without reaching the image.
class LentCluster {
  public:
    LentCluster(tn::TPVolumeFAT& v, std::int32_t preferred) : v_(v) {
        if (v.GetFreeCluster(false) >= 0) return;
        cluster_ = v.IsDataCluster(preferred) ? preferred : FirstAllocated();
        if (cluster_ < 0) return;
        value_ = v.GetCluster(cluster_);
        v.SetCluster(cluster_, 0);
    }
    // Whether the new entry took the cluster (then it is given back), or none was lent.
    bool GiveBack(std::int32_t taken) {
        if (cluster_ < 0) return true;
        v_.SetCluster(cluster_, value_);
        return taken == cluster_;
    }
    bool Lent() const { return cluster_ >= 0; }

  private:
    std::int32_t FirstAllocated() const {
        for (std::int32_t n = 2; v_.IsDataCluster(n); ++n) {
            if (v_.GetCluster(n) != 0) return n;
        }
        return -1;
    }
    tn::TPVolumeFAT& v_;
    std::int32_t cluster_ = -1;
    int value_ = 0;
};

// Writes a new entry set for the old short entry `old` under `name` in `folder`: the name is
// new, everything else (attributes, dates, first cluster, size) is the old entry's.
tn::TPDirEintrag* WriteEntrySet(tn::TPVolumeFAT& v, tn::TPDirEintrag* folder,
                                const std::string& name, const unsigned char* old) {
    const std::int32_t oldFirst = tn::ReadLE16(old + kEntryFirstCluster);
    LentCluster lent(v, oldFirst);
    std::string text = name;
    auto* node =
        new tn::TPDateiInfo(static_cast<tn::TPVerzeichnisInfo*>(folder), tn::TPString(text.data()));
    const bool given = lent.GiveBack(node->FirstCluster);
    if (node->EntryAddress == 0) {
        delete node;
        return nullptr;
    }
    // The entry stays in its folder's tree, which owns it; the failed move never reaches the
    // image.
    if (!given) return nullptr;
    if (!lent.Lent()) FreeChain(v, node->FirstCluster);
    std::memcpy(node->Entry + kEntryAttributes, old + kEntryAttributes, 1);
    std::memcpy(node->Entry + kEntryCaseFlags + 1, old + kEntryCaseFlags + 1,
                tn::TPDirEintrag::kEntrySize - kEntryCaseFlags - 1);
    node->FirstCluster = oldFirst;
    v.Write(node);
    return node;
}

// A moved folder's ".." entry names its new parent (0 for the root).
void Reparent(tn::TPVolumeFAT& v, std::int32_t firstCluster, tn::TPDirEintrag* parent) {
    int n = firstCluster;
    if (!v.IsDataCluster(n)) return;
    const std::int64_t dotdot = std::int64_t{static_cast<std::uint32_t>(v.ClusterAdresse(n))} +
                                tn::TPDirEintrag::kEntrySize;
    unsigned char sector[tn::TPVolumeFAT::kMaxSectorSize];
    const std::int64_t start = dotdot - dotdot % v.BytesPerSector;
    if (!v.ReadSector(start, sector)) return;
    const unsigned char* e = sector + (dotdot - start);
    if (e[0] != '.' || e[1] != '.') return;
    unsigned char cluster[2];
    tn::WriteLE16(cluster,
                  parent->Parent == nullptr ? 0 : static_cast<std::uint32_t>(parent->FirstCluster));
    v.Write(static_cast<int>(dotdot + kEntryFirstCluster), reinterpret_cast<char*>(cluster), 2);
    char high[2] = {0, 0};
    v.Write(static_cast<int>(dotdot + kEntryFirstClusterHigh), high, 2);
}

int Move(FatRequest& r, MountedImage& w) {
    const WarningCapture warnings("tnpkg fat: while writing the image");
    tn::TPVolumeFAT& v = w.Volume();
    std::string problem;
    tn::TPDirEintrag* source = w.Find(r.operands[0], problem);
    if (source == nullptr) return FatFail(problem + "; " + Unchanged(r));
    if (source->Parent == nullptr) return FatFail("the root cannot be moved; " + Unchanged(r));
    Destination d;
    if (!FindDestination(w, r.operands[1], *source, d)) return FatFail(Unchanged(r));
    const std::string refusal = CheckMove(r, w, *source, d);
    if (!refusal.empty()) return FatFail(refusal + "; " + Unchanged(r));

    unsigned char old[tn::TPDirEintrag::kEntrySize];
    std::memcpy(old, source->Entry, sizeof old);
    const bool folder = source->IsDirectory();
    const bool newParent = d.folder != source->Parent;
    const std::uint32_t size = NodeSize(*source);
    const std::string oldPath = NodePath(*source);
    // The old set goes first, so that a rename that only changes case can keep its short name.
    MarkDeleted(v, EntrySetAddresses(v, *source));
    tn::TPVerzeichnisInfo* oldParent = source->Parent;
    for (int i = 0; i < oldParent->Count(); ++i) {
        if (oldParent->Eintrag(i) == source) {
            oldParent->List->Delete(i);
            break;
        }
    }
    tn::TPDirEintrag* moved = WriteEntrySet(v, d.folder, d.name, old);
    if (moved == nullptr) return FatFail("cannot write the new entry; " + Unchanged(r));
    const std::int32_t first = moved->FirstCluster;
    const std::string newPath = NodePath(*moved);
    if (folder && newParent) Reparent(v, first, d.folder);
    if (!w.Flush() || warnings.Count() > 0) return FatFail(Unchanged(r));

    const auto check = Remount(w);
    if (!check) return FatFail(Unchanged(r));
    tn::TPDirEintrag* found = check->Find(newPath, problem, false);
    if (found == nullptr || found->FirstCluster != first || found->IsDirectory() != folder ||
        NodeSize(*found) != size ||
        (FoldCase(oldPath) != FoldCase(newPath) && !Absent(*check, oldPath))) {
        return FatFail(tn::Win1252ToUtf8(newPath) + " does not read back as moved; " +
                       Unchanged(r));
    }
    return CommitFatWrite(r, *w.Session());
}

}  // namespace

int FatRm(FatRequest& r) {
    std::unique_ptr<MountedImage> m;
    if (!PrepareFatWrite(r, m)) return kFailure;
    return RemoveAll(r, *m);
}

int FatMv(FatRequest& r) {
    std::unique_ptr<MountedImage> m;
    if (!PrepareFatWrite(r, m)) return kFailure;
    return Move(r, *m);
}

}  // namespace tnpkg
