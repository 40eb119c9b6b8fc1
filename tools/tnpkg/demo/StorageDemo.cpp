// Demo: a memory image is created, written, saved and read back.
#include <tnpackage/tnpackage.h>

#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>

#include "cli/Output.h"
#include "demo/Demo.h"

namespace tnpkg {
namespace {

namespace fs = std::filesystem;

// A scratch folder for the demo's files, removed again afterwards.
fs::path ScratchFolder() {
    const auto stamp = std::chrono::steady_clock::now().time_since_epoch().count();
    return fs::temp_directory_path() / ("tnpkg-demo-" + std::to_string(stamp));
}

void PrintHex(const char* label, const char* bytes, int count) {
    Print("%s", label);
    for (int i = 0; i < count; ++i)
        Print(" %02X", static_cast<unsigned char>(bytes[i]));
    Print("\n");
}

void ShowImage() {
    using namespace tn;
    const fs::path folder = ScratchFolder();
    const TPString savedFolder = SpeicherPfad;
    SpeicherPfad = folder.string().c_str();

    char sector[TPImageSpeicher::kSectorSize] = {};
    std::strcpy(sector, "Hallo aus Sektor 1");
    {
        TPImageSpeicher image("DEMO", 2048);
        Print("new TPImageSpeicher(\"DEMO\", 2048): %s, %d bytes\n",
              fs::path(image.FileName.c_str()).filename().string().c_str(), image.Size);
        PrintHex("  a fresh image is erased flash:", image.Buffer, 8);
        image.WriteBlock(sector, 1 * TPImageSpeicher::kSectorSize);
        Print("  WriteBlock(sector 1) = \"%s\"\n", sector);
        Print("  InSide(Buffer) = %s, InSide(Buffer + 1) = %s\n",
              image.InSide(image.Buffer) ? "true" : "false",
              image.InSide(image.Buffer + 1) ? "true" : "false");
        if (image.MapAt(0x00100000)) {
            const auto* mapped = static_cast<const char*>(DeviceAddressSpace::ToHost(0x00100200));
            Print("  mapped at device 0x00100000: device 0x00100200 holds \"%s\"\n", mapped);
        }
    }  // the destructor saves the image and unmaps it
    Print("destroyed: DEMO.DAT holds %ju bytes\n",
          static_cast<std::uintmax_t>(fs::file_size(folder / "DEMO.DAT")));
    {
        TPImageSpeicher image("DEMO", 2048);
        char back[TPImageSpeicher::kSectorSize] = {};
        image.ReadBlock(back, 1 * TPImageSpeicher::kSectorSize);
        Print("reopened: ReadBlock(sector 1) = \"%s\"\n", back);

        std::ofstream(folder / "ten.bin", std::ios::binary) << "0123456789";
        image.Laden((folder / "ten.bin").string().c_str(), 0, 16);
        PrintHex("Laden of a 10-byte file into 16 bytes:", image.Buffer, 16);
    }
    SpeicherPfad = savedFolder;
    std::error_code ec;
    fs::remove_all(folder, ec);
}

const DemoRegistration image({80, "Memory image", ShowImage});

}  // namespace
}  // namespace tnpkg
