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
#include "cli/Output.h"
#include "cli/Warnings.h"
#include "image/SessionImage.h"

namespace tnpkg {
namespace {

namespace fs = std::filesystem;

constexpr const char* kName = "image";
constexpr int kBytesPerDumpLine = 16;
constexpr unsigned char kErased = 0xFF;

const char* const kUsageText =
    "usage: tnpkg image create NAME --size BYTES [--dir DIR] [--force] [--no-journal]\n"
    "       tnpkg image info NAME [--dir DIR]\n"
    "       tnpkg image dump NAME [--offset N] [--length N] [--dir DIR]\n"
    "       tnpkg image load NAME FILE --offset N [--length N] [--dir DIR] [--no-journal]\n"
    "       tnpkg image save NAME FILE --offset N --length N [--dir DIR]\n"
    "\n"
    "Works on the memory image NAME.DAT in DIR (the image folder; default the current one).\n"
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
    "  save    writes LENGTH bytes of the image from OFFSET into FILE (LENGTH 0: an empty file)\n"
    "Numbers may be decimal or hexadecimal with 0x.\n";

struct Request {
    std::string action;
    std::string name;
    std::string file;
    fs::path folder;
    const Args& args;
};

int Fail(const std::string& text) {
    std::fprintf(stderr, "tnpkg image: %s\n", text.c_str());
    return kFailure;
}

// A non-negative number option that fits the image's integer fields.
std::optional<int> Number(const Args& args, const char* option, bool& bad) {
    const auto text = args.Option(option);
    if (!text) return std::nullopt;
    long long value = 0;
    if (!ParseInteger(*text, value) || value < 0 || value > 0x7FFFFFFF) {
        bad = true;
        return std::nullopt;
    }
    return static_cast<int>(value);
}

fs::path ImagePath(const Request& r) {
    return r.folder / (r.name + tn::TPSpeicher::kExtension);
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

// The package reports a file it cannot read or write only through a warning: the image
// commands take any warning as their step failing.
std::string Doing(const Request& r) {
    return "tnpkg image: while working on " + ImagePath(r).string();
}

// Opens the image through a session and loads its bytes; false after reporting why not.
bool OpenImage(const Request& r, bool write, SessionImage& image) {
    store::SessionOptions options;
    options.write = write;
    options.journal = !r.args.Flag("--no-journal");
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
    bool bad = false;
    const auto size = Number(r.args, "--size", bad);
    if (bad || !size || *size < 1 || *size > tn::TPSpeicher::kMaxSavedSize) {
        return UsageError(kName, "create needs --size from 1 to 4194304");
    }
    const fs::path path = ImagePath(r);
    std::error_code ec;
    if (fs::exists(path, ec) && !r.args.Flag("--force")) {
        return Fail(path.string() + " exists already (use --force to replace it)");
    }
    if (!r.folder.empty()) fs::create_directories(r.folder, ec);
    store::SessionOptions options;
    options.write = true;
    options.create = true;
    options.journal = !r.args.Flag("--no-journal");
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
    Print("file:   %s\n", ImagePath(r).string().c_str());
    Print("size:   %d bytes (0x%X)\n", image.Size, static_cast<unsigned>(image.Size));
    Print("erased: %ld bytes\n", static_cast<long>(erased));
    tn::InitCRC16();
    Print("crc16:  0x%04X\n", static_cast<unsigned>(tn::CreateCRC16(image.Buffer, image.Size)));
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
    bool bad = false;
    const int offset = Number(r.args, "--offset", bad).value_or(0);
    const auto length = Number(r.args, "--length", bad);
    if (bad) return UsageError(kName, "--offset and --length take a number of bytes");
    SessionImage opened;
    if (!OpenImage(r, false, opened)) return kFailure;
    tn::TPImageSpeicher& image = opened.Image();
    const int size = image.Size;
    if (offset > size) return Fail("offset beyond the image's " + std::to_string(size) + " bytes");
    const int end = length ? offset + std::min(*length, size - offset) : size;
    const auto* bytes = reinterpret_cast<const unsigned char*>(image.Buffer);
    for (int address = offset; address < end; address += kBytesPerDumpLine) {
        DumpLine(bytes + address, address, std::min(kBytesPerDumpLine, end - address));
    }
    return kSuccess;
}

int LoadOrSave(Request& r, bool load) {
    bool bad = false;
    const auto offset = Number(r.args, "--offset", bad);
    const auto length = Number(r.args, "--length", bad);
    if (bad || !offset || (!load && !length)) {
        return UsageError(kName, load ? "load needs --offset (and takes --length)"
                                      : "save needs --offset and --length");
    }
    SessionImage opened;
    if (!OpenImage(r, load, opened)) return kFailure;
    tn::TPImageSpeicher& image = opened.Image();
    const std::string& file = r.file;
    const WarningCapture warnings(Doing(r));
    if (load) {
        image.Laden(file.c_str(), *offset, length.value_or(0));
    } else {
        image.Speichern(file.c_str(), *offset, *length);
    }
    if (warnings.Count() > 0) return kFailure;
    const std::string shown = ImagePath(r).string();
    if (load) {
        std::string problem;
        if (!opened.Commit(problem)) return Fail(problem + "; " + shown + " was left unchanged");
        Print("loaded %s into %s at offset %d\n", r.file.c_str(), shown.c_str(), *offset);
    } else {
        Print("saved %s from offset %d into %s\n", shown.c_str(), *offset, r.file.c_str());
    }
    return kSuccess;
}

int RunImage(const Args& args) {
    Request r{args.Action(), "", "", {}, args};
    const auto& positional = args.Positional();
    r.name = positional[0];
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
      {"info", "NAME", 1, 1, {{"--dir", Takes::Value}}},
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
