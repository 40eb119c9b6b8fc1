// Writing files and folders: the worked cases of the file layer byte for byte, full volumes,
// and seeded random sessions whose result fsck.fat -n must find clean and mtools must read back
// exactly.
#include <gtest/gtest.h>

#include <tnpackage/tnpackage.h>

#include <map>
#include <random>

#include "storage/fat/FatSession.h"
#include "storage/fat/FatTestSupport.h"
#include "support/GoldenImages.h"
#include "support/Scratch.h"
#include "support/WarningCapture.h"

namespace {

using tn::test::Pattern;

// The long-name checksum as the FAT documentation publishes it.
unsigned char Checksum(const unsigned char* name) {
    unsigned char sum = 0;
    for (int i = 0; i < 11; ++i) {
        sum = static_cast<unsigned char>(((sum & 1) ? 0x80 : 0) + (sum >> 1) + name[i]);
    }
    return sum;
}

unsigned Word(const std::vector<unsigned char>& b, std::size_t at) {
    return b[at] | (b[at + 1] << 8u);
}

// Character i (0-12) of a long-name entry at `at`.
unsigned LfnChar(const std::vector<unsigned char>& b, std::size_t at, int i) {
    static const int offsets[13] = {1, 3, 5, 7, 9, 14, 16, 18, 20, 22, 24, 28, 30};
    return Word(b, at + static_cast<std::size_t>(offsets[i]));
}

TEST(FatWrite, NewEntriesAndTheirLongNamePiecesByteForByte) {
    // An empty 1.44 MB floppy as mkfs.fat -F 12 -S 512 -s 1 made it, committed: no tool needed.
    const auto image = tn::test::GoldenImage(tn::test::kGoldenEmpty.name);
    ASSERT_FALSE(image.empty());
    int shortAt = 0, at13 = 0, at14 = 0, first = 0;
    {
        tn::test::Mounted m(image, true);
        tn::TPVolumeFAT& v = *m.volume;
        tn::TPFile f;
        tn::TPDateiInfo* node = v.CreateFile(&f, "\\NEW.BIN");
        ASSERT_NE(node, nullptr);
        shortAt = node->EntryAddress;
        first = node->FirstCluster;
        EXPECT_EQ(v.GetCluster(first), -1);
        EXPECT_TRUE(node->Name2.IsEmpty());  // a valid upper-case 8.3 name has no long name
        tn::TPFile f13, f14;
        at13 = v.CreateFile(&f13, "\\ABCDEFGHIJKLM")->EntryAddress;
        at14 = v.CreateFile(&f14, "\\ABCDEFGHIJKLMN")->EntryAddress;
        const auto bytes = tn::test::LoadBytes(image);
        const auto s = static_cast<std::size_t>(shortAt);
        EXPECT_EQ(std::string(reinterpret_cast<const char*>(&bytes[s]), 11), "NEW     BIN");
        EXPECT_EQ(bytes[s + 11], 0x21);
        EXPECT_EQ(Word(bytes, s + 26), static_cast<unsigned>(first));
        EXPECT_EQ(Word(bytes, s + 28) | Word(bytes, s + 30), 0u);
        // The FAT on the medium (both copies) marks the first cluster as end of chain.
        for (std::size_t fat : {512u, 512u + 9 * 512u}) {
            const std::size_t k = fat + 3 * static_cast<std::size_t>(first / 2);
            const unsigned value = first % 2 == 0 ? (bytes[k] | ((bytes[k + 1] & 0x0F) << 8))
                                                  : ((bytes[k + 1] >> 4) | (bytes[k + 2] << 4));
            EXPECT_EQ(value, 0xFFFu);
        }
        // Short names take the first six characters and the lowest free "~n".
        EXPECT_EQ(
            std::string(reinterpret_cast<const char*>(&bytes[static_cast<std::size_t>(at13)]), 11),
            "ABCDEF~1   ");
        EXPECT_EQ(
            std::string(reinterpret_cast<const char*>(&bytes[static_cast<std::size_t>(at14)]), 11),
            "ABCDEF~2   ");
        // 13 characters: one piece, sequence 0x41, no terminator.
        const auto p13 = static_cast<std::size_t>(at13) - 32;
        EXPECT_EQ(bytes[p13], 0x41);
        EXPECT_EQ(bytes[p13 + 11], 0x0F);
        EXPECT_EQ(bytes[p13 + 12], 0);
        EXPECT_EQ(bytes[p13 + 13], Checksum(&bytes[static_cast<std::size_t>(at13)]));
        EXPECT_EQ(Word(bytes, p13 + 26), 0u);
        for (int i = 0; i < 13; ++i)
            EXPECT_EQ(LfnChar(bytes, p13, i), 'A' + static_cast<unsigned>(i));
        // 14 characters: 0x01 with characters 1-13 right before the short entry, then 0x42 with
        // character 14, the terminator and eleven 0xFFFF.
        const auto p14a = static_cast<std::size_t>(at14) - 32;
        const auto p14b = static_cast<std::size_t>(at14) - 64;
        EXPECT_EQ(bytes[p14a], 0x01);
        EXPECT_EQ(bytes[p14b], 0x42);
        EXPECT_EQ(bytes[p14a + 13], Checksum(&bytes[static_cast<std::size_t>(at14)]));
        EXPECT_EQ(bytes[p14b + 13], bytes[p14a + 13]);
        for (int i = 0; i < 13; ++i)
            EXPECT_EQ(LfnChar(bytes, p14a, i), 'A' + static_cast<unsigned>(i));
        EXPECT_EQ(LfnChar(bytes, p14b, 0), unsigned{'N'});
        EXPECT_EQ(LfnChar(bytes, p14b, 1), 0u);
        for (int i = 2; i < 13; ++i)
            EXPECT_EQ(LfnChar(bytes, p14b, i), 0xFFFFu);

        // 600 bytes into the new file: its first cluster and, with one sector per cluster, a
        // second one linked behind it; the size is 600 at once.
        std::string data = Pattern(600, 9);
        EXPECT_EQ(v.FileWrite(&f, data.data(), 600, false), 600);
        EXPECT_EQ(node->FileSize, 600);
        const int second = v.GetCluster(first);
        EXPECT_GE(second, 2);
        EXPECT_EQ(v.GetCluster(second), -1);
        // The position does not move on reading; a whole read crosses one sector.
        ASSERT_TRUE(v.SetFilePointer(&f, 0));
        std::string back(2000, '\0');
        EXPECT_EQ(v.FileRead(&f, back.data(), 2000), 600);
        EXPECT_EQ(f.Position, 0);
        EXPECT_EQ(back.substr(0, 600), data);
        EXPECT_FALSE(v.SetFilePointer(&f, 601));
        EXPECT_EQ(f.Position, 0);
        EXPECT_TRUE(v.SetFilePointer(&f, 600));

        // Exactly the rest of a sector takes no new cluster; one byte more does.
        tn::TPFile r;
        tn::TPDateiInfo* rest = v.CreateFile(&r, "\\REST.BIN");
        EXPECT_EQ(v.FileWrite(&r, data.data(), 100, false), 100);
        EXPECT_EQ(v.FileWrite(&r, data.data() + 100, 412, false), 412);
        EXPECT_EQ(v.GetCluster(rest->FirstCluster), -1);
        EXPECT_EQ(v.FileWrite(&r, data.data() + 512, 1, false), 1);
        EXPECT_GE(v.GetCluster(rest->FirstCluster), 2);

        // FileEqual compares the first bytes; FileCopy copies the size rounded up to even.
        EXPECT_TRUE(v.FileEqual(node, data.data()));
        data[31] ^= 1;
        EXPECT_FALSE(v.FileEqual(node, data.data()));
        data[31] ^= 1;
        tn::TPFile t;
        tn::TPDateiInfo* three = v.CreateFile(&t, "\\THREE.BIN");
        v.FileWrite(&t, data.data(), 3, true);
        std::string copy(8, '#');
        EXPECT_TRUE(v.FileCopy(three, copy.data(), nullptr));
        EXPECT_EQ(copy.substr(0, 4), data.substr(0, 3) + '\0');
        EXPECT_EQ(copy[4], '#');
    }
    {
        tn::test::Mounted fresh(image);
        tn::TPDateiInfo* written = fresh.volume->SearchFile("\\NEW.BIN");
        ASSERT_NE(written, nullptr);
        EXPECT_EQ(tn::test::ReadNode(*fresh.volume, written), Pattern(600, 9));
        tn::TPDateiInfo* rest = fresh.volume->SearchFile("\\REST.BIN");
        ASSERT_NE(rest, nullptr);
        EXPECT_EQ(tn::test::ReadNode(*fresh.volume, rest), Pattern(600, 9).substr(0, 513));
        EXPECT_EQ(fresh.volume->Root->Count(), 5);
    }
    if (!tn::test::HaveFatTools()) return;
    EXPECT_EQ(tn::test::FsckProblems(image), "");
    EXPECT_EQ(tn::test::ReadFile(image, "/NEW.BIN"), Pattern(600, 9));
    EXPECT_EQ(tn::test::ReadFile(image, "/REST.BIN"), Pattern(600, 9).substr(0, 513));
    EXPECT_EQ(tn::test::ListTree(image),
              (std::vector<std::string>{"/ABCDEFGHIJKLM", "/ABCDEFGHIJKLMN", "/NEW.BIN",
                                        "/REST.BIN", "/THREE.BIN"}));
}

TEST(FatWrite, FullVolumeAndFullRootLoseNothing) {
    TN_REQUIRE_FAT_TOOLS();
    const auto image = tn::test::ScratchFolder() / "small.img";
    ASSERT_TRUE(tn::test::MakeFatImage(image, 200, "-F 12 -S 512 -s 1 -r 32"));
    ASSERT_TRUE(tn::test::PutTree(image, {}, {{"/KEEP.TXT", Pattern(1500, 1)}}));
    tn::test::WarningCapture warnings;
    int written = 0;
    {
        tn::test::Mounted m(image, true);
        tn::TPVolumeFAT& v = *m.volume;
        tn::TPFile f;
        ASSERT_NE(v.CreateFile(&f, "\\Big file.bin"), nullptr);
        std::string big = Pattern(400 * 1024, 2);
        written = v.FileWrite(&f, big.data(), static_cast<int>(big.size()), true);
        EXPECT_GT(written, 100 * 1024);
        EXPECT_LT(written, 200 * 1024);
        EXPECT_EQ(f.File->FileSize, written);
        EXPECT_EQ(v.GetFreeCluster(false) >= v.DataClusterLimit() || v.GetFreeCluster(false) < 0,
                  true);
        EXPECT_FALSE(warnings.Texts().empty());
    }
    EXPECT_EQ(tn::test::FsckProblems(image), "");
    EXPECT_EQ(tn::test::ReadFile(image, "/KEEP.TXT"), Pattern(1500, 1));
    EXPECT_EQ(tn::test::ReadFile(image, "/Big file.bin"),
              Pattern(400 * 1024, 2).substr(0, static_cast<std::size_t>(written)));

    // A root of 32 entries holds 31 more names after KEEP.TXT and the long one (2 + 1 slots);
    // then it is full and nothing more is written.
    ASSERT_TRUE(tn::test::MakeFatImage(image, 200, "-F 12 -S 512 -s 1 -r 32"));
    {
        tn::test::Mounted m(image, true);
        warnings.Clear();
        for (int i = 0; i < 32; ++i) {
            tn::TPFile f;
            tn::TPDateiInfo* node = m.volume->CreateFile(&f, tn::TPString("\\F") + i);
            EXPECT_EQ(node != nullptr, i < 32) << i;
        }
        tn::TPFile f;
        EXPECT_EQ(m.volume->CreateFile(&f, "\\ONEMORE"), nullptr);
        EXPECT_FALSE(warnings.Texts().empty());
    }
    EXPECT_EQ(tn::test::FsckProblems(image), "");
    EXPECT_EQ(tn::test::ListTree(image).size(), 32u);
}

struct Session {
    const char* options;
    int kib;
    std::uint32_t seed;
};

TEST(FatWrite, SeededSessionsAreCleanAndReadBackByMtools) {
    TN_REQUIRE_FAT_TOOLS();
    const Session sessions[] = {
        {"-F 12 -S 512 -s 1", 1440, 1}, {"-F 12 -S 512 -s 2", 2048, 2},
        {"-F 12 -S 512 -s 4", 4096, 3}, {"-F 12 -S 512 -s 8", 4096, 4},
        {"-F 12 -S 512 -s 1", 720, 5},
    };
    for (const Session& s : sessions) {
        SCOPED_TRACE(std::string(s.options) + " seed " + std::to_string(s.seed));
        const auto image = tn::test::ScratchFolder() / "session.img";
        ASSERT_TRUE(tn::test::MakeFatImage(image, s.kib, s.options));
        tn::test::SessionModel model;
        tn::test::WarningCapture warnings;
        {
            tn::test::Mounted m(image, true);
            const int cs = m.volume->GetClusterSize();
            const tn::test::SessionPlan plan{
                tn::test::kSessionNames,
                tn::test::kSessionFolders,
                {0, 1, 511, 512, 513, cs - 1, cs, cs + 1, 5 * cs + 7, 20 * cs + 300},
                60,
                3};
            ASSERT_NO_FATAL_FAILURE(tn::test::SeededWrites(*m.volume, s.seed, plan, model));
        }
        EXPECT_TRUE(warnings.Texts().empty()) << warnings.Texts().front();
        tn::test::ExpectToolsSeeModel(image, model);
        // A fresh mount reads the same.
        tn::test::Mounted again(image);
        tn::test::ExpectSameAsMtools(*again.volume, image);
    }
}

}  // namespace
