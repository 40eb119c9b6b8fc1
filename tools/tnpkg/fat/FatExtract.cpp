// `tnpkg fat get` and `tnpkg fat cat`: files and folders out of a volume. Whatever names the
// image holds, nothing is written outside the target folder.
#include <filesystem>
#include <system_error>

#include "cli/Output.h"
#include "cli/Progress.h"
#include "fat/FatCommand.h"
#include "fat/HostNames.h"
#include "fat/NewHostFile.h"

namespace tnpkg {
namespace {

namespace fs = std::filesystem;

class Extractor {
  public:
    Extractor(bool quiet, bool keepPartial, std::uint64_t total)
        : progress_("extracting", quiet), total_(total), keepPartial_(keepPartial) {}

    int Failures() const { return failures_; }

    // Extracts `node` as `target`, a path whose last component is already safe.
    void Extract(tn::TPDirEintrag& node, const fs::path& target) {
        if (node.IsDirectory()) {
            if (!MakeFolder(node, target)) return;
            ExtractChildren(node, target);
        } else {
            WriteFile(node, target);
        }
    }

    // Extracts `node` into the folder `target` under a name the PC accepts and `names` has not
    // given yet, and says so when that is not the node's own name.
    void ExtractAs(tn::TPDirEintrag& node, const fs::path& target, UniqueNames& names) {
        bool changed = false;
        const std::string safe = HostComponent(ShownName(node), changed);
        const std::string unique = names.Claim(safe);
        if (changed || unique != safe) {
            FatNote("stored " + Cp1252ToUtf8(NodePath(node)) + " as " +
                    PathText(target / Utf8Path(unique)));
        }
        Extract(node, target / Utf8Path(unique));
    }

    // Extracts everything inside the folder `node` into the existing folder `target`.
    void ExtractChildren(tn::TPDirEintrag& node, const fs::path& target) {
        UniqueNames names;
        for (tn::TPDirEintrag* child : Children(&node)) {
            ExtractAs(*child, target, names);
        }
    }

  private:
    Progress progress_;
    std::uint64_t total_;
    std::uint64_t done_ = 0;
    bool keepPartial_;
    int failures_ = 0;

    void Fail(const std::string& text) {
        ++failures_;
        FatNote(text);
    }

    // An existing link, device or pipe at the target is never written through: it could lead
    // out of the target folder.
    bool UsableTarget(const fs::path& target, bool folder) {
        std::error_code ec;
        const auto status = fs::symlink_status(target, ec);
        if (ec || !fs::exists(status)) return true;
        if (fs::is_symlink(status)) {
            Fail(PathText(target) + " is a symbolic link; not written through");
            return false;
        }
        if (folder ? !fs::is_directory(status) : !fs::is_regular_file(status)) {
            Fail(PathText(target) + " exists and is not a " + (folder ? "folder" : "file"));
            return false;
        }
        return true;
    }

    bool MakeFolder(tn::TPDirEintrag& node, const fs::path& target) {
        if (!UsableTarget(target, true)) return false;
        std::error_code ec;
        fs::create_directory(target, ec);
        if (ec) {
            Fail("cannot create " + PathText(target) + " for " + Cp1252ToUtf8(NodePath(node)) +
                 ": " + ec.message());
            return false;
        }
        return true;
    }

    void WriteFile(tn::TPDirEintrag& node, const fs::path& target) {
        progress_.Update(++done_, total_, Cp1252ToUtf8(ShownName(node)));
        if (!UsableTarget(target, false)) return;
        NewHostFile out(target);
        std::string problem;
        const StreamResult read = StreamNode(
            node, [&out](const char* bytes, std::size_t n) { return out.Write(bytes, n); },
            problem);
        if (!out.Close()) {
            Fail(PathText(target) + ": " + out.Problem());
        } else if (read == StreamResult::Broken) {
            // A file that looks whole but is not is worse than none.
            std::error_code ec;
            if (!keepPartial_) fs::remove(target, ec);
            const std::string fate = keepPartial_ ? "; kept what was read in " + PathText(target)
                                     : ec ? "; " + PathText(target) + " could not be removed"
                                          : "; " + PathText(target) + " was removed";
            Fail(Cp1252ToUtf8(NodePath(node)) + ": " + problem + fate);
        }
    }
};

// The nodes named on the command line; false with a message when one is missing.
bool Resolve(MountedImage& m, const std::vector<std::string>& paths,
             std::vector<tn::TPDirEintrag*>& nodes) {
    for (const auto& path : paths) {
        std::string problem;
        tn::TPDirEintrag* node = m.Find(path, problem);
        if (node == nullptr) {
            FatFail(problem);
            return false;
        }
        nodes.push_back(node);
    }
    return true;
}

int ToStandardOutput(const std::vector<tn::TPDirEintrag*>& nodes) {
    for (tn::TPDirEintrag* node : nodes) {
        if (!node->IsFile()) {
            return FatFail(Cp1252ToUtf8(NodePath(*node)) +
                           " is a folder; only files go to standard output");
        }
    }
    BinaryOutput();
    int status = kSuccess;
    for (tn::TPDirEintrag* node : nodes) {
        std::string problem;
        const StreamResult read = StreamNode(
            *node, [](const char* bytes, std::size_t n) { return WriteOutput(bytes, n); }, problem);
        // A failed output is reported once, when the tool finishes it.
        if (read == StreamResult::Stopped) return kFailure;
        if (read == StreamResult::Broken) {
            status = FatFail(Cp1252ToUtf8(NodePath(*node)) + ": " + problem);
        }
    }
    return status;
}

}  // namespace

int FatGet(FatRequest& r) {
    const auto mounted = MountRequested(r);
    if (!mounted) return kFailure;
    MountedImage& m = *mounted;
    std::vector<tn::TPDirEintrag*> nodes;
    if (!Resolve(m, r.operands, nodes)) return kFailure;

    const std::string to = r.args.Option("--to").value_or(".");
    if (to == "-") return ToStandardOutput(nodes);
    const fs::path target(to);
    std::error_code ec;
    fs::create_directories(target, ec);
    if (!fs::is_directory(target, ec)) return FatFail("cannot create the folder " + to);

    std::uint64_t files = 0, folders = 0, bytes = 0;
    for (tn::TPDirEintrag* node : nodes) {
        if (node->IsDirectory()) {
            CountTree(node, files, folders, bytes);
        } else {
            ++files;
        }
    }
    Extractor extractor(r.args.Flag("--quiet"), r.args.Flag("--keep-partial"), files);
    UniqueNames topNames;
    for (tn::TPDirEintrag* node : nodes) {
        if (node->Parent == nullptr) {  // the root: its content goes straight into the target
            extractor.ExtractChildren(*node, target);
            continue;
        }
        extractor.ExtractAs(*node, target, topNames);
    }
    return extractor.Failures() == 0 ? kSuccess : kFailure;
}

int FatCat(FatRequest& r) {
    const auto mounted = MountRequested(r);
    if (!mounted) return kFailure;
    MountedImage& m = *mounted;
    std::vector<tn::TPDirEintrag*> nodes;
    if (!Resolve(m, r.operands, nodes)) return kFailure;
    return ToStandardOutput(nodes);
}

}  // namespace tnpkg
