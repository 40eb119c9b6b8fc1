// The FAT volume on images mkfs.fat and mtools made once (tests/data/fat): every tree must
// list and read as mdir and mcopy did, and what the package writes must read back through a
// fresh mount. No tool is needed, so these run on Windows too; where fsck.fat and mtools are
// installed they judge the written images as well.
#include <gtest/gtest.h>

#include <tnpackage/tnpackage.h>

#include <algorithm>
#include <string>
#include <vector>

#include "storage/fat/FatTestSupport.h"
#include "support/GoldenImages.h"
#include "support/Scratch.h"
#include "support/WarningCapture.h"

namespace {

using tn::test::GoldenEntry;
using tn::test::GoldenTree;
using tn::test::Pattern;

// The package's tree in the form of a listing: folders and files with size and CRC-32.
std::vector<GoldenEntry> PackageListing(tn::TPVolumeFAT& volume) {
    std::map<std::string, std::string> files;
    std::vector<std::string> paths;
    if (volume.Root != nullptr) tn::test::Collect(volume, volume.Root, "", files, paths);
    std::vector<GoldenEntry> entries;
    for (const std::string& path : paths) {
        if (path.back() == '/') {
            entries.push_back({true, 0, 0, path});
        } else {
            entries.push_back(tn::test::FileEntry(path, files[path]));
        }
    }
    std::sort(entries.begin(), entries.end(),
              [](const GoldenEntry& a, const GoldenEntry& b) { return a.path < b.path; });
    return entries;
}

std::vector<GoldenEntry> Sorted(std::vector<GoldenEntry> entries) {
    std::sort(entries.begin(), entries.end(),
              [](const GoldenEntry& a, const GoldenEntry& b) { return a.path < b.path; });
    return entries;
}

// Replaces or adds the entry of `path`.
void Put(std::vector<GoldenEntry>& entries, const GoldenEntry& entry) {
    const auto it = std::find_if(entries.begin(), entries.end(),
                                 [&](const GoldenEntry& e) { return e.path == entry.path; });
    if (it != entries.end()) {
        *it = entry;
    } else {
        entries.push_back(entry);
    }
}

int FatTypeOf(const GoldenTree& tree) {
    return tree.fatBits == 12 ? 1 : 11;
}

TEST(FatGolden, ListingsAreReadWithTheChecksumZlibUses) {
    EXPECT_EQ(tn::test::Crc32("123456789"), 0xCBF43926u);  // the published check value
    EXPECT_EQ(tn::test::Crc32(""), 0u);
    for (const GoldenTree& tree : tn::test::kGoldenTrees) {
        SCOPED_TRACE(tree.name);
        const auto listing = tn::test::GoldenListing(tree.name);
        EXPECT_EQ(listing.size(), 55u);  // the generator's common tree
        EXPECT_EQ(listing, Sorted(listing));
        EXPECT_FALSE(tn::test::DecodeGolden(tree.name).empty());
    }
    EXPECT_TRUE(tn::test::GoldenListing(tn::test::kGoldenEmpty.name).empty());
    EXPECT_TRUE(tn::test::DecodeGolden("no such image").empty());
}

TEST(FatGolden, EveryTreeListsAndReadsAsMtoolsDid) {
    for (const GoldenTree& tree : tn::test::kGoldenTrees) {
        SCOPED_TRACE(tree.name);
        const auto image = tn::test::GoldenImage(tree.name);
        ASSERT_FALSE(image.empty());
        tn::test::WarningCapture warnings;
        tn::test::Mounted m(image);
        tn::TPVolumeFAT& v = *m.volume;
        EXPECT_TRUE(v.Valid);
        EXPECT_NE(v.FATBuffer, nullptr);
        EXPECT_EQ(v.FATType, FatTypeOf(tree));
        EXPECT_EQ(PackageListing(v), tn::test::GoldenListing(tree.name));
        EXPECT_TRUE(tn::test::DirectoriesFirst(v.Root));
        EXPECT_TRUE(warnings.Texts().empty()) << warnings.Texts().front();
        // The long name is the name; the short form, in OEM bytes shown as ANSI, the other.
        tn::TPDateiInfo* umlaut = v.SearchFile(
            "\\Ordner\\Gr\xF6\xDF"
            "e \xDC"
            "bersicht.txt");
        ASSERT_NE(umlaut, nullptr);
        EXPECT_EQ(tn::ToStdString(umlaut->Name2).substr(0, 4), "GR\xD6\xDF");
        tn::TPDateiInfo* lower = v.SearchFile("\\readme.txt");
        ASSERT_NE(lower, nullptr);
        EXPECT_TRUE(lower->Name2.IsEmpty());
        EXPECT_NE(v.SearchFile("\\Ordner\\Unterordner mit langem Namen\\TIEF\\many clusters.bin"),
                  nullptr);
        EXPECT_EQ(v.SearchFile("\\Ordner\\gone.txt"), nullptr);  // deleted by mdel
        // Where mtools runs, it still reads the committed image as the listing says.
        if (tn::test::HaveFatTools()) tn::test::ExpectSameAsMtools(v, image);
    }
}

TEST(FatGolden, NearLimitFat12IsReadWholeOnlyInTheStandardMode) {
    const GoldenTree& tree = tn::test::kGoldenNearLimit;
    const auto image = tn::test::GoldenImage(tree.name);
    ASSERT_FALSE(image.empty());
    const auto listing = tn::test::GoldenListing(tree.name);
    tn::test::WarningCapture warnings;
    {
        const tn::test::FatMode standard(true);
        tn::test::Mounted m(image);
        tn::TPVolumeFAT& v = *m.volume;
        EXPECT_TRUE(v.IsStandard());
        EXPECT_EQ(v.FATType, 1);
        EXPECT_EQ(v.DataClusters(), 4084);
        EXPECT_EQ(PackageListing(v), listing);
        EXPECT_TRUE(warnings.Texts().empty()) << warnings.Texts().front();
        // The layout the image is meant to have: the tail and a folder's second cluster high.
        EXPECT_EQ(tn::test::Chain(v, v.SearchFile("\\TAIL.BIN")->FirstCluster),
                  (std::vector<int>{0xFF0, 0xFF1}));
        EXPECT_EQ(tn::test::Chain(v, v.Root->Search("F")->FirstCluster),
                  (std::vector<int>{2, 0xFF2}));
    }
    // The default mode keeps its quirk: 0xFF1 reads negative, so the tail stops a cluster
    // early and F's second cluster is not listed.
    const tn::test::FatMode compatible(false);
    tn::FATTypeByDataClusters = true;
    tn::test::Mounted m(image);
    tn::TPVolumeFAT& v = *m.volume;
    EXPECT_FALSE(v.IsStandard());
    EXPECT_EQ(v.GetCluster(0xFF0), 0xFF1 | ~0xF);
    tn::TPDateiInfo* tail = v.SearchFile("\\TAIL.BIN");
    ASSERT_NE(tail, nullptr);
    EXPECT_EQ(tn::test::ReadNode(v, tail).size(), 1024u);
    EXPECT_EQ(tail->FileSize, 1536);
    auto* f = static_cast<tn::TPVerzeichnisInfo*>(v.Root->Search("F"));
    ASSERT_NE(f, nullptr);
    EXPECT_EQ(f->Count(), 30);  // 31 files, the last one in the second cluster
}

// Writes folders and files into a mounted volume and records them in `expected`: a new
// nested folder, an umlaut name, a file of several clusters, one more name in a full folder
// cluster, and an existing file grown by an append.
void WriteSession(tn::TPVolumeFAT& v, std::vector<GoldenEntry>& expected, bool commonTree) {
    const int cs = v.GetClusterSize();
    ASSERT_NE(v.ForceDirectories("\\Neu\\tief unten"), nullptr);
    Put(expected, {true, 0, 0, "/Neu/"});
    Put(expected, {true, 0, 0, "/Neu/tief unten/"});
    struct NewFile {
        const char* path;  // Windows-1252
        std::size_t size;
    };
    const NewFile files[] = {
        {"\\Neu\\tief unten\\\xC4pfel und Birnen.txt", static_cast<std::size_t>(3 * cs + 5)},
        {"\\Neu\\EMPTY.TXT", 0},
        {"\\NEW.BIN", 600},
        {commonTree ? "\\LEER\\file number 40.txt" : "\\F\\Neue lange Datei.txt", 300},
    };
    std::uint32_t seed = 20;
    for (const NewFile& nf : files) {
        SCOPED_TRACE(nf.path);
        tn::TPFile f;
        ASSERT_NE(v.CreateFile(&f, nf.path), nullptr);
        std::string data = Pattern(nf.size, ++seed);
        const int half = static_cast<int>(nf.size / 2);
        int done = v.FileWrite(&f, data.data(), half, false);
        done += v.FileWrite(&f, data.data() + half, static_cast<int>(nf.size) - half, true);
        EXPECT_EQ(done, static_cast<int>(nf.size));
        std::string key;
        for (char c : std::string(nf.path))
            key += c == '\\' ? '/' : c;
        Put(expected, tn::test::FileEntry(tn::Win1252ToUtf8(key), data));
    }
    if (!commonTree) return;
    // Append to a file mtools wrote: its bytes as read, then the new ones behind them.
    tn::TPDateiInfo* old = v.SearchFile("\\Ordner\\after delete.txt");
    ASSERT_NE(old, nullptr);
    std::string content = tn::test::ReadNode(v, old);
    ASSERT_EQ(tn::test::FileEntry("/Ordner/after delete.txt", content),
              *std::find_if(expected.begin(), expected.end(), [](const GoldenEntry& e) {
                  return e.path == "/Ordner/after delete.txt";
              }));
    tn::TPFile f;
    f.Open(old);
    ASSERT_TRUE(v.SetFilePointer(&f, static_cast<int>(content.size())));
    std::string more = Pattern(static_cast<std::size_t>(cs), 99);
    EXPECT_EQ(v.FileWrite(&f, more.data(), cs, true), cs);
    Put(expected, tn::test::FileEntry("/Ordner/after delete.txt", content + more));
}

TEST(FatGolden, WritesReadBackThroughAFreshMountOnEveryImage) {
    std::vector<GoldenTree> trees(std::begin(tn::test::kGoldenTrees),
                                  std::end(tn::test::kGoldenTrees));
    trees.push_back(tn::test::kGoldenNearLimit);
    trees.push_back(tn::test::kGoldenEmpty);
    for (const GoldenTree& tree : trees) {
        SCOPED_TRACE(tree.name);
        const auto image = tn::test::GoldenImage(tree.name);
        ASSERT_FALSE(image.empty());
        const bool commonTree =
            !tree.nearLimit && std::string(tree.name) != tn::test::kGoldenEmpty.name;
        // The default mode packs 16-bit entries as 12-bit ones, and stops short of the high
        // clusters of a near-limit FAT12: both are written only in the standard mode.
        const tn::test::FatMode mode(tree.nearLimit || tree.fatBits == 16);
        std::vector<GoldenEntry> expected = tn::test::GoldenListing(tree.name);
        tn::test::WarningCapture warnings;
        {
            tn::test::Mounted m(image, true);
            ASSERT_TRUE(m.volume->Valid);
            if (!commonTree && !tree.nearLimit) {
                ASSERT_NE(m.volume->ForceDirectories("\\F"), nullptr);
                Put(expected, {true, 0, 0, "/F/"});
            }
            WriteSession(*m.volume, expected, commonTree);
        }
        EXPECT_TRUE(warnings.Texts().empty()) << warnings.Texts().front();
        tn::test::Mounted again(image);
        EXPECT_EQ(PackageListing(*again.volume), Sorted(expected));
        if (tn::test::HaveFatTools()) {
            EXPECT_EQ(tn::test::FsckProblems(image), "");
            tn::test::ExpectSameAsMtools(*again.volume, image);
        }
    }
}

}  // namespace
