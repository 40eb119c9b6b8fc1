// `tnpkg fat put`, `mkdir` and `format`: the commands that change an image. Each works on the
// overlay of an image session, reads back what it wrote through a fresh mount, and only then
// commits the changed pages into the image, behind the rollback journal.
#include <tnpackage/text/Encodings.h>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <system_error>

#include "cli/HostFiles.h"
#include "cli/Output.h"
#include "cli/Progress.h"
#include "cli/Warnings.h"
#include "fat/EntrySets.h"
#include "fat/FatCommand.h"
#include "fat/HostNames.h"
#include "store/ImageSession.h"

namespace tnpkg {
namespace {

namespace fs = std::filesystem;

struct PlannedFile {
    fs::path host;
    std::string fatPath;  // "DIR\SUB\NAME", Windows-1252, from the root
    std::uint64_t size = 0;
    // Content read before planning (standard input, which cannot be read twice); else the
    // host file is read when written and again when verified.
    std::shared_ptr<const std::string> held;
};

struct Plan {
    std::vector<std::string> folders;  // to create, parents first
    std::vector<PlannedFile> files;
    std::uint64_t clusters = 0;               // clusters the new content needs at most
    std::vector<tn::TPDirEintrag*> replaced;  // files that new content replaces (--force)
    std::uint64_t freed = 0;                  // clusters the replaced files give back
    int failures = 0;
};

std::string Join(const std::string& folder, const std::string& name) {
    return folder.empty() ? name : folder + "\\" + name;
}

std::string Shown(const std::string& fatPath) {
    std::string path = "/" + fatPath;
    std::replace(path.begin(), path.end(), '\\', '/');
    return tn::Win1252ToUtf8(path);
}

bool ReadHostFile(const fs::path& path, std::string& data) {
    std::ifstream in(path, std::ios::binary);
    if (!in) return false;
    data.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    return !in.bad();
}

bool ReadContent(const PlannedFile& file, std::string& data) {
    if (file.held) {
        data = *file.held;
        return true;
    }
    return ReadHostFile(file.host, data);
}

// Where a new entry goes, once its name is settled.
struct Placement {
    std::string fatPath;
    tn::TPDirEintrag* existing = nullptr;
    bool replacing = false;
};

class Planner {
  public:
    Planner(Plan& plan, std::uint64_t clusterBytes, bool replace)
        : plan_(plan), clusterBytes_(clusterBytes), replace_(replace) {}

    // Plans `host` into the volume folder `fatFolder` (existing node `node`, or null when it is
    // to be made), with `names` holding the names already given out there; `asName`, when
    // given, is the name it gets instead of its own.
    void Add(const fs::path& host, const std::string& fatFolder, tn::TPDirEintrag* node,
             UniqueNames& names, const std::string& asName = {}) {
        std::error_code ec;
        const auto linkStatus = fs::symlink_status(host, ec);
        const auto status = fs::status(host, ec);
        const std::string hostText = PathText(host);
        if (!fs::exists(status)) {
            Fail("no " + hostText);
            return;
        }
        const bool folder = fs::is_directory(status);
        if (folder && fs::is_symlink(linkStatus)) {
            Fail(hostText + " is a symbolic link to a folder; not followed");
            return;
        }
        if (!folder && !fs::is_regular_file(status)) {
            Fail(hostText + " is neither a file nor a folder");
            return;
        }
        std::string hostName = asName.empty() ? PathText(host.filename()) : asName;
        if (hostName.empty() || hostName == "." || hostName == "..") {
            hostName = PathText(fs::absolute(host).lexically_normal().parent_path().filename());
        }
        const Placement place = Place(hostName, hostText, fatFolder, node, names, folder);
        const std::string& fatPath = place.fatPath;
        tn::TPDirEintrag* existing = place.existing;
        if (folder) {
            if (existing != nullptr && !existing->IsDirectory()) {
                Fail(Shown(fatPath) + " is a file in the image; " + hostText + " is a folder");
                return;
            }
            if (existing == nullptr) {
                plan_.folders.push_back(fatPath);
                plan_.clusters += 1;
            }
            AddFolderContent(host, fatPath, existing);
            return;
        }
        const auto size = fs::file_size(host, ec);
        if (ec || size > kLargestFile) {
            Fail("cannot read " + hostText);
            return;
        }
        AddFile(place, hostText, {host, fatPath, size, nullptr});
    }

    // Plans `content` (read from standard input) as the file `name` in `fatFolder`.
    void AddHeld(const std::string& name, std::shared_ptr<const std::string> content,
                 const std::string& fatFolder, tn::TPDirEintrag* node, UniqueNames& names) {
        const std::string hostText = "standard input";
        if (content->size() > kLargestFile) {
            Fail(hostText + " holds more than a FAT file can (2 GiB)");
            return;
        }
        const Placement place = Place(name, hostText, fatFolder, node, names, false);
        AddFile(place, hostText, {{}, place.fatPath, content->size(), std::move(content)});
    }

  private:
    // FAT sizes are 32-bit, and the package's file functions count in int.
    static constexpr std::uint64_t kLargestFile = 0x7FFFFFFFu;

    // The name `hostName` gets in `fatFolder`, and what it meets there.
    Placement Place(const std::string& hostName, const std::string& hostText,
                    const std::string& fatFolder, tn::TPDirEintrag* node, UniqueNames& names,
                    bool folder) {
        bool changed = false;
        const std::string mapped = FatLongName(hostName, changed);
        // A folder that exists takes the new content; a file that exists is kept. Names
        // given out earlier in this command get a numbered variant instead.
        tn::TPDirEintrag* existing = node != nullptr ? ChildNamed(node, mapped) : nullptr;
        std::string name = mapped;
        const bool replacing =
            existing != nullptr && replace_ && !folder && existing->IsFile() && !Replaced(existing);
        if (existing != nullptr && folder && existing->IsDirectory()) {
            name = ShownName(*existing);
            names.Reserve(name);
        } else if (replacing) {
            names.Reserve(name);
        } else if (existing == nullptr || Replaced(existing)) {
            name = names.Claim(mapped);
            if (name != mapped) {
                changed = true;
                existing = node != nullptr ? ChildNamed(node, name) : nullptr;
            }
        }
        const std::string fatPath = Join(fatFolder, name);
        if (changed) FatNote("stores " + hostText + " as " + Shown(fatPath));
        ++entries_;
        return {fatPath, existing, replacing};
    }

    void AddFile(const Placement& place, const std::string& hostText, PlannedFile file) {
        tn::TPDirEintrag* existing = place.existing;
        if (existing != nullptr && existing->IsDirectory()) {
            Fail(Shown(place.fatPath) + " is a folder in the image; " + hostText + " is a file");
            return;
        }
        if (existing != nullptr && !place.replacing) {
            Fail(Shown(place.fatPath) + " exists already in the image; not overwritten (--force " +
                 "replaces it)");
            return;
        }
        if (place.replacing) {
            plan_.replaced.push_back(existing);
            plan_.freed += (NodeSize(*existing) + clusterBytes_ - 1) / clusterBytes_;
        }
        plan_.clusters += (file.size + clusterBytes_ - 1) / clusterBytes_;
        plan_.files.push_back(std::move(file));
    }

    // Every entry set can take a new cluster of its folder when that folder is full.
    void AddFolderContent(const fs::path& host, const std::string& fatPath,
                          tn::TPDirEintrag* node) {
        std::vector<fs::path> children;
        std::error_code ec;
        for (const auto& e : fs::directory_iterator(host, ec))
            children.push_back(e.path());
        if (ec) {
            Fail("cannot read the folder " + PathText(host));
            return;
        }
        std::sort(children.begin(), children.end());
        UniqueNames names;
        const std::uint64_t before = entries_;
        for (const auto& child : children)
            Add(child, fatPath, node, names);
        // Up to 21 slots of 32 bytes for each new entry (a 255-character long name).
        plan_.clusters += ((entries_ - before) * 21 * 32 + clusterBytes_ - 1) / clusterBytes_;
    }

  private:
    Plan& plan_;
    std::uint64_t clusterBytes_;
    std::uint64_t entries_ = 0;
    bool replace_;

    bool Replaced(const tn::TPDirEintrag* node) const {
        return std::find(plan_.replaced.begin(), plan_.replaced.end(), node) !=
               plan_.replaced.end();
    }

    void Fail(const std::string& text) {
        ++plan_.failures;
        FatNote(text);
    }
};

// The volume folder `path` (UTF-8, as the user gave it): the existing part is matched by name,
// the rest is mapped to FAT names and planned for creation. `node` is the deepest existing
// folder when the whole path exists, else null.
bool PlanTargetFolder(MountedImage& m, const std::string& path, Plan& plan, std::string& fatPath,
                      tn::TPDirEintrag*& node) {
    node = m.Volume().Root;
    fatPath.clear();
    for (const std::string& part : VolumePathParts(path)) {
        if (part == "..") {
            FatNote("a volume path cannot go up with ..");
            return false;
        }
        bool changed = false;
        const std::string name = FatLongName(part, changed);
        tn::TPDirEintrag* child = node != nullptr ? ChildNamed(node, name) : nullptr;
        if (child != nullptr && !child->IsDirectory()) {
            FatNote(Shown(Join(fatPath, name)) + " is a file in the image");
            return false;
        }
        fatPath = Join(fatPath, child != nullptr ? ShownName(*child) : name);
        if (child == nullptr) {
            if (changed) FatNote("stores folder " + part + " as " + Shown(fatPath));
            plan.folders.push_back(fatPath);
            plan.clusters += 1;
        }
        node = child;
    }
    return true;
}

// Carries out a plan on the overlay; false when anything failed or the package warned.
bool Execute(MountedImage& w, const Plan& plan, bool quiet) {
    // The package reports a step it could not do only through a warning.
    const WarningCapture warnings("tnpkg fat: while writing the image");
    tn::TPVolumeFAT& v = w.Volume();
    // The replaced files go first; nothing reaches the image before the whole result has read
    // back, so their room can take the new content.
    for (tn::TPDirEintrag* old : plan.replaced)
        RemoveNode(v, old);
    for (const auto& folder : plan.folders) {
        std::string path = folder;
        if (v.ForceDirectories(tn::TPString(path.data())) == nullptr) {
            FatNote("cannot create the folder " + Shown(folder));
            return false;
        }
    }
    Progress progress("writing", quiet);
    std::uint64_t done = 0;
    for (const auto& file : plan.files) {
        progress.Update(++done, plan.files.size(), tn::Win1252ToUtf8(file.fatPath));
        std::string data;
        if (!ReadContent(file, data) || data.size() != file.size) {
            FatNote("cannot read " + PathText(file.host));
            return false;
        }
        std::string path = file.fatPath;
        tn::TPFile record;
        tn::TPDateiInfo* node = v.CreateFile(&record, tn::TPString(path.data()));
        if (node == nullptr) {
            FatNote("cannot create " + Shown(file.fatPath));
            return false;
        }
        if (data.empty()) {
            // The package gives every new entry a cluster; an empty file keeps none, as FAT
            // wants it (fsck.fat would report the cluster as lost to the file).
            if (v.IsDataCluster(node->FirstCluster)) {
                v.SetCluster(node->FirstCluster, 0);
                node->FirstCluster = 0;
                node->SaveEntry(true);
            }
        } else {
            const int written =
                v.FileWrite(&record, data.data(), static_cast<int>(data.size()), true);
            if (written != static_cast<int>(data.size())) {
                FatNote("wrote only " + std::to_string(written) + " of " +
                        std::to_string(data.size()) + " bytes of " + Shown(file.fatPath));
                return false;
            }
        }
    }
    if (!w.Flush()) {
        FatNote("cannot write the changes of the image");
        return false;
    }
    return warnings.Count() == 0;
}

// Reads everything back through a fresh mount of the overlay.
bool Verify(const std::shared_ptr<store::ImageSession>& session, const VolumeLocation& where,
            const Plan& plan) {
    MountedImage m(session, where, false);
    if (!m.Problem().empty()) {
        FatNote("the written volume does not mount: " + m.Problem());
        return false;
    }
    std::string problem;
    for (const auto& folder : plan.folders) {
        std::string path = folder;
        const tn::TPDirEintrag* node = m.Find(path, problem, false);
        if (node == nullptr || !node->IsDirectory()) {
            FatNote("the folder " + Shown(folder) + " is missing after writing");
            return false;
        }
    }
    for (const auto& file : plan.files) {
        tn::TPDirEintrag* node = m.Find(file.fatPath, problem, false);
        std::string expected, found;
        if (node == nullptr || !ReadNode(*node, found, problem) || !ReadContent(file, expected) ||
            found != expected) {
            FatNote(Shown(file.fatPath) + " does not read back as written");
            return false;
        }
    }
    return true;
}

int Apply(FatRequest& r, MountedImage& m, const Plan& plan, std::uint32_t free) {
    if (plan.clusters > free) {
        return FatFail("not enough room: up to " + std::to_string(plan.clusters) +
                       " clusters needed, " + std::to_string(free) + " free");
    }
    if (!Execute(m, plan, r.args.Flag("--quiet")) || !Verify(m.Session(), m.Where(), plan)) {
        return FatFail(Unchanged(r));
    }
    return CommitFatWrite(r, *m.Session());
}

// "4096", "64K", "4M" (binary units).
bool ParseSize(const std::string& text, std::uint64_t& bytes) {
    if (text.empty()) return false;
    std::string digits = text;
    std::uint64_t unit = 1;
    const char last = digits.back();
    if (last == 'K' || last == 'k') unit = 1024;
    if (last == 'M' || last == 'm') unit = 1024 * 1024;
    if (unit != 1) digits.pop_back();
    long long value = 0;
    if (!ParseInteger(digits, value) || value <= 0) return false;
    bytes = static_cast<std::uint64_t>(value) * unit;
    return true;
}

// The new volume's system area over an image of its new length; the data area keeps whatever
// bytes it had (free clusters are not read), so replacing a large image costs only the area.
bool WriteSystemArea(const std::shared_ptr<store::ImageSession>& session,
                     const std::vector<unsigned char>& area, std::uint64_t bytes) {
    store::Overlay& overlay = session->Changes();
    overlay.Resize(static_cast<std::int64_t>(bytes));
    std::vector<unsigned char> back(area.size());
    if (!overlay.Write(0, area.data(), area.size()) || !overlay.Read(0, back.data(), back.size()) ||
        back != area) {
        FatNote("cannot write the new volume's system area");
        return false;
    }
    MountedImage m(session, VolumeLocation{}, false);
    if (!m.Problem().empty()) {
        FatNote("the new volume does not mount: " + m.Problem());
        return false;
    }
    return true;
}

std::uint32_t FatNow() {
    return tn::TPDateTime(0, tn::PDateTimeFlag::DateTime).FileDate();
}

}  // namespace

// Opens the image for writing (exclusive lock, recovery) and mounts it on the session's
// overlay, after the checks every write makes.
bool PrepareFatWrite(FatRequest& r, std::unique_ptr<MountedImage>& m) {
    const auto options = store::SessionOptions::For(true, r.args.Flag("--no-journal"));
    m = MountRequested(r, options);
    if (!m) return false;
    const std::string refusal = FatWriteRefusal(*m);
    if (!refusal.empty()) {
        FatFail("cannot write " + r.image + ": " + refusal + "; it was left unchanged");
        return false;
    }
    return true;
}

int CommitFatWrite(FatRequest& r, store::ImageSession& session) {
    std::string problem;
    if (!session.Commit(problem)) return FatFail(problem + "; " + r.image + " was left unchanged");
    return kSuccess;
}

// What `--as` and standard input ask of the operands, checked before the image is opened.
std::string PutOperandsProblem(const FatRequest& r) {
    const auto asName = r.args.Option("--as");
    const bool fromInput =
        std::count(r.operands.begin(), r.operands.end(), std::string(kStandardInput)) > 0;
    if (asName && r.operands.size() != 1) return "--as names a single FILE";
    if (fromInput && !asName) return "standard input (-) needs --as NAME, its name in the image";
    if (asName && (asName->empty() || asName->find_first_of("/\\") != std::string::npos))
        return "--as takes a name, not a path (--to gives the folder)";
    return {};
}

int FatPut(FatRequest& r) {
    if (const std::string problem = PutOperandsProblem(r); !problem.empty())
        return FatUsage(problem);
    std::unique_ptr<MountedImage> m;
    if (!PrepareFatWrite(r, m)) return kFailure;

    Plan plan;
    std::string folder;
    tn::TPDirEintrag* node = nullptr;
    if (!PlanTargetFolder(*m, r.args.Option("--to").value_or("/"), plan, folder, node)) {
        return FatFail(Unchanged(r));
    }
    Planner planner(plan, m->Volume().ClusterSize, r.args.Flag("--force"));
    UniqueNames names;
    const std::string asName = r.args.Option("--as").value_or("");
    for (const auto& host : r.operands) {
        if (host != kStandardInput) {
            planner.Add(fs::path(host), folder, node, names, asName);
            continue;
        }
        std::vector<unsigned char> bytes;
        std::string problem;
        if (!ReadInputFile(host, bytes, problem)) return FatFail(problem + "; " + Unchanged(r));
        planner.AddHeld(asName, std::make_shared<const std::string>(bytes.begin(), bytes.end()),
                        folder, node, names);
    }
    if (plan.failures > 0) return FatFail(Unchanged(r));
    const auto free = m->FreeClusters() + plan.freed;
    return Apply(r, *m, plan,
                 static_cast<std::uint32_t>(std::min<std::uint64_t>(free, UINT32_MAX)));
}

int FatMkdir(FatRequest& r) {
    std::unique_ptr<MountedImage> m;
    if (!PrepareFatWrite(r, m)) return kFailure;
    Plan plan;
    std::string folder;
    tn::TPDirEintrag* node = nullptr;
    if (!PlanTargetFolder(*m, r.operands[0], plan, folder, node)) {
        return FatFail(Unchanged(r));
    }
    if (plan.folders.empty()) {
        FatNote(Shown(folder) + " exists already");
        return kSuccess;
    }
    return Apply(r, *m, plan, m->FreeClusters());
}

int FatFormat(FatRequest& r) {
    std::uint64_t bytes = 0;
    if (!ParseSize(r.args.Option("--size").value_or(""), bytes)) {
        return FatUsage("format needs --size BYTES (K and M suffixes allowed)");
    }
    bool lossy = false;
    std::string label = FromUtf8(r.args.Option("--label").value_or(""), lossy, '\x7F');
    const std::string labelProblem = tn::CheckVolumeLabel(label);
    if (!labelProblem.empty()) return FatUsage(labelProblem);
    tn::FatFormatChoice choice;
    if (const auto fat = r.args.Option("--fat")) {
        if (*fat != "12" && *fat != "16") return FatUsage("--fat takes 12 or 16");
        choice.fatBits = *fat == "12" ? 12 : 16;
    }
    if (const auto cluster = r.args.Option("--cluster")) {
        std::uint64_t clusterBytes = 0;
        if (!ParseSize(*cluster, clusterBytes) || clusterBytes > UINT32_MAX) {
            return FatUsage("--cluster takes a number of bytes (K suffix allowed)");
        }
        choice.clusterBytes = static_cast<std::uint32_t>(clusterBytes);
    }
    std::string reason;
    const auto geometry = tn::ChooseFatGeometry(bytes, choice, reason);
    if (!geometry) return FatFail(reason);
    const fs::path image(r.image);
    std::error_code ec;
    if (fs::exists(image, ec) && !r.args.Flag("--force")) {
        return FatFail(r.image + " exists already (use --force to replace it)");
    }
    const auto now = FatNow();
    const auto serial = static_cast<std::uint32_t>(std::time(nullptr)) * 2654435761u;
    const auto area = tn::FatSystemArea(*geometry, label, serial, now);
    if (!image.parent_path().empty()) fs::create_directories(image.parent_path(), ec);
    const auto options = store::SessionOptions::For(true, r.args.Flag("--no-journal"), true);
    std::string problem;
    const auto session = store::ImageSession::Open(image, options, problem);
    if (!session) return FatFail(problem);
    if (!WriteSystemArea(session, area, bytes)) return FatFail(Unchanged(r));
    if (CommitFatWrite(r, *session) != kSuccess) return kFailure;
    const std::uint64_t clusterBytes = std::uint64_t{geometry->sectorsPerCluster} * 512;
    Print("formatted %s: FAT%d, %llu bytes, %u clusters of %llu bytes\n", r.image.c_str(),
          geometry->fatBits, static_cast<unsigned long long>(bytes), geometry->dataClusters,
          static_cast<unsigned long long>(clusterBytes));
    return kSuccess;
}

}  // namespace tnpkg
