// `tnpkg fat get` and `tnpkg fat cat`: files and folders out of a volume. Whatever names the
// image holds, nothing is written outside the target folder.
#include <tnpackage/text/Encodings.h>

#include <chrono>
#include <ctime>
#include <filesystem>
#include <optional>
#include <system_error>

#include "cli/Output.h"
#include "cli/Progress.h"
#include "fat/FatCommand.h"
#include "fat/HostNames.h"
#include "fat/NewHostFile.h"

namespace tnpkg {
namespace {

namespace fs = std::filesystem;

// Content is handed to the PC's file in pieces of at most about this size.
constexpr std::size_t kWritePiece = 1 << 20;

// The PC time of a packed FAT date and time, read as local time as FAT stores it.
std::optional<fs::file_time_type> HostTime(std::uint32_t v) {
    std::tm t{};
    t.tm_year = static_cast<int>(80 + (v >> 25));
    t.tm_mon = static_cast<int>((v >> 21) & 0x0F) - 1;
    t.tm_mday = static_cast<int>((v >> 16) & 0x1F);
    t.tm_hour = static_cast<int>((v >> 11) & 0x1F);
    t.tm_min = static_cast<int>((v >> 5) & 0x3F);
    t.tm_sec = static_cast<int>((v & 0x1F) * 2);
    t.tm_isdst = -1;
    if (t.tm_mon < 0 || t.tm_mon > 11 || t.tm_mday == 0) return std::nullopt;
    const std::time_t when = std::mktime(&t);
    if (when == static_cast<std::time_t>(-1)) return std::nullopt;
    return fs::file_time_type::clock::from_sys(std::chrono::system_clock::from_time_t(when));
}

struct ExtractOptions {
    bool quiet = false;
    bool overwrite = false;    // an existing PC file is replaced
    bool preserve = false;     // the entry's modification time goes to the PC's copy
    bool keepPartial = false;  // a file that could not be read whole stays as far as it went
};

class Extractor {
  public:
    Extractor(const ExtractOptions& options, std::uint64_t total)
        : progress_("extracting", options.quiet), options_(options), total_(total) {}

    int Failures() const { return failures_; }

    // Extracts `node` as `target`, a path whose last component is already safe.
    void Extract(tn::TPDirEintrag& node, const fs::path& target) {
        if (node.IsDirectory()) {
            if (!MakeFolder(node, target)) return;
            ExtractChildren(node, target);
        } else if (!WriteFile(node, target)) {
            return;
        }
        // A folder's time after its content, which would change it.
        if (options_.preserve) Preserve(node, target);
    }

    // Extracts `node` into the folder `target` under a name the PC accepts and `names` has not
    // given yet, and says so when that is not the node's own name.
    void ExtractAs(tn::TPDirEintrag& node, const fs::path& target, UniqueNames& names) {
        bool changed = false;
        const std::string safe = HostComponent(ShownName(node), changed);
        const std::string unique = names.Claim(safe);
        if (changed || unique != safe) {
            FatNote("stored " + tn::Win1252ToUtf8(NodePath(node)) + " as " +
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
    ExtractOptions options_;
    std::uint64_t total_;
    std::uint64_t done_ = 0;
    int failures_ = 0;
    std::string pending_;  // content not yet written, reused from file to file

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
            Fail("cannot create " + PathText(target) + " for " + tn::Win1252ToUtf8(NodePath(node)) +
                 ": " + ec.message());
            return false;
        }
        return true;
    }

    void Preserve(tn::TPDirEintrag& node, const fs::path& target) {
        const auto when = HostTime(node.FileDate);
        std::error_code ec;
        if (when) fs::last_write_time(target, *when, ec);
        if (!when || ec) FatNote("cannot give " + PathText(target) + " the time of its entry");
    }

    // Creates the file at `target`; false after saying why not. Nearly every target is new:
    // the exclusive create tells so without looking at the path first.
    bool Create(NewHostFile& out, const fs::path& target) {
        if (!out.Exists()) return true;
        if (!UsableTarget(target, false)) return false;
        std::error_code ec;
        if (!options_.overwrite && fs::exists(fs::symlink_status(target, ec))) {
            Fail(PathText(target) + " exists already; not overwritten (--force replaces it)");
            return false;
        }
        out.Replace(target);
        return true;
    }

    bool WriteFile(tn::TPDirEintrag& node, const fs::path& target) {
        progress_.Update(++done_, total_, tn::Win1252ToUtf8(ShownName(node)));
        NewHostFile out(target, NewHostFile::Existing::Report);
        if (!Create(out, target)) return false;
        // A file's clusters are gathered and written at once: most files take one write.
        pending_.clear();
        const auto gather = [this, &out](const char* bytes, std::size_t n) {
            pending_.append(bytes, n);
            if (pending_.size() < kWritePiece) return true;
            const bool written = out.Write(pending_.data(), pending_.size());
            pending_.clear();
            return written;
        };
        std::string problem;
        const StreamResult read = StreamNode(node, gather, problem);
        out.Write(pending_.data(), pending_.size());
        if (!out.Close()) {
            Fail(PathText(target) + ": " + out.Problem());
            return false;
        }
        if (read == StreamResult::Broken) {
            // A file that looks whole but is not is worse than none.
            std::error_code removed;
            if (!options_.keepPartial) fs::remove(target, removed);
            const std::string fate = options_.keepPartial
                                         ? "; kept what was read in " + PathText(target)
                                     : removed ? "; " + PathText(target) + " could not be removed"
                                               : "; " + PathText(target) + " was removed";
            Fail(tn::Win1252ToUtf8(NodePath(node)) + ": " + problem + fate);
            return false;
        }
        return true;
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
            return FatFail(tn::Win1252ToUtf8(NodePath(*node)) +
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
            status = FatFail(tn::Win1252ToUtf8(NodePath(*node)) + ": " + problem);
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
    ExtractOptions options;
    options.quiet = r.args.Flag("--quiet");
    options.overwrite = r.args.Flag("--force");
    options.preserve = r.args.Flag("-p") || r.args.Flag("--preserve");
    options.keepPartial = r.args.Flag("--keep-partial");
    Extractor extractor(options, files);
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
