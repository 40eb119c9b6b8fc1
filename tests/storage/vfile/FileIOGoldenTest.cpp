// The V functions on images mkfs.fat and mtools made once (tests/data/fat): every file opened
// by its drive-letter path reads as mcopy read it, seeks land where they should, and files
// written through handles read back through a fresh mount. No tool is needed (Windows too).
#include <gtest/gtest.h>

#include <tnpackage/tnpackage.h>

#include <algorithm>
#include <string>

#include "storage/fat/FatTestSupport.h"
#include "storage/vfile/FileIOTestSupport.h"
#include "support/GoldenImages.h"

namespace tn::test {
namespace {

// "/A/NAME" (UTF-8) as the path the V functions take on drive `letter` (Windows-1252).
std::string DrivePath(char letter, const std::string& path) {
    std::string out = std::string(1, letter) + ":";
    for (char c : Utf8ToWin1252(path))
        out += c == '/' ? '\\' : c;
    return out;
}

TEST_F(VFileTest, GoldenFilesReadWholeAndInPiecesByDriveLetter) {
    char letter = 'C';
    for (const GoldenTree& tree : kGoldenTrees) {
        SCOPED_TRACE(tree.name);
        const auto image = GoldenImage(tree.name);
        ASSERT_FALSE(image.empty());
        // Writable, so that anything reading wrote would show in the bytes compared below.
        Mount(image, letter, true);
        for (const GoldenEntry& e : GoldenListing(tree.name)) {
            if (e.folder) continue;
            SCOPED_TRACE(e.path);
            const std::string path = DrivePath(letter, e.path);
            EXPECT_TRUE(FileExistsV(path.c_str()));
            const int h = FileOpenV(path.c_str(), 0);
            ASSERT_GE(h, 0);
            const std::string whole = ReadAt(h, 0, static_cast<int>(e.size) + 10);
            EXPECT_EQ(FileEntry(e.path, whole), e);
            // Pieces from a few places, across sector bounds, agree with the whole.
            for (const int at : {1, 255, 511, 513, 1000}) {
                if (at >= e.size) break;
                const int count = static_cast<int>(std::min<std::int64_t>(600, e.size - at));
                EXPECT_EQ(ReadAt(h, at, count), whole.substr(static_cast<std::size_t>(at),
                                                             static_cast<std::size_t>(count)))
                    << at;
            }
            FileCloseV(h);
        }
        EXPECT_FALSE(FileExistsV(DrivePath(letter, "/Ordner/gone.txt").c_str()));
        EXPECT_EQ(OpenFileCount(), 0);
        EXPECT_TRUE(LoadBytes(image) == DecodeGolden(tree.name));
        ++letter;
    }
    EXPECT_TRUE(warnings_.Texts().empty()) << warnings_.Texts().front();
}

TEST_F(VFileTest, GoldenImagesTakeFilesWrittenThroughHandles) {
    char letter = 'C';
    for (const GoldenTree& tree : kGoldenTrees) {
        SCOPED_TRACE(tree.name);
        const auto image = GoldenImage(tree.name);
        ASSERT_FALSE(image.empty());
        const FatMode mode(tree.fatBits == 16);  // the default mode writes 16-bit FATs wrong
        Mount(image, letter, true);
        const std::string log = DrivePath(letter,
                                          "/Protokolle/2026/Flug \xC3\xBC"
                                          "ber den Alpen.igc");
        const std::string text = Pattern(1500, 3);  // crosses sector bounds
        EXPECT_TRUE(ForceDirectoriesV(DrivePath(letter, "/Protokolle/2026").c_str()));
        int h = FileCreateV(log.c_str());
        ASSERT_GE(h, 0);
        EXPECT_EQ(FileWriteV(h, const_cast<char*>(text.data()), 1500), 1500);
        EXPECT_EQ(FileAddLineV(h, "end"), 5);
        FileCloseV(h);
        // Overwrite inside an existing file mtools wrote, and append to another.
        h = FileOpenV(DrivePath(letter, "/Thirteen.abc").c_str(), 2);
        ASSERT_GE(h, 0);
        const std::string before = ReadAt(h, 0, 511);
        EXPECT_EQ(FileSeekV(h, 100, 0), 100);
        EXPECT_EQ(FileWriteV(h, const_cast<char*>("OVERWRITTEN"), 11, true), 11);
        FileCloseV(h);
        h = FileOpenV(DrivePath(letter, "/readme.txt").c_str(), 2);
        ASSERT_GE(h, 0);
        EXPECT_EQ(FileSeekV(h, 0, 2), 0);
        EXPECT_EQ(FileAppendV(h, " and more"), 9);
        FileCloseV(h);

        h = FileOpenV(log.c_str(), 0);
        EXPECT_EQ(ReadAt(h, 0, 2000), text + "end\r\n");
        FileCloseV(h);

        // A fresh mount of the saved image sees the same.
        std::string thirteen = before;
        thirteen.replace(100, 11, "OVERWRITTEN");
        Mounted fresh(image);
        TPDateiInfo* readme = fresh.volume->SearchFile("\\readme.txt");
        ASSERT_NE(readme, nullptr);
        EXPECT_EQ(ReadNode(*fresh.volume, readme).substr(21), " and more");
        TPDateiInfo* written = fresh.volume->SearchFile(
            "\\Protokolle\\2026\\Flug \xFC"
            "ber den Alpen.igc");
        ASSERT_NE(written, nullptr);
        EXPECT_EQ(ReadNode(*fresh.volume, written), text + "end\r\n");
        TPDateiInfo* changed = fresh.volume->SearchFile("\\Thirteen.abc");
        ASSERT_NE(changed, nullptr);
        EXPECT_EQ(FileEntry("/Thirteen.abc", ReadNode(*fresh.volume, changed)),
                  FileEntry("/Thirteen.abc", thirteen));
        if (HaveFatTools()) {
            EXPECT_EQ(FsckProblems(image), "");
            EXPECT_EQ(ReadFile(image,
                               "/Protokolle/2026/Flug \xC3\xBC"
                               "ber den Alpen.igc"),
                      text + "end\r\n");
            EXPECT_EQ(ReadFile(image, "/Thirteen.abc"), thirteen);
        }
        ++letter;
    }
    EXPECT_TRUE(warnings_.Texts().empty()) << warnings_.Texts().front();
}

}  // namespace
}  // namespace tn::test
