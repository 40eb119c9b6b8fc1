// Demo: a record is saved into the simulated flash chips, deleted in place and its sector erased.
#include <tnpackage/tnpackage.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

#include "cli/Output.h"
#include "cli/Warnings.h"
#include "demo/Demo.h"
#include "util/LittleEndian.h"

namespace tnpkg {
namespace {

namespace fs = std::filesystem;

struct Glider : tn::TPSaveObject {
    char callsign[8] = {'D', '-', 'K', 'X', 'Y', 'Z', 0, 0};
    Glider() : tn::TPSaveObject(7, 24, 1) {}
};

class Finder : public tn::TPSaveList {
  public:
    std::vector<tn::TPSaveObject*> found;
    int AddData(tn::TPSaveObject* r) override {
        found.push_back(r);
        return 1;
    }
};

void PrintCycles(const tn::FlashChipPair& chips, int chip) {
    Print("  %s chip saw:", chip == tn::FlashChipPair::kLow ? "low " : "high");
    for (const auto& c : chips.Cycles(chip))
        Print(" %X:%02X", static_cast<unsigned>(c.address), c.value);
    Print("\n");
}

void ShowFlash() {
    using namespace tn;
    const fs::path folder =
        fs::temp_directory_path() /
        ("tnpkg-flash-demo-" +
         std::to_string(std::chrono::steady_clock::now().time_since_epoch().count()));
    const TPString savedFolder = SpeicherPfad;
    SpeicherPfad = folder.string().c_str();
    {
        // The record writer announces itself once; that is no news in a demo.
        const WarningCapture unshown("tnpkg demo", WarningCapture::Showing::Held);
        TFlash flash(2 * TFlash::kSectorSize);
        Print("new TFlash: %d bytes at device 0x%08X, two chips of %d sectors\n", flash.Size,
              static_cast<unsigned>(TFlash::kBase), flash.Chips().Sectors());
        Glider glider;
        flash.Write(&glider, -1);
        Print("Write(record, -1): %d bytes programmed, writer now at %d\n",
              static_cast<int>(flash.Chips().ProgrammedBytes()), flash.Writer());
        Finder finder;
        finder.LoadRegion(flash.Buffer, static_cast<std::size_t>(flash.Size), 1);
        TPSaveObject* record = finder.found.empty() ? nullptr : finder.found.front();
        if (record != nullptr) {
            Print("  found type %u at device 0x%08X, state 0x%04X, checksum %s\n", record->Type,
                  DeviceAddressSpace::ToDevice(record).value_or(0), record->State,
                  record->CheckSumValid() ? "valid" : "invalid");
            record->Delete();
            Print("Delete() in place: state 0x%04X, live: %s (no erase)\n", record->State,
                  record->Deleted() ? "yes" : "no");
        }
        flash.Chips().ClearCycles();
        const bool erased =
            flash.SectorErase(static_cast<int>(TFlash::kBase), TFlash::kSectorSize, 0);
        Print("SectorErase(sector 0) = %s; first word now 0x%04X\n", erased ? "true" : "false",
              static_cast<unsigned>(
                  tn::ReadLE16(reinterpret_cast<const std::uint8_t*>(flash.Buffer))));
        PrintCycles(flash.Chips(), FlashChipPair::kLow);
        PrintCycles(flash.Chips(), FlashChipPair::kHigh);
    }
    SpeicherPfad = savedFolder;
    std::error_code ec;
    fs::remove_all(folder, ec);
}

const DemoRegistration flashDemo({85, "Flash memory model", ShowFlash});

}  // namespace
}  // namespace tnpkg
