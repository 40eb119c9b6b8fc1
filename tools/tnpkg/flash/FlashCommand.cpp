// `tnpkg flash`: inspect, erase and program a flash image through the simulated chips.
#include <tnpackage/tnpackage.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

#include "cli/Command.h"
#include "cli/Failure.h"
#include "cli/HostFiles.h"
#include "cli/Json.h"
#include "cli/Output.h"
#include "cli/Warnings.h"
#include "records/RecordHealth.h"
#include "store/ImageSession.h"
#include "store/PrivateFolder.h"

namespace tnpkg {
namespace {

namespace fs = std::filesystem;

constexpr const char* kName = "flash";
// Where `write` maps the file's bytes as the source of the copy; nothing else lives there.
constexpr std::uint32_t kSourceWindow = 0x10000000;

const char* const kUsageText =
    "usage: tnpkg flash info IMAGE [--json]\n"
    "       tnpkg flash records IMAGE [--min-version N] [--all] [--json]\n"
    "       tnpkg flash erase IMAGE (--sector N | --chip) [FAULTS]\n"
    "       tnpkg flash write IMAGE FILE --offset N [FAULTS]   (FILE - : standard input)\n"
    "\n"
    "Works on a flash image (the contents of the two flash chips, a whole number of 128 KiB\n"
    "sectors up to 4 MiB, such as Flash.DAT; `tnpkg image create Flash --size 4194304` makes an\n"
    "erased one) through the simulated chips, with the chips' command cycles and data polling.\n"
    "  info     size, sectors, which sectors are blank, and the live records by type\n"
    "  records  the live records: offset, type, version, size, stride, state, checksum\n"
    "A record whose magic is not \"ZK\" or whose checksum is invalid (what a power cut in the\n"
    "middle of a record leaves) is damaged: info and records pass it over and say how many on\n"
    "standard error; records --all lists it, marked \"damaged\".\n"
    "info --json: {\"file\": TEXT, \"size\": N, \"sectors\": N, \"blank\": [N, ...],\n"
    "  \"records\": N, \"damaged\": N, \"types\": {\"TYPE\": N, ...}}\n"
    "records --json: {\"records\": [{\"offset\": N, \"type\": N, \"version\": N, \"size\": N,\n"
    "  \"stride\": N, \"state\": N, \"checksum\": TEXT, \"damaged\": true (only when so)}, ...]}\n"
    "A failure with --json prints {\"error\": TEXT}.\n"
    "Records are found as the package reads a region of records, one region per sector from\n"
    "its first byte: erased flash is stepped over by 0xFFFF bytes, so records are found when\n"
    "they follow one another from the start of a sector.\n"
    "  erase    erases sector N (0-based) or the whole chip pair\n"
    "  write    programs FILE at an even OFFSET (MemCopy): when the bytes there are not all "
    "blank,\n"
    "           the sectors it touches are erased first, and whatever else they held is lost\n"
    "The image is changed in place only when the command succeeded, behind a journal that\n"
    "undoes an interrupted write at the next tnpkg command; a failure reported by the chips'\n"
    "polling gives exit status 1 and leaves the image as it was. --no-journal (erase, write)\n"
    "writes without the journal, where its folder is read-only: a crash during the write can\n"
    "then leave the image half-written.\n"
    "FAULTS try out what the chips report when they fail: --stuck N (every bit of the byte at\n"
    "offset N stays 1, so programming a 0 there fails) and --bad-sector N (sector N never\n"
    "finishes erasing in either chip).\n"
    "Numbers may be decimal or hexadecimal with 0x.\n";

int Fail(const std::string& text) {
    RecordFailure(text);
    std::fprintf(stderr, "tnpkg flash: %s\n", text.c_str());
    return kFailure;
}

// The flash object loads and saves Flash.DAT in SpeicherPfad: it works in a folder of this
// process's own, so that its save never reaches the user's image. The image's bytes come from
// the session's overlay and the changed ones go back there.
class FlashFolder {
  public:
    FlashFolder() : saved_(tn::SpeicherPfad) {
        if (folder_.Ready()) tn::SpeicherPfad = folder_.Path().string().c_str();
    }
    ~FlashFolder() { tn::SpeicherPfad = saved_; }
    FlashFolder(const FlashFolder&) = delete;
    FlashFolder& operator=(const FlashFolder&) = delete;
    bool Ready() const { return folder_.Ready(); }

  private:
    store::PrivateFolder folder_{"flash"};
    tn::TPString saved_;
};

// Hands the bytes the flash changed to the overlay and reads them back from it.
bool ToOverlay(store::Overlay& overlay, const std::vector<char>& before,
               const std::vector<char>& after) {
    const auto page = static_cast<std::size_t>(store::Overlay::kPageSize);
    for (std::size_t at = 0; at < after.size(); at += page) {
        const std::size_t n = std::min(page, after.size() - at);
        if (std::memcmp(before.data() + at, after.data() + at, n) == 0) continue;
        if (!overlay.Write(static_cast<std::int64_t>(at), after.data() + at, n)) return false;
    }
    std::vector<char> back(after.size());
    return overlay.Read(0, back.data(), back.size()) && back == after;
}

// The live records of the flash, in the order of the scan.
class RecordCollector : public tn::TPSaveList {
  public:
    std::vector<const tn::TPSaveObject*> records;
    int AddData(tn::TPSaveObject* r) override {
        records.push_back(r);
        return 1;
    }
};

// The records the scan takes as live, scanning each sector as a region of its own; the damaged
// ones only when `all`, and their count in `damaged` either way.
std::vector<const tn::TPSaveObject*> LiveRecords(const tn::TFlash& flash, int minimumVersion,
                                                 bool all, int& damaged) {
    RecordCollector collector;
    for (int at = 0; at + tn::TFlash::kSectorSize <= flash.Size; at += tn::TFlash::kSectorSize)
        collector.LoadRegion(flash.Buffer + at, tn::TFlash::kSectorSize, minimumVersion);
    std::vector<const tn::TPSaveObject*> shown;
    damaged = 0;
    for (const auto* r : collector.records) {
        const bool intact = RecordIntact(*r);
        if (!intact) ++damaged;
        if (intact || all) shown.push_back(r);
    }
    return shown;
}

const char* ChecksumText(const tn::TPSaveObject* r) {
    if (r->Size <= tn::TPObject::kHeaderSize) return "none";
    return r->CheckSumValid() ? "valid" : "invalid";
}

std::optional<int> ImageSize(std::int64_t size, const fs::path& image, std::string& problem) {
    if (size == 0 || size % tn::TFlash::kSectorSize != 0 ||
        size > static_cast<std::int64_t>(tn::FlashChipPair::kDefaultSize)) {
        problem = image.string() + " is not a flash image (a whole number of 128 KiB sectors, " +
                  "at most 4 MiB)";
    } else {
        return static_cast<int>(size);
    }
    return std::nullopt;
}

bool BlankSector(const tn::TFlash& flash, int sector) {
    const char* begin =
        flash.Buffer + static_cast<std::ptrdiff_t>(sector) * tn::TFlash::kSectorSize;
    for (int i = 0; i < tn::TFlash::kSectorSize; ++i) {
        if (static_cast<unsigned char>(begin[i]) != 0xFF) return false;
    }
    return true;
}

int Info(tn::TFlash& flash, const fs::path& image, bool json) {
    const int sectors = flash.Size / tn::TFlash::kSectorSize;
    std::string blank;
    int blankCount = 0;
    for (int s = 0; s < sectors; ++s) {
        if (!BlankSector(flash, s)) continue;
        ++blankCount;
        blank += (blank.empty() ? "" : " ") + std::to_string(s);
    }
    int damaged = 0;
    const auto records = LiveRecords(flash, 1, false, damaged);
    std::map<unsigned, int> byType;
    for (const auto* r : records)
        ++byType[r->Type];
    if (damaged > 0) std::fputs(PassedOverNote("flash", damaged).c_str(), stderr);
    if (json) {
        JsonWriter out;
        out.BeginObject().Key("file").Value(image.string()).Key("size").Value(flash.Size);
        out.Key("sectors").Value(sectors).Key("blank").BeginArray();
        for (int s = 0; s < sectors; ++s) {
            if (BlankSector(flash, s)) out.Value(s);
        }
        out.EndArray().Key("records").Value(static_cast<std::uint64_t>(records.size()));
        out.Key("damaged").Value(damaged).Key("types").BeginObject();
        for (const auto& [type, count] : byType)
            out.Key(std::to_string(type)).Value(count);
        out.EndObject().EndObject().Print();
        return kSuccess;
    }
    Print("file:    %s\n", image.string().c_str());
    Print("size:    %d bytes (0x%X), 2 chips\n", flash.Size, static_cast<unsigned>(flash.Size));
    Print("sectors: %d of 128 KiB, %d blank%s%s\n", sectors, blankCount, blank.empty() ? "" : ": ",
          blank.c_str());
    Print("records: %zu live\n", records.size());
    for (const auto& [type, count] : byType)
        Print("  type %u: %d\n", type, count);
    return kSuccess;
}

int Records(tn::TFlash& flash, const Args& args) {
    long long minimum = 1;
    if (const auto text = args.Option("--min-version")) {
        if (!ParseInteger(*text, minimum) || minimum < 0 || minimum > 0xFFFF) {
            return UsageError(kName, "--min-version takes a number from 0 to 65535");
        }
    }
    int damaged = 0;
    const auto records = LiveRecords(flash, static_cast<int>(minimum), args.Flag("--all"), damaged);
    if (!args.Flag("--all") && damaged > 0)
        std::fputs(PassedOverNote("flash", damaged).c_str(), stderr);
    if (args.Flag("--json")) {
        JsonWriter out;
        out.BeginObject().Key("records").BeginArray();
        for (const auto* r : records) {
            const auto offset = reinterpret_cast<const char*>(r) - flash.Buffer;
            out.BeginObject().Key("offset").Value(static_cast<std::int64_t>(offset));
            out.Key("type").Value(unsigned{r->Type}).Key("version").Value(unsigned{r->Version});
            out.Key("size").Value(unsigned{r->Size}).Key("stride").Value(unsigned{r->Stride});
            out.Key("state").Value(unsigned{r->State}).Key("checksum").Value(ChecksumText(r));
            if (!RecordIntact(*r)) out.Key("damaged").Value(true);
            out.EndObject();
        }
        out.EndArray().EndObject().Print();
        return kSuccess;
    }
    Print("offset       type  version   size  stride  state   checksum\n");
    for (const auto* r : records) {
        const auto offset = reinterpret_cast<const char*>(r) - flash.Buffer;
        Print("0x%08lX  %5u  %7u  %5u  0x%04X  0x%04X  %s%s\n", static_cast<unsigned long>(offset),
              r->Type, r->Version, r->Size, r->Stride, r->State, ChecksumText(r),
              RecordIntact(*r) ? "" : "  damaged");
    }
    return kSuccess;
}

// The chips' result report ends every chip erase; this command says the result in its own words,
// so only the warnings before it are shown.
bool ChipErase(tn::TFlash& flash) {
    const WarningCapture erasing("tnpkg flash: while erasing the chips",
                                 WarningCapture::Showing::Held);
    const int before = flash.ChipEraseReports();
    const bool done = flash.ChipErase(static_cast<int>(tn::TFlash::kBase));
    const int reports = flash.ChipEraseReports() - before;
    erasing.ShowHeld(static_cast<std::size_t>(std::max(0, erasing.Count() - reports)));
    return done;
}

int Erase(tn::TFlash& flash, const Args& args, bool& changed) {
    const auto sectorText = args.Option("--sector");
    const bool chip = args.Flag("--chip");
    if (chip == sectorText.has_value())
        return UsageError(kName, "erase takes --sector N or --chip");
    if (chip) {
        changed = true;
        if (!ChipErase(flash)) {
            return Fail("chip erase failed: the chips did not report the erase as done");
        }
        Print("erased the chip pair (%d bytes)\n", flash.Size);
        return kSuccess;
    }
    long long sector = 0;
    const int sectors = flash.Size / tn::TFlash::kSectorSize;
    if (!ParseInteger(*sectorText, sector) || sector < 0 || sector >= sectors) {
        return UsageError(kName,
                          "--sector takes a number from 0 to " + std::to_string(sectors - 1));
    }
    changed = true;
    const auto address =
        tn::TFlash::kBase + static_cast<std::uint32_t>(sector) * tn::TFlash::kSectorSize;
    if (!flash.SectorErase(static_cast<int>(address), tn::TFlash::kSectorSize, 0)) {
        return Fail("erase of sector " + std::to_string(sector) +
                    " failed: the chips reported a time-out");
    }
    Print("erased sector %lld (offset 0x%X)\n", sector,
          static_cast<unsigned>(sector * tn::TFlash::kSectorSize));
    return kSuccess;
}

std::string ToHex(long long value) {
    char text[24];
    std::snprintf(text, sizeof text, "%llX", value);
    return text;
}

int Write(tn::TFlash& flash, const Args& args, const std::string& file, bool& changed) {
    long long offset = 0;
    const auto text = args.Option("--offset");
    if (!text || !ParseByteCount(*text, offset) || offset < 0 || offset >= flash.Size) {
        return UsageError(kName, "write needs --offset inside the image");
    }
    // The chips take 16-bit words: the bytes of an odd offset would land one byte lower.
    if (offset % 2 != 0) {
        return UsageError(kName,
                          "--offset must be even: the chips are programmed in 16-bit "
                          "words, so the bytes would land at 0x" +
                              ToHex(offset - 1));
    }
    std::vector<unsigned char> bytes;
    std::string problem;
    if (!ReadInputFile(file, bytes, problem)) return Fail(problem);
    if (bytes.empty()) return Fail(file + " is empty");
    if (static_cast<long long>(bytes.size()) > flash.Size - offset) {
        return Fail(file + " does not fit into the image at offset " + std::to_string(offset));
    }
    if (!tn::DeviceAddressSpace::Map(kSourceWindow, bytes.data(),
                                     static_cast<std::uint32_t>(bytes.size()))) {
        return Fail("cannot map the file's bytes");
    }
    changed = true;
    const bool done =
        flash.MemCopy(static_cast<int>(tn::TFlash::kBase + static_cast<std::uint32_t>(offset)),
                      static_cast<int>(kSourceWindow), static_cast<int>(bytes.size()), false);
    tn::DeviceAddressSpace::Unmap(kSourceWindow);
    if (!done) return Fail("programming failed: the chips' polling reported a failure");
    Print("programmed %zu bytes at offset 0x%llX\n", bytes.size(), offset);
    return kSuccess;
}

// The simulated faults the command line asks for.
bool InjectFaults(tn::TFlash& flash, const Args& args) {
    long long value = 0;
    if (const auto text = args.Option("--stuck")) {
        if (!ParseInteger(*text, value) || value < 0 || value >= flash.Size) return false;
        flash.Chips().StickBits(static_cast<std::uint32_t>(value), 0xFF);
    }
    if (const auto text = args.Option("--bad-sector")) {
        if (!ParseInteger(*text, value) || value < 0 || value >= flash.Chips().Sectors())
            return false;
        const auto offset = static_cast<std::uint32_t>(value) * tn::FlashChipPair::kSectorSize;
        flash.Chips().FailErase(offset);
        flash.Chips().FailErase(offset + 1);
    }
    return true;
}

int RunFlash(const Args& args) {
    const std::string& action = args.Action();
    const auto& positional = args.Positional();
    const fs::path image = positional[0];
    const auto options = store::SessionOptions::For(action == "erase" || action == "write",
                                                    args.Flag("--no-journal"));
    std::string problem;
    const auto session = store::ImageSession::Open(image, options, problem);
    if (!session) return Fail(problem);
    store::Overlay& overlay = session->Changes();
    const auto size = ImageSize(overlay.Size(), image, problem);
    if (!size) return Fail(problem);
    std::vector<char> before(static_cast<std::size_t>(*size));
    if (!overlay.Read(0, before.data(), before.size()))
        return Fail("cannot read " + image.string());

    const FlashFolder folder;
    if (!folder.Ready()) return Fail("cannot make a working folder for the flash model");
    int status = kSuccess;
    bool changed = false;
    int eraseReports = 0;
    const WarningCapture work("tnpkg flash: while working on " + image.string());
    std::vector<char> after;
    {
        tn::TFlash flash(*size);
        std::memcpy(flash.Buffer, before.data(), before.size());
        if (!InjectFaults(flash, args)) {
            return UsageError(kName,
                              "--stuck and --bad-sector take an offset / a sector of the image");
        }
        if (action == "info") status = Info(flash, image, args.Flag("--json"));
        if (action == "records") status = Records(flash, args);
        if (action == "erase") status = Erase(flash, args, changed);
        if (action == "write") status = Write(flash, args, positional[1], changed);
        eraseReports = flash.ChipEraseReports();
        after.assign(flash.Buffer, flash.Buffer + flash.Size);
    }
    // Any other warning means the image or the chips did not do what was asked.
    if (status == kSuccess && work.Count() > eraseReports) status = kFailure;
    if (status != kSuccess || !changed) return status;
    if (!ToOverlay(overlay, before, after) || !session->Commit(problem)) {
        return Fail((problem.empty() ? "cannot write the changes" : problem) + "; " +
                    image.string() + " was left unchanged");
    }
    return kSuccess;
}

const CommandRegistration reg(
    {kName,
     "inspect, erase and program a flash image through the chip model",
     kUsageText,
     {{"info", "IMAGE", 1, 1, {{"--json"}}},
      {"records", "IMAGE", 1, 1, {{"--min-version", Takes::Value}, {"--all"}, {"--json"}}},
      {"erase",
       "IMAGE",
       1,
       1,
       {{"--sector", Takes::Value},
        {"--chip"},
        {"--stuck", Takes::Value},
        {"--bad-sector", Takes::Value},
        {"--no-journal"}}},
      {"write",
       "IMAGE FILE",
       2,
       2,
       {{"--offset", Takes::Value},
        {"--stuck", Takes::Value},
        {"--bad-sector", Takes::Value},
        {"--no-journal"}}}},
     RunFlash});

}  // namespace
}  // namespace tnpkg
