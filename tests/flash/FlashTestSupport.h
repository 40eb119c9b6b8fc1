// A flash test's surroundings: its own image folder, free waits that are counted, beeps that
// are recorded, and the package's messages captured.
#pragma once

#include <tnpackage/tnpackage.h>

#include <cstdint>
#include <vector>

#include <gtest/gtest.h>

#include "support/Scratch.h"
#include "support/WarningCapture.h"

namespace tn::test {

inline std::vector<int>& Delays() {
    static std::vector<int> delays;
    return delays;
}
inline std::vector<int>& Beeps() {
    static std::vector<int> beeps;
    return beeps;
}

class FlashTest : public ::testing::Test {
  protected:
    void SetUp() override {
        savedPath_ = SpeicherPfad;
        SpeicherPfad = ScratchFolder().string().c_str();
        Delays().clear();
        Beeps().clear();
        FlashDelay = [](int count) { Delays().push_back(count); };
        FlashBeep = [](int duration) { Beeps().push_back(duration); };
    }
    void TearDown() override {
        FlashDelay = nullptr;
        FlashBeep = nullptr;
        SpeicherPfad = savedPath_;
        SystemInitialisiert = false;
        OnSectorErase = nullptr;
        OnMemWrite = nullptr;
    }

    static int At(std::uint32_t offset) { return static_cast<int>(TFlash::kBase + offset); }
    static std::vector<unsigned char> Cells(const TFlash& flash, std::uint32_t from,
                                            std::uint32_t to) {
        const auto* cells = reinterpret_cast<const unsigned char*>(flash.Buffer);
        return {cells + from, cells + to};
    }
    static std::uint16_t Word(const TFlash& flash, std::uint32_t offset) {
        const auto* cells = reinterpret_cast<const unsigned char*>(flash.Buffer);
        return static_cast<std::uint16_t>(cells[offset] | cells[offset + 1] << 8);
    }
    // Fills the cells as an earlier session left them (the chips are not involved).
    static void Fill(TFlash& flash, std::uint32_t from, std::uint32_t to, unsigned char seed) {
        for (std::uint32_t i = from; i < to; ++i)
            flash.Buffer[i] = static_cast<char>((i * 7 + seed) & 0x7F);
    }

    WarningCapture warnings_;

  private:
    TPString savedPath_;
};

}  // namespace tn::test
