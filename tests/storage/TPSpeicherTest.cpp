// The memory image: loading, erased fill, saves that never lose the old file, the 4 MiB cap,
// partial loads and saves, the strict InSide test, single bytes in the file, sector transfers
// and the device address space.
#include <tnpackage/tnpackage.h>

#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "support/Scratch.h"
#include "support/WarningCapture.h"

namespace {

namespace fs = std::filesystem;
using tn::DeviceAddressSpace;
using tn::TPImageSpeicher;
using Texts = std::vector<std::string>;

std::string ReadFile(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

void WriteFile(const fs::path& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
}

// Bytes 0, 1, 2, ... wrapping at 251 (a prime, so no block repeats at a power of two).
std::string Pattern(std::size_t length) {
    std::string bytes(length, '\0');
    for (std::size_t i = 0; i < length; ++i)
        bytes[i] = static_cast<char>(i % 251);
    return bytes;
}

// SpeicherPfad points at a fresh folder and warnings are recorded; both restored afterwards.
class TPSpeicherTest : public ::testing::Test {
  protected:
    TPSpeicherTest() { tn::SpeicherPfad = dir_.string().c_str(); }
    ~TPSpeicherTest() override {
        tn::SpeicherPfad = savedFolder_;
        DeviceAddressSpace::Clear();
    }
    const Texts& Warnings() const { return capture_.Texts(); }
    fs::path Image(const std::string& name) const { return dir_ / (name + ".DAT"); }
    std::string Path(const std::string& name) const { return (dir_ / name).string(); }
    static std::string Contents(const tn::TPSpeicher& image) {
        return std::string(image.Buffer, static_cast<std::size_t>(image.Size));
    }
    const fs::path dir_ = tn::test::ScratchFolder();

  private:
    tn::TPString savedFolder_ = tn::SpeicherPfad;
    tn::test::WarningCapture capture_;
};

TEST_F(TPSpeicherTest, OnlyAFileOfTheRightLengthIsLoadedAndTheDestructorSaves) {
    for (const std::size_t length : {4096u, 4097u, 4095u})
        WriteFile(Image(std::to_string(length)), Pattern(length));
    for (const char* name : {"MISSING", "4096", "4097", "4095"}) {
        const std::string before = ReadFile(Image(name));  // "" when missing
        std::string expected = before.size() == 4096 ? before : std::string(4096, '\xFF');
        {
            TPImageSpeicher image(name, 4096);
            EXPECT_EQ(image.FileName.c_str(), Image(name).string());
            EXPECT_EQ(Contents(image), expected) << name;
            EXPECT_TRUE(fs::exists(Image(name)));  // a missing file is created empty
            image.Buffer[3] = 'x';
        }
        expected[3] = 'x';
        EXPECT_EQ(ReadFile(Image(name)), expected) << name;
    }
    for (const int size : {0, -5})
        EXPECT_EQ(TPImageSpeicher("NONE", size).Buffer, nullptr);
    EXPECT_FALSE(fs::exists(Image("NONE")));
    EXPECT_TRUE(Warnings().empty());
}

TEST_F(TPSpeicherTest, ShortReadOfARightSizedFileWarnsWithTheName) {
    // A kernel attribute claims one page but delivers a few bytes: a short read without a race.
    const char* attribute = "/sys/kernel/profiling";
    if (::access(attribute, R_OK | W_OK) != 0 || fs::file_size(attribute) != 4096)
        GTEST_SKIP() << "no kernel attribute of one page here";
    fs::create_symlink(attribute, Image("SHORT"));
    { TPImageSpeicher image("SHORT", 4096); }
    EXPECT_EQ(Warnings(), Texts{"Widerspruch bei 'Speicher' (SHORT)"});
    EXPECT_FALSE(fs::is_symlink(Image("SHORT")));  // the save never writes through the link
}

TEST_F(TPSpeicherTest, InSideExcludesBothEndsAndFollowsTheSizeTheFourMebibyteCapShrinks) {
    constexpr int kFiveMiB = 5 * 1024 * 1024;
    TPImageSpeicher image("BIG", kFiveMiB);
    const std::string pattern = Pattern(kFiveMiB);
    std::memcpy(image.Buffer, pattern.data(), pattern.size());
    for (const int size : {kFiveMiB, 0x400000}) {
        if (size != kFiveMiB) image.Speichern();
        EXPECT_EQ(image.Size, size);
        EXPECT_FALSE(image.InSide(image.Buffer));
        EXPECT_TRUE(image.InSide(image.Buffer + 1));
        EXPECT_TRUE(image.InSide(image.Buffer + size - 1));
        EXPECT_FALSE(image.InSide(image.Buffer + size));
    }
    EXPECT_EQ(ReadFile(Image("BIG")), pattern.substr(0, 0x400000));
    EXPECT_TRUE(Warnings().empty());
}

TEST_F(TPSpeicherTest, LadenPadsAShortFileWithFourZerosThenErasedBytes) {
    TPImageSpeicher image("LOAD", 64);
    const std::string ten = Path("ten.bin"), absent = Path("absent.bin"), ff(64, '\xFF');
    WriteFile(ten, "0123456789");
    struct Case {  // the buffer, first filled with 'a', from `from` on
        int start, count, from;
        std::string expected;
    } const cases[] = {
        {8, 16, 7, "a0123456789" + std::string(4, '\0') + ff.substr(0, 2) + "a"},
        {0, 0, 0, "0123456789" + std::string(4, '\0') + ff.substr(0, 50)},  // count 0: all
        {60, 100, 58, "aa0123"},                                // the slice stops at the end
        {0, 12, 0, "0123456789" + std::string(2, '\0') + "a"},  // under four missing: zeros
    };
    for (const Case& c : cases) {
        std::memset(image.Buffer, 'a', 64);
        image.Laden(ten.c_str(), c.start, c.count);
        EXPECT_EQ(Contents(image).substr(std::size_t(c.from), c.expected.size()), c.expected);
    }
    const std::string kept = Contents(image);
    for (const int start : {4, -1, 70})
        image.Laden(absent.c_str(), start, 8);
    EXPECT_EQ(Contents(image), kept);
    const std::string outside =
        "Bereich au\xDF"
        "erhalb von 'Speicher' (";
    EXPECT_EQ(Warnings(), (Texts{"Datei '" + absent +
                                     "' kann nicht ge\xF6"
                                     "ffnet werden",
                                 outside + "-1, 8)", outside + "70, -6)"}));
}

TEST_F(TPSpeicherTest, PartialSaveTakesTheUsedLengthAndStopsAtTheEnd) {
    TPImageSpeicher image("PART", 32);
    const std::string pattern = Pattern(32), slice = Path("slice.bin");
    std::memcpy(image.Buffer, pattern.data(), 32);
    // used length, start, count; then the file holds `length` bytes of the pattern from `from`
    const int cases[][5] = {{0, 0, 0, 0, 0},
                            {5, 3, 0, 3, 5},
                            {5, 30, 10, 30, 2},
                            {5, 40, 4, 30, 2}};  // outside: the last file stays
    for (const auto& [used, start, count, from, length] : cases) {
        image.UsedLength = used;
        image.Speichern(slice.c_str(), start, count);
        EXPECT_TRUE(fs::exists(slice));
        EXPECT_EQ(ReadFile(slice), pattern.substr(std::size_t(from), std::size_t(length)));
    }
    EXPECT_EQ(Warnings().size(), 1u);
}

TEST_F(TPSpeicherTest, AFailingSaveKeepsTheOldFile) {
    // /dev/full accepts the open and fails every write, like a full disk.
    if (::access("/dev/full", W_OK) != 0) GTEST_SKIP() << "no /dev/full here";
    const std::string old = Pattern(512), slice = Path("slice.bin");
    WriteFile(Image("FULL"), old);
    WriteFile(Image("BLOCKED"), old);
    WriteFile(slice, "previous");
    fs::create_directory(dir_ / "BLOCKED.DAT.tmp");     // a save that cannot start is silent
    fs::create_directories(Image("TAKEN") / "inside");  // one that cannot replace warns
    {
        TPImageSpeicher image("FULL", 512), blocked("BLOCKED", 512), taken("TAKEN", 512);
        std::memset(image.Buffer, 0x55, 512);
        std::memset(blocked.Buffer, 0x55, 512);
        for (const std::string& target : {Image("FULL").string(), slice})
            fs::create_symlink("/dev/full", target + ".tmp");
        image.Speichern();
        image.Speichern(slice.c_str(), 0, 100);
        blocked.Speichern();
        taken.Speichern();
        const std::string failed = "Widerspruch bei 'Speicher'";
        EXPECT_EQ(Warnings(), (Texts{failed, failed + " (" + slice + ")", failed}));
        EXPECT_EQ(ReadFile(Image("FULL")) + ReadFile(slice), old + "previous");
        EXPECT_FALSE(fs::exists(fs::symlink_status(slice + ".tmp")));
    }
    EXPECT_EQ(ReadFile(Image("FULL")), std::string(512, '\x55'));  // no obstacle now
    EXPECT_EQ(ReadFile(Image("BLOCKED")), old);
    EXPECT_TRUE(fs::is_directory(Image("TAKEN") / "inside"));
    EXPECT_FALSE(fs::exists(dir_ / "TAKEN.DAT.tmp"));
}

TEST_F(TPSpeicherTest, GetCharAndPutCharWorkOnTheFileNotTheBuffer) {
    WriteFile(Image("BYTES"), "ABCDEFGH");
    TPImageSpeicher image("BYTES", 8);
    image.PutChar(2, 'z');
    image.PutChar(-1, 'q');
    EXPECT_EQ(image.Buffer[2], 'C');
    EXPECT_EQ(ReadFile(Image("BYTES")), "ABzDEFGH");
    const char read[] = {image.GetChar(2), image.GetChar(8), image.GetChar(-1)};
    EXPECT_EQ(std::string(read, 3), std::string("z\0\0", 3));  // nothing past either end
}

TEST_F(TPSpeicherTest, RelativeFolderIsMadeBelowTheProgramFolderButUsedAsGiven) {
    const tn::TPString savedProgramDir = tn::ProgramDir;
    const fs::path savedCurrent = fs::current_path();
    fs::create_directories(dir_ / "cwd");
    fs::current_path(dir_ / "cwd");
    tn::ProgramDir = Path("prog").c_str();
    tn::SpeicherPfad = "images";
    EXPECT_STREQ(TPImageSpeicher("REL", 0).FileName.c_str(), "images/REL.DAT");
    EXPECT_TRUE(fs::is_directory(dir_ / "prog" / "images"));
    EXPECT_FALSE(fs::exists(dir_ / "cwd" / "images"));
    fs::current_path(savedCurrent);
    tn::ProgramDir = savedProgramDir;
}

TEST_F(TPSpeicherTest, BlocksMoveWholeSectorsInsideTheBufferAndNothingOutside) {
    TPImageSpeicher image("BLOCKS", 2048), tiny("TINY", 100);
    tn::TPSpeicher& medium = image;  // the FAT volume sees only the base class
    const std::string sector = Pattern(TPImageSpeicher::kSectorSize);
    std::string read(sector.size(), 'r');
    medium.WriteBlock(sector.data(), 1536);  // the last sector
    medium.WriteBlock(sector.data(), 100);   // unaligned but inside
    medium.ReadBlock(read.data(), 1536);
    EXPECT_EQ(read, sector);
    EXPECT_EQ(std::string(image.Buffer + 99, 514), "\xFF" + sector + "\xFF");

    const std::string whole = Contents(image);
    read.assign(sector.size(), 'r');
    const std::string outside =
        "Sektor au\xDF"
        "erhalb von 'Speicher' (Adresse ";
    Texts expected;
    for (const std::int64_t address : {1537LL, -1LL, 2048LL, 1LL << 40}) {
        medium.WriteBlock(sector.data(), address);
        medium.ReadBlock(read.data(), address);
        expected.insert(expected.end(), 2, outside + std::to_string(address) + ")");
    }
    tiny.ReadBlock(read.data(), 0);  // smaller than a sector: no block at all
    expected.push_back(outside + "0)");
    EXPECT_EQ(Warnings(), expected);
    EXPECT_EQ(Contents(image) + read, whole + std::string(sector.size(), 'r'));
}

TEST_F(TPSpeicherTest, MappingFollowsTheImageAndInstrumentMemoryIsNeverFreed) {
    char* kept = nullptr;
    {
        TPImageSpeicher image("MAPPED", 4096), other("OTHER", 512), device("DEVICE", 256);
        ASSERT_TRUE(image.MapAt(0x00100000));
        EXPECT_EQ(DeviceAddressSpace::ToHost(0x00100FFF), image.Buffer + 4095);
        EXPECT_EQ(DeviceAddressSpace::ToHost(0x00101000), nullptr);
        ASSERT_TRUE(image.MapAt(0x00200000));  // moving drops the first window
        EXPECT_EQ(DeviceAddressSpace::ToHost(0x00100000), nullptr);
        EXPECT_EQ(DeviceAddressSpace::ToDevice(image.Buffer + 10), 0x0020000Au);
        EXPECT_FALSE(other.MapAt(0x00200800));  // taken
        // A window made by someone else must not outlive the buffer it shows.
        ASSERT_TRUE(DeviceAddressSpace::Map(0x00400000, other.Buffer, 512));
        device.Buffer[0] = 'D';
        ASSERT_TRUE(device.MapAt(DeviceAddressSpace::kInstrumentBase));
        kept = device.Buffer;
    }
    EXPECT_EQ(DeviceAddressSpace::WindowCount(), 0);
    // The instrument's memory is the device side's: saved but not freed (a sanitizer run would
    // report this read as a use after free).
    EXPECT_EQ(ReadFile(Image("DEVICE"))[0], 'D');
    EXPECT_EQ(kept[0], 'D');
    delete[] kept;
}

}  // namespace
