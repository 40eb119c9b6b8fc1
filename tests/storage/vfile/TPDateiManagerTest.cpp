// The file manager: program copies from a volume through device memory into the flash model,
// the hooks by program number, and the root listing.
#include <gtest/gtest.h>

#include <tnpackage/tnpackage.h>

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "storage/vfile/FileIOTestSupport.h"

namespace tn::test {
namespace {

// A program file as the instrument checks it: its length L at offset 12, the CRC of its first
// L bytes behind them.
std::string Program(std::size_t size, std::uint32_t seed, const TPCRC& crc, bool intact = true) {
    std::string p = Pattern(size, seed);
    const auto length = static_cast<std::uint32_t>(size - 4);
    for (int i = 0; i < 4; ++i)
        p[static_cast<std::size_t>(12 + i)] = static_cast<char>(length >> (8 * i));
    std::uint32_t value = crc.Create(p.data(), static_cast<int>(length));
    if (!intact) value ^= 0x100;
    for (int i = 0; i < 4; ++i)
        p[length + static_cast<std::size_t>(i)] = static_cast<char>(value >> (8 * i));
    return p;
}

class DateiManagerTest : public VFileTest {
  protected:
    void SetUp() override {
        VFileTest::SetUp();
        SpeicherPfad = folder_.string().c_str();
        FlashDelay = [](int) {};
        crc_ = std::make_unique<TPCRC>(32, 0x04C11DB7);
        CRC32 = crc_.get();
        ram_.assign(0x2000, '\0');
        ASSERT_TRUE(DeviceAddressSpace::Map(kRam, ram_.data(), 0x2000));
        RAMMaximum = static_cast<std::int32_t>(kRam + 0x2000);
        ProgramSizeMax = 0x1000;
    }
    void TearDown() override {
        DeviceAddressSpace::Unmap(kRam);
        CRC32 = nullptr;
        FlashDelay = nullptr;
        RAMMaximum = 0;
        ProgramSizeMax = 0;
        SystemInitialisiert = false;
        VFileTest::TearDown();
    }

    static constexpr std::uint32_t kRam = 0x60100000;
    std::unique_ptr<TPCRC> crc_;
    std::vector<char> ram_;
};

TEST_F(DateiManagerTest, ProgramFileCopyChecksTheFileAndProgramsItIntoFlashOnce) {
    TN_REQUIRE_FAT_TOOLS();
    const std::string good = Program(1001, 1, *crc_);
    const auto image =
        MakeImage("p.img", {{"/PROG.BIN", good}, {"/BAD.BIN", Program(600, 2, *crc_, false)}});
    TPVolumeFAT* volume = Mount(image, 'A', false);
    TPDateiInfo* prog = volume->SearchFile("PROG.BIN");
    TPDateiInfo* bad = volume->SearchFile("BAD.BIN");
    ASSERT_NE(prog, nullptr);
    ASSERT_NE(bad, nullptr);
    TFlash flash;
    ASSERT_EQ(Flash, &flash);
    const int slot = static_cast<int>(TFlash::kBase + 0x40000);
    const auto* cells = static_cast<const char*>(DeviceAddressSpace::ToHost(slot, 1001));
    ASSERT_NE(cells, nullptr);

    TPDateiManager manager;
    EXPECT_EQ(manager.SlotDate(slot), -1);
    EXPECT_TRUE(manager.ProgramFileCopy(slot, prog, "PROG", false));
    EXPECT_TRUE(std::string(cells, 1001) == good);
    EXPECT_TRUE(std::string(ram_.data() + 0x2000 - 1001, 1001) == good);  // below RAMMaximum
    EXPECT_EQ(manager.SlotDate(slot), static_cast<std::int32_t>(prog->FileDate));
    EXPECT_EQ(prog->Block(), nullptr);  // the check leaves the node as it was

    // Up to date: nothing is programmed (a cell changed behind the model's back stays so).
    flash.Buffer[0x40000] = 0;
    EXPECT_TRUE(manager.ProgramFileCopy(slot, prog, "PROG", false));
    EXPECT_EQ(cells[0], 0);
    // A newer file is programmed again.
    prog->FileDate += 1u << 16;
    EXPECT_TRUE(manager.ProgramFileCopy(slot, prog, "PROG", false));
    EXPECT_TRUE(std::string(cells, 1001) == good);

    // A wrong CRC, a program too big for flash, memory that is not there: nothing programmed.
    const int other = static_cast<int>(TFlash::kBase + 0x60000);
    warnings_.Clear();
    EXPECT_FALSE(manager.ProgramFileCopy(other, bad, "BAD", false));
    ASSERT_EQ(warnings_.Texts().size(), 1u);
    EXPECT_NE(warnings_.Texts()[0].find(" Bytes) <==> "), std::string::npos);
    ProgramSizeMax = 1001;
    EXPECT_FALSE(manager.ProgramFileCopy(other, prog, "PROG", false));
    ProgramSizeMax = 0x1000;
    RAMMaximum = 0x1000;
    EXPECT_FALSE(manager.ProgramFileCopy(other, prog, "PROG", false));
    RAMMaximum = static_cast<std::int32_t>(kRam + 0x2000);
    CRC32 = nullptr;
    EXPECT_FALSE(manager.ProgramFileCopy(other, prog, "PROG", false));
    CRC32 = crc_.get();
    EXPECT_EQ(manager.SlotDate(other), -1);
    EXPECT_EQ(static_cast<unsigned char>(cells[0x20000]), 0xFF);  // the other slot is blank
    EXPECT_FALSE(manager.ProgramFileCopy(slot, nullptr, "", false));
    EXPECT_FALSE(manager.KX4410ProgramCopy(slot, prog, "", 0));
}

std::vector<int>& HookCalls() {
    static std::vector<int> calls;
    return calls;
}

TEST_F(DateiManagerTest, FileCopyByProgramNumberAndTheRootListing) {
    TN_REQUIRE_FAT_TOOLS();
    const std::string data = Pattern(40, 4);
    const auto image = MakeImage("l.img", {{"/PROG.BIN", data}, {"/SUB/IN.TXT", "x"}});
    TPVolumeFAT* volume = Mount(image, 'A', false);
    TPDateiInfo* prog = volume->SearchFile("PROG.BIN");
    ASSERT_NE(prog, nullptr);
    TPDateiManager manager;

    HookCalls().clear();
    OnNeueDatei[2] = [](int program, TPDateiInfo*, int address) {
        HookCalls().push_back(program);
        HookCalls().push_back(address);
        return true;
    };
    EXPECT_TRUE(manager.FileCopy(2, prog, 1234));
    OnNeueDatei[2] = nullptr;
    EXPECT_EQ(HookCalls(), (std::vector<int>{2, 1234}));
    // Without a hook: equal first bytes need no copy; different ones go to the two-argument
    // FileCopy, which copies nothing here.
    std::memcpy(ram_.data(), data.data(), 40);
    EXPECT_TRUE(manager.FileCopy(2, prog, static_cast<int>(kRam)));
    ram_[3] ^= 1;
    EXPECT_FALSE(manager.FileCopy(-1, prog, static_cast<int>(kRam)));
    EXPECT_FALSE(manager.FileCopy(99, prog, static_cast<int>(kRam)));
    EXPECT_EQ(manager.Dir(), 0);

    std::unique_ptr<TPStringList> lines(manager.Strings(volume));
    ASSERT_NE(lines, nullptr);
    ASSERT_EQ(lines->Count, 2);
    EXPECT_EQ(lines->String(0), "<DIR>  SUB");
    const std::string file = lines->String(1).c_str();
    EXPECT_EQ(file.rfind("PROG.BIN  40  ", 0), 0u) << file;
    EXPECT_EQ(file.size(), std::string("PROG.BIN  40  DD.MM.YYYY HH:MM:SS").size()) << file;
    EXPECT_EQ(manager.Strings(nullptr), nullptr);

    EXPECT_EQ(manager.Update(volume), 0);  // the device system is not up yet
    EXPECT_EQ(manager.Lines, nullptr);
    SystemInitialisiert = true;
    EXPECT_EQ(manager.Update(volume), 1);
    ASSERT_NE(manager.Lines, nullptr);
    EXPECT_EQ(manager.Lines->Count, 2);
}

TEST(VFileFunctions, TheInertOnesAnswerAsTheyAlwaysDid) {
    TVSearchRec rec;
    EXPECT_EQ(FindFirstV("A:\\*.*", 0, rec), 0);
    EXPECT_EQ(FindNextV(rec), 0);
    EXPECT_EQ(FindCloseV(rec), 0);
    EXPECT_TRUE(DirectoryExistsV("Q:\\NOWHERE"));
    EXPECT_EQ(ProgramCopy(-7, 1, 2), -7);
}

}  // namespace
}  // namespace tn::test
