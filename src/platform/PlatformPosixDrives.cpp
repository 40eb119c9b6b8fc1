// POSIX side of the drive queries. There are no drive letters: a folder's "drive" is the mount
// that holds it, described by /proc/self/mountinfo, statvfs and sysfs, and translated into what
// the Windows volume-information and drive-type queries would say about such a volume.
#include <tnpackage/text/Encodings.h>

#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <cctype>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "platform/Platform.h"

namespace tn::platform {

namespace {

namespace fs = std::filesystem;

// Windows volume flag bits (FILE_* of GetVolumeInformation).
constexpr std::uint32_t kCaseSensitiveSearch = 0x00000001;
constexpr std::uint32_t kCasePreservedNames = 0x00000002;
constexpr std::uint32_t kUnicodeOnDisk = 0x00000004;
constexpr std::uint32_t kPersistentAcls = 0x00000008;
constexpr std::uint32_t kSparseFiles = 0x00000040;
constexpr std::uint32_t kReadOnlyVolume = 0x00080000;
constexpr std::uint32_t kHardLinks = 0x00400000;

// Windows drive type codes.
constexpr std::uint32_t kRemovable = 2;
constexpr std::uint32_t kFixed = 3;
constexpr std::uint32_t kRemote = 4;
constexpr std::uint32_t kOptical = 5;
constexpr std::uint32_t kRamDisk = 6;

// A FAT file system with this many clusters or more is FAT32.
constexpr unsigned long long kFat32Clusters = 65525;
constexpr std::size_t kSectorSize = 512;
constexpr std::size_t kFileSystemNameLimit = 31;  // the 32-byte field keeps its NUL
constexpr std::size_t kLabelLimit = 255;

struct Mount {
    std::string mountPoint;
    std::string fileSystem;  // as the kernel names it: "vfat", "ext4", ...
    std::string source;
    unsigned major = 0;
    unsigned minor = 0;
};

// mountinfo escapes blanks, tabs, newlines and backslashes as three octal digits.
std::string Unescape(const std::string& text) {
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\\' && i + 3 < text.size() &&
            std::isdigit(static_cast<unsigned char>(text[i + 1])) &&
            std::isdigit(static_cast<unsigned char>(text[i + 2])) &&
            std::isdigit(static_cast<unsigned char>(text[i + 3]))) {
            out.push_back(static_cast<char>(((text[i + 1] - '0') << 6) |
                                            ((text[i + 2] - '0') << 3) | (text[i + 3] - '0')));
            i += 3;
        } else {
            out.push_back(text[i]);
        }
    }
    return out;
}

// Whether `path` lies in `folder` (whole components only: /media/card is not in /media/ca).
bool Inside(const std::string& path, const std::string& folder) {
    if (folder == "/") return true;
    return path.compare(0, folder.size(), folder) == 0 &&
           (path.size() == folder.size() || path[folder.size()] == '/');
}

// The mount that holds `folder`: the longest mount point above it; of equal ones the later,
// which is mounted over the earlier.
std::optional<Mount> MountOf(const char* folder) {
    std::error_code ec;
    const fs::path canonical = fs::canonical(folder, ec);
    if (ec) return std::nullopt;
    const std::string path = canonical.string();
    std::ifstream in("/proc/self/mountinfo");
    std::optional<Mount> best;
    std::string line;
    while (std::getline(in, line)) {
        std::istringstream fields(line);
        std::string id, parent, numbers, root, point, options, word;
        if (!(fields >> id >> parent >> numbers >> root >> point >> options)) continue;
        while (fields >> word && word != "-") {
        }  // optional fields end at "-"
        Mount m;
        if (!(fields >> m.fileSystem >> m.source)) continue;
        m.mountPoint = Unescape(point);
        m.source = Unescape(m.source);
        if (std::sscanf(numbers.c_str(), "%u:%u", &m.major, &m.minor) != 2) continue;
        if (!Inside(path, m.mountPoint)) continue;
        if (!best || m.mountPoint.size() >= best->mountPoint.size()) best = m;
    }
    return best;
}

std::string ReadLine(const fs::path& file) {
    std::ifstream in(file);
    std::string line;
    std::getline(in, line);
    return line;
}

// The block device of a mount: its partition and the whole disk ("sdb1" and "sdb"); empty
// names when the file system lives on no block device.
struct BlockDevice {
    std::string partition;
    std::string disk;
};

BlockDevice BlockDeviceOf(const Mount& m) {
    BlockDevice d;
    if (m.major == 0) return d;  // anonymous devices: tmpfs, overlay, network file systems
    std::error_code ec;
    const fs::path node = fs::canonical(
        "/sys/dev/block/" + std::to_string(m.major) + ":" + std::to_string(m.minor), ec);
    if (ec) return d;
    d.partition = node.filename().string();
    d.disk =
        fs::exists(node / "partition", ec) ? node.parent_path().filename().string() : d.partition;
    return d;
}

bool StartsWith(const std::string& text, const char* prefix) {
    return text.rfind(prefix, 0) == 0;
}

bool IsOneOf(const std::string& text, std::initializer_list<const char*> names) {
    for (const char* n : names) {
        if (text == n) return true;
    }
    return false;
}

bool IsFat(const std::string& type) {
    return type == "vfat" || type == "msdos" || type == "fat";
}

bool IsNetwork(const Mount& m) {
    return IsOneOf(m.fileSystem, {"nfs", "nfs4", "cifs", "smb3", "smbfs", "ncpfs", "9p", "afs",
                                  "ceph", "glusterfs", "davfs", "fuse.sshfs", "fuse.rclone"}) ||
           StartsWith(m.source, "//");
}

std::uint32_t DriveTypeOf(const Mount& m, const BlockDevice& d) {
    if (IsNetwork(m)) return kRemote;
    if (IsOneOf(m.fileSystem, {"tmpfs", "ramfs"})) return kRamDisk;
    if (IsOneOf(m.fileSystem, {"iso9660", "udf"}) || StartsWith(d.disk, "sr")) return kOptical;
    if (StartsWith(d.disk, "zram") || StartsWith(d.disk, "ram")) return kRamDisk;
    if (!d.disk.empty() && ReadLine("/sys/block/" + d.disk + "/removable") == "1") {
        return kRemovable;
    }
    return kFixed;
}

// The first sector of a block device, or nothing when it cannot be read.
std::vector<std::uint8_t> FirstSector(const std::string& device) {
    std::ifstream in(device, std::ios::binary);
    std::vector<std::uint8_t> sector(kSectorSize);
    if (!in.read(reinterpret_cast<char*>(sector.data()),
                 static_cast<std::streamsize>(kSectorSize))) {
        return {};
    }
    return sector;
}

// /dev/disk/by-label and by-uuid name links after the label or id, escaping bytes as \xHH.
std::string UnescapeUdev(const std::string& name) {
    std::string out;
    for (std::size_t i = 0; i < name.size(); ++i) {
        if (name[i] == '\\' && i + 3 < name.size() && name[i + 1] == 'x' &&
            std::isxdigit(static_cast<unsigned char>(name[i + 2])) &&
            std::isxdigit(static_cast<unsigned char>(name[i + 3]))) {
            out.push_back(static_cast<char>(std::stoi(name.substr(i + 2, 2), nullptr, 16)));
            i += 3;
        } else {
            out.push_back(name[i]);
        }
    }
    return out;
}

// The name of the link in /dev/disk/<folder> that points at the partition device.
std::string UdevName(const char* folder, const std::string& partition) {
    std::error_code ec;
    for (fs::directory_iterator it("/dev/disk/" + std::string(folder), ec), end; !ec && it != end;
         it.increment(ec)) {
        std::error_code e2;
        if (fs::canonical(it->path(), e2).filename() == partition) {
            return UnescapeUdev(it->path().filename().string());
        }
    }
    return {};
}

// A serial number from a file system id: "ABCD-1234" (FAT, exFAT) is the serial itself; the
// 16 digits of NTFS keep their low half like Windows; of a 128-bit UUID the first 8 digits.
std::optional<std::uint32_t> SerialFromId(const std::string& id) {
    std::string digits;
    for (char c : id) {
        if (c == '-') continue;
        if (!std::isxdigit(static_cast<unsigned char>(c))) return std::nullopt;
        digits.push_back(c);
    }
    if (digits.size() == 16) digits = digits.substr(8);
    if (digits.size() < 8) return std::nullopt;
    return static_cast<std::uint32_t>(std::stoul(digits.substr(0, 8), nullptr, 16));
}

std::string WindowsFileSystemName(const Mount& m, const struct statvfs& st) {
    if (IsFat(m.fileSystem)) {
        const unsigned long long clusters = st.f_blocks;
        return clusters >= kFat32Clusters ? "FAT32" : "FAT";
    }
    if (m.fileSystem == "exfat") return "exFAT";
    if (StartsWith(m.fileSystem, "ntfs") || m.fileSystem == "fuseblk") return "NTFS";
    if (m.fileSystem == "iso9660") return "CDFS";
    std::string name = m.fileSystem;
    if (StartsWith(name, "fuse.")) name = name.substr(5);
    for (char& c : name)
        c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return name.substr(0, kFileSystemNameLimit);
}

std::uint32_t WindowsFlags(const Mount& m, const struct statvfs& st) {
    std::uint32_t flags = 0;
    if (m.fileSystem == "msdos") {
        flags = 0;  // 8.3 names in upper case
    } else if (IsFat(m.fileSystem) || m.fileSystem == "exfat") {
        flags = kCasePreservedNames | kUnicodeOnDisk;
    } else if (StartsWith(m.fileSystem, "ntfs") || m.fileSystem == "fuseblk") {
        flags = kCasePreservedNames | kUnicodeOnDisk | kPersistentAcls | kSparseFiles | kHardLinks;
    } else if (IsOneOf(m.fileSystem, {"iso9660", "udf"})) {
        flags = kCasePreservedNames | kUnicodeOnDisk;
    } else {
        // Unix file systems: names are case-sensitive bytes (UTF-8 by convention), with owners
        // and modes, holes and hard links.
        flags = kCaseSensitiveSearch | kCasePreservedNames | kUnicodeOnDisk | kPersistentAcls |
                kSparseFiles | kHardLinks;
    }
    if (st.f_flag & ST_RDONLY) flags |= kReadOnlyVolume;
    return flags;
}

}  // namespace

bool HasDriveLetters() {
    return false;
}

std::uint32_t LogicalDrives() {
    return 0;
}

VolumeDetails QueryVolume(const char* folder) {
    VolumeDetails v;
    if (folder == nullptr || !DirectoryExists(folder)) return v;  // drive type 1: no root
    const auto mount = MountOf(folder);
    struct statvfs st {};
    if (!mount || statvfs(folder, &st) != 0) {
        v.driveType = 0;  // a folder the system cannot describe: unknown
        return v;
    }
    const BlockDevice device = BlockDeviceOf(*mount);
    v.driveType = DriveTypeOf(*mount, device);
    v.maxComponentLength = static_cast<std::uint32_t>(st.f_namemax);
    v.flags = WindowsFlags(*mount, st);
    v.fileSystem = WindowsFileSystemName(*mount, st);
    // A FAT volume names its id and label in its boot sector, which the caller reads; what
    // follows is what stands in where it cannot.
    if (IsFat(mount->fileSystem) && !device.partition.empty()) {
        v.bootSector = FirstSector("/dev/" + device.partition);
    }
    bool identified = false;
    if (!device.partition.empty()) {
        v.label = tn::Utf8ToWin1252(UdevName("by-label", device.partition)).substr(0, kLabelLimit);
        if (const auto serial = SerialFromId(UdevName("by-uuid", device.partition))) {
            v.serial = *serial;
            identified = true;
        }
    }
    if (!identified) {
        // Without an id of its own the kernel's file system id stands in; it is stable while
        // the file system stays mounted.
        const auto fsid = static_cast<unsigned long long>(st.f_fsid);
        v.serial = static_cast<std::uint32_t>(fsid ^ (fsid >> 32));
    }
    v.known = true;
    return v;
}

std::string DriveDevice(const char* folder) {
    if (folder == nullptr) return {};
    const auto mount = MountOf(folder);
    if (!mount) return {};
    const BlockDevice device = BlockDeviceOf(*mount);
    return device.disk.empty() ? mount->source : "/dev/" + device.disk;
}

LayoutQuery QueryDriveLayout(const char* /*device*/, void* /*buffer*/, std::uint32_t /*size*/,
                             std::uint32_t& returned) {
    returned = 0;
    return LayoutQuery::Unsupported;
}

}  // namespace tn::platform
