// Reading FAT12/FAT16 images made by mkfs.fat and filled by mtools: the tree (names, kinds,
// order) and every byte must be what mdir and mcopy report.
#include <gtest/gtest.h>

#include <tnpackage/tnpackage.h>

#include "storage/fat/FatTestSupport.h"
#include "support/Scratch.h"
#include "support/WarningCapture.h"

namespace {

using tn::test::Pattern;

struct Geometry {
    const char* options;
    int kib;
};

// Fills an image with nested folders, long, lower-case and umlaut names, empty files, sizes
// around sector and cluster bounds, and holes left by deleted files.
void Fill(const std::filesystem::path& image, int clusterSize) {
    const auto cs = static_cast<std::size_t>(clusterSize);
    std::map<std::string, std::string> files = {
        {"/readme.txt", "lower-case short name"},
        {"/EMPTY.DAT", ""},
        {"/ONE.BIN", "x"},
        {"/Thirteen.abc", Pattern(511, 1)},   // 13 characters: one long-name piece
        {"/Fourteen.abcd", Pattern(512, 2)},  // 14 characters: two
        {"/Ordner/Größe Übersicht.txt", Pattern(513, 3)},
        {"/Ordner/gone.txt", "deleted"},
        {"/Ordner/cluster.bin", Pattern(cs, 4)},
        {"/Ordner/cluster+1.bin", Pattern(cs + 1, 5)},
        {"/Ordner/Unterordner mit langem Namen/TIEF/many clusters.bin", Pattern(cs * 5 + 17, 6)},
    };
    for (int i = 0; i < 40; ++i) {  // a folder that needs more than one cluster
        files["/LEER/file number " + std::to_string(i) + ".txt"] =
            Pattern(static_cast<std::size_t>(i * 37), static_cast<std::uint32_t>(i));
    }
    ASSERT_TRUE(
        tn::test::PutTree(image, {"/Ordner/Unterordner mit langem Namen/TIEF", "/LEER"}, files));
    ASSERT_TRUE(tn::test::RemoveFile(image, "/Ordner/gone.txt"));
    ASSERT_TRUE(tn::test::PutFile(image, "/Ordner/after delete.txt", Pattern(100, 7)));
}

TEST(FatRead, TreesAndBytesEqualMtoolsOnEveryGeometry) {
    TN_REQUIRE_FAT_TOOLS();
    const Geometry geometries[] = {
        {"-F 12 -S 512 -s 1", 1440},  {"-F 12 -S 512 -s 2", 2048},   {"-F 12 -S 1024 -s 1", 2048},
        {"-F 12 -S 2048 -s 4", 8192}, {"-F 12 -S 512 -s 64", 8192},  {"-F 16 -S 512 -s 4", 16384},
        {"-F 16 -S 512 -s 1", 8192},  {"-F 16 -S 2048 -s 2", 65536},
    };
    for (const Geometry& g : geometries) {
        SCOPED_TRACE(g.options);
        const auto image = tn::test::ScratchFolder() / "read.img";
        ASSERT_TRUE(tn::test::MakeFatImage(image, g.kib, g.options));
        tn::test::WarningCapture warnings;
        int clusterSize = 0;
        {
            tn::test::Mounted probe(image);
            clusterSize = probe.volume->GetClusterSize();
        }
        Fill(image, clusterSize);
        tn::test::Mounted m(image);
        EXPECT_TRUE(m.volume->Valid);
        EXPECT_NE(m.volume->FATBuffer, nullptr);
        EXPECT_EQ(m.volume->FATType, std::string(g.options).find("-F 12") == 0 ? 1 : 11);
        tn::test::ExpectSameAsMtools(*m.volume, image);
        EXPECT_TRUE(tn::test::DirectoriesFirst(m.volume->Root));
        EXPECT_TRUE(warnings.Texts().empty()) << warnings.Texts().front();
        // Names: the long name is listed, the short form is the other name.
        tn::TPDateiInfo* umlaut = m.volume->SearchFile(
            "\\Ordner\\Gr\xF6\xDF"
            "e \xDC"
            "bersicht.txt");
        ASSERT_NE(umlaut, nullptr);
        EXPECT_EQ(ToStdString(umlaut->Name2).substr(0, 4),
                  "GR\xD6\xDF");  // OEM bytes, shown as ANSI
        tn::TPDateiInfo* lower = m.volume->SearchFile("\\readme.txt");
        ASSERT_NE(lower, nullptr);
        EXPECT_TRUE(lower->Name2.IsEmpty());
    }
}

}  // namespace
