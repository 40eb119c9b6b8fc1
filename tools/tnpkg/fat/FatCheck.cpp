#include "fat/FatCheck.h"

#include <tnpackage/text/Encodings.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <map>
#include <set>
#include <utility>

#include "fat/HostNames.h"
#include "storage/fat/FatLayout.h"
#include "util/LittleEndian.h"

namespace tnpkg {
namespace {

// ---- on-media layout ---------------------------------------------------------------------------
namespace fat = tn::fat;
constexpr unsigned char kKanjiE5 = 0x05;  // a name that really begins with 0xE5
constexpr int kLfnMaxPieces =
    (fat::kMaxLongName + fat::kLfnCharsPerEntry - 1) / fat::kLfnCharsPerEntry;
static_assert(kLfnMaxPieces == 20);
constexpr char kDot[] = ".          ";
constexpr char kDotDot[] = "..         ";
static_assert(sizeof(kDot) - 1 == fat::kEntryNameLength &&
              sizeof(kDotDot) - 1 == fat::kEntryNameLength);
constexpr int kMaxDepth = tn::TPVolumeFAT::kMaxDepth;
// Past this many lost chains the rest are summed up in one line.
constexpr int kLostChainsNamed = 20;

std::string Utf16ToUtf8(const std::vector<std::uint16_t>& units) {
    std::string out;
    for (std::size_t i = 0; i < units.size() && units[i] != 0; ++i) {
        char32_t c = units[i];
        const bool pair = c >= 0xD800 && c < 0xDC00 && i + 1 < units.size() &&
                          units[i + 1] >= 0xDC00 && units[i + 1] < 0xE000;
        if (pair) c = 0x10000 + ((c - 0xD800) << 10) + (units[++i] - 0xDC00);
        tn::AppendUtf8(out, c);
    }
    return out;
}

// "README.TXT" from the 11 stored bytes.
std::string ShortText(const unsigned char* e) {
    std::string base(reinterpret_cast<const char*>(e), 8);
    std::string ext(reinterpret_cast<const char*>(e) + 8, 3);
    if (!base.empty() && static_cast<unsigned char>(base[0]) == kKanjiE5) base[0] = '\xE5';
    while (!base.empty() && base.back() == ' ')
        base.pop_back();
    while (!ext.empty() && ext.back() == ' ')
        ext.pop_back();
    return ShortNameToUtf8(ext.empty() ? base : base + "." + ext);
}

// Collects the long-name pieces in front of a short entry.
class LongName {
  public:
    void Reset() {
        pieces_ = 0;
        next_ = 0;
        broken_ = false;
    }
    void Piece(const unsigned char* e) {
        const int number = e[0] & fat::kLfnNumberMask;
        if ((e[0] & fat::kLfnLast) != 0) {
            Reset();
            if (number < 1 || number > kLfnMaxPieces) {
                broken_ = true;
                return;
            }
            pieces_ = number;
            checksum_ = e[fat::kLfnChecksum];
            units_.assign(static_cast<std::size_t>(number) * fat::kLfnCharsPerEntry, 0);
        } else if (pieces_ == 0 || number != next_ || e[fat::kLfnChecksum] != checksum_) {
            broken_ = pieces_ != 0 || broken_;
            pieces_ = 0;
            return;
        }
        for (int i = 0; i < fat::kLfnCharsPerEntry; ++i) {
            units_[static_cast<std::size_t>((number - 1) * fat::kLfnCharsPerEntry + i)] =
                tn::ReadLE16(e + fat::kLfnCharOffsets[static_cast<std::size_t>(i)]);
        }
        next_ = number - 1;
    }
    bool Pending() const { return pieces_ != 0 || broken_; }
    bool Complete() const { return pieces_ != 0 && next_ == 0 && !broken_; }
    std::uint8_t Sum() const { return checksum_; }
    std::string Text() const { return Utf16ToUtf8(units_); }

  private:
    int pieces_ = 0;
    int next_ = 0;
    bool broken_ = false;
    std::uint8_t checksum_ = 0;
    std::vector<std::uint16_t> units_;
};

// One entry of a folder as found on the medium.
struct Entry {
    std::array<unsigned char, fat::kEntrySize> raw{};
    std::string name;  // the long name when it belongs to the entry, else the 8.3 name
    bool folder = false;
    std::uint32_t first = 0;
    std::uint32_t size = 0;
    bool IsDot() const {
        return std::equal(raw.begin(), raw.begin() + fat::kEntryNameLength, kDot);
    }
    bool IsDotDot() const {
        return std::equal(raw.begin(), raw.begin() + fat::kEntryNameLength, kDotDot);
    }
};

class Checker {
  public:
    Checker(tn::TPVolumeFAT& v, int bits)
        : v_(v),
          bits_(bits),
          limit_(v.DataClusterLimit()),
          owner_(static_cast<std::size_t>(std::max<std::int64_t>(limit_, 0)), kNobody) {}

    std::vector<CheckProblem> Run() {
        ReadFats();
        std::vector<std::int64_t> rootSectors;
        const std::int64_t rootBytes = std::int64_t{fat::kEntrySize} * v_.RootEntries;
        for (std::int64_t i = 0; i < rootBytes; i += v_.BytesPerSector)
            rootSectors.push_back(std::int64_t{v_.RootAddress} + i);
        WalkFolder(rootSectors, rootBytes, "", 0, 0, true, 0);
        FindLostChains();
        return std::move(problems_);
    }

  private:
    static constexpr std::int32_t kNobody = -1;
    tn::TPVolumeFAT& v_;
    int bits_;
    std::int64_t limit_;               // first cluster number past the data area
    std::vector<std::uint32_t> fat_;   // the first copy, one value per cluster below limit_
    std::vector<std::int32_t> owner_;  // index into paths_, or kNobody
    std::vector<std::string> paths_;
    std::set<std::pair<std::int32_t, std::int32_t>> crossed_;
    std::vector<CheckProblem> problems_;

    void Report(const std::string& kind, const std::string& path, const std::string& message) {
        problems_.push_back({kind, path, message});
    }

    std::uint32_t EndMark() const { return bits_ == 12 ? 0xFF8u : 0xFFF8u; }
    std::uint32_t BadMark() const { return bits_ == 12 ? 0xFF7u : 0xFFF7u; }
    std::uint32_t ReservedFrom() const { return bits_ == 12 ? 0xFF0u : 0xFFF0u; }

    std::vector<unsigned char> ReadBytes(std::int64_t address, std::int64_t length) {
        std::vector<unsigned char> bytes(static_cast<std::size_t>(length), 0);
        std::vector<unsigned char> sector(tn::TPVolumeFAT::kMaxSectorSize);
        for (std::int64_t i = 0; i < length; i += v_.BytesPerSector) {
            v_.ReadSector(address + i, sector.data());
            const std::int64_t n = std::min<std::int64_t>(v_.BytesPerSector, length - i);
            std::copy(sector.begin(), sector.begin() + static_cast<std::ptrdiff_t>(n),
                      bytes.begin() + static_cast<std::ptrdiff_t>(i));
        }
        return bytes;
    }

    std::vector<std::uint32_t> Decode(const std::vector<unsigned char>& f) const {
        std::vector<std::uint32_t> values(owner_.size(), 0);
        for (std::size_t n = 0; n < values.size(); ++n) {
            if (bits_ == 16) {
                if (2 * n + 1 < f.size()) values[n] = tn::ReadLE16(&f[2 * n]);
                continue;
            }
            const std::size_t k = 3 * (n / 2);
            if (k + 1 + n % 2 >= f.size()) continue;
            values[n] = n % 2 == 0
                            ? (f[k] | ((f[k + 1] & 0x0Fu) << 8))
                            : ((f[k + 1] >> 4) | (static_cast<std::uint32_t>(f[k + 2]) << 4));
        }
        return values;
    }

    void ReadFats() {
        // Only the entries of data clusters count (as for fsck.fat), and reading no more keeps
        // a FAT size field that claims far more than the volume has from costing memory.
        const std::int64_t used = (static_cast<std::int64_t>(owner_.size()) * bits_ + 7) / 8;
        const std::int64_t length = std::min<std::int64_t>(v_.FATSize, used);
        for (int copy = 0; copy < v_.NumberOfFATs; ++copy) {
            const auto values = Decode(
                ReadBytes(std::int64_t{v_.FATAddress} + std::int64_t{copy} * v_.FATSize, length));
            if (copy == 0) {
                fat_ = values;
                continue;
            }
            std::size_t differ = 0;
            for (std::size_t n = 0; n < values.size(); ++n)
                differ += values[n] != fat_[n] ? 1 : 0;
            if (differ == 0) continue;
            Report("fat-copies-differ", "",
                   "FAT copy " + std::to_string(copy + 1) + " differs from the first in " +
                       std::to_string(differ) + " entr" + (differ == 1 ? "y" : "ies") +
                       ": a program that reads that copy sees other files and free space");
        }
    }

    std::int64_t ClusterAddress(std::int64_t c) const {
        return std::int64_t{v_.ClusterBase} + c * std::int64_t{v_.ClusterSize};
    }

    // The clusters of the chain from `first`, claimed for `path`; `whole` false when it does
    // not end with an end mark of its own.
    std::vector<std::int64_t> Chain(std::int64_t first, const std::string& path, bool& whole) {
        whole = true;
        std::vector<std::int64_t> chain;
        if (first == 0) return chain;
        const auto self = static_cast<std::int32_t>(paths_.size());
        paths_.push_back(path);
        if (first < 2 || first >= limit_) {
            whole = false;
            Report("invalid-first-cluster", path,
                   path + " starts at cluster " + std::to_string(first) +
                       ", which is not in the data area: its contents cannot be read");
            return chain;
        }
        for (std::int64_t c = first;;) {
            const auto at = static_cast<std::size_t>(c);
            if (owner_[at] == self) {
                whole = false;
                Report("circular-chain", path,
                       path + " has a cluster chain that loops back to cluster " +
                           std::to_string(c) + ": its end is lost");
                return chain;
            }
            if (owner_[at] != kNobody) {
                whole = false;
                CrossLinked(owner_[at], self);
                return chain;
            }
            owner_[at] = self;
            chain.push_back(c);
            const std::uint32_t next = fat_[at];
            if (next >= EndMark()) return chain;
            if (next >= 2 && next < limit_) {
                c = next;
                continue;
            }
            whole = false;
            BrokenLink(path, c, next, chain.size() == 1 && c == first);
            return chain;
        }
    }

    void BrokenLink(const std::string& path, std::int64_t c, std::uint32_t next, bool atStart) {
        const std::string where =
            atStart ? path + " starts at cluster " + std::to_string(c) + ", which the FAT marks "
                    : path + "'s cluster chain runs from cluster " + std::to_string(c) + " into ";
        if (next == 0) {
            if (atStart) {
                Report("free-cluster", path,
                       where + "free: the next file written can overwrite its contents");
            } else {
                Report("free-cluster", path,
                       where +
                           "a free cluster: the rest of the file is lost and its clusters "
                           "can be given to another file");
            }
        } else if (next == BadMark()) {
            Report(
                "bad-cluster", path,
                where + (atStart ? "" : "a cluster marked ") + "bad: the rest of the file is lost");
        } else if (next == 1 || next >= ReservedFrom()) {
            Report("reserved-cluster", path,
                   where + (atStart ? "" : "a ") + "reserved value: the rest of the file is lost");
        } else {
            Report("out-of-range-cluster", path,
                   path + "'s cluster chain points from cluster " + std::to_string(c) +
                       " to cluster " + std::to_string(next) +
                       ", beyond the volume's end: the rest of the file is lost");
        }
    }

    void CrossLinked(std::int32_t other, std::int32_t self) {
        if (!crossed_.insert({other, self}).second) return;
        const std::string& a = paths_[static_cast<std::size_t>(self)];
        const std::string& b = paths_[static_cast<std::size_t>(other)];
        Report("cross-link", a, a + " shares clusters with " + b + ": one of them is damaged");
    }

    void CheckSize(const Entry& e, const std::string& path, std::size_t clusters) {
        if (e.folder) {
            if (e.size != 0) {
                Report("size-mismatch", path,
                       "the folder " + path + " has a size of " + std::to_string(e.size) +
                           " bytes where folders have none: some programs refuse to open it");
            }
            return;
        }
        const std::uint64_t held = std::uint64_t{clusters} * v_.ClusterSize;
        const std::uint64_t needed = (std::uint64_t{e.size} + v_.ClusterSize - 1) / v_.ClusterSize;
        if (needed == clusters) return;
        const std::string claims =
            path + " claims " + std::to_string(e.size) + " bytes but its cluster chain holds " +
            std::to_string(clusters) + " cluster" + (clusters == 1 ? "" : "s") + " (" +
            std::to_string(held) + " bytes): ";
        Report("size-mismatch", path,
               claims + (e.size > held ? "the end of the file is missing"
                                       : "the clusters past its end are wasted, and whatever "
                                         "they hold is not part of the file"));
    }

    // Reads the entries of one folder, bounded by `bytes`, stopping at the end mark.
    std::vector<Entry> ReadEntries(const std::vector<std::int64_t>& sectors, std::int64_t bytes,
                                   const std::string& folder) {
        std::vector<Entry> entries;
        LongName lfn;
        std::vector<unsigned char> sector(tn::TPVolumeFAT::kMaxSectorSize);
        std::int64_t offset = 0;
        for (std::int64_t address : sectors) {
            v_.ReadSector(address, sector.data());
            for (int off = 0; off < v_.BytesPerSector && offset < bytes;
                 off += fat::kEntrySize, offset += fat::kEntrySize) {
                const unsigned char* e = sector.data() + off;
                if (e[0] == fat::kEndOfDirectory) return entries;
                if (e[0] == fat::kDeleted) {
                    lfn.Reset();
                    continue;
                }
                if (e[fat::kEntryAttributes] == fat::kAttrLongName) {
                    lfn.Piece(e);
                    continue;
                }
                Entry entry;
                std::copy(e, e + fat::kEntrySize, entry.raw.begin());
                entry.name = ShortText(e);
                if (lfn.Complete() && lfn.Sum() == fat::ShortNameChecksum(e)) {
                    entry.name = lfn.Text();
                } else if (lfn.Pending()) {
                    const std::string path = Join(folder, entry.name);
                    Report("long-name-checksum", path,
                           path + " is preceded by a long name that does not belong to it " +
                               "(its checksum or sequence does not match): programs show " +
                               "the 8.3 name instead, and the long name is lost");
                }
                lfn.Reset();
                if ((e[fat::kEntryAttributes] & fat::kAttrVolume) != 0 &&
                    (e[fat::kEntryAttributes] & fat::kAttrDirectory) == 0)
                    continue;
                entry.folder = (e[fat::kEntryAttributes] & fat::kAttrDirectory) != 0;
                entry.first = tn::ReadLE16(e + fat::kEntryCluster);
                entry.size = tn::ReadLE32(e + fat::kEntrySizeField);
                entries.push_back(entry);
            }
        }
        return entries;
    }

    static std::string Join(const std::string& folder, const std::string& name) {
        return folder.empty() ? name : folder + "/" + name;
    }

    // Checks the "." and ".." entries a subfolder begins with; the rest go back.
    std::vector<Entry> CheckDots(std::vector<Entry> entries, const std::string& folder,
                                 std::int64_t self, std::int64_t parent, bool isRoot) {
        std::vector<Entry> rest;
        const bool dotOk = !isRoot && !entries.empty() && entries[0].IsDot() && entries[0].folder &&
                           entries[0].first == self;
        const bool dotDotOk = !isRoot && entries.size() > 1 && entries[1].IsDotDot() &&
                              entries[1].folder && entries[1].first == parent;
        if (!isRoot && !dotOk) {
            Report("dot-entries", folder,
                   "the folder " + folder +
                       " lacks a proper \".\" entry: " + "some programs cannot open it");
        }
        if (!isRoot && !dotDotOk) {
            Report("dot-entries", folder,
                   "the folder " + folder + " lacks a proper \"..\" entry: " +
                       "programs that go up from it can land in the wrong folder");
        }
        for (std::size_t i = 0; i < entries.size(); ++i) {
            if (!isRoot && i == 0 && dotOk) continue;
            if (!isRoot && i == 1 && dotDotOk) continue;
            if (entries[i].IsDot() || entries[i].IsDotDot()) {
                const std::string where = isRoot ? "the root folder" : "the folder " + folder;
                Report("dot-entries", folder,
                       where + " holds a stray \"" + entries[i].name +
                           "\" entry: programs that follow it can land in the wrong folder");
                continue;
            }
            rest.push_back(entries[i]);
        }
        return rest;
    }

    // Two entries that one name reaches, by 8.3 name or long name, without regard to case:
    // programs find only the first.
    void CheckDuplicates(const std::vector<Entry>& entries, const std::string& folder) {
        std::map<std::string, std::size_t> owners;
        for (std::size_t i = 0; i < entries.size(); ++i) {
            const std::string shortName = ShortText(entries[i].raw.data());
            bool reported = false;
            for (const std::string& name : {entries[i].name, shortName}) {
                const auto [at, fresh] = owners.emplace(UpperAscii(name), i);
                if (fresh || at->second == i || reported) continue;
                reported = true;
                const std::string path = Join(folder, entries[i].name);
                Report("duplicate-name", path,
                       path +
                           " has the name of another entry in its folder: programs reach "
                           "only one of the two");
            }
        }
    }

    void WalkFolder(const std::vector<std::int64_t>& sectors, std::int64_t bytes,
                    const std::string& folder, std::int64_t self, std::int64_t parent, bool isRoot,
                    int depth) {
        std::vector<Entry> entries =
            CheckDots(ReadEntries(sectors, bytes, folder), folder, self, parent, isRoot);
        CheckDuplicates(entries, folder);
        for (const Entry& e : entries) {
            const std::string path = Join(folder, e.name);
            if (e.folder && e.first == 0) {
                Report("invalid-first-cluster", path,
                       "the folder " + path + " has no cluster: its contents cannot be read");
                continue;
            }
            bool whole = true;
            const auto chain = Chain(e.first, path, whole);
            if (whole) CheckSize(e, path, chain.size());
            if (!e.folder || chain.empty()) continue;
            // A folder whose chain runs into someone else's was reported; its entries are
            // still read, as far as its own clusters go.
            if (depth + 1 > kMaxDepth) {
                Report("too-deep", path,
                       "the folder " + path + " lies more than " + std::to_string(kMaxDepth) +
                           " levels deep: its contents were not checked");
                continue;
            }
            std::vector<std::int64_t> own;
            for (std::int64_t c : chain)
                for (int i = 0; i < v_.SectorsPerCluster; ++i)
                    own.push_back(ClusterAddress(c) + std::int64_t{i} * v_.BytesPerSector);
            const std::int64_t ownBytes = static_cast<std::int64_t>(chain.size()) * v_.ClusterSize;
            WalkFolder(own, ownBytes, path, e.first, isRoot ? 0 : self, false, depth + 1);
        }
    }

    void FindLostChains() {
        const std::size_t n = owner_.size();
        std::vector<bool> lost(n, false), pointed(n, false);
        for (std::size_t c = 2; c < n; ++c)
            lost[c] = owner_[c] == kNobody && fat_[c] != 0 && fat_[c] != BadMark();
        for (std::size_t c = 2; c < n; ++c) {
            if (lost[c] && fat_[c] >= 2 && fat_[c] < n && lost[fat_[c]]) pointed[fat_[c]] = true;
        }
        std::vector<bool> seen(n, false);
        int chains = 0;
        std::uint64_t clusters = 0;
        auto walk = [&](std::size_t head) {
            std::uint64_t length = 0;
            for (std::size_t c = head; c >= 2 && c < n && lost[c] && !seen[c];
                 c = fat_[c] < n ? fat_[c] : 0) {
                seen[c] = true;
                ++length;
            }
            ++chains;
            clusters += length;
            if (chains > kLostChainsNamed) return;
            Report("lost-chain", "",
                   std::to_string(length) + " cluster" + (length == 1 ? "" : "s") +
                       " from cluster " + std::to_string(head) + " (" +
                       std::to_string(length * v_.ClusterSize) + " bytes) " +
                       (length == 1 ? "belongs" : "belong") +
                       " to no file or folder: that space is lost until the "
                       "volume is repaired, and what is stored there is not in any file");
        };
        for (std::size_t c = 2; c < n; ++c)
            if (lost[c] && !pointed[c] && !seen[c]) walk(c);
        // What is left are lost chains that loop.
        for (std::size_t c = 2; c < n; ++c)
            if (lost[c] && !seen[c]) walk(c);
        if (chains > kLostChainsNamed) {
            Report("lost-chain", "",
                   std::to_string(chains - kLostChainsNamed) +
                       " more chains belong to no file or folder (" + std::to_string(clusters) +
                       " lost clusters in all)");
        }
    }
};

}  // namespace

std::vector<CheckProblem> CheckVolume(MountedImage& mounted) {
    std::vector<CheckProblem> problems;
    const std::string& recovery = mounted.Session()->Recovery();
    if (!recovery.empty()) {
        problems.push_back({"journal", "",
                            "a tnpkg command was interrupted while writing this image and left "
                            "its journal; opening the image " +
                                recovery + ", so it holds what it held before that command"});
    }
    tn::TPVolumeFAT& v = mounted.Volume();
    if (v.MissingBytes() > 0) {
        problems.push_back({"short-medium", "",
                            "the image ends " + std::to_string(v.MissingBytes()) +
                                " bytes before the volume does: whatever lies there (file "
                                "contents, folders, free space) is missing"});
    }
    auto found = Checker(v, mounted.FatBits()).Run();
    problems.insert(problems.end(), found.begin(), found.end());
    return problems;
}

}  // namespace tnpkg
