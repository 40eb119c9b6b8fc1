// A FAT volume inside an image file, for the `fat` commands: where in the image the volume
// lies (bare volume, partition of a card image, or an offset the user gives), mounting it
// through the overlay of an image session (no whole-file loading; writes stay in the overlay
// until the session commits), and walking its tree by path.
#pragma once

#include <tnpackage/tnpackage.h>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "cli/Command.h"
#include "store/ImageSession.h"
#include "store/OverlayMedium.h"

namespace tnpkg {

/// Where the volume lies in an image.
struct VolumeLocation {
    std::int64_t base = 0;  // byte offset of the boot sector in the image
    int partition = 0;      // 1 to 4 when taken from the partition table, else 0
    std::uint8_t partitionType = 0;
    std::string bootLabel;         // the label field of the boot sector, blanks trimmed
    std::string Describe() const;  // "the whole image", "partition 1 (FAT16) at byte 1048576"
};

/// The options --offset BYTES and --partition N of the `fat` commands.
struct VolumeChoice {
    std::optional<std::int64_t> offset;
    std::optional<int> partition;
    /// Reads the options; false with `problem` set on a bad value or when both are given.
    bool Read(const Args& args, std::string& problem);
};

/// Finds the volume: an explicit offset, partition N of the table, the first FAT partition of a
/// card image, or the image itself when it starts with a boot sector. False with a message for
/// the user when there is none.
bool LocateVolume(const std::filesystem::path& image, const VolumeChoice& choice,
                  VolumeLocation& where, std::string& problem);

class MountedImage {
  public:
    /// Mounts the volume at `where` of the session's image, through its overlay (read-only
    /// unless `writable`).
    MountedImage(std::shared_ptr<store::ImageSession> session, const VolumeLocation& where,
                 bool writable);
    ~MountedImage();
    MountedImage(const MountedImage&) = delete;
    MountedImage& operator=(const MountedImage&) = delete;

    /// Why the volume could not be mounted, or empty.
    const std::string& Problem() const { return problem_; }
    tn::TPVolumeFAT& Volume() { return *volume_; }
    const VolumeLocation& Where() const { return where_; }
    const std::shared_ptr<store::ImageSession>& Session() const { return session_; }
    /// What the package said while mounting the volume (Windows-1252), such as how it typed
    /// the FAT; not shown by the mount itself.
    const std::vector<std::string>& Notices() const { return notices_; }

    /// 12 or 16: the width of the FAT entries the volume works with.
    int FatBits() const;
    /// The width the volume would have had without typing by data clusters (0: none at all).
    int CoarseFatBits() const;
    std::uint32_t DataClusters() const;
    std::uint32_t FreeClusters();

    /// Writes the changed FAT sectors into the overlay; false on failure.
    bool Flush();

    /// The node at `path` ("/" or "" is the root; "/" or "\" separate; case does not count,
    /// long and short names both match), or null with `problem` set. The path is UTF-8 as the
    /// user types it, or Windows-1252 as the volume holds it when `utf8` is false.
    tn::TPDirEintrag* Find(const std::string& path, std::string& problem, bool utf8 = true);

  private:
    VolumeLocation where_;
    std::shared_ptr<store::ImageSession> session_;
    std::unique_ptr<store::OverlayMedium> medium_;
    std::unique_ptr<tn::TPVolumeFAT> volume_;
    std::string problem_;
    std::vector<std::string> notices_;
};

/// Opens `image` as `options` say (lock, recovery), finds its volume and mounts it; null with
/// `problem` set for the user.
std::unique_ptr<MountedImage> MountImage(const std::string& image, const VolumeChoice& choice,
                                         const store::SessionOptions& options,
                                         std::string& problem);

/// The volume label (Windows-1252, blanks trimmed): the root's label entry, else the boot
/// sector's field; empty when there is none.
std::string VolumeLabel(MountedImage& m);

/// The entries of a folder node (the root included), in the volume's order, without the volume
/// label.
std::vector<tn::TPDirEintrag*> Children(tn::TPDirEintrag* folder);

/// The name the PC shows for a node (Windows-1252): the long name, or the short one with the
/// lower-case marks Windows and mtools honour.
std::string ShownName(const tn::TPDirEintrag& node);
/// The path of a node from the root, "/" separated and starting with "/" (Windows-1252).
std::string NodePath(const tn::TPDirEintrag& node);
/// The 8.3 name as stored ("README.TXT"), as UTF-8.
std::string ShortName(const tn::TPDirEintrag& node);
/// Whether `name` (Windows-1252) names the node, as its shown name or its short name, without
/// regard to case.
bool NameMatches(const tn::TPDirEintrag& node, const std::string& name);
/// The child of `folder` (null: a folder that does not exist yet) named `name` (Windows-1252)
/// in either form, or null.
tn::TPDirEintrag* ChildNamed(tn::TPDirEintrag* folder, const std::string& name);
/// "2024-07-04 13:05" from the entry's packed date and time.
std::string DateText(std::uint32_t fatDateTime);
/// The same appended to `out`.
void AppendDateText(std::string& out, std::uint32_t fatDateTime);
/// The size of a file node (0 for folders).
std::uint32_t NodeSize(const tn::TPDirEintrag& node);
/// Takes the next piece of a file's content; false stops the reading.
using ByteSink = std::function<bool(const char* bytes, std::size_t count)>;
enum class StreamResult {
    Whole,    // every byte the entry claims went to the sink
    Broken,   // the cluster chain ended early (or the size cannot be right): `problem` says so
    Stopped,  // the sink refused a piece
};
/// Hands the content of a file node to `sink` a cluster at a time, never holding the whole
/// file, and never more bytes than the volume's data area holds, whatever size the entry
/// claims. When the chain ends early, the sink has had everything up to there.
StreamResult StreamNode(tn::TPDirEintrag& node, const ByteSink& sink, std::string& problem);
/// The whole content of a file node, read through StreamNode; false with `problem` set when
/// its cluster chain is broken (the bytes found so far are in `data` then).
bool ReadNode(tn::TPDirEintrag& node, std::string& data, std::string& problem);
/// Files and folders below `folder` (all levels), in listing order.
void CountTree(tn::TPDirEintrag* folder, std::uint64_t& files, std::uint64_t& folders,
               std::uint64_t& bytes);

/// The names of a volume path, split at "/" and "\", without empty ones and ".".
std::vector<std::string> VolumePathParts(const std::string& path);

/// Writes a message of a `fat` command to standard error: "tnpkg fat: <text>".
int FatFail(const std::string& text);
/// A note on standard error that does not fail the command.
void FatNote(const std::string& text);

}  // namespace tnpkg
