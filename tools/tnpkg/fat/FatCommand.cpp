// `tnpkg fat`: look into, extract from and write to FAT12/FAT16 volumes in image files (memory
// images and memory-card images). This file holds the shared frame and the read-only views.
#include "fat/FatCommand.h"
#include "fat/HostNames.h"

#include <tnpackage/text/Encodings.h>

#include <cstdio>

#include "cli/Json.h"
#include "cli/Output.h"
#include "cli/Warnings.h"

namespace tnpkg {
namespace {

constexpr const char* kName = "fat";

const char* const kUsageText =
    "usage: tnpkg fat info IMAGE [--json]\n"
    "       tnpkg fat ls IMAGE [PATH] [-l] [-R] [--json]\n"
    "       tnpkg fat get IMAGE PATH... [--to DIR] [--force] [-p] [--keep-partial] [--quiet]\n"
    "       tnpkg fat cat IMAGE PATH\n"
    "       tnpkg fat put IMAGE FILE... [--to PATH] [--as NAME] [--force] [--quiet]\n"
    "                     [--no-journal]\n"
    "       tnpkg fat mkdir IMAGE PATH [--no-journal]\n"
    "       tnpkg fat rm IMAGE PATH... [-r] [--no-journal]\n"
    "       tnpkg fat mv IMAGE SOURCE TARGET [--force] [--no-journal]\n"
    "       tnpkg fat label IMAGE [NAME] [--clear] [--no-journal]\n"
    "       tnpkg fat format IMAGE --size BYTES [--fat 12|16] [--cluster BYTES] [--label NAME]\n"
    "                        [--force] [--no-journal]\n"
    "       tnpkg fat check IMAGE [--json]\n"
    "\n"
    "IMAGE is a memory image (.DAT) or a memory-card image. A card with a partition table is\n"
    "read at its first FAT partition; --partition N (1-4) picks another, --offset BYTES puts\n"
    "the volume anywhere in the file. Paths inside the volume use / or \\; case does not count,\n"
    "long and short names both match.\n"
    "  info    geometry, FAT type, free space and label; an image shorter than its volume is\n"
    "          named with the bytes missing (exit status 1)\n"
    "  ls      a folder's entries (size, date, name); -l adds the short name, -R goes down\n"
    "          into the folders\n"
    "  get     copies files and whole folders out into DIR (default: the current folder);\n"
    "          --to - writes files to standard output. Names the PC cannot hold (device names,\n"
    "          \"..\", separators, control characters) are changed and reported. An existing\n"
    "          PC file is not overwritten unless --force; -p (--preserve) gives each file and\n"
    "          folder the modification time of its entry. A file that cannot be read whole\n"
    "          (its clusters lie beyond the end of a truncated image, or its chain ends early)\n"
    "          is named, removed unless --keep-partial, and the command ends with exit status 1\n"
    "  cat     writes one file to standard output\n"
    "  put     copies files and folders (with everything in them) into folder PATH of the\n"
    "          volume (default: the root; created when missing). Names FAT cannot hold are\n"
    "          changed and reported; an existing file is replaced only with --force, and\n"
    "          never a folder by a file or a file by a folder. A name that is not an\n"
    "          upper-case 8.3 name also gets an 8.3 form (its first characters, ~1, ~2, ...,\n"
    "          its extension): an instrument that reads only 8.3 names sees that form.\n"
    "          --as NAME gives the one FILE another name; FILE - is standard input and\n"
    "          needs --as\n"
    "  mkdir   creates a folder and any missing parents\n"
    "  rm      removes files; a folder only with -r, with everything in it. Refuses the\n"
    "          root and paths that do not exist\n"
    "  mv      renames SOURCE, or moves it into TARGET when TARGET is an existing folder or\n"
    "          ends in /. Refuses to move a folder into itself or below, to replace an\n"
    "          existing TARGET (--force replaces a file by a file) and names FAT cannot hold\n"
    "  label   shows the volume label, sets it to NAME (up to 11 ASCII characters, stored\n"
    "          in upper case) or removes it with --clear, in the root and the boot sector\n"
    "  format  a new image file of BYTES bytes (K and M suffixes allowed) holding an empty\n"
    "          FAT12 or FAT16 volume laid out as mkfs.fat lays it out. --fat 12|16 and\n"
    "          --cluster BYTES (a power of two, 512 to 32K) choose the type and cluster size;\n"
    "          refused where FAT cannot hold the combination (FAT12: fewer than 4085 data\n"
    "          clusters, FAT16: 4085 to 65524)\n"
    "  check   reads the volume's structures (boot sector, every FAT copy, every folder) and\n"
    "          reports each problem with the file it affects: cross-linked, broken, circular\n"
    "          or lost cluster chains, sizes that do not fit their chains, FAT copies that\n"
    "          differ, bad \".\" and \"..\" entries, duplicate names, long names that do not\n"
    "          belong to their entry, an image shorter than its volume, a leftover journal.\n"
    "          It changes nothing (a leftover journal is played back, as by every command).\n"
    "          Exit status 0 when the volume is clean, 1 when anything was found\n"
    "Writing changes IMAGE in place only when everything read back as written, behind a\n"
    "journal (IMAGE.tnpkg-journal) that undoes an interrupted write at the next tnpkg command.\n"
    "Every command that writes takes --no-journal for an image in a read-only folder: a crash\n"
    "during the write can then leave IMAGE half-written.\n"
    "FAT12 and FAT16 volumes with 512- to 4096-byte sectors are read and written as the FAT\n"
    "format defines them (as mtools, fsck.fat and operating systems do); FAT32 is refused.\n"
    "info --json: {\"image\", \"volume\", \"label\", \"type\", geometry, \"dataClusters\",\n"
    "\"freeClusters\", \"freeBytes\", \"files\", \"folders\", \"fileBytes\", \"writable\",\n"
    "\"missingBytes\", ...}; ls --json: {\"path\": TEXT, \"entries\": [{\"name\", \"path\", "
    "\"short\",\n"
    "\"type\", \"size\", \"date\", \"attributes\"}, ...]}; a failure prints {\"error\": TEXT}.\n"
    "Exit status: 0 done, 1 failed (the reason on standard error), 2 usage.\n";

const char* TypeName(int bits) {
    return bits == 12 ? "FAT12" : bits == 16 ? "FAT16" : "none";
}

std::string WriteRefusal(MountedImage& m) {
    // The compatible mode writes 16-bit entries through the 12-bit packing and the FAT in
    // 512-byte steps, which damages FAT16 volumes and larger sectors; the tool never mounts
    // in it, and this guard keeps it that way.
    if (!m.Volume().IsStandard()) return "the volume was not mounted in the standard FAT mode";
    // Clusters past the end would be written into bytes the image does not have, and what the
    // FAT calls free there cannot be trusted.
    if (const std::int64_t missing = m.Volume().MissingBytes(); missing > 0)
        return "the image is " + std::to_string(missing) + " bytes shorter than its volume";
    return {};
}

int Info(FatRequest& r) {
    const auto mounted = MountRequested(r);
    if (!mounted) return kFailure;
    const WarningCapture reading("tnpkg fat: while reading " + r.image);
    MountedImage& m = *mounted;
    const VolumeLocation& where = m.Where();
    auto& v = m.Volume();
    const std::uint32_t free = m.FreeClusters();
    std::uint64_t files = 0, folders = 0, bytes = 0;
    CountTree(v.Root, files, folders, bytes);
    const std::string label = tn::Win1252ToUtf8(VolumeLabel(m));
    const bool retyped = m.CoarseFatBits() != m.FatBits();
    const std::string refusal = WriteRefusal(m);
    const std::uint64_t clusterBytes = v.ClusterSize;
    // Free space and content are what the image's FAT claims; a truncated image holds less.
    const std::int64_t missing = v.MissingBytes();
    if (missing > 0) {
        std::fprintf(stderr,
                     "tnpkg fat: %s is shorter than its volume: %lld bytes of the volume are "
                     "missing at its end\n",
                     r.image.c_str(), static_cast<long long>(missing));
    }

    if (r.args.Flag("--json")) {
        JsonWriter j;
        j.BeginObject();
        j.Key("image").Value(r.image);
        j.Key("recovered").Value(m.Session()->Recovery());
        j.Key("volume").Value(where.Describe());
        j.Key("offset").Value(static_cast<std::int64_t>(where.base));
        if (where.partition != 0) j.Key("partition").Value(where.partition);
        j.Key("label").Value(label);
        j.Key("type").Value(TypeName(m.FatBits()));
        j.Key("typedByDataClusters").Value(retyped);
        j.Key("bytesPerSector").Value(static_cast<unsigned>(v.BytesPerSector));
        j.Key("sectorsPerCluster").Value(static_cast<unsigned>(v.SectorsPerCluster));
        j.Key("reservedSectors").Value(static_cast<unsigned>(v.ReservedSectors));
        j.Key("fats").Value(static_cast<unsigned>(v.NumberOfFATs));
        j.Key("sectorsPerFat").Value(static_cast<unsigned>(v.SectorsPerFAT));
        j.Key("rootEntries").Value(static_cast<unsigned>(v.RootEntries));
        j.Key("totalSectors").Value(static_cast<unsigned>(v.TotalSectors));
        j.Key("media").Value(static_cast<unsigned>(v.MediaDescriptor));
        j.Key("dataClusters").Value(m.DataClusters());
        j.Key("freeClusters").Value(free);
        j.Key("freeBytes").Value(static_cast<std::uint64_t>(free) * clusterBytes);
        j.Key("files").Value(files);
        j.Key("folders").Value(folders);
        j.Key("fileBytes").Value(bytes);
        j.Key("writable").Value(refusal.empty());
        j.Key("missingBytes").Value(static_cast<std::int64_t>(missing));
        j.EndObject();
        j.Print();
        return missing > 0 ? kFailure : kSuccess;
    }
    Print("image:               %s\n", r.image.c_str());
    if (!m.Session()->Recovery().empty()) {
        Print("recovered:           %s\n", m.Session()->Recovery().c_str());
    }
    Print("volume:              %s\n", where.Describe().c_str());
    Print("label:               %s\n", label.empty() ? "(none)" : label.c_str());
    Print("type:                %s\n", TypeName(m.FatBits()));
    if (retyped) {
        Print(
            "                     typed by its %u data clusters; counting all %u clusters of\n"
            "                     the volume, as the package does by default, gives %s\n",
            m.DataClusters(), static_cast<unsigned>(v.ClusterCount), TypeName(m.CoarseFatBits()));
    }
    for (const auto& notice : m.Notices())
        Print("                     package: %s\n", tn::Win1252ToUtf8(notice).c_str());
    Print("bytes per sector:    %u\n", static_cast<unsigned>(v.BytesPerSector));
    Print("sectors per cluster: %u (%llu bytes)\n", static_cast<unsigned>(v.SectorsPerCluster),
          static_cast<unsigned long long>(clusterBytes));
    Print("reserved sectors:    %u\n", static_cast<unsigned>(v.ReservedSectors));
    Print("FATs:                %u of %u sectors\n", static_cast<unsigned>(v.NumberOfFATs),
          static_cast<unsigned>(v.SectorsPerFAT));
    Print("root entries:        %u\n", static_cast<unsigned>(v.RootEntries));
    Print("total sectors:       %u (%llu bytes)\n", static_cast<unsigned>(v.TotalSectors),
          static_cast<unsigned long long>(v.TotalSectors) * v.BytesPerSector);
    Print("media:               0x%02X\n", static_cast<unsigned>(v.MediaDescriptor));
    Print("data clusters:       %u\n", m.DataClusters());
    Print("free:                %u clusters (%llu bytes)\n", free,
          static_cast<unsigned long long>(free) * clusterBytes);
    Print("content:             %llu files, %llu folders, %llu bytes\n",
          static_cast<unsigned long long>(files), static_cast<unsigned long long>(folders),
          static_cast<unsigned long long>(bytes));
    Print("writable by tnpkg:   %s\n", refusal.empty() ? "yes" : ("no: " + refusal).c_str());
    if (missing > 0) {
        Print("truncated:           the image is %lld bytes shorter than its volume\n",
              static_cast<long long>(missing));
    }
    return missing > 0 ? kFailure : kSuccess;
}

int RunFat(const Args& args) {
    const auto& positional = args.Positional();
    FatRequest r{
        args.Action(), positional[0], {positional.begin() + 1, positional.end()}, args, {}};
    std::string problem;
    if (!r.choice.Read(r.args, problem)) return FatUsage(problem);

    if (r.action == "info") return Info(r);
    if (r.action == "ls") return FatLs(r);
    if (r.action == "get") return FatGet(r);
    if (r.action == "cat") return FatCat(r);
    if (r.action == "put") return FatPut(r);
    if (r.action == "mkdir") return FatMkdir(r);
    if (r.action == "format") return FatFormat(r);
    if (r.action == "rm") return FatRm(r);
    if (r.action == "mv") return FatMv(r);
    if (r.action == "label") return FatLabel(r);
    if (r.action == "check") return FatCheck(r);
    return FatUsage("unknown action '" + r.action + "'");
}

// Where the volume lies, for every action that opens an existing image.
const OptionRule kOffset{"--offset", Takes::Value};
const OptionRule kPartition{"--partition", Takes::Value};
const OptionRule kNoJournal{"--no-journal"};

const CommandRegistration reg(
    {kName,
     "look into, extract from and write to FAT image files",
     kUsageText,
     {{"info", "IMAGE", 1, 1, {{"--json"}, kOffset, kPartition}},
      {"ls", "IMAGE [PATH]", 1, 2, {{"-l"}, {"-R"}, {"--json"}, kOffset, kPartition}},
      {"get",
       "IMAGE PATH...",
       2,
       kAnyNumber,
       {{"--to", Takes::Value},
        {"--force"},
        {"-p"},
        {"--preserve"},
        {"--keep-partial"},
        {"--quiet"},
        kOffset,
        kPartition}},
      {"cat", "IMAGE PATH", 2, 2, {kOffset, kPartition}},
      {"put",
       "IMAGE FILE...",
       2,
       kAnyNumber,
       {{"--to", Takes::Value},
        {"--as", Takes::Value},
        {"--force"},
        {"--quiet"},
        kOffset,
        kPartition,
        kNoJournal}},
      {"mkdir", "IMAGE PATH", 2, 2, {kOffset, kPartition, kNoJournal}},
      {"rm", "IMAGE PATH...", 2, kAnyNumber, {{"-r"}, kOffset, kPartition, kNoJournal}},
      {"mv", "IMAGE SOURCE TARGET", 3, 3, {{"--force"}, kOffset, kPartition, kNoJournal}},
      {"label", "IMAGE [NAME]", 1, 2, {{"--clear"}, kOffset, kPartition, kNoJournal}},
      {"format",
       "IMAGE",
       1,
       1,
       {{"--size", Takes::Value},
        {"--fat", Takes::Value},
        {"--cluster", Takes::Value},
        {"--label", Takes::Value},
        {"--force"},
        kNoJournal}},
      {"check", "IMAGE", 1, 1, {{"--json"}, kOffset, kPartition}}},
     RunFat});

}  // namespace

std::unique_ptr<MountedImage> MountRequested(const FatRequest& r,
                                             const store::SessionOptions& options) {
    std::string problem;
    auto m = MountImage(r.image, r.choice, options, problem);
    if (!m) {
        FatFail(problem);
        return nullptr;
    }
    // What the package said while mounting explains a failed mount; about a volume that
    // mounted it is a note (info lists it with the volume's details).
    if (r.action != "info") {
        for (const auto& notice : m->Notices())
            FatNote("while mounting " + r.image + ": " + tn::Win1252ToUtf8(notice));
    }
    return m;
}

int FatUsage(const std::string& problem) {
    return UsageError(kName, problem);
}

std::string Unchanged(const FatRequest& r) {
    return r.image + " was left unchanged";
}

std::string FatWriteRefusal(MountedImage& m) {
    return WriteRefusal(m);
}

}  // namespace tnpkg
