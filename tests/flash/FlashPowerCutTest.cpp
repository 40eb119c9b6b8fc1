// Records written one after another into the flash, with the power cut after every byte in
// turn, then read back as the instrument reads a region of records.
#include <tnpackage/tnpackage.h>

#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "flash/FlashTestSupport.h"
#include "support/DeviceWindow.h"
#include "support/FatImages.h"

namespace {

using tn::TFlash;

struct Sample : tn::TPSaveObject {
    std::uint8_t payload[40];
    Sample(std::uint16_t type, std::uint16_t size, int seed) : tn::TPSaveObject(type, size, 1) {
        for (int i = 0; i < 40; ++i)
            payload[i] = static_cast<std::uint8_t>((seed + 13 * i) % 0xF0);  // never 0xFF
    }
};

class Collector : public tn::TPSaveList {
  public:
    std::vector<const tn::TPSaveObject*> found;
    int AddData(tn::TPSaveObject* r) override {
        found.push_back(r);
        return 1;
    }
};

class FlashPowerCut : public tn::test::FlashTest {};

TEST_F(FlashPowerCut, EveryCompleteRecordReadsBackAndNothingUnwrittenIsLive) {
    const std::vector<Sample> samples = {{11, 24, 1}, {12, 32, 40}, {13, 56, 90}, {14, 20, 7}};
    std::vector<int> starts;
    int total = 0;
    for (const auto& s : samples) {
        starts.push_back(total);
        total += s.Size;
    }
    TFlash flash(TFlash::kSectorSize);
    int tornButLive = 0;
    for (int cut = 0; cut <= total; ++cut) {
        SCOPED_TRACE(cut);
        std::memset(flash.Buffer, 0xFF, TFlash::kSectorSize);
        flash.Chips().PowerOn();
        flash.Chips().CutPowerAfter(cut);
        flash.SetWriter(0);
        std::vector<Sample> written = samples;
        for (auto& s : written)
            flash.Write(&s, -1);
        EXPECT_EQ(flash.Writer(), total);  // the writer goes on counting without power
        flash.Chips().PowerOn();

        Collector scan;
        scan.LoadRegion(flash.Buffer, TFlash::kSectorSize, 1);  // the scan ends
        std::size_t next = 0;
        for (std::size_t i = 0; i < samples.size(); ++i) {
            const char* at = flash.Buffer + starts[i];
            const bool complete = starts[i] + samples[i].Size <= cut;
            const bool listed =
                next < scan.found.size() && reinterpret_cast<const char*>(scan.found[next]) == at;
            if (complete) {
                ASSERT_TRUE(listed) << "record " << i;
                EXPECT_TRUE(scan.found[next]->CheckSumValid());
                EXPECT_EQ(std::memcmp(at, &written[i], samples[i].Size), 0);
            } else if (listed) {
                // Its state word (bytes 10 and 11) went out before its payload: live, but its
                // checksum gives it away.
                EXPECT_GE(cut, starts[i] + 12);
                EXPECT_FALSE(scan.found[next]->CheckSumValid());
                ++tornButLive;
            }
            next += listed ? 1 : 0;
        }
        EXPECT_EQ(next, scan.found.size());  // nothing else is live
    }
    // Every record is torn-but-live for the cuts between its state word and its last byte.
    int expected = 0;
    for (const auto& s : samples)
        expected += s.Size - 12;
    EXPECT_EQ(tornButLive, expected);
}

// A block copy and the FAT sector rewrite cut short anywhere (during the erase or after any
// programmed byte) fail without harm, and running them again with the power back finishes the
// job.
TEST_F(FlashPowerCut, MemCopyAndSaveFatCutAnywhereFinishWhenRunAgain) {
    constexpr std::uint32_t kSource = 0x00100000;
    constexpr int kLength = 300;
    tn::test::DeviceWindow source(kSource, kLength);
    for (int i = 0; i < kLength; ++i)
        *source.At(kSource + static_cast<std::uint32_t>(i)) = static_cast<unsigned char>(i * 5);
    const auto wanted = source.Range(kSource, kSource + kLength);
    TFlash flash(2 * TFlash::kSectorSize);
    for (int cut = 0; cut <= kLength; cut += 3) {
        SCOPED_TRACE(cut);
        Fill(flash, 0, TFlash::kSectorSize, static_cast<unsigned char>(cut));  // not blank
        flash.Chips().PowerOn();
        flash.Chips().CutPowerAfter(cut);
        flash.MemCopy(At(0x100), static_cast<int>(kSource), kLength, false);
        flash.Chips().PowerOn();
        EXPECT_TRUE(flash.MemCopy(At(0x100), static_cast<int>(kSource), kLength, true));
        EXPECT_EQ(Cells(flash, 0x100, 0x100 + kLength), wanted);
    }

    const auto folder = tn::test::ScratchFolder();
    ASSERT_TRUE(tn::test::MakeFatImage(folder / "Flash.DAT", 256, "-F 12 -S 512 -s 1"));
    TFlash fat(2 * TFlash::kSectorSize);
    fat.Volume = new tn::TPVolumeFAT(&fat, 'A', 0);
    const auto image = Cells(fat, 0, 2 * TFlash::kSectorSize);
    tn::test::DeviceWindow copy(tn::DeviceAddressSpace::kBootSectorCopy, 512);
    std::memcpy(copy.At(tn::DeviceAddressSpace::kBootSectorCopy), image.data(), 512);
    for (int cut = 0; cut <= 512; cut += 16) {
        SCOPED_TRACE(cut);
        fat.Chips().PowerOn();
        fat.Chips().CutPowerAfter(cut);
        fat.SaveFAT();
        fat.Chips().PowerOn();
        EXPECT_TRUE(fat.SaveFAT());
        EXPECT_EQ(Cells(fat, 0, 512),
                  std::vector<unsigned char>(image.begin(), image.begin() + 512));
    }
    delete fat.Volume;
    fat.Volume = nullptr;
}

}  // namespace
