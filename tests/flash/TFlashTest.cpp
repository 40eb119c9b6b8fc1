// TFlash against the simulated chips: programming, erasing, block copies, sectors, records.
#include <tnpackage/tnpackage.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "flash/FlashTestSupport.h"
#include "persist/FlashHook.h"
#include "support/DeviceWindow.h"
#include "support/FatImages.h"

namespace {

// A copy of the class constant: gtest takes its arguments by reference, and a reference to a
// constant of a class imported from a DLL has nothing to bind to on Windows.
constexpr std::uint32_t kFlashBase = tn::TFlash::kBase;

using tn::FlashChipPair;
using tn::FlashCycle;
using tn::TFlash;
using Cycles = std::vector<FlashCycle>;
using Bytes = std::vector<unsigned char>;

constexpr std::uint32_t kSector = TFlash::kSectorSize;
constexpr int kFourSectors = 4 * TFlash::kSectorSize;

struct Note : tn::TPSaveObject {
    std::uint8_t text[16];
    explicit Note(std::uint8_t seed) : tn::TPSaveObject(9, 32, 1) {
        for (int i = 0; i < 16; ++i)
            text[i] = static_cast<std::uint8_t>(seed + i);
    }
};

class Collector : public tn::TPSaveList {
  public:
    std::vector<tn::TPSaveObject*> found;
    int AddData(tn::TPSaveObject* r) override {
        found.push_back(r);
        return 1;
    }
};

Cycles EraseSetupCycles(std::uint32_t chipBase) {
    return {{chipBase + 0x5555, 0xAA},
            {chipBase + 0x2AAA, 0x55},
            {chipBase + 0x5555, 0x80},
            {chipBase + 0x5555, 0xAA},
            {chipBase + 0x2AAA, 0x55}};
}

int Count(const std::vector<std::string>& texts, const std::string& text) {
    return static_cast<int>(std::count(texts.begin(), texts.end(), text));
}

std::vector<std::tuple<std::uint32_t, std::uint16_t, int>> memWrites;

class TFlashTest : public tn::test::FlashTest {};

TEST_F(TFlashTest, ProgramsWordsAndLanesWithoutSettingBits) {
    TFlash flash(kFourSectors);
    EXPECT_EQ(tn::Flash, &flash);
    EXPECT_EQ(flash.Chips().Size(), static_cast<std::uint32_t>(kFourSectors));
    memWrites.clear();
    tn::OnMemWrite = [](std::uint32_t address, const void* value, int length) {
        std::uint16_t word;
        std::memcpy(&word, value, 2);
        memWrites.emplace_back(address, word, length);
    };
    EXPECT_TRUE(flash.WriteWord(5, 0xFFFF));  // nothing to program
    EXPECT_TRUE(flash.WriteChar(At(7), '\xFF'));
    EXPECT_EQ(flash.Chips().ProgrammedBytes(), 0);
    EXPECT_TRUE(memWrites.empty());

    for (int base : {0, -5}) {
        flash.SetSector(base);
        EXPECT_EQ(flash.SectorBase(), kFlashBase);
    }
    flash.SetSector(At(kSector));
    EXPECT_TRUE(flash.WriteWord(3, 0x1234));
    EXPECT_EQ(Word(flash, kSector + 6), 0x1234);
    EXPECT_EQ(memWrites, (decltype(memWrites){{kFlashBase + kSector + 6, 0x1234, 2}}));

    flash.Buffer[0x100] = '\xF0', flash.Buffer[0x101] = 0x12;
    flash.SetSector(0);
    EXPECT_TRUE(flash.WriteHighByte(0x101, 0x0F));
    EXPECT_EQ(Word(flash, 0x100), 0x02F0);  // no bit of either lane went from 0 to 1
    EXPECT_TRUE(flash.WriteLowByte(0x100, 0x3C));
    EXPECT_EQ(Word(flash, 0x100), 0x0230);

    flash.SetSector(At(2 * kSector));
    EXPECT_TRUE(flash.WriteChar(At(kSector + 0x101), 0x0F));  // odd: the high lane
    EXPECT_TRUE(flash.WriteChar(At(kSector + 0x102), 0x5A));
    EXPECT_EQ(Word(flash, kSector + 0x100), 0x0FFF);
    EXPECT_EQ(Word(flash, kSector + 0x102), 0xFF5A);
    EXPECT_EQ(flash.SectorBase(), kFlashBase + 2 * kSector);  // WriteChar restores it
    EXPECT_TRUE(flash.WriteWordDirect(At(3 * kSector + 0x10), 0x4321));
    EXPECT_EQ(Word(flash, 3 * kSector + 0x10), 0x4321);
    EXPECT_EQ(flash.SectorBase(), kFlashBase);  // WriteWordDirect returns to the flash base

    // The record writer: blank bytes only, inside the image only.
    flash.Buffer[0x200] = 0x11;
    flash.WriteByte(0x200, 0x22);
    flash.WriteByte(0x201, 0x22);
    flash.WriteByte(kFourSectors, 0x22);
    flash.WriteByte(-1, 0x22);
    EXPECT_EQ(Cells(flash, 0x200, 0x202), (Bytes{0x11, 0x22}));

    Note note(1);
    flash.SetWriter(0x40);
    flash.Write(&note, -1);
    flash.Write(&note, 0x400);
    EXPECT_EQ(flash.Writer(), 0x60);
    EXPECT_EQ(Cells(flash, 0x40, 0x44), (Bytes{0x5A, 0x4B, 32, 0}));
    EXPECT_EQ(Cells(flash, 0x400, 0x420), Cells(flash, 0x40, 0x60));

    const Bytes id = {0x12, 0xAB, 0x34, 0xCD, 0x78, 0x56};
    std::memcpy(flash.Buffer + 2 * kSector, id.data(), id.size());
    EXPECT_EQ(flash.ProtectSectorTest(At(2 * kSector + 0x1234)), 0x12345678);
    EXPECT_FALSE(flash.Formatieren(0));
}

TEST_F(TFlashTest, WriteByteWarnsOnceInAProcess) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");  // a fresh process: nothing warned yet
    EXPECT_EXIT(
        {
            int shown = 0;
            {
                tn::test::WarningCapture capture;
                TFlash flash(kFourSectors);
                flash.WriteByte(0, 1);
                flash.WriteByte(1, 1);
                shown = Count(capture.Texts(), "'Flash->WriteByte' wird doch aufgerufen!!!");
            }
            std::exit(shown);
        },
        ::testing::ExitedWithCode(1), "");
}

int sectorErases = 0;

TEST_F(TFlashTest, EraseCommandsAsEachChipSeesThem) {
    TFlash flash(kFourSectors);
    Fill(flash, 0, kFourSectors, 3);
    tn::OnSectorErase = [] { ++sectorErases; };
    auto cycles = [&](int chip) { return flash.Chips().Cycles(chip); };

    sectorErases = 0;
    EXPECT_TRUE(flash.SectorErase(At(kSector + 0x100), 0x10, 0));
    Cycles one = EraseSetupCycles(0x10000);
    one.push_back({0x10000, 0x30});
    EXPECT_EQ(cycles(FlashChipPair::kLow), one);
    EXPECT_EQ(cycles(FlashChipPair::kHigh), one);
    EXPECT_EQ(sectorErases, 1);
    EXPECT_EQ(Cells(flash, kSector, 2 * kSector), Bytes(kSector, 0xFF));
    EXPECT_NE(flash.Buffer[kSector - 1], '\xFF');
    EXPECT_NE(flash.Buffer[2 * kSector], '\xFF');
    EXPECT_EQ(flash.SectorBase(), kFlashBase);

    flash.Chips().ClearCycles();
    sectorErases = 0;
    EXPECT_TRUE(flash.SectorErase(At(kSector + 0x10), 2 * kSector, 0));  // touches 1, 2 and 3
    Cycles three = EraseSetupCycles(0x10000);
    for (std::uint32_t s : {0x10000u, 0x20000u, 0x30000u})
        three.push_back({s, 0x30});
    EXPECT_EQ(cycles(FlashChipPair::kLow), three);
    EXPECT_EQ(cycles(FlashChipPair::kHigh), three);
    EXPECT_EQ(sectorErases, 3);
    EXPECT_EQ(Cells(flash, kSector, 4 * kSector), Bytes(3 * kSector, 0xFF));
    EXPECT_NE(flash.Buffer[0], '\xFF');

    flash.Chips().ClearCycles();
    sectorErases = 0;
    EXPECT_EQ(flash.ChipEraseReports(), 0);  // sector erases report nothing
    EXPECT_TRUE(flash.ChipErase(static_cast<int>(kFlashBase)));
    EXPECT_EQ(flash.ChipEraseReports(), 1);
    Cycles chip = EraseSetupCycles(0);
    chip.push_back({0x5555, 0x10});
    EXPECT_EQ(cycles(FlashChipPair::kLow), chip);
    EXPECT_EQ(cycles(FlashChipPair::kHigh), chip);
    // The hook runs in every round that still found the chips busy: 4 reads per chip sector.
    EXPECT_EQ(sectorErases, 4 * flash.Chips().Timing().eraseReadsPerSector);
    EXPECT_EQ(Cells(flash, 0, kFourSectors), Bytes(kFourSectors, 0xFF));
    EXPECT_EQ(warnings_.Texts(), std::vector<std::string>{"L\xF6schen ok!"});
}

TEST_F(TFlashTest, ModesOneAndTwoKeepHeadAndTailByteForByte) {
    TFlash flash(kFourSectors);
    Fill(flash, 0, kFourSectors, 5);
    const Bytes before = Cells(flash, 0, kFourSectors);
    auto original = [&](std::uint32_t from, std::uint32_t to) {
        return Bytes(before.begin() + from, before.begin() + to);
    };
    EXPECT_TRUE(flash.SectorErase(At(kSector + 0x1235), kSector, 1));  // sectors 1 and 2
    EXPECT_EQ(Cells(flash, 0, kSector + 0x1235), original(0, kSector + 0x1235));
    EXPECT_EQ(Cells(flash, kSector + 0x1235, 3 * kSector), Bytes(2 * kSector - 0x1235, 0xFF));
    EXPECT_EQ(Cells(flash, 3 * kSector, 4 * kSector), original(3 * kSector, 4 * kSector));

    Fill(flash, 0, kFourSectors, 5);
    EXPECT_TRUE(flash.SectorErase(At(kSector), kSector + 0xABCC, 2));  // tail of sector 2 kept
    EXPECT_EQ(Cells(flash, 0, kSector), original(0, kSector));
    EXPECT_EQ(Cells(flash, kSector, 2 * kSector + 0xABCC), Bytes(kSector + 0xABCC, 0xFF));
    EXPECT_EQ(Cells(flash, 2 * kSector + 0xABCC, 4 * kSector),
              original(2 * kSector + 0xABCC, 4 * kSector));

    // The block copy counts whole words from the word that holds the first byte: a tail that
    // begins at an odd address comes back one byte early (kept as the copy has always done).
    Fill(flash, 0, kFourSectors, 5);
    EXPECT_TRUE(flash.SectorErase(At(kSector), kSector + 0xABCD, 2));
    EXPECT_EQ(Cells(flash, 2 * kSector + 0xABCC, 2 * kSector + 0xABD0),
              original(2 * kSector + 0xABCD, 2 * kSector + 0xABD1));
    EXPECT_NE(std::find(tn::test::Delays().begin(), tn::test::Delays().end(), 400000),
              tn::test::Delays().end());  // the copy back waited, as it does without a system
}

TEST_F(TFlashTest, FaultsMakeProgrammingAndErasingFail) {
    {
        TFlash flash(kFourSectors);
        flash.Chips().StickBits(0x100, 0x01);
        EXPECT_FALSE(flash.WriteWord(0x80, 0x3434));  // both lanes' DQ5 end the polling
        EXPECT_TRUE(tn::test::Beeps().empty());

        std::vector<unsigned char> source = {0x10, 0x11, 0x12, 0x13, 0x30, 0x30, 0x16, 0x17};
        tn::DeviceAddressSpace::Map(0x00100000, source.data(), 8);
        flash.Chips().StickBits(0x204, 0x01);
        EXPECT_FALSE(flash.MemCopy(At(0x200), 0x00100000, 8, false));
        tn::DeviceAddressSpace::Unmap(0x00100000);
        EXPECT_EQ(tn::test::Beeps(), std::vector<int>{5});
        EXPECT_EQ(Cells(flash, 0x200, 0x208),
                  (Bytes{0x10, 0x11, 0x12, 0x13, 0x31, 0x30, 0xFF, 0xFF}));

        // A lane that is done can hide the other lane's DQ5 for ever: the bound ends it.
        flash.Chips().StickBits(0x300, 0x01);
        EXPECT_FALSE(flash.WriteWord(0x180, 0x1210));
        EXPECT_EQ(warnings_.Texts().back(),
                  "Flash: Statusabfrage bei 0x20800300 ohne Ende abgebrochen");
    }
    {
        TFlash flash(kFourSectors);
        Fill(flash, 0, kFourSectors, 9);
        const Bytes before = Cells(flash, kSector, 2 * kSector);
        flash.Chips().FailErase(kSector + 1);  // the high chip's sector only
        EXPECT_FALSE(flash.SectorErase(At(kSector), kSector, 0));
        EXPECT_EQ(flash.Buffer[kSector], '\xFF');  // the low chip erased its half
        EXPECT_EQ(flash.Buffer[kSector + 1], static_cast<char>(before[1]));
    }
    for (bool both : {false, true}) {
        TFlash flash(kFourSectors);
        flash.Chips().FailErase(2 * kSector + 1);
        if (both) flash.Chips().FailErase(2 * kSector);
        warnings_.Clear();
        EXPECT_FALSE(flash.ChipErase(static_cast<int>(kFlashBase)));
        EXPECT_FALSE(flash.ChipErase(static_cast<int>(kFlashBase)));
        EXPECT_EQ(warnings_.Texts(), std::vector<std::string>(2, "L\xF6schen fehlgeschlagen!"));
        EXPECT_EQ(flash.ChipEraseReports(), 2);
    }
}

TEST_F(TFlashTest, MemCopyErasesOnlyWhenItMust) {
    TFlash flash(kFourSectors);
    std::vector<unsigned char> source(300);
    for (std::size_t i = 0; i < source.size(); ++i)
        source[i] = static_cast<unsigned char>(i * 3);
    tn::test::DeviceWindow window(0x00100000, 300);
    std::memcpy(window.At(0x00100000), source.data(), source.size());
    auto longWaits = [] {
        return std::count(tn::test::Delays().begin(), tn::test::Delays().end(), 400000);
    };

    tn::SystemInitialisiert = true;  // blank and a running system: no erase, no long wait
    EXPECT_TRUE(flash.MemCopy(At(0x1000), 0x00100000, 300, false));
    EXPECT_EQ(Cells(flash, 0x1000, 0x1000 + 300), source);
    EXPECT_TRUE(flash.Chips().Cycles(0).empty());
    EXPECT_EQ(longWaits(), 0);

    tn::SystemInitialisiert = false;  // blank without a system: the long wait, still no erase
    EXPECT_TRUE(flash.MemCopy(At(kSector + 0x20), 0x00100000, 300, false));
    EXPECT_TRUE(flash.Chips().Cycles(0).empty());
    EXPECT_EQ(longWaits(), 1);

    // Not blank: the touched sector is erased whole first (what else it held is gone).
    EXPECT_TRUE(flash.MemCopy(At(0x1010), 0x00100000 + 100, 16, false));
    EXPECT_EQ(flash.Chips().Cycles(0).back(), (FlashCycle{0x0, 0x30}));
    EXPECT_EQ(Cells(flash, 0x1010, 0x1020), Bytes(source.begin() + 100, source.begin() + 116));
    EXPECT_EQ(Cells(flash, 0x1000, 0x1010), Bytes(16, 0xFF));
    EXPECT_EQ(Cells(flash, kSector + 0x20, kSector + 0x20 + 300), source);  // other sector kept

    flash.Chips().ClearCycles();
    EXPECT_TRUE(flash.MemCopy(At(3 * kSector), 0x00100000, 2, true));  // forced on blank
    EXPECT_EQ(flash.Chips().Cycles(1).back(), (FlashCycle{0x30000, 0x30}));
    EXPECT_FALSE(flash.MemCopy(At(0x2000), 0x00100000, 0, false));
    EXPECT_FALSE(flash.MemCopy(At(0x2000), 0x00200000, 4, false));  // nothing mapped there
    EXPECT_EQ(warnings_.Texts().back(),
              "Flash: Adresse 0x00200000 liegt in keinem Fenster des Ger\xE4teadressraums");
    EXPECT_TRUE(tn::test::Beeps().empty());
}

TEST_F(TFlashTest, SectorsOfTheVolumeAndTheSharedBuffer) {
    TFlash flash(kFourSectors);
    Bytes block(512);
    for (int i = 0; i < 512; ++i)
        block[i] = static_cast<unsigned char>(i ^ 0x5A);
    flash.WriteSector(0x400, block.data());  // blank: programmed as given
    EXPECT_EQ(Cells(flash, 0x400, 0x600), block);
    Bytes back(512);
    flash.ReadBlock(back.data(), 0x400);
    EXPECT_EQ(back, block);

    Fill(flash, 0, kSector, 1);
    const Bytes before = Cells(flash, 0, kSector);
    Bytes other(512, 0x00);
    flash.WriteBlock(other.data(), 0x800);  // not blank: the block gets the sector's own head
    EXPECT_EQ(Cells(flash, 0x800, 0xA00), Bytes(before.begin(), before.begin() + 512));
    EXPECT_EQ(Cells(flash, 0, 0x800), Bytes(before.begin(), before.begin() + 0x800));
    EXPECT_EQ(Cells(flash, 0xA00, kSector), Bytes(before.begin() + 0xA00, before.end()));

    warnings_.Clear();
    flash.ReadBlock(back.data(), kFourSectors - 256);
    flash.WriteBlock(block.data(), -512);
    EXPECT_EQ(warnings_.Texts().size(), 2u);

    {
        TFlash second(kSector);  // cannot have the window too, and frees the shared buffer
        EXPECT_EQ(tn::Flash, &flash);
        EXPECT_EQ(warnings_.Texts().back(), "Flash: das Fenster bei 0x20800000 ist schon belegt");
    }
    EXPECT_EQ(tn::FlashBuffer, nullptr);
    Fill(flash, kSector, 2 * kSector, 2);
    const Bytes head = Cells(flash, kSector, kSector + 0x100);
    EXPECT_TRUE(flash.SectorErase(At(kSector + 0x100), 0x100, 1));  // makes the buffer again
    EXPECT_NE(tn::FlashBuffer, nullptr);
    EXPECT_EQ(Cells(flash, kSector, kSector + 0x100), head);
    EXPECT_FALSE(flash.SaveFAT());  // no volume attached
}

TEST_F(TFlashTest, RecordsDeleteInPlaceAndSurviveInFlashDat) {
    {
        TFlash flash(kFourSectors);
        EXPECT_NE(tn::detail::flashWordProgrammer, nullptr);
        Note first(0x20), second(0x40);
        flash.Write(&first, -1);
        flash.Write(&second, -1);
        Collector scan;
        ASSERT_EQ(scan.LoadRegion(flash.Buffer, kFourSectors, 1), 2);
        flash.Chips().ClearCycles();
        scan.found[0]->Delete();
        EXPECT_EQ(Word(flash, 10), 0x3FFF);  // programmed into the chips, no erase
        EXPECT_TRUE(flash.Chips().Cycles(0).empty());
        Collector again;
        ASSERT_EQ(again.LoadRegion(flash.Buffer, kFourSectors, 1), 1);
        EXPECT_EQ(reinterpret_cast<char*>(again.found[0]), flash.Buffer + 32);
        EXPECT_TRUE(again.found[0]->CheckSumValid());
    }
    EXPECT_EQ(tn::Flash, nullptr);
    EXPECT_EQ(tn::detail::flashWordProgrammer, nullptr);
    EXPECT_EQ(std::filesystem::file_size(tn::test::ScratchFolder() / "Flash.DAT"),
              static_cast<std::uintmax_t>(kFourSectors));
    TFlash reopened(kFourSectors);
    EXPECT_EQ(Word(reopened, 10), 0x3FFF);
    EXPECT_EQ(Word(reopened, 32 + 10), 0x7FFF);
    const Note expected(0x40);
    EXPECT_EQ(std::memcmp(reopened.Buffer + 32, &expected, 10), 0);
    EXPECT_EQ(std::memcmp(reopened.Buffer + 48, expected.text, 16), 0);
}

TEST_F(TFlashTest, ProgramUpdateErasesNothingItCanReach) {
    TFlash flash(kFourSectors);
    tn::test::DeviceWindow program(0x00100000, 64);
    for (int i = 0; i < 64; ++i)
        *program.At(0x00100000 + static_cast<std::uint32_t>(i)) =
            static_cast<unsigned char>(0x80 | i);
    flash.ProgramUpdate(0x00100000, 64);  // the erase goes to address 0, where nothing is
    EXPECT_EQ(Cells(flash, 0, 64), program.Range(0x00100000, 0x00100040));
    EXPECT_TRUE(tn::test::Beeps().empty());
    *program.At(0x00100000) = 0x7F;  // an update that must set bits fails at its first word
    *program.At(0x00100001) = 0xFF;
    flash.ProgramUpdate(0x00100000, 64);
    EXPECT_EQ(tn::test::Beeps(), std::vector<int>{5});
    EXPECT_EQ(Word(flash, 0), 0x8100);  // both lanes tried, neither could set its bits
}

TEST_F(TFlashTest, SaveFatRewritesTheFirstSectorFromTheBootCopy) {
    const auto folder = tn::test::ScratchFolder();
    ASSERT_TRUE(tn::test::MakeFatImage(folder / "Flash.DAT", 256, "-F 12 -S 512 -s 1"));
    tn::FATList = new tn::TP_FATList;
    TFlash flash(2 * TFlash::kSectorSize);  // loads the volume, enters its (null) volume
    EXPECT_EQ(tn::FATList->Count, 1);
    EXPECT_EQ(tn::FATList->FAT(0), nullptr);
    delete tn::FATList;
    tn::FATList = nullptr;

    flash.Volume = new tn::TPVolumeFAT(&flash, 'A', 0);
    ASSERT_NE(flash.Volume->FATBuffer, nullptr);
    EXPECT_GT(flash.Volume->RootEnde(), 512);
    const Bytes image = Cells(flash, 0, 2 * kSector);
    EXPECT_FALSE(flash.SaveFAT());  // no boot-sector copy in memory: nothing is erased
    EXPECT_EQ(warnings_.Texts().back(), "Flash: keine Kopie des Bootsektors bei 0x003FFC00");
    EXPECT_EQ(Cells(flash, 0, 2 * kSector), image);

    tn::test::DeviceWindow copy(tn::DeviceAddressSpace::kBootSectorCopy, 512);
    std::memcpy(copy.At(tn::DeviceAddressSpace::kBootSectorCopy), image.data(), 512);
    std::memcpy(copy.CharAt(tn::DeviceAddressSpace::kBootSectorCopy + 3), "TNPKG   ", 8);
    EXPECT_TRUE(flash.SaveFAT());
    EXPECT_EQ(Cells(flash, 0, 512), copy.Range(tn::DeviceAddressSpace::kBootSectorCopy,
                                               tn::DeviceAddressSpace::kBootSectorCopy + 512));
    // The rest of the sector is read back after the erase, so it comes back erased.
    EXPECT_EQ(Cells(flash, 512, kSector), Bytes(kSector - 512, 0xFF));
    EXPECT_EQ(Cells(flash, kSector, 2 * kSector), Bytes(image.begin() + kSector, image.end()));
    delete flash.Volume;
    flash.Volume = nullptr;
}

}  // namespace
