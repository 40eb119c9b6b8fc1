// Demo: a FAT12 volume inside a memory image: formatted, listed, written and read back.
#include <tnpackage/tnpackage.h>

#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>
#include <system_error>

#include "cli/Output.h"
#include "demo/Demo.h"
#include "fat/HostNames.h"

namespace tnpkg {
namespace {

namespace fs = std::filesystem;

void PrintTree(tn::TPVerzeichnisInfo* dir, const std::string& indent) {
    for (int i = 0; i < dir->Count(); ++i) {
        tn::TPDirEintrag* e = dir->Eintrag(i);
        if (e == nullptr || e->IsVolumeLabel()) continue;
        const std::string name = tn::Win1252ToUtf8(tn::ToStdString(e->Name));
        if (e->IsDirectory()) {
            Print("  %s%s/\n", indent.c_str(), name.c_str());
            PrintTree(static_cast<tn::TPVerzeichnisInfo*>(e), indent + "  ");
        } else {
            Print("  %s%s  (%d bytes)\n", indent.c_str(), name.c_str(),
                  static_cast<tn::TPDateiInfo*>(e)->FileSize);
        }
    }
}

void ShowFat() {
    const auto stamp = std::chrono::steady_clock::now().time_since_epoch().count();
    const fs::path folder = fs::temp_directory_path() / ("tnpkg-fatdemo-" + std::to_string(stamp));
    std::error_code ec;
    fs::create_directories(folder, ec);
    const tn::TPString savedFolder = tn::SpeicherPfad;
    tn::SpeicherPfad = folder.string().c_str();
    const bool savedTyping = tn::FATTypeByDataClusters;
    tn::FATTypeByDataClusters = true;
    {
        constexpr int kSize = 256 * 1024;
        tn::TPImageSpeicher image("FATDEMO", kSize);
        const auto geometry = tn::ChooseFatGeometry(kSize);
        const auto area = tn::FatSystemArea(*geometry, "DEMO", 0x20241123, 0);
        std::memset(image.Buffer, 0, kSize);
        std::memcpy(image.Buffer, area.data(), area.size());
        Print(
            "a 256 KiB memory image, formatted as mkfs.fat would: FAT%d, %u clusters of "
            "%d bytes\n",
            geometry->fatBits, geometry->dataClusters, geometry->sectorsPerCluster * 512);

        tn::TPVolumeFAT volume(&image, 'A', 0);
        Print("new TPVolumeFAT(image, 'A', 0): %s, root %d entries\n",
              volume.VolumeString().c_str(), static_cast<int>(volume.RootEntries));
        char text[] = "Hallo vom Demo: eine Datei im FAT-Volume\n";
        {
            tn::TPFile file;
            volume.CreateFile(&file, "FLUEGE\\2024\\Erster Flug.igc");
            const int written =
                volume.FileWrite(&file, text, static_cast<int>(std::strlen(text)), true);
            Print("CreateFile + FileWrite(\"FLUEGE\\2024\\Erster Flug.igc\"): %d bytes\n", written);
        }
        Print("the tree:\n");
        PrintTree(volume.Root, "");
        tn::TPDateiInfo* found = volume.SearchFile("\\FLUEGE\\2024\\Erster Flug.igc");
        char back[64] = {};
        if (found != nullptr) {
            tn::TPFile file;
            file.Open(found);
            const int got = volume.FileRead(&file, back, static_cast<int>(sizeof back) - 1);
            Print("SearchFile + FileRead: %d bytes, read back: %s", got, back);
        }
    }  // the image saves itself
    tn::FATTypeByDataClusters = savedTyping;
    tn::SpeicherPfad = savedFolder;
    fs::remove_all(folder, ec);
}

const DemoRegistration reg({85, "FAT volume in a memory image", ShowFat});

}  // namespace
}  // namespace tnpkg
