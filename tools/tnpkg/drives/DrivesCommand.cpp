// `tnpkg drives` and `tnpkg partitions`: the PC's drives with their volume information, and the
// partition layout of a drive or of a memory-card image.
#include <tnpackage/tnpackage.h>

#include <cctype>
#include <cstdio>
#include <iterator>
#include <string>

#include "cli/Command.h"
#include "cli/Failure.h"
#include "cli/Json.h"
#include "cli/Output.h"
#include "cli/Warnings.h"

namespace tnpkg {
namespace {

constexpr int kLetters = 26;

const char* const kDrivesUsage =
    "usage: tnpkg drives [--json]\n"
    "\n"
    "Lists the drives the package knows, each with its volume information: on Windows the\n"
    "system's drives; elsewhere the letters of the drive map, which the environment variable\n"
    "TN_DRIVES sets, e.g. TN_DRIVES='C=/home/pilot;E=/media/card'.\n"
    "Each drive shows its folder (elsewhere than Windows), label, file system, serial number\n"
    "and kind.\n"
    "  --json  [{\"letter\", \"path\", \"found\", \"volume\", \"label\", \"serialNumber\",\n"
    "          \"maximumComponentLength\", \"fileSystemFlags\", \"fileSystem\", \"driveType\",\n"
    "          \"driveTypeName\" (the package's words), \"kind\"}, ...]\n";

const char* const kPartitionsUsage =
    "usage: tnpkg partitions IMAGE|LETTER [--json]\n"
    "\n"
    "Reports the partition layout (at most five entries, as the Windows drive-layout query\n"
    "returns it) of a memory-card or disk image file, read from its master boot record, or of\n"
    "the disk that holds drive LETTER (\"E\" or \"E:\"; elsewhere than Windows a letter of\n"
    "TN_DRIVES, whose disk must be readable).\n"
    "Text: each used entry's number (1-4, as sfdisk and `fat --partition` count), type, start\n"
    "and size in bytes.\n"
    "  --json  {\"source\": TEXT, \"bytes\": N, \"partitionCount\": N, \"signature\": HEX,\n"
    "          \"partitions\": [{\"index\": N, \"type\": HEX, \"typeName\": TEXT, \"number\": N,\n"
    "          \"startingOffset\": N, \"length\": N, \"hiddenSectors\": N, \"boot\": BOOL,\n"
    "          \"recognized\": BOOL}, ...]}; a failure prints {\"error\": TEXT}\n";

std::string Hex(std::uint32_t value, int digits) {
    char text[16];
    std::snprintf(text, sizeof text, "0x%0*X", digits, static_cast<unsigned>(value));
    return text;
}

// The drive types of the volume query, in the tool's words (the package names them in German).
const char* DriveKind(unsigned type) {
    constexpr const char* kKinds[] = {"unknown",    "no such folder", "removable medium",
                                      "fixed disk", "network drive",  "CD-ROM",
                                      "RAM disk"};
    return type < std::size(kKinds) ? kKinds[type] : "unknown";
}

// One drive as a person reads it: where it lies and what the volume query found there.
void PrintDrive(char letter, const std::string& path, bool found, const tn::TPVolInfo& v) {
    const std::string root = std::string(1, letter) + ":";
    // Elsewhere than Windows a letter stands for a folder of the drive map.
    const std::string where = path == root ? std::string() : " the folder " + path;
    Print("%s%s\n", root.c_str(), where.c_str());
    if (!found) {
        Print("  not readable: %s\n", DriveKind(static_cast<unsigned>(v.DriveType)));
        return;
    }
    const std::string label = ToUtf8(v.VolumeName);
    Print("  label:        %s\n", label.empty() ? "(none)" : label.c_str());
    Print("  file system:  %s\n", ToUtf8(v.FileSystemName).c_str());
    Print("  serial:       %s\n", Hex(v.SerialNumber, 8).c_str());
    Print("  kind:         %s\n", DriveKind(static_cast<unsigned>(v.DriveType)));
}

int RunDrives(const Args& args) {
    // A bad entry of the drive map is reported through a warning; the good ones still list.
    const WarningCapture warnings("tnpkg drives: while reading the drives");
    const bool json = args.Flag("--json");
    const std::uint32_t drives = tn::AvailableDrives();
    JsonWriter out;
    out.BeginArray();
    bool first = true;
    for (int i = 0; i < kLetters; ++i) {
        if ((drives & (1u << i)) == 0) continue;
        const char letter = static_cast<char>('A' + i);
        const std::string path = ToUtf8(tn::DrivePath(letter));
        const bool found = tn::GetVolumeInfo(letter);
        const tn::TPVolInfo& v = tn::VolInfo;
        if (json) {
            out.BeginObject()
                .Key("letter")
                .Value(std::string(1, letter))
                .Key("path")
                .Value(path)
                .Key("found")
                .Value(found)
                .Key("volume")
                .Value(v.RootPath)
                .Key("label")
                .Value(ToUtf8(v.VolumeName))
                .Key("serialNumber")
                .Value(Hex(v.SerialNumber, 8))
                .Key("maximumComponentLength")
                .Value(static_cast<unsigned>(v.MaximumComponentLength))
                .Key("fileSystemFlags")
                .Value(Hex(v.FileSystemFlags, 8))
                .Key("fileSystem")
                .Value(ToUtf8(v.FileSystemName))
                .Key("driveType")
                .Value(static_cast<unsigned>(v.DriveType))
                .Key("driveTypeName")
                .Value(ToUtf8(tn::DriveTypeName(v.DriveType)))
                .Key("kind")
                .Value(DriveKind(static_cast<unsigned>(v.DriveType)))
                .EndObject();
            continue;
        }
        if (!first) Print("\n");
        first = false;
        PrintDrive(letter, path, found, v);
    }
    out.EndArray();
    if (json) {
        out.Print();
    } else if (first) {
        std::fprintf(stderr,
                     "tnpkg drives: no drives (set TN_DRIVES, e.g. "
                     "TN_DRIVES='E=/media/card')\n");
    }
    return warnings.Count() == 0 ? kSuccess : kFailure;
}

// "E" and "E:" name a drive; anything else is an image file.
bool IsDriveName(const std::string& word) {
    return (word.size() == 1 || (word.size() == 2 && word[1] == ':')) &&
           std::isalpha(static_cast<unsigned char>(word[0]));
}

// The used slots, numbered as sfdisk and `fat --partition` count them; the package's own report
// speaks of its test fields and leaves the figures out.
void PrintPartitionTable(const std::string& source, tn::TPDriveLayout& layout) {
    Print("%s: disk signature %s\n", source.c_str(), Hex(layout.Signature(), 8).c_str());
    Print("number  type                  start (bytes)   size (bytes)\n");
    tn::TPDriveLayout::Entry e;
    int used = 0;
    for (int i = 0; layout.Partition(i, e); ++i) {
        if (e.PartitionType == 0) continue;
        ++used;
        const std::string type =
            Hex(e.PartitionType, 2) + " " + tn::PartitionTable::TypeName(e.PartitionType);
        Print("%6d  %-20s  %13lld  %13lld%s\n", i + 1, type.c_str(),
              static_cast<long long>(e.StartingOffset), static_cast<long long>(e.PartitionLength),
              e.BootIndicator ? "  boot" : "");
    }
    if (used == 0) Print("(no partitions)\n");
}

int RunPartitions(const Args& args) {
    const std::string source = args.Positional()[0];
    const std::string drive = source.substr(0, 1) + ":";
    tn::TPDriveLayout layout;
    bool read = false;
    {
        // The package tells a disk or image it could not read only through a warning at times.
        const WarningCapture reading("tnpkg partitions: while reading " + source);
        read = IsDriveName(source) ? layout.ReadDrive(drive.c_str())
                                   : layout.ReadImage(source.c_str());
        read = read && reading.Count() == 0;
    }
    if (!read) {
        const std::string problem = "cannot read a partition table from " + source;
        RecordFailure(problem);
        std::fprintf(stderr, "tnpkg partitions: %s\n", problem.c_str());
        return kFailure;
    }
    if (!args.Flag("--json")) {
        PrintPartitionTable(source, layout);
        return kSuccess;
    }
    JsonWriter out;
    out.BeginObject()
        .Key("source")
        .Value(source)
        .Key("bytes")
        .Value(static_cast<unsigned>(layout.Bytes))
        .Key("partitionCount")
        .Value(layout.PartitionCount())
        .Key("signature")
        .Value(Hex(layout.Signature(), 8))
        .Key("partitions")
        .BeginArray();
    tn::TPDriveLayout::Entry e;
    for (int i = 0; layout.Partition(i, e); ++i) {
        out.BeginObject()
            .Key("index")
            .Value(i)
            .Key("type")
            .Value(Hex(e.PartitionType, 2))
            .Key("typeName")
            .Value(tn::PartitionTable::TypeName(e.PartitionType))
            .Key("number")
            .Value(static_cast<unsigned>(e.PartitionNumber))
            .Key("startingOffset")
            .Value(e.StartingOffset)
            .Key("length")
            .Value(e.PartitionLength)
            .Key("hiddenSectors")
            .Value(static_cast<unsigned>(e.HiddenSectors))
            .Key("boot")
            .Value(e.BootIndicator)
            .Key("recognized")
            .Value(e.RecognizedPartition)
            .EndObject();
    }
    out.EndArray().EndObject();
    out.Print();
    return kSuccess;
}

const CommandRegistration drivesReg({"drives",
                                     "the PC's drives and their volume information",
                                     kDrivesUsage,
                                     {{nullptr, "", 0, 0, {{"--json"}}}},
                                     RunDrives});
const CommandRegistration partitionsReg({"partitions",
                                         "partition layout of a drive or a memory-card image",
                                         kPartitionsUsage,
                                         {{nullptr, "IMAGE|LETTER", 1, 1, {{"--json"}}}},
                                         RunPartitions});

}  // namespace
}  // namespace tnpkg
