// The chip model on its own: programming, status reads, command decoding, faults and power.
#include <tnpackage/tnpackage.h>

#include <cstdint>
#include <vector>

#include <gtest/gtest.h>

namespace {

using tn::FlashChipPair;
using tn::FlashCycle;
using Cycles = std::vector<FlashCycle>;

constexpr std::uint32_t kTwoSectors = 2 * FlashChipPair::kSectorSize;

struct Pair {
    std::vector<unsigned char> cells;
    FlashChipPair chips;
    explicit Pair(std::uint32_t size = kTwoSectors, unsigned char fill = 0xFF)
        : cells(size, fill), chips(cells.data(), size) {}
    std::vector<std::uint16_t> Reads(std::uint32_t offset, int count) {
        std::vector<std::uint16_t> words;
        for (int i = 0; i < count; ++i)
            words.push_back(chips.ReadWord(offset));
        return words;
    }
    // The erase set-up of one chip at a chip sector base, as a list of its cycles.
    static Cycles Setup(std::uint32_t chipBase) {
        return {{chipBase + 0x5555, 0xAA},
                {chipBase + 0x2AAA, 0x55},
                {chipBase + 0x5555, 0x80},
                {chipBase + 0x5555, 0xAA},
                {chipBase + 0x2AAA, 0x55}};
    }
    void SendSetup(std::uint32_t sectorBase) {
        for (auto [offset, value] : {std::pair{0xAAAAu, 0xAAAAu},
                                     {0x5554u, 0x5555u},
                                     {0xAAAAu, 0x8080u},
                                     {0xAAAAu, 0xAAAAu},
                                     {0x5554u, 0x5555u}}) {
            chips.WriteWord(sectorBase + offset, static_cast<std::uint16_t>(value));
        }
    }
};

TEST(FlashChipPair, ProgramsByClearingBitsAndAnswersStatusUntilDone) {
    Pair p;
    p.chips.WriteWord(0x100, 0x1234);
    EXPECT_EQ(p.cells[0x100], 0x34);
    EXPECT_EQ(p.cells[0x101], 0x12);
    // DQ7 is the complement of the programmed bit 7, DQ6 toggles; two status reads, then data.
    EXPECT_EQ(p.Reads(0x100, 3), (std::vector<std::uint16_t>{0xC0C0, 0x8080, 0x1234}));

    // Only the programmed address answers status; reads elsewhere see data and pass time.
    p.chips.WriteWord(0x200, 0x80FF);
    EXPECT_EQ(p.chips.ReadWord(0x202), 0xFFFF);
    EXPECT_EQ(p.chips.ReadWord(0x200), 0x4040);  // DQ7 of 0xFF and of 0x80 both read 0
    EXPECT_EQ(p.chips.ReadWord(0x200), 0x80FF);

    // Old AND new: a 1 cannot come back. The high chip keeps 0x12 and raises DQ5 once its
    // time limit has passed; the low chip is done.
    p.chips.WriteWord(0x100, 0xFF00);
    EXPECT_EQ(p.cells[0x100], 0x00);
    EXPECT_EQ(p.cells[0x101], 0x12);
    const auto reads = p.Reads(0x100, p.chips.Timing().programTimeLimit + 2);
    for (int i = 0; i < p.chips.Timing().programTimeLimit; ++i)
        EXPECT_EQ(reads[i] & 0x2000, 0) << i;
    EXPECT_EQ(reads.back() & 0xA0FF, 0x2000);  // DQ5 high, DQ7 = complement of 1, low lane 0x00
    EXPECT_TRUE(p.chips.Busy(FlashChipPair::kHigh));
    EXPECT_FALSE(p.chips.Busy(FlashChipPair::kLow));

    // A stuck bit stays 1 and makes the program fail the same way.
    p.chips.StickBits(0x301, 0x04);
    p.chips.WriteByte(0x301, 0x00);
    EXPECT_EQ(p.cells[0x301], 0x04);
    EXPECT_EQ(p.Reads(0x300, p.chips.Timing().programTimeLimit + 1).back() & 0x2000, 0x2000);
    EXPECT_EQ(p.chips.ProgrammedBytes(), 7);
    EXPECT_TRUE(p.chips.Cycles(0).empty());
    EXPECT_TRUE(p.chips.Cycles(1).empty());
}

TEST(FlashChipPair, DecodesCommandSequencesPerChip) {
    Pair p(4 * FlashChipPair::kSectorSize, 0x00);
    // Sector erase of chip sectors 1 and 3 (pair offsets 0x20000 and 0x60000): more 0x30
    // cycles are taken until a read starts the erase.
    p.SendSetup(0x20000);
    p.chips.WriteWord(0x20000, 0x3030);
    p.chips.WriteWord(0x60010, 0x3030);
    Cycles expected = Pair::Setup(0x10000);
    expected.push_back({0x10000, 0x30});
    expected.push_back({0x30008, 0x30});
    EXPECT_EQ(p.chips.Cycles(FlashChipPair::kLow), expected);
    EXPECT_EQ(p.chips.Cycles(FlashChipPair::kHigh), expected);
    EXPECT_EQ(p.chips.ReadWord(0x0), 0x4848);  // DQ7 low while erasing, DQ6 toggling, DQ3 set
    p.chips.WriteWord(0x20002, 0x1111);        // an erase takes no stores while it runs
    const auto status = p.Reads(0x0, 2 * p.chips.Timing().eraseReadsPerSector);
    EXPECT_EQ(status.front(), 0x0808);
    EXPECT_EQ(status.back(), 0x0000);  // done: data again
    EXPECT_EQ(p.cells[0x1FFFF], 0x00);
    EXPECT_EQ(p.cells[0x20002], 0xFF);
    EXPECT_EQ(p.cells[0x3FFFF], 0xFF);
    EXPECT_EQ(p.cells[0x40000], 0x00);
    EXPECT_EQ(p.cells[0x60000], 0xFF);

    // A lone 0xAA at 0x5555 is data once the next cycle shows that no command follows.
    Pair q;
    q.chips.WriteWord(0xAAAA, 0xAAAA);
    q.chips.WriteWord(0xAAAC, 0x0102);
    EXPECT_EQ(q.cells[0xAAAA], 0xAA);
    EXPECT_EQ(q.cells[0xAAAC], 0x02);
    q.chips.WriteByte(0x2AAAB, 0xAA);            // high chip, sector 1, offset 0x5555
    EXPECT_EQ(q.chips.ReadByte(0x2AAAB), 0x40);  // the read decides: data, and it is programming
    EXPECT_EQ(q.cells[0x2AAAB], 0xAA);
    // A broken sequence resets to reading and programs nothing; 0xA0 programs the next store.
    q.chips.ClearCycles();
    for (int v : {0xAAAA, 0x5555, 0x4242})
        q.chips.WriteWord(v == 0x5555 ? 0x5554 : 0xAAAA, static_cast<std::uint16_t>(v));
    EXPECT_EQ(q.cells[0xAAAA], 0xAA);  // unchanged by the command cycles
    EXPECT_EQ(q.cells[0x5554], 0xFF);
    for (int v : {0xAAAA, 0x5555, 0xA0A0})
        q.chips.WriteWord(v == 0x5555 ? 0x5554 : 0xAAAA, static_cast<std::uint16_t>(v));
    q.chips.WriteWord(0x300, 0x0F0F);
    EXPECT_EQ(q.cells[0x300], 0x0F);
    EXPECT_EQ(q.chips.Cycles(FlashChipPair::kLow), (Cycles{{0x5555, 0xAA},
                                                           {0x2AAA, 0x55},
                                                           {0x5555, 0x42},
                                                           {0x5555, 0xAA},
                                                           {0x2AAA, 0x55},
                                                           {0x5555, 0xA0}}));

    // Chip erase: every sector of both chips.
    q.SendSetup(0);
    q.chips.WriteWord(0xAAAA, 0x1010);
    const int duration = 2 * q.chips.Timing().eraseReadsPerSector;
    EXPECT_EQ(q.Reads(0x20000, duration + 1).back(), 0xFFFF);
    EXPECT_EQ(q.cells[0x300], 0xFF);
    EXPECT_EQ(q.cells[0xAAAA], 0xFF);
}

TEST(FlashChipPair, FailingSectorKeepsItsCellsAndRaisesDQ5) {
    Pair p(kTwoSectors, 0x00);
    p.chips.Timing().eraseTimeLimit = 10;
    p.chips.FailErase(0x20001);  // the high chip's sector 1
    p.SendSetup(0);
    p.chips.WriteWord(0x0, 0x3030);
    p.chips.WriteWord(0x20000, 0x3030);
    const auto reads = p.Reads(0x20000, 12);
    EXPECT_EQ(reads[8] & 0x00FF, 0x00FF);  // the low chip finished after 8 reads: erased
    EXPECT_EQ(reads[9] & 0xFF00, 0x0800 | (reads[9] & 0x4000));  // high: still erasing
    EXPECT_EQ(reads[10] & 0xA800, 0x2800);                       // then DQ5, DQ7 still low
    EXPECT_EQ(p.cells[0x00000], 0xFF);
    EXPECT_EQ(p.cells[0x00001], 0xFF);
    EXPECT_EQ(p.cells[0x20000], 0xFF);
    EXPECT_EQ(p.cells[0x20001], 0x00);  // the failing sector is not erased
    p.chips.WriteWord(0x10, 0x0000);    // a store ends the failed state: data again elsewhere
    EXPECT_EQ(p.chips.ReadWord(0x20000), 0x00FF);
}

TEST(FlashChipPair, PowerCutLosesEveryLaterStore) {
    Pair p;
    p.chips.CutPowerAfter(3);
    for (std::uint32_t i = 0; i < 6; ++i)
        p.chips.WriteByte(0x40 + i, static_cast<std::uint8_t>(i));
    EXPECT_FALSE(p.chips.Powered());
    EXPECT_EQ(p.chips.ProgrammedBytes(), 3);
    EXPECT_EQ(p.chips.ReadWord(0x40), 0xFFFF);  // nothing drives the bus
    EXPECT_EQ(std::vector<unsigned char>(p.cells.begin() + 0x40, p.cells.begin() + 0x46),
              (std::vector<unsigned char>{0, 1, 2, 0xFF, 0xFF, 0xFF}));
    p.chips.PowerOn();
    EXPECT_EQ(p.chips.ReadWord(0x42), 0xFF02);
    p.chips.CutPowerAfter(0);
    p.chips.WriteByte(0x50, 0);
    EXPECT_EQ(p.cells[0x50], 0xFF);
    p.chips.PowerOn();
    p.chips.WriteByte(0x50, 0);
    EXPECT_EQ(p.cells[0x50], 0x00);
    // Outside the pair nothing happens and the bus reads erased.
    p.chips.WriteWord(kTwoSectors, 0);
    EXPECT_EQ(p.chips.ReadWord(kTwoSectors), 0xFFFF);
}

}  // namespace
