#include "fat/FatImage.h"

#include <tnpackage/text/Encodings.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <system_error>

#include "cli/Failure.h"
#include "cli/Output.h"
#include "cli/Warnings.h"
#include "fat/HostNames.h"
#include "storage/fat/FatLayout.h"
#include "store/OverlayMedium.h"

namespace tnpkg {
namespace {

namespace fs = std::filesystem;
using tn::PartitionTable;

constexpr std::size_t kSector = 512;

bool ReadAt(const fs::path& path, std::int64_t offset, unsigned char* bytes, std::size_t n) {
    std::ifstream in(path, std::ios::binary);
    if (!in) return false;
    in.seekg(offset);
    in.read(reinterpret_cast<char*>(bytes), static_cast<std::streamsize>(n));
    return in.gcount() == static_cast<std::streamsize>(n);
}

std::string Hex(unsigned value) {
    char text[8];
    std::snprintf(text, sizeof text, "0x%02X", value);
    return text;
}

int BitsFor(std::int64_t clusters) {
    if (clusters < 4085) return 12;
    if (clusters < 65525) return 16;
    return 0;
}

std::string TrimRight(std::string text) {
    while (!text.empty() && text.back() == ' ')
        text.pop_back();
    return text;
}

std::string ChainEnds(std::uint64_t found, std::uint32_t size) {
    return "the cluster chain ends after " + std::to_string(found) + " of " + std::to_string(size) +
           " bytes; " + std::to_string(size - found) + " bytes missing";
}

}  // namespace

std::string VolumeLocation::Describe() const {
    if (partition != 0) {
        return "partition " + std::to_string(partition) + " (" +
               PartitionTable::TypeName(partitionType) + ") at byte " + std::to_string(base);
    }
    return base == 0 ? "the whole image" : "byte " + std::to_string(base);
}

bool VolumeChoice::Read(const Args& args, std::string& problem) {
    long long value = 0;
    if (const auto text = args.Option("--offset")) {
        if (!ParseInteger(*text, value) || value < 0) {
            problem = "--offset takes a number of bytes";
            return false;
        }
        offset = value;
    }
    if (const auto text = args.Option("--partition")) {
        if (!ParseInteger(*text, value) || value < 1 || value > PartitionTable::kEntries) {
            problem = "--partition takes a partition number from 1 to 4";
            return false;
        }
        partition = static_cast<int>(value);
    }
    if (offset && partition) {
        problem = "give either --offset or --partition";
        return false;
    }
    return true;
}

bool LocateVolume(const fs::path& image, const VolumeChoice& choice, VolumeLocation& where,
                  std::string& problem) {
    std::error_code ec;
    const auto size = static_cast<std::int64_t>(fs::file_size(image, ec));
    const std::string name = image.string();
    if (fs::is_directory(image, ec)) {
        problem = name + " is a folder, not an image";
        return false;
    }
    if (!fs::exists(image, ec)) {
        problem = "cannot open " + name + ": no such file";
        return false;
    }
    if (ec || !fs::is_regular_file(image, ec)) {
        problem = "cannot open " + name + ": not a regular file";
        return false;
    }
    unsigned char first[kSector] = {};
    if (size < static_cast<std::int64_t>(kSector) || !ReadAt(image, 0, first, kSector)) {
        problem = name + " is not a FAT image (" + std::to_string(size) + " bytes)";
        return false;
    }
    where = VolumeLocation{};
    const PartitionTable table(first, kSector);
    if (choice.offset) {
        where.base = *choice.offset;
    } else if (choice.partition) {
        if (!table.IsValid()) {
            problem = name + " has no partition table";
            return false;
        }
        const auto& entry = table.At(*choice.partition - 1);
        if (!entry.IsUsed()) {
            problem =
                "partition " + std::to_string(*choice.partition) + " of " + name + " is empty";
            return false;
        }
        where.partition = *choice.partition;
        where.partitionType = entry.type;
        where.base = entry.Offset();
    } else if (table.Kind() == PartitionTable::SectorKind::FatBootSector) {
        where.base = 0;
    } else if (table.IsValid()) {
        where.partition = table.FirstFat();
        if (where.partition == 0) {
            problem = "no FAT12 or FAT16 partition on " + name;
            for (int i = 0; i < PartitionTable::kEntries; ++i) {
                const auto& e = table.At(i);
                if (e.IsUsed() &&
                    PartitionTable::Support(e.type) == PartitionTable::FatSupport::NotSupported) {
                    problem += " (partition " + std::to_string(i + 1) +
                               " is FAT32, which tnpkg cannot read)";
                    break;
                }
            }
            return false;
        }
        where.partitionType = table.At(where.partition - 1).type;
        where.base = table.VolumeBase(where.partition);
    } else {
        problem = name + " is not a FAT image (neither a boot sector nor a partition table)";
        return false;
    }

    unsigned char boot[kSector] = {};
    if (where.base + static_cast<std::int64_t>(kSector) > size ||
        !ReadAt(image, where.base, boot, kSector)) {
        problem = "the volume at " + where.Describe() + " lies beyond the end of " + name;
        return false;
    }
    if (boot[tn::fat::kBootExtendedSignature] == tn::fat::kExtendedSignature) {
        where.bootLabel =
            TrimRight(std::string(reinterpret_cast<char*>(boot + tn::fat::kBootVolumeLabel),
                                  tn::fat::kBootVolumeLabelLength));
    }
    if (!tn::IsFATSector(boot)) {
        problem = "no FAT boot sector at " + where.Describe() + " of " + name;
        if (where.partition != 0 &&
            PartitionTable::Support(where.partitionType) == PartitionTable::FatSupport::None) {
            problem += " (partition type " + Hex(where.partitionType) + ")";
        }
        return false;
    }
    if (where.partition != 0 &&
        PartitionTable::Support(where.partitionType) == PartitionTable::FatSupport::NotSupported) {
        problem = "partition " + std::to_string(where.partition) + " of " + name +
                  " is FAT32, which tnpkg cannot read";
        return false;
    }
    return true;
}

MountedImage::MountedImage(std::shared_ptr<store::ImageSession> session,
                           const VolumeLocation& where, bool writable)
    : where_(where), session_(std::move(session)) {
    medium_ = std::make_unique<store::OverlayMedium>(session_->Changes(), where.base, writable);
    {
        // What the package says while it mounts is kept for the caller to show: about a
        // volume that mounts, it is information (such as how the FAT was typed), not failure.
        const WarningCapture mounting("tnpkg fat: while mounting " + session_->Name(),
                                      WarningCapture::Showing::Held);
        volume_ = std::make_unique<tn::TPVolumeFAT>(medium_.get(), 'A', 0);
        notices_ = mounting.Texts();
    }

    if (volume_->MountStatus() == tn::TPVolumeFAT::MountResult::FAT32) {
        problem_ = "the volume at " + where.Describe() + " of " + session_->Name() +
                   " is FAT32; FAT32 volumes are not supported";
    } else if (!volume_->Valid || volume_->FATBuffer == nullptr || volume_->Root == nullptr) {
        problem_ = "the FAT volume at " + where.Describe() + " of " + session_->Name() +
                   " has a boot sector that cannot be used";
    }
}

std::unique_ptr<MountedImage> MountImage(const std::string& image, const VolumeChoice& choice,
                                         const store::SessionOptions& options,
                                         std::string& problem) {
    auto session = store::ImageSession::Open(image, options, problem);
    if (!session) return nullptr;
    VolumeLocation where;
    if (!LocateVolume(image, choice, where, problem)) return nullptr;
    auto m = std::make_unique<MountedImage>(std::move(session), where, options.write);
    if (!m->Problem().empty()) {
        // What the package said while mounting is the reason the mount failed.
        for (const auto& notice : m->Notices())
            FatNote("while mounting " + image + ": " + tn::Win1252ToUtf8(notice));
        problem = m->Problem();
        return nullptr;
    }
    return m;
}

MountedImage::~MountedImage() {
    volume_.reset();  // before the medium it reads from
    medium_.reset();
}

int MountedImage::FatBits() const {
    if (volume_->FATType == 1) return 12;
    return volume_->FATType == 0 ? 0 : 16;
}

int MountedImage::CoarseFatBits() const {
    return BitsFor(volume_->ClusterCount);
}

std::uint32_t MountedImage::DataClusters() const {
    const auto limit = volume_->DataClusterLimit();
    return limit > 2 ? static_cast<std::uint32_t>(limit - 2) : 0;
}

std::uint32_t MountedImage::FreeClusters() {
    std::uint32_t free = 0;
    const auto limit = volume_->DataClusterLimit();
    for (int n = 2; n < limit; ++n)
        free += volume_->GetCluster(n) == 0 ? 1 : 0;
    return free;
}

bool MountedImage::Flush() {
    volume_->WriteClusterBuffer();
    return true;
}

tn::TPDirEintrag* MountedImage::Find(const std::string& path, std::string& problem, bool utf8) {
    tn::TPDirEintrag* node = volume_->Root;
    std::string walked;
    for (const std::string& part : VolumePathParts(path)) {
        if (part == "..") {
            if (node->Parent != nullptr) node = node->Parent;
            continue;
        }
        if (!node->IsDirectory()) {
            problem = walked + " is not a folder";
            return nullptr;
        }
        bool lossy = false;
        const std::string wanted = utf8 ? FromUtf8(part, lossy, '?') : part;
        tn::TPDirEintrag* hit = nullptr;
        for (tn::TPDirEintrag* child : Children(node)) {
            if (NameMatches(*child, wanted)) {
                hit = child;
                break;
            }
        }
        walked += "/" + (utf8 ? part : tn::Win1252ToUtf8(part));
        if (hit == nullptr) {
            problem = "no " + walked + " in the image";
            return nullptr;
        }
        node = hit;
    }
    return node;
}

std::string VolumeLabel(MountedImage& m) {
    auto* root = m.Volume().Root;
    for (int i = 0; i < root->Count(); ++i) {
        tn::TPDirEintrag* e = root->Eintrag(i);
        if (e != nullptr && e->IsVolumeLabel()) {
            return TrimRight(std::string(reinterpret_cast<const char*>(e->Entry), 11));
        }
    }
    const std::string& boot = m.Where().bootLabel;
    return boot == "NO NAME" ? std::string() : boot;
}

std::vector<std::string> VolumePathParts(const std::string& path) {
    std::vector<std::string> parts;
    std::size_t start = 0;
    while (start <= path.size()) {
        std::size_t end = path.find_first_of("/\\", start);
        if (end == std::string::npos) end = path.size();
        std::string part = path.substr(start, end - start);
        start = end + 1;
        if (!part.empty() && part != ".") parts.push_back(std::move(part));
    }
    return parts;
}

std::vector<tn::TPDirEintrag*> Children(tn::TPDirEintrag* folder) {
    std::vector<tn::TPDirEintrag*> children;
    if (folder == nullptr || !folder->IsDirectory()) return children;
    auto* dir = static_cast<tn::TPVerzeichnisInfo*>(folder);
    const int count = dir->Count();
    children.reserve(static_cast<std::size_t>(count > 0 ? count : 0));
    for (int i = 0; i < count; ++i) {
        tn::TPDirEintrag* e = dir->Eintrag(i);
        if (e != nullptr && !e->IsVolumeLabel()) children.push_back(e);
    }
    return children;
}

std::string ShortName(const tn::TPDirEintrag& node) {
    std::string base(reinterpret_cast<const char*>(node.Entry), 8);
    if (!base.empty() && base[0] == '\x05') base[0] = '\xE5';  // a real 0xE5 first character
    base = TrimRight(base);
    const std::string ext =
        TrimRight(std::string(reinterpret_cast<const char*>(node.Entry + 8), 3));
    return ShortNameToUtf8(ext.empty() ? base : base + "." + ext);
}

bool NameMatches(const tn::TPDirEintrag& node, const std::string& name) {
    return FoldCase(ShownName(node)) == FoldCase(name) ||
           UpperAscii(ShortName(node)) == UpperAscii(tn::Win1252ToUtf8(name));
}

tn::TPDirEintrag* ChildNamed(tn::TPDirEintrag* folder, const std::string& name) {
    for (tn::TPDirEintrag* child : Children(folder)) {
        if (NameMatches(*child, name)) return child;
    }
    return nullptr;
}

std::string ShownName(const tn::TPDirEintrag& node) {
    return tn::ToStdString(node.Name);
}

std::string NodePath(const tn::TPDirEintrag& node) {
    std::string path;
    for (const tn::TPDirEintrag* n = &node; n != nullptr && n->Parent != nullptr; n = n->Parent)
        path.insert(0, "/" + ShownName(*n));
    return path.empty() ? "/" : path;
}

namespace {

// `width` decimal digits of `value`, zeros in front; the fields of a FAT date fit theirs.
char* PutDigits(char* at, unsigned value, int width) {
    for (int i = width - 1; i >= 0; --i) {
        at[i] = static_cast<char>('0' + value % 10);
        value /= 10;
    }
    return at + width;
}

}  // namespace

void AppendDateText(std::string& out, std::uint32_t v) {
    static constexpr std::size_t kLength = sizeof "2024-07-04 13:05" - 1;
    char text[kLength];
    tn::TPDateTime when;
    when.SetFileDate(v);
    unsigned short year = 0, month = 0, day = 0, hour = 0, minute = 0;
    when.DecodeDate(&day, &month, &year);
    when.DecodeTime(&hour, &minute, nullptr, nullptr);
    char* p = PutDigits(text, year, 4);
    *p++ = '-';
    p = PutDigits(p, month, 2);
    *p++ = '-';
    p = PutDigits(p, day, 2);
    *p++ = ' ';
    p = PutDigits(p, hour, 2);
    *p++ = ':';
    p = PutDigits(p, minute, 2);
    out.append(text, static_cast<std::size_t>(p - text));
}

std::string DateText(std::uint32_t v) {
    std::string text;
    AppendDateText(text, v);
    return text;
}

std::uint32_t NodeSize(const tn::TPDirEintrag& node) {
    if (!node.IsFile()) return 0;
    return static_cast<std::uint32_t>(static_cast<const tn::TPDateiInfo&>(node).FileSize);
}

StreamResult StreamNode(tn::TPDirEintrag& node, const ByteSink& sink, std::string& problem) {
    const std::uint32_t size = NodeSize(node);
    if (size == 0 || !node.IsFile()) return StreamResult::Whole;
    tn::TPVolumeFAT* volume = node.Volume;
    if (size > 0x7FFFFFFFu || volume == nullptr || volume->ClusterSize == 0) {
        problem = "its size of " + std::to_string(size) + " bytes cannot be right";
        return StreamResult::Broken;
    }
    if (!volume->IsDataCluster(node.FirstCluster)) {
        problem = ChainEnds(0, size);
        return StreamResult::Broken;
    }
    // A truncated image gives a warning for every sector beyond its end: one line per file
    // says it instead.
    const WarningCapture reading("tnpkg fat: while reading " + tn::Win1252ToUtf8(NodePath(node)),
                                 WarningCapture::Showing::Held);
    const auto* medium = dynamic_cast<const store::OverlayMedium*>(volume->Medium);
    const std::int64_t outsideBefore = medium != nullptr ? medium->BytesReadOutside() : 0;
    auto& file = static_cast<tn::TPDateiInfo&>(node);
    tn::TPFile record;
    record.Open(&file);
    // One cluster at a time: the size in the entry is only a claim. No chain is longer than
    // the data area; one that seems to be loops.
    const std::uint32_t piece = volume->ClusterSize;
    const auto clusters = static_cast<std::uint64_t>(std::max(volume->DataClusterLimit() - 2, 0));
    const std::uint64_t most = std::min<std::uint64_t>(size, clusters * piece);
    std::vector<char> buffer(piece);
    std::uint64_t done = 0;
    while (done < most) {
        const auto want = static_cast<int>(std::min<std::uint64_t>(piece, most - done));
        const int got = volume->FileRead(&record, buffer.data(), want);
        if (got <= 0) break;
        if (!sink(buffer.data(), static_cast<std::size_t>(got))) return StreamResult::Stopped;
        done += static_cast<std::uint64_t>(got);
        record.Position += got;
        // A record that could not step on to a next cluster stays behind its last sector.
        if (got < want || record.SectorIndex >= volume->SectorsPerCluster) break;
    }
    const std::int64_t outside = medium != nullptr ? medium->BytesReadOutside() - outsideBefore : 0;
    if (outside > 0) {
        problem = std::to_string(std::min<std::int64_t>(outside, size)) + " of its " +
                  std::to_string(size) + " bytes lie beyond the end of the image, which is " +
                  "shorter than its volume";
        return StreamResult::Broken;
    }
    reading.ShowHeld(static_cast<std::size_t>(reading.Count()));
    if (done < size) {
        problem = ChainEnds(done, size);
        return StreamResult::Broken;
    }
    return StreamResult::Whole;
}

bool ReadNode(tn::TPDirEintrag& node, std::string& data, std::string& problem) {
    data.clear();
    const auto append = [&data](const char* bytes, std::size_t count) {
        data.append(bytes, count);
        return true;
    };
    return StreamNode(node, append, problem) == StreamResult::Whole;
}

void CountTree(tn::TPDirEintrag* folder, std::uint64_t& files, std::uint64_t& folders,
               std::uint64_t& bytes) {
    for (tn::TPDirEintrag* child : Children(folder)) {
        if (child->IsDirectory()) {
            ++folders;
            CountTree(child, files, folders, bytes);
        } else {
            ++files;
            bytes += NodeSize(*child);
        }
    }
}

int FatFail(const std::string& text) {
    RecordFailure(text);
    std::fprintf(stderr, "tnpkg fat: %s\n", text.c_str());
    return kFailure;
}

void FatNote(const std::string& text) {
    std::fprintf(stderr, "tnpkg fat: %s\n", text.c_str());
}

}  // namespace tnpkg
