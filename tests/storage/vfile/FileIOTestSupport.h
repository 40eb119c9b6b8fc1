// Surroundings of the V-function tests: a registry of their own, FAT images made by mkfs.fat and
// mounted under a letter, and every handle closed afterwards.
#pragma once

#include <gtest/gtest.h>

#include <tnpackage/tnpackage.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "support/FatImages.h"
#include "support/Scratch.h"
#include "support/WarningCapture.h"

namespace tn::test {

class VFileTest : public ::testing::Test {
  protected:
    void SetUp() override {
        savedList_ = FATList;
        savedPath_ = SpeicherPfad;
        FATList = new TP_FATList();
        folder_ = ScratchFolder();
    }

    void TearDown() override {
        CloseAll();
        delete FATList;  // the volumes go before their media
        FATList = savedList_;
        media_.clear();
        SpeicherPfad = savedPath_;
    }

    // Handles are never reused while files are open; closing a generous range empties the table.
    static void CloseAll() {
        for (int h = 0; h < 256; ++h)
            FileCloseV(h);
    }

    /// A 1.44 MB FAT12 image by mkfs.fat with the given files ("/DIR/NAME" -> bytes).
    std::filesystem::path MakeImage(const std::string& name,
                                    const std::vector<std::pair<std::string, std::string>>& files) {
        const std::filesystem::path image = folder_ / name;
        EXPECT_TRUE(MakeFatImage(image, 1440, "-F 12"));
        for (const auto& [path, bytes] : files) {
            const auto slash = path.rfind('/');
            if (slash != std::string::npos && slash > 0) MakeDir(image, path.substr(0, slash));
            EXPECT_TRUE(PutFile(image, path, bytes)) << path;
        }
        return image;
    }

    /// Mounts an image file under `letter` in the registry.
    TPVolumeFAT* Mount(const std::filesystem::path& image, char letter, bool writable) {
        media_.push_back(std::make_unique<TPDateiSpeicher>(image.string().c_str(), writable));
        auto* volume = new TPVolumeFAT(media_.back().get(), letter, 0);
        FATList->Add(volume);
        return volume;
    }

    /// What a handle reads from `position` on (after seeking there).
    static std::string ReadAt(int handle, int position, int count) {
        std::string data(static_cast<std::size_t>(count), '\0');
        if (FileSeekV(handle, position, 0) != position) return "<seek failed>";
        const int n = FileReadV(handle, data.data(), count);
        data.resize(static_cast<std::size_t>(n < 0 ? 0 : n));
        return data;
    }

    std::filesystem::path folder_;
    WarningCapture warnings_;

  private:
    TP_FATList* savedList_ = nullptr;
    TPString savedPath_;
    std::vector<std::unique_ptr<TPDateiSpeicher>> media_;
};

}  // namespace tn::test
