// Corrupt and hostile images: every case gives Warnings and a usable partial result, never an
// access out of bounds (the sanitizer build watches), an endless loop or unbounded recursion.
#include <gtest/gtest.h>

#include <tnpackage/tnpackage.h>

#include <fstream>
#include <random>

#include "storage/fat/FatTestSupport.h"
#include "support/GoldenImages.h"
#include "support/Scratch.h"
#include "support/WarningCapture.h"

namespace {

using tn::test::Pattern;

void Patch(const std::filesystem::path& file, std::int64_t at, std::vector<unsigned char> bytes) {
    std::fstream io(file, std::ios::in | std::ios::out | std::ios::binary);
    io.seekp(at);
    io.write(reinterpret_cast<const char*>(bytes.data()),
             static_cast<std::streamsize>(bytes.size()));
}

std::filesystem::path Filled(const char* name) {
    const auto image = tn::test::ScratchFolder() / name;
    EXPECT_TRUE(tn::test::MakeFatImage(image, 1440, "-F 12 -S 512 -s 1"));
    EXPECT_TRUE(tn::test::PutTree(image, {"/A/B"},
                                  {{"/A/Long file name.txt", Pattern(2000, 1)},
                                   {"/A/B/C.BIN", Pattern(700, 2)},
                                   {"/ROOT.TXT", "root"}}));
    return image;
}

// Walks the whole tree reading every file; the number of nodes seen.
int Walk(tn::TPVolumeFAT& v, tn::TPVerzeichnisInfo* dir, int depth = 0) {
    int nodes = 0;
    EXPECT_LE(depth, tn::TPVolumeFAT::kMaxDepth + 1);
    for (int i = 0; i < dir->Count(); ++i) {
        tn::TPDirEintrag* e = dir->Eintrag(i);
        ++nodes;
        if (e->Type == tn::TPDirEintrag::kDirectory) {
            nodes += Walk(v, static_cast<tn::TPVerzeichnisInfo*>(e), depth + 1);
        } else if (e->Type == tn::TPDirEintrag::kFile) {
            auto* file = static_cast<tn::TPDateiInfo*>(e);
            if (file->FileSize > 0 && file->FileSize <= 2 * 1024 * 1024)
                tn::test::ReadNode(v, file);
        }
    }
    return nodes;
}

TEST(FatRobustness, ImpossibleBootSectorsGiveAnInertVolume) {
    TN_REQUIRE_FAT_TOOLS();
    struct Case {
        const char* what;
        std::int64_t at;
        std::vector<unsigned char> bytes;
    };
    const Case cases[] = {
        {"bytes per sector 0", 11, {0, 0}},
        {"bytes per sector 1000", 11, {0xE8, 0x03}},
        {"bytes per sector 8192", 11, {0x00, 0x20}},
        {"bytes per sector 256", 11, {0x00, 0x01}},
        {"sectors per cluster 0", 13, {0}},
        {"no FAT", 16, {0}},
        {"FAT larger than the medium", 22, {0x60, 0xEA}},
        {"addresses past 32 bits", 19, {0, 0}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const auto image = Filled("boot.img");
        Patch(image, c.at, c.bytes);
        if (std::string(c.what) == "addresses past 32 bits")
            Patch(image, 32, {0xF0, 0xFF, 0xFF, 0x7F});
        tn::test::WarningCapture warnings;
        tn::test::Mounted m(image, true);
        tn::TPVolumeFAT& v = *m.volume;
        EXPECT_FALSE(v.Valid);
        EXPECT_EQ(v.FATBuffer, nullptr);
        EXPECT_EQ(v.Root, nullptr);
        EXPECT_FALSE(warnings.Texts().empty());
        tn::TPFile f;
        EXPECT_EQ(v.SearchFile("\\ROOT.TXT"), nullptr);
        EXPECT_EQ(v.CreateFile(&f, "\\NEW.TXT"), nullptr);
        EXPECT_EQ(v.ForceDirectories("X"), nullptr);
        EXPECT_EQ(v.FileRead(&f, nullptr, -1), 0);
        EXPECT_EQ(v.GetFreeCluster(true), -1);
        EXPECT_EQ(v.RootList(), nullptr);
    }
    // Not a FAT boot sector at all: no FAT, but the volume is valid and quiet.
    const auto image = Filled("boot.img");
    Patch(image, 0, {0x00});
    tn::test::WarningCapture warnings;
    tn::test::Mounted m(image);
    EXPECT_TRUE(m.volume->Valid);
    EXPECT_EQ(m.volume->FATBuffer, nullptr);
    EXPECT_TRUE(warnings.Texts().empty());
}

TEST(FatRobustness, LoopsCyclesDepthAndBadLongNames) {
    TN_REQUIRE_FAT_TOOLS();
    const auto image = Filled("loops.img");
    int aCluster = 0, bEntry = 0, longEntry = 0, fileEntry = 0, fileCluster = 0;
    {
        tn::test::Mounted m(image);
        auto* a = static_cast<tn::TPVerzeichnisInfo*>(m.volume->Root->Search("A"));
        ASSERT_NE(a, nullptr);
        aCluster = a->FirstCluster;
        bEntry = a->Search("B")->EntryAddress;
        longEntry = a->Search("Long file name.txt")->EntryAddress;
        auto* c = m.volume->SearchFile("\\A\\B\\C.BIN");
        fileEntry = c->EntryAddress;
        fileCluster = c->FirstCluster;
    }
    const auto cluster16 = [](int c) {
        return std::vector<unsigned char>{static_cast<unsigned char>(c),
                                          static_cast<unsigned char>(c >> 8)};
    };
    {
        // B points back at A (a directory inside itself), C's chain loops on itself with a huge
        // size, and the long name's checksum is wrong.
        const auto copy = tn::test::ScratchFolder() / "cycle.img";
        std::filesystem::copy_file(image, copy, std::filesystem::copy_options::overwrite_existing);
        Patch(copy, bEntry + 26, cluster16(aCluster));
        Patch(copy, longEntry - 32 + 13, {0x00});
        Patch(copy, fileEntry + 28, {0xFF, 0xFF, 0xFF, 0x7F});
        tn::test::WarningCapture warnings;
        tn::test::Mounted m(copy, true);
        m.volume->SetCluster(fileCluster, fileCluster);  // in memory only
        EXPECT_GT(Walk(*m.volume, m.volume->Root), 3);
        auto* a = static_cast<tn::TPVerzeichnisInfo*>(m.volume->Root->Search("A"));
        EXPECT_NE(a->Search("LONGFI~1.TXT"), nullptr);  // the short name is used
        EXPECT_FALSE(warnings.Texts().empty());
    }
    {
        // A's chain loops; a long name's pieces are out of order; C starts past the FAT.
        const auto copy = tn::test::ScratchFolder() / "chain.img";
        std::filesystem::copy_file(image, copy, std::filesystem::copy_options::overwrite_existing);
        Patch(copy, longEntry - 64, {0x43});
        Patch(copy, fileEntry + 26, {0xF0, 0x0F});
        tn::test::Mounted probe(copy, true);
        probe.volume->SetCluster(aCluster, aCluster);
        probe.volume->WriteClusterBuffer();
        tn::test::WarningCapture warnings;
        tn::test::Mounted m(copy, true);
        Walk(*m.volume, m.volume->Root);
        auto* a = static_cast<tn::TPVerzeichnisInfo*>(m.volume->Root->Search("A"));
        EXPECT_NE(a->Search("LONGFI~1.TXT"), nullptr);
        tn::TPDateiInfo* c = m.volume->SearchFile("\\A\\B\\C.BIN");
        ASSERT_NE(c, nullptr);
        std::string data(700, '\0');
        tn::TPFile f;
        f.Open(c);
        EXPECT_EQ(m.volume->FileRead(&f, data.data(), -1), 0);
        EXPECT_FALSE(warnings.Texts().empty());
    }
    {
        // A full folder whose chain comes back to its start grows after its last cluster: the
        // walk ends where the chain repeats instead of going round it.
        const auto copy = tn::test::ScratchFolder() / "full-loop.img";
        std::filesystem::copy_file(image, copy, std::filesystem::copy_options::overwrite_existing);
        std::vector<int> chain;
        {
            tn::test::Mounted m(copy, true);
            // ".", "..", B and the long name's three entries, and 26 more: two full clusters.
            for (char c = 'A'; c <= 'Z'; ++c) {
                tn::TPFile f;
                ASSERT_NE(m.volume->CreateFile(&f, (std::string("\\A\\") + c + ".TXT").c_str()),
                          nullptr);
            }
            chain = tn::test::Chain(*m.volume, aCluster);
            ASSERT_EQ(chain.size(), 2u);
            m.volume->SetCluster(chain[1], chain[0]);
            m.volume->WriteClusterBuffer();
        }
        {
            tn::test::WarningCapture warnings;
            tn::test::Mounted m(copy, true);
            tn::TPFile f;
            ASSERT_NE(m.volume->CreateFile(&f, "\\A\\NEW.TXT"), nullptr);
            const std::vector<int> grown = tn::test::Chain(*m.volume, aCluster);
            ASSERT_EQ(grown.size(), 3u);
            EXPECT_EQ(std::vector<int>(grown.begin(), grown.begin() + 2), chain);
            EXPECT_FALSE(warnings.Texts().empty());
        }
        EXPECT_EQ(tn::test::FsckProblems(copy), "");
        const auto tree = tn::test::ListTree(copy);
        EXPECT_EQ(std::count(tree.begin(), tree.end(), "/A/NEW.TXT"), 1);
        EXPECT_EQ(std::count(tree.begin(), tree.end(), "/A/Z.TXT"), 1);
    }
    {
        // A tree deeper than the listing goes.
        const auto copy = tn::test::ScratchFolder() / "deep.img";
        std::filesystem::copy_file(image, copy, std::filesystem::copy_options::overwrite_existing);
        {
            tn::test::Mounted m(copy, true);
            std::string path;
            for (int i = 0; i < tn::TPVolumeFAT::kMaxDepth + 6; ++i)
                path += "\\D";
            ASSERT_NE(m.volume->ForceDirectories(path.c_str()), nullptr);
        }
        EXPECT_EQ(tn::test::FsckProblems(copy), "");
        tn::test::WarningCapture warnings;
        tn::test::Mounted m(copy);
        Walk(*m.volume, m.volume->Root);
        EXPECT_FALSE(warnings.Texts().empty());
    }
}

TEST(FatRobustness, ADataAreaOffTheSectorGridIsNotWritten) {
    TN_REQUIRE_FAT_TOOLS();
    // 225 root entries end the root in the middle of a sector: clusters start off the grid.
    const auto image = Filled("grid.img");
    Patch(image, 17, {225, 0});
    const auto before = tn::test::LoadBytes(image);
    tn::test::WarningCapture warnings;
    {
        tn::test::Mounted m(image, true);
        ASSERT_NE(m.volume->Root, nullptr);
        tn::TPFile f;
        tn::TPDateiInfo* node = m.volume->CreateFile(&f, "\\NEW.BIN");
        ASSERT_NE(node, nullptr);
        std::string data = Pattern(3000, 4);
        EXPECT_EQ(m.volume->FileWrite(&f, data.data(), 3000, true), 0);
        EXPECT_FALSE(warnings.Texts().empty());
    }
    // The end of the root (up to 9728 + 225 x 32 = 16928) shares its sector with cluster 2;
    // it is left as it was.
    const auto after = tn::test::LoadBytes(image);
    EXPECT_TRUE(std::equal(before.begin() + 16384, before.begin() + 16928, after.begin() + 16384));
}

TEST(FatRobustness, RandomCorruptionNeverCrashes) {
    // A committed floppy with long names, nested folders and a hole: no tool needed.
    const auto image = tn::test::GoldenImage("fat12-floppy");
    ASSERT_FALSE(image.empty());
    const auto pristine = tn::test::LoadBytes(image);
    const auto copy = tn::test::ScratchFolder() / "corrupt.img";
    std::mt19937 random(20261123);
    tn::test::WarningCapture warnings;
    for (int round = 0; round < 150; ++round) {
        std::vector<unsigned char> bytes = pristine;
        const int flips = 1 + static_cast<int>(random() % 24);
        for (int i = 0; i < flips; ++i) {
            // Mostly the boot sector, the FATs and the root; sometimes the data area.
            const std::size_t limit = random() % 4 == 0 ? 40000 : 16896;
            bytes[random() % limit] = static_cast<unsigned char>(random());
        }
        {
            std::ofstream out(copy, std::ios::binary | std::ios::trunc);
            out.write(reinterpret_cast<const char*>(bytes.data()),
                      static_cast<std::streamsize>(bytes.size()));
        }
        tn::test::Mounted m(copy, true);
        if (m.volume->Root == nullptr) continue;
        Walk(*m.volume, m.volume->Root);
        tn::TPFile f;
        if (m.volume->CreateFile(&f, "\\Ordner\\new file.bin") != nullptr) {
            std::string data = Pattern(3000, static_cast<std::uint32_t>(round));
            m.volume->FileWrite(&f, data.data(), 3000, true);
        }
    }
}

}  // namespace
