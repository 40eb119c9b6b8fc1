// `tnpkg image`: create, inspect and fill memory images (".DAT" files).
#include <tnpackage/tnpackage.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

#include "cli/Command.h"
#include "cli/Failure.h"
#include "cli/HostFiles.h"
#include "cli/Json.h"
#include "cli/Output.h"
#include "image/SessionImage.h"

namespace tnpkg {
namespace {

namespace fs = std::filesystem;

constexpr const char* kName = "image";
constexpr int kBytesPerDumpLine = 16;
constexpr unsigned char kErased = 0xFF;

const char* const kUsageText =
    "usage: tnpkg image create NAME --size BYTES [--dir DIR] [--force] [--no-journal]\n"
    "       tnpkg image info NAME [--dir DIR] [--json]\n"
    "       tnpkg image dump NAME [--offset N] [--length N] [--dir DIR]\n"
    "       tnpkg image load NAME FILE --offset N [--length N] [--dir DIR] [--no-journal]\n"
    "       tnpkg image save NAME FILE --offset N --length N [--dir DIR]\n"
    "\n"
    "Works on the memory image NAME.DAT in DIR (the image folder; default the current one);\n"
    "NAME may be given with or without .DAT.\n"
    "  create  a new image of BYTES bytes (1 to 4194304), all 0xFF (erased flash); an existing\n"
    "          image is replaced only with --force\n"
    "  info    file, size, how many bytes are still erased (0xFF), and the CRC-16/XMODEM of\n"
    "          the whole image\n"
    "  dump    hex and text, 16 bytes a line\n"
    "  load    copies FILE into the image at OFFSET. Without --length the rest of the image is\n"
    "          filled: a shorter FILE leaves four 0x00 bytes and then 0xFF behind its data.\n"
    "          The image is changed in place behind a journal that undoes an interrupted load\n"
    "          at the next tnpkg command; --no-journal writes without it (for a read-only\n"
    "          folder), and a crash during the write can then leave the image half-written\n"
    "          FILE - reads standard input\n"
    "  save    writes LENGTH bytes of the image from OFFSET into FILE (LENGTH 0: an empty file)\n"
    "A range outside the image is refused. Numbers may be decimal or hexadecimal with 0x, and\n"
    "sizes and offsets may end in K (1024) or M (1048576).\n"
    "\n"
    "info --json prints {\"file\": TEXT, \"size\": N, \"erased\": N, \"crc16\": N}; a failure\n"
    "prints {\"error\": TEXT}.\n"
    "Exit status: 0 done, 1 failed (nothing was written), 2 usage.\n";

struct Request {
    std::string action;
    std::string name;
    std::string file;
    fs::path folder;
    const Args& args;
};

int Fail(const std::string& text) {
    RecordFailure(text);
    std::fprintf(stderr, "tnpkg image: %s\n", text.c_str());
    return kFailure;
}

// A number option that fits the image's integer fields; `problem` says why one does not.
std::optional<int> Number(const Args& args, const char* option, std::string& problem) {
    const auto text = args.Option(option);
    if (!text) return std::nullopt;
    const std::string name = std::string(option).substr(2);
    long long value = 0;
    if (!ParseByteCount(*text, value)) {
        problem = name + " takes a number of bytes, not '" + *text + "'";
    } else if (value < 0) {
        problem = name + " must be 0 or more";
    } else if (value > 0x7FFFFFFF) {
        problem = name + " is too large";
    } else {
        return static_cast<int>(value);
    }
    return std::nullopt;
}

// "MEM" and "MEM.DAT" name the same image.
std::string BaseName(const std::string& name) {
    const std::string extension = tn::TPSpeicher::kExtension;
    const bool hasExtension =
        name.size() > extension.size() &&
        name.compare(name.size() - extension.size(), extension.size(), extension) == 0;
    return hasExtension ? name.substr(0, name.size() - extension.size()) : name;
}

fs::path ImagePath(const Request& r) {
    return r.folder / (r.name + tn::TPSpeicher::kExtension);
}

// Whether bytes [offset, offset + length) lie in an image of `size` bytes; says why not.
bool InsideImage(const Request& r, long long offset, long long length, int size) {
    if (offset + length <= size) return true;
    Fail("bytes " + std::to_string(offset) + " to " + std::to_string(offset + length) +
         " are outside " + ImagePath(r).string() + ", which has " + std::to_string(size) +
         " bytes");
    return false;
}

// The size of an existing image of `length` bytes, or a failure message when it cannot be
// used as one.
std::optional<int> ExistingImageSize(const Request& r, std::int64_t length, std::string& problem) {
    const fs::path path = ImagePath(r);
    if (length == 0) {
        problem = path.string() + " is empty";
    } else if (length > static_cast<std::int64_t>(tn::TPSpeicher::kMaxSavedSize)) {
        // Saving it back would cut it to 4 MiB.
        problem = path.string() + " is larger than 4 MiB";
    } else {
        return static_cast<int>(length);
    }
    return std::nullopt;
}

// Opens the image through a session and loads its bytes; false after reporting why not.
bool OpenImage(const Request& r, bool write, SessionImage& image) {
    const auto options = store::SessionOptions::For(write, r.args.Flag("--no-journal"));
    std::string problem;
    if (!image.Open(ImagePath(r), options, problem)) {
        Fail(problem);
        return false;
    }
    const auto size = ExistingImageSize(r, image.FileSize(), problem);
    if (!size || !image.Load(*size, problem)) {
        Fail(problem);
        return false;
    }
    return true;
}

int Create(Request& r) {
    std::string wrong;
    const auto size = Number(r.args, "--size", wrong);
    if (!wrong.empty() || !size || *size < 1 || *size > tn::TPSpeicher::kMaxSavedSize) {
        return UsageError(kName, "create needs --size from 1 to 4194304 (4M)");
    }
    const fs::path path = ImagePath(r);
    std::error_code ec;
    if (fs::exists(path, ec) && !r.args.Flag("--force")) {
        return Fail(path.string() + " exists already (use --force to replace it)");
    }
    if (!r.folder.empty()) fs::create_directories(r.folder, ec);
    const auto options = store::SessionOptions::For(true, r.args.Flag("--no-journal"), true);
    std::string problem;
    const auto session = store::ImageSession::Open(path, options, problem);
    if (!session) return Fail(problem);
    store::Overlay& overlay = session->Changes();
    overlay.Resize(*size);
    const std::vector<char> erased(static_cast<std::size_t>(*size), static_cast<char>(kErased));
    std::vector<char> back(erased.size());
    if (!overlay.Write(0, erased.data(), erased.size()) ||
        !overlay.Read(0, back.data(), back.size()) || back != erased) {
        return Fail("cannot hold the new image; " + path.string() + " was left unchanged");
    }
    if (!session->Commit(problem))
        return Fail(problem + "; " + path.string() + " was left unchanged");
    Print("created %s: %d bytes, all 0xFF\n", path.string().c_str(), *size);
    return kSuccess;
}

int Info(Request& r) {
    SessionImage opened;
    if (!OpenImage(r, false, opened)) return kFailure;
    tn::TPImageSpeicher& image = opened.Image();
    const auto* bytes = reinterpret_cast<const unsigned char*>(image.Buffer);
    const auto erased = std::count(bytes, bytes + image.Size, kErased);
    tn::InitCRC16();
    const auto crc = static_cast<unsigned>(tn::CreateCRC16(image.Buffer, image.Size));
    if (r.args.Flag("--json")) {
        JsonWriter json;
        json.BeginObject().Key("file").Value(ImagePath(r).string());
        json.Key("size").Value(image.Size).Key("erased").Value(static_cast<std::int64_t>(erased));
        json.Key("crc16").Value(crc).EndObject().Print();
        return kSuccess;
    }
    Print("file:   %s\n", ImagePath(r).string().c_str());
    Print("size:   %d bytes (0x%X)\n", image.Size, static_cast<unsigned>(image.Size));
    Print("erased: %ld bytes\n", static_cast<long>(erased));
    Print("crc16:  0x%04X\n", crc);
    return kSuccess;
}

// One line is written at once: a dump of a whole image has a quarter of a million of them.
void DumpLine(const unsigned char* bytes, int address, int count) {
    char line[8 + 1 + 3 * kBytesPerDumpLine + 3 + kBytesPerDumpLine + 3];
    int at = std::snprintf(line, sizeof line, "%08X ", static_cast<unsigned>(address));
    for (int i = 0; i < kBytesPerDumpLine; ++i) {
        at += i < count ? std::snprintf(line + at, sizeof line - at, " %02X", bytes[i])
                        : std::snprintf(line + at, sizeof line - at, "   ");
    }
    std::string text(line, static_cast<std::size_t>(at));
    text += "  |";
    for (int i = 0; i < count; ++i)
        text += bytes[i] >= 0x20 && bytes[i] < 0x7F ? static_cast<char>(bytes[i]) : '.';
    text += "|\n";
    WriteOutput(text);
}

int Dump(Request& r) {
    std::string wrong;
    const int offset = Number(r.args, "--offset", wrong).value_or(0);
    const auto length = Number(r.args, "--length", wrong);
    if (!wrong.empty()) return UsageError(kName, wrong);
    SessionImage opened;
    if (!OpenImage(r, false, opened)) return kFailure;
    tn::TPImageSpeicher& image = opened.Image();
    const int size = image.Size;
    if (!InsideImage(r, offset, length.value_or(0), size)) return kFailure;
    const int end = length ? offset + *length : size;
    const auto* bytes = reinterpret_cast<const unsigned char*>(image.Buffer);
    for (int address = offset; address < end; address += kBytesPerDumpLine) {
        DumpLine(bytes + address, address, std::min(kBytesPerDumpLine, end - address));
    }
    return kSuccess;
}

// What the image's own load does with a file (a short one leaves four 0x00 bytes and then
// erased flash behind its data), for any input the tool reads, standard input included.
bool LoadInto(char* slice, int count, const std::string& file, std::string& problem) {
    constexpr std::size_t kZeroPadding = 4;
    std::vector<unsigned char> bytes;
    if (!ReadInputFile(file, bytes, problem)) return false;
    const std::size_t wanted = static_cast<std::size_t>(count);
    const std::size_t taken = std::min(bytes.size(), wanted);
    if (taken > 0) std::memcpy(slice, bytes.data(), taken);
    const std::size_t zeros = std::min(wanted - taken, kZeroPadding);
    std::memset(slice + taken, 0, zeros);
    std::memset(slice + taken + zeros, kErased, wanted - taken - zeros);
    return true;
}

int LoadOrSave(Request& r, bool load) {
    std::string wrong;
    const auto offset = Number(r.args, "--offset", wrong);
    const auto length = Number(r.args, "--length", wrong);
    if (!wrong.empty()) return UsageError(kName, wrong);
    if (!offset || (!load && !length)) {
        return UsageError(kName, load ? "load needs --offset (and takes --length)"
                                      : "save needs --offset and --length");
    }
    SessionImage opened;
    if (!OpenImage(r, load, opened)) return kFailure;
    tn::TPImageSpeicher& image = opened.Image();
    const int count = length.value_or(0) == 0 && load ? image.Size - *offset : *length;
    if (!InsideImage(r, *offset, count, image.Size)) return kFailure;
    std::string problem;
    if (load && !LoadInto(image.Buffer + *offset, count, r.file, problem)) return Fail(problem);
    if (!load && !WriteOutputFile(r.file, image.Buffer + *offset, static_cast<std::size_t>(count),
                                  problem)) {
        return Fail(problem);
    }
    const std::string shown = ImagePath(r).string();
    if (load) {
        if (!opened.Commit(problem)) return Fail(problem + "; " + shown + " was left unchanged");
        const std::string from = r.file == kStandardInput ? "standard input" : r.file;
        Print("loaded %d bytes of %s into %s at offset %d\n", count, from.c_str(), shown.c_str(),
              *offset);
    } else {
        Print("saved %s from offset %d into %s\n", shown.c_str(), *offset, r.file.c_str());
    }
    return kSuccess;
}

int RunImage(const Args& args) {
    Request r{args.Action(), "", "", {}, args};
    const auto& positional = args.Positional();
    r.name = BaseName(positional[0]);
    if (positional.size() > 1) r.file = positional[1];
    if (const auto dir = r.args.Option("--dir")) r.folder = *dir;

    if (r.action == "create") return Create(r);
    if (r.action == "info") return Info(r);
    if (r.action == "dump") return Dump(r);
    if (r.action == "load") return LoadOrSave(r, true);
    if (r.action == "save") return LoadOrSave(r, false);
    return UsageError(kName, "unknown action '" + r.action + "'");
}

const CommandRegistration reg(
    {kName,
     "create, inspect and fill memory images (.DAT files)",
     kUsageText,
     {{"create",
       "NAME",
       1,
       1,
       {{"--size", Takes::Value}, {"--dir", Takes::Value}, {"--force"}, {"--no-journal"}}},
      {"info", "NAME", 1, 1, {{"--dir", Takes::Value}, {"--json"}}},
      {"dump",
       "NAME",
       1,
       1,
       {{"--offset", Takes::Value}, {"--length", Takes::Value}, {"--dir", Takes::Value}}},
      {"load",
       "NAME FILE",
       2,
       2,
       {{"--offset", Takes::Value},
        {"--length", Takes::Value},
        {"--dir", Takes::Value},
        {"--no-journal"}}},
      {"save",
       "NAME FILE",
       2,
       2,
       {{"--offset", Takes::Value}, {"--length", Takes::Value}, {"--dir", Takes::Value}}}},
     RunImage});

}  // namespace
}  // namespace tnpkg
