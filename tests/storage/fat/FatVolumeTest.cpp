// Geometry, the FAT in memory and its write-back, and the whole-file helpers of a volume, on
// images made by mkfs.fat.
#include <gtest/gtest.h>

#include <tnpackage/tnpackage.h>

#include <cstring>
#include <fstream>

#include "storage/fat/FatTestSupport.h"
#include "support/Scratch.h"
#include "support/WarningCapture.h"

namespace {

using tn::test::Pattern;

std::filesystem::path Image(const char* name, int kib, const char* options) {
    const auto image = tn::test::ScratchFolder() / name;
    EXPECT_TRUE(tn::test::MakeFatImage(image, kib, options));
    return image;
}

void Patch(const std::filesystem::path& file, std::int64_t at, std::vector<unsigned char> bytes) {
    std::fstream io(file, std::ios::in | std::ios::out | std::ios::binary);
    io.seekp(at);
    io.write(reinterpret_cast<const char*>(bytes.data()),
             static_cast<std::streamsize>(bytes.size()));
}

// Records what a volume hands to a target medium.
class Recorder : public tn::TPSpeicher {
  public:
    Recorder() : tn::TPSpeicher("recorder", 0) {}
    void ReadBlock(void*, std::int64_t) override {}
    void WriteBlock(const void* source, std::int64_t address) override {
        const auto end = static_cast<std::size_t>(address + BlockSize);
        if (bytes.size() < end) bytes.resize(end);
        std::memcpy(bytes.data() + address, source, static_cast<std::size_t>(BlockSize));
    }
    void SetSector(int base) override { sectors.push_back(base); }
    std::vector<unsigned char> bytes;
    std::vector<int> sectors;
};

TEST(FatVolume, FloppyGeometryAtABaseAndThroughAnOrigin) {
    TN_REQUIRE_FAT_TOOLS();
    const auto image = Image("floppy.img", 1440, "-F 12 -S 512 -s 1 -R 1 -f 2 -r 224");
    ASSERT_TRUE(
        tn::test::PutTree(image, {"/DIR"}, {{"/DIR/A.TXT", "a"}, {"/b.txt", Pattern(3000, 1)}}));
    // The same volume 4096 bytes into a larger file.
    const auto padded = tn::test::ScratchFolder() / "padded.img";
    {
        std::ofstream out(padded, std::ios::binary);
        const std::string pad(4096, '\x5A');
        out.write(pad.data(), 4096);
        const auto bytes = tn::test::LoadBytes(image);
        out.write(reinterpret_cast<const char*>(bytes.data()),
                  static_cast<std::streamsize>(bytes.size()));
    }
    for (const int base : {0, 4096}) {
        SCOPED_TRACE(base);
        tn::test::Mounted m(base == 0 ? image : padded, false, base);
        const tn::TPVolumeFAT& v = *m.volume;
        EXPECT_EQ(v.BytesPerSector, 512);
        EXPECT_EQ(v.SectorsPerFAT, 9);
        EXPECT_EQ(v.RootEntries, 224);
        EXPECT_EQ(v.TotalSectors, 2880u);
        EXPECT_EQ(v.FATAddress, base + 512u);
        EXPECT_EQ(v.FATSize, 4608u);
        EXPECT_EQ(v.RootAddress, base + 9728u);
        EXPECT_EQ(v.ClusterBase, base + 15872u);
        EXPECT_EQ(m.volume->RootEnde(), base + 16896);
        EXPECT_EQ(v.ClusterCount, 2880);
        EXPECT_EQ(v.FATType, 1);
        EXPECT_EQ(v.VolumeSize, 2880u * 512);
        EXPECT_EQ(v.VolumeBase, base);
        EXPECT_EQ(v.WorkingAddress, base);
        EXPECT_EQ(v.Current, v.Root);
        EXPECT_EQ(m.medium->BlockSize, 512);
        tn::test::ExpectSameAsMtools(*m.volume, image);
    }
    tn::test::Mounted o(padded, false, 0, 4096);
    EXPECT_EQ(o.volume->RootAddress, 9728u);
    tn::test::ExpectSameAsMtools(*o.volume, image);

    // Total sectors 0 at 19 take offset 32; sectors per FAT 0 at 22 take the word at 36.
    Patch(image, 19, {0, 0});
    Patch(image, 32, {0x40, 0x0B, 0, 0});
    Patch(image, 22, {0, 0});
    Patch(image, 36, {9, 0});
    tn::test::Mounted f(image);
    EXPECT_EQ(f.volume->TotalSectors, 2880u);
    EXPECT_EQ(f.volume->SectorsPerFAT, 9);
    EXPECT_EQ(f.volume->ClusterBase, 15872u);
}

TEST(FatVolume, TwelveBitEntriesDirtySectorsAndEveryCopyWritten) {
    const auto image = Image("fat12.img", 1440, "-F 12 -S 512 -s 1");
    {
        tn::test::Mounted m(image, true);
        tn::TPVolumeFAT& v = *m.volume;
        v.SetCluster(2, 3);
        v.SetCluster(3, -1);
        v.SetCluster(4, 0xFF8);
        EXPECT_EQ(v.GetCluster(2), 3);
        EXPECT_EQ(v.GetCluster(3), -1);
        EXPECT_EQ(v.GetCluster(4), -8);
        EXPECT_EQ(v.GetCluster(5), 0);
        EXPECT_EQ(v.GetCluster(100000), -1);  // past the FAT: end of chain
        EXPECT_EQ(v.GetCluster(-7), -1);
        v.SetCluster(100000, 5);  // past the FAT: nothing
        v.SetCluster(2, 0);
        v.SetCluster(3, 0);
        v.SetCluster(4, 0);

        // Entry 341 spans the end of FAT sector 0: sectors 0 and 1 become dirty, and both go
        // to both copies; sector 2 stays as it is on the medium.
        v.FATBuffer[100] = 0x11;
        v.FATBuffer[700] = 0x22;
        v.FATBuffer[1100] = 0x33;
        v.SetCluster(341, 0xABC);
        EXPECT_EQ(v.GetCluster(341), 0xABC);
        v.WriteClusterBuffer();
        const auto bytes = tn::test::LoadBytes(image);
        for (std::size_t fat : {512u, 512u + 4608u}) {
            EXPECT_EQ(bytes[fat + 100], 0x11);
            EXPECT_EQ(bytes[fat + 700], 0x22);
            EXPECT_EQ(bytes[fat + 1100], 0x00);
            EXPECT_EQ(bytes[fat + 511], v.FATBuffer[511]);
            EXPECT_EQ(bytes[fat + 512], 0xAB);
        }
        // Nothing is dirty any more: a second write-back changes nothing.
        v.FATBuffer[100] = 0x44;
        v.WriteClusterBuffer();
        EXPECT_EQ(tn::test::LoadBytes(image)[612], 0x11);

        // An unknown type reads -1 and ignores writes.
        v.FATType = 7;
        EXPECT_EQ(v.GetCluster(341), -1);
        v.SetCluster(341, 5);
        v.FATType = 1;
        EXPECT_EQ(v.GetCluster(341), 0xABC);

        // The lowest free cluster from 2; false leaves the FAT alone; n = 0 allocates.
        EXPECT_EQ(v.GetFreeCluster(false), 2);
        EXPECT_EQ(v.GetFreeCluster(false), 2);
        EXPECT_EQ(v.GetFreeCluster(true), 2);
        EXPECT_EQ(v.GetCluster(2), -1);
        int n = 0;
        EXPECT_EQ(v.ClusterAdresse(n), static_cast<int>(v.ClusterBase + 3 * 512));
        EXPECT_EQ(n, 3);
        v.SetCluster(2, 0);  // freed below the hint: found again
        EXPECT_EQ(v.GetFreeCluster(false), 2);
        // The bound is total sectors / sectors per cluster, past the data area's end.
        int last = 0;
        for (int c; (c = v.GetFreeCluster(true)) != -1;)
            last = c;
        EXPECT_EQ(last, 2879);
        EXPECT_LT(v.DataClusterLimit(), 2880);
        EXPECT_EQ(v.GetFreeCluster(true), -1);
    }
}

TEST(FatVolume, SixteenBitEntriesAreWrittenThroughTheTwelveBitPacking) {
    const auto image = Image("fat16.img", 16384, "-F 16 -S 512 -s 4");
    tn::test::Mounted m(image, true);
    tn::TPVolumeFAT& v = *m.volume;
    EXPECT_EQ(v.FATType, 11);
    // Byte 5 gets the low byte; the 12-bit packing of entry 5 then changes bytes 7 and 8.
    v.SetCluster(5, 0x1234);
    EXPECT_EQ(v.FATBuffer[5], 0x34);
    EXPECT_EQ(v.FATBuffer[7], 0x40);
    EXPECT_EQ(v.FATBuffer[8], 0x23);
    EXPECT_EQ(v.GetCluster(5), 0);  // read as the 16-bit word at byte 10
    EXPECT_EQ(v.GetCluster(2), 0x3400);
    EXPECT_EQ(v.GetCluster(3), 0x4000);
    EXPECT_EQ(v.GetCluster(4), 0x0023);
    v.FATBuffer[12] = 0xFF;
    v.FATBuffer[13] = 0xFF;
    EXPECT_EQ(v.GetCluster(6), 65535);  // zero-extended, not negative
    EXPECT_EQ(v.GetCluster(1 << 30), 0xFFFF);
}

TEST(FatVolume, FatSectorsAreWrittenAtSectorTimes512) {
    const auto image = Image("k1.img", 2048, "-F 12 -S 1024 -s 1");
    tn::test::Mounted m(image, true);
    tn::TPVolumeFAT& v = *m.volume;
    ASSERT_EQ(v.BytesPerSector, 1024);
    const std::size_t fat = v.FATAddress;
    // Entry 700 lies in FAT sector 1 (bytes 1024-2047); its write-back covers bytes 512-1535.
    v.FATBuffer[1030] = 0xAB;
    v.FATBuffer[1600] = 0xCD;
    v.SetCluster(700, 0x5A5);
    v.WriteClusterBuffer();
    const auto bytes = tn::test::LoadBytes(image);
    for (std::size_t copy : {fat, fat + v.FATSize}) {
        EXPECT_EQ(bytes[copy + 1030], 0xAB);
        EXPECT_EQ(bytes[copy + 1050], v.FATBuffer[1050]);
        EXPECT_EQ(bytes[copy + 1600], 0x00);
    }
}

TEST(FatVolume, TypeRuleDisagreementIsReportedAndTheSwitchTypesByDataClusters) {
    TN_REQUIRE_FAT_TOOLS();
    const auto image = Image("eight.img", 8192, "-F 12 -S 512 -s 4");
    ASSERT_TRUE(tn::test::PutTree(image, {"/D"},
                                  {{"/D/long name.bin", Pattern(20000, 3)}, {"/X.TXT", "x"}}));
    tn::test::WarningCapture warnings;
    {
        tn::test::Mounted m(image);
        EXPECT_EQ(m.volume->ClusterCount, 4096);
        EXPECT_EQ(m.volume->FATType, 11);
        ASSERT_EQ(warnings.Texts().size(), 1u);
        EXPECT_NE(warnings.Texts()[0].find("FAT-Typ FAT16"), std::string::npos);
    }
    warnings.Clear();
    tn::FATTypeByDataClusters = true;
    {
        tn::test::Mounted m(image);
        EXPECT_EQ(m.volume->FATType, 1);
        EXPECT_EQ(m.volume->ClusterCount, 4096);
        tn::test::ExpectSameAsMtools(*m.volume, image);
        EXPECT_EQ(warnings.Texts().size(), 1u);  // the rules still disagree
    }
    tn::FATTypeByDataClusters = false;
}

TEST(FatVolume, SearchUpdateCopyAndCompare) {
    TN_REQUIRE_FAT_TOOLS();
    const auto image = Image("files.img", 2048, "-F 12 -S 512 -s 2");
    std::string big = Pattern(1024 * 1024, 5);
    ASSERT_TRUE(tn::test::PutTree(
        image, {"/SUB"},
        {{"/SUB/X.TXT", "in sub"}, {"/ROOT.TXT", "r"}, {"/BIG.BIN", big}, {"/E.TXT", ""}}));
    tn::test::Mounted m(image);
    tn::TPVolumeFAT& v = *m.volume;
    EXPECT_EQ(v.SearchFile("X.TXT"), nullptr);
    ASSERT_NE(v.SearchFile("SUB\\X.TXT"), nullptr);
    v.Current =
        static_cast<tn::TPVerzeichnisInfo*>(v.Root->Search("SUB", tn::TPDirEintrag::kDirectory));
    ASSERT_NE(v.Current, nullptr);
    EXPECT_NE(v.SearchFile("X.TXT"), nullptr);  // relative: from the current directory
    EXPECT_EQ(v.SearchFile("\\X.TXT"), nullptr);
    EXPECT_NE(v.SearchFile("\\ROOT.TXT"), nullptr);
    EXPECT_EQ(v.SearchFile("\\SUB"), nullptr);  // a folder is not a file

    static std::vector<std::string> found;
    static int ends = 0;
    found.clear();
    tn::OnFileFound = [](tn::TPDateiInfo* file) { found.push_back(ToStdString(file->Name)); };
    tn::OnUpdateEnde = [] { ++ends; };
    v.Update();
    tn::OnFileFound = nullptr;
    tn::OnUpdateEnde = nullptr;
    EXPECT_EQ(found, (std::vector<std::string>{"BIG.BIN", "E.TXT", "ROOT.TXT"}));  // medium order
    EXPECT_EQ(ends, 1);

    // A copy ends after 512 KiB, into memory or into a target addressed in 1 MiB windows.
    tn::TPDateiInfo* node = v.SearchFile("\\BIG.BIN");
    std::string copy(0x80000 + 16, '#');
    EXPECT_TRUE(v.FileCopy(node, copy.data(), nullptr));
    EXPECT_TRUE(copy.compare(0, 0x80000, big, 0, 0x80000) == 0);
    EXPECT_EQ(copy.substr(0x80000), std::string(16, '#'));
    Recorder target;
    EXPECT_TRUE(node->FileCopy(0, false) == false);  // no MainMemory
    EXPECT_TRUE(v.FileCopy(node, std::int64_t{0x100010}, &target));
    EXPECT_EQ(target.sectors, (std::vector<int>{0x100000, -1}));
    ASSERT_GE(target.bytes.size(), 0x80010u);
    EXPECT_TRUE(
        std::equal(big.begin(), big.begin() + 0x80000, target.bytes.begin() + 0x10,
                   [](char a, unsigned char b) { return static_cast<unsigned char>(a) == b; }));
    EXPECT_TRUE(node->FileEqual(big.data()));
    std::string other = big.substr(0, 32);
    other[30] ^= 1;
    EXPECT_FALSE(node->FileEqual(other.data()));

    std::unique_ptr<tn::TPStringList> lines(v.VerzeichnisStrings());
    EXPECT_EQ(lines->Count, 6);  // root, SUB, X.TXT, ROOT.TXT, BIG.BIN, E.TXT
}

TEST(FatVolume, AMemoryImageMovesBlocksOfTheVolumesSectorSize) {
    TN_REQUIRE_FAT_TOOLS();
    const auto image = Image("mem.img", 2048, "-F 12 -S 1024 -s 2");
    ASSERT_TRUE(tn::test::PutTree(image, {"/A"}, {{"/A/data.bin", Pattern(5000, 8)}}));
    const tn::TPString savedPath = tn::SpeicherPfad;
    tn::SpeicherPfad = tn::test::ScratchFolder().string().c_str();
    std::filesystem::copy_file(image, tn::test::ScratchFolder() / "vol.DAT");
    {
        tn::TPImageSpeicher memory("vol", 2048 * 1024);
        tn::TPVolumeFAT v(&memory, 'A', 0);
        EXPECT_EQ(memory.BlockSize, 1024);
        tn::test::ExpectSameAsMtools(v, image);
    }
    tn::SpeicherPfad = savedPath;
}

}  // namespace
