// The memory image: loading, erased fill, saves that never lose the old file, the 4 MiB cap,
// partial loads and saves, InSide, single bytes in the file, sectors and device windows.
#include <tnpackage/tnpackage.h>

#include <unistd.h>

#include <cstring>
#include <fstream>
#include <iterator>
#include <tuple>

#include "support/Files.h"
#include "support/Platform.h"
#include "support/Scratch.h"
#include "support/WarningCapture.h"

namespace {

namespace fs = std::filesystem;
using tn::DeviceAddressSpace;
using tn::TPImageSpeicher;
using Texts = std::vector<std::string>;

std::string ReadFile(const fs::path& path) {
    return tn::test::LoadText(path);
}

std::string Pattern(std::size_t length) {  // 0, 1, 2, ... wrapping at the prime 251

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
        std::ofstream(Image(std::to_string(length)), std::ios::binary) << Pattern(length);
    for (const char* name : {"MISSING", "4096", "4097", "4095"}) {
        const std::string before = ReadFile(Image(name));  // "" when missing
        std::string expected = before.size() == 4096 ? before : std::string(4096, '\xFF');
        {
            TPImageSpeicher image(name, 4096);
            EXPECT_EQ(Contents(image), expected) << name;
            EXPECT_EQ(fs::file_size(Image(name)), before.size());  // a missing file: created
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
}

TEST_F(TPSpeicherTest, LadenPadsAShortFileWithFourZerosThenErasedBytes) {
    TPImageSpeicher image("LOAD", 64);
    const std::string ten = Path("ten.bin"), absent = Path("absent.bin"), zeros(4, '\0');
    std::ofstream(ten, std::ios::binary) << "0123456789";
    // Start, count; then the buffer, first filled with 'a', from `from` on.
    const std::tuple<int, int, std::size_t, std::string> cases[] = {
        {8, 16, 7, "a0123456789" + zeros + "\xFF\xFF" + "a"},
        {0, 0, 0, "0123456789" + zeros + std::string(50, '\xFF')},  // count 0: all
        {60, 100, 58, "aa0123"},                                    // the slice stops at the end
        {0, 12, 0, "0123456789" + zeros.substr(2) + "a"}};          // only zeros
    for (const auto& [start, count, from, expected] : cases) {
        std::memset(image.Buffer, 'a', 64);
        image.Laden(ten.c_str(), start, count);
        EXPECT_EQ(Contents(image).substr(from, expected.size()), expected);
    }
    image.Laden(absent.c_str(), 4, 8);  // nothing changes
    EXPECT_EQ(Contents(image).substr(0, 13), "0123456789" + zeros.substr(2) + "a");
    EXPECT_EQ(Warnings(), Texts{"Datei '" + absent + "' kann nicht ge\xF6" + "ffnet werden"});
}

TEST_F(TPSpeicherTest, PartialSaveTakesTheUsedLengthAndStopsAtTheEnd) {
    TPImageSpeicher image("PART", 32);
    const std::string pattern = Pattern(32), slice = Path("slice.bin");
    std::memcpy(image.Buffer, pattern.data(), 32);
    // Used length, start, count; the file: `length` bytes from `from` (the last is outside).
    const int cases[][5] = {
        {0, 0, 0, 0, 0}, {5, 3, 0, 3, 5}, {5, 30, 10, 30, 2}, {5, 40, 4, 30, 2}};
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
    const std::string old = Pattern(512), slice = Path("slice.bin"), full = Image("FULL").string();
    std::ofstream(full, std::ios::binary) << old;
    std::ofstream(slice, std::ios::binary) << "previous";
    fs::create_directories(Image("TAKEN") / "inside");  // the finished file cannot replace it
    {
        TPImageSpeicher image("FULL", 512), taken("TAKEN", 16);
        std::memset(image.Buffer, 0x55, 512);
        for (const std::string& target : {full, slice})
            fs::create_symlink("/dev/full", target + ".tmp");
        image.Speichern();
        image.Speichern(slice.c_str(), 0, 100);
        taken.Speichern();
        const std::string failed = "Widerspruch bei 'Speicher'";
        EXPECT_EQ(Warnings(), (Texts{failed, failed + " (" + slice + ")", failed}));
        EXPECT_EQ(ReadFile(full) + ReadFile(slice), old + "previous");
        for (const std::string& target : {full, slice, Image("TAKEN").string()})
            EXPECT_FALSE(fs::exists(fs::symlink_status(target + ".tmp")));
        fs::create_directory(full + ".tmp");  // a save that cannot even start is silent
        image.Speichern();
        EXPECT_EQ(Warnings().size(), 3u);
        fs::remove(full + ".tmp");
    }
    EXPECT_EQ(ReadFile(full), std::string(512, '\x55'));  // no obstacle now
}

TEST_F(TPSpeicherTest, GetCharAndPutCharWorkOnTheFileNotTheBuffer) {
    std::ofstream(Image("BYTES"), std::ios::binary) << "ABCDEFGH";
    TPImageSpeicher image("BYTES", 8);
    image.PutChar(2, 'z');
    image.PutChar(-1, 'q');
    EXPECT_EQ(ReadFile(Image("BYTES")), "ABzDEFGH");
    const char read[] = {image.Buffer[2], image.GetChar(2), image.GetChar(8), image.GetChar(-1)};
    EXPECT_EQ(std::string(read, 4), std::string("Cz\0\0", 4));  // buffer untouched; no ends
}

TEST_F(TPSpeicherTest, RelativeFolderIsMadeBelowTheProgramFolderButUsedAsGiven) {
    const tn::TPString savedProgramDir = tn::ProgramDir;
    const fs::path savedCurrent = fs::current_path();
    fs::current_path(dir_);
    tn::ProgramDir = Path("prog").c_str();
    tn::SpeicherPfad = "images";
    EXPECT_EQ(TPImageSpeicher("REL", 0).FileName.c_str(), tn::test::NativePath("images/REL.DAT"));
    EXPECT_TRUE(fs::is_directory(dir_ / "prog" / "images"));
    EXPECT_FALSE(fs::exists(dir_ / "images"));  // not in the current folder
    fs::current_path(savedCurrent);
    tn::ProgramDir = savedProgramDir;
}

TEST_F(TPSpeicherTest, ImageBlocksMoveWholeSectorsInsideTheBufferAndNothingOutside) {
    TPImageSpeicher image("BLOCKS", 2048);
    tn::TPSpeicher& medium = image;  // the FAT volume sees only the base class
    const std::string sector = Pattern(TPImageSpeicher::kSectorSize);
    std::string read(sector.size(), 'r');
    medium.WriteBlock(sector.data(), 1536);  // the last sector
    medium.WriteBlock(sector.data(), 100);   // unaligned but inside
    const std::string whole = Contents(image);
    const std::string outside = std::string("Sektor au\xDF") + "erhalb von 'Speicher' (Adresse ";
    EXPECT_EQ(whole.substr(99, 514), "\xFF" + sector + "\xFF");
    Texts expected;
    for (const std::int64_t address : {1537LL, -1LL, 2048LL, 1LL << 40}) {
        medium.WriteBlock(sector.data(), address);
        medium.ReadBlock(read.data(), address);
        expected.insert(expected.end(), 2, outside + std::to_string(address) + ")");
    }
    EXPECT_EQ(Warnings(), expected);
    EXPECT_EQ(Contents(image) + read, whole + std::string(sector.size(), 'r'));
    medium.ReadBlock(read.data(), 1536);
    EXPECT_EQ(read, sector);
}

TEST_F(TPSpeicherTest, WindowsGoWithTheImageAndInstrumentMemoryIsNeverFreed) {
    char* kept = nullptr;
    {
        TPImageSpeicher image("MAPPED", 4096), device("DEVICE", 256);
        ASSERT_TRUE(image.MapAt(0x00100000));
        EXPECT_EQ(DeviceAddressSpace::ToHost(0x00100FFF), image.Buffer + 4095);
        // A window made by someone else must not outlive the buffer it shows.
        ASSERT_TRUE(DeviceAddressSpace::Map(0x00400000, image.Buffer, 16));
        ASSERT_TRUE(device.MapAt(DeviceAddressSpace::kInstrumentBase));
        kept = device.Buffer;
    }
    EXPECT_EQ(DeviceAddressSpace::WindowCount(), 0);
    EXPECT_EQ(kept[0], '\xFF');  // the device side's memory: a sanitizer run would report a free
    delete[] kept;
}

}  // namespace
