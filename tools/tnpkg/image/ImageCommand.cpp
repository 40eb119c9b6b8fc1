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
    Args args;
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

// Counts the package's warnings while passing them on, so that a step that warned is not
// reported as done.
class WarningCounter {
  public:
    WarningCounter() : previous_(tn::OnWarning) {
        forward_ = previous_;
        count_ = 0;
        tn::OnWarning = &Count;
    }
    ~WarningCounter() { tn::OnWarning = previous_; }
    WarningCounter(const WarningCounter&) = delete;
    WarningCounter& operator=(const WarningCounter&) = delete;
    int Warnings() const { return count_; }

  private:
    static void Count(tn::TPString text) {
        ++count_;
        if (forward_ != nullptr) forward_(text);
    }
    static inline tn::TPWarningHook forward_ = nullptr;
    static inline int count_ = 0;
    tn::TPWarningHook previous_;
};

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
    r.args.AllowFlags({"--force", "--no-journal"});
    if (!r.args.Problem().empty()) return UsageError(kName, r.args.Problem());
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
    std::printf("created %s: %d bytes, all 0xFF\n", path.string().c_str(), *size);
    return kSuccess;
}

int Info(Request& r) {
    r.args.AllowFlags({});
    if (!r.args.Problem().empty()) return UsageError(kName, r.args.Problem());
    SessionImage opened;
    if (!OpenImage(r, false, opened)) return kFailure;
    tn::TPImageSpeicher& image = opened.Image();
    const auto* bytes = reinterpret_cast<const unsigned char*>(image.Buffer);
    const auto erased = std::count(bytes, bytes + image.Size, kErased);
    std::printf("file:   %s\n", ImagePath(r).string().c_str());
    std::printf("size:   %d bytes (0x%X)\n", image.Size, static_cast<unsigned>(image.Size));
    std::printf("erased: %ld bytes\n", static_cast<long>(erased));
    tn::InitCRC16();
    std::printf("crc16:  0x%04X\n",
                static_cast<unsigned>(tn::CreateCRC16(image.Buffer, image.Size)));
    return kSuccess;
}

void DumpLine(const unsigned char* bytes, int address, int count) {
    std::printf("%08X ", static_cast<unsigned>(address));
    for (int i = 0; i < kBytesPerDumpLine; ++i) {
        if (i < count) {
            std::printf(" %02X", bytes[i]);
        } else {
            std::printf("   ");
        }
    }
    std::printf("  |");
    for (int i = 0; i < count; ++i) {
        std::putchar(bytes[i] >= 0x20 && bytes[i] < 0x7F ? bytes[i] : '.');
    }
    std::printf("|\n");
}

int Dump(Request& r) {
    r.args.AllowFlags({});
    if (!r.args.Problem().empty()) return UsageError(kName, r.args.Problem());
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
    r.args.AllowFlags(load ? std::initializer_list<const char*>{"--no-journal"}
                           : std::initializer_list<const char*>{});
    if (!r.args.Problem().empty()) return UsageError(kName, r.args.Problem());
    if (r.file.empty()) return UsageError(kName, r.action + " needs NAME and FILE");
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
    const WarningCounter counter;
    if (load) {
        image.Laden(file.c_str(), *offset, length.value_or(0));
    } else {
        image.Speichern(file.c_str(), *offset, *length);
    }
    if (counter.Warnings() > 0) return kFailure;
    const std::string shown = ImagePath(r).string();
    if (load) {
        std::string problem;
        if (!opened.Commit(problem)) return Fail(problem + "; " + shown + " was left unchanged");
        std::printf("loaded %s into %s at offset %d\n", r.file.c_str(), shown.c_str(), *offset);
    } else {
        std::printf("saved %s from offset %d into %s\n", shown.c_str(), *offset, r.file.c_str());
    }
    return kSuccess;
}

int RunImage(const std::vector<std::string>& words) {
    Request r{"", "", "", {}, Args(words, {"--dir", "--size", "--offset", "--length"})};
    const auto& positional = r.args.Positional();
    if (positional.empty()) return UsageError(kName, "needs create, info, dump, load or save");
    r.action = positional[0];
    const std::size_t wanted = r.action == "load" || r.action == "save" ? 3 : 2;
    if (positional.size() != wanted) {
        return UsageError(kName, r.action + (wanted == 3 ? " takes NAME and FILE" : " takes NAME"));
    }
    r.name = positional[1];
    if (wanted == 3) r.file = positional[2];
    if (const auto dir = r.args.Option("--dir")) r.folder = *dir;

    if (r.action == "create") return Create(r);
    if (r.action == "info") return Info(r);
    if (r.action == "dump") return Dump(r);
    if (r.action == "load") return LoadOrSave(r, true);
    if (r.action == "save") return LoadOrSave(r, false);
    return UsageError(kName, "unknown action '" + r.action + "'");
}

const CommandRegistration reg({kName, "create, inspect and fill memory images (.DAT files)",
                               kUsageText, RunImage, true});

}  // namespace
}  // namespace tnpkg
