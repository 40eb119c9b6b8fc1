// The V functions on FAT volumes: path spellings, handles, seeking, the open modes and their
// warnings, and a round trip whose saved image mtools reads back.
#include <gtest/gtest.h>

#include <tnpackage/tnpackage.h>

#include <algorithm>
#include <cstring>
#include <string>

#include "storage/vfile/FileIOTestSupport.h"

namespace tn::test {
namespace {

const std::string kFlight = "HFDTE231126\r\nB1200004730000N01130000EA0050000600\r\n";

TEST_F(VFileTest, PathSpellingsNameOneFileAndHandlesRestartWhenAllAreClosed) {
    TN_REQUIRE_FAT_TOOLS();
    const auto image = MakeImage("f.img", {{"/FLIGHTS/X.IGC", kFlight}, {"/TOP.TXT", "top"}});
    Mount(image, 'F', false);

    // Letter and colon with or without the backslash, no letter (drive F), trailing blanks.
    for (const char* path : {"F:\\FLIGHTS\\X.IGC", "F:FLIGHTS\\X.IGC", "FLIGHTS\\X.IGC",
                             "\\FLIGHTS\\X.IGC", "F:\\FLIGHTS\\X.IGC   "}) {
        SCOPED_TRACE(path);
        EXPECT_TRUE(FileExistsV(path));
        const int h = FileOpenV(path, 0);
        ASSERT_EQ(h, 0);
        EXPECT_EQ(ReadAt(h, 0, 100), kFlight);
        FileCloseV(h);
    }
    EXPECT_FALSE(FileExistsV("F:\\FLIGHTS\\Y.IGC"));
    EXPECT_EQ(FileOpenV("F:\\FLIGHTS\\Y.IGC", 0), -1);  // read mode does not create
    EXPECT_EQ(FileOpenV("f:\\TOP.TXT", 0), -1);         // letters are exact
    EXPECT_EQ(FileOpenV("Q:\\TOP.TXT", 2), -1);         // no volume Q
    for (int mode = 4; mode <= 7; ++mode)
        EXPECT_EQ(FileOpenV("F:\\NEW.TXT", mode), -1);  // these modes never create
    EXPECT_EQ(OpenFileCount(), 0);

    // 0, 1, 2; closing 1 leaves its slot empty, the next open gets 3; all closed: 0 again.
    EXPECT_EQ(FileOpenV("F:\\TOP.TXT", 0), 0);
    EXPECT_EQ(FileOpenV("F:\\TOP.TXT", 0), 1);
    EXPECT_EQ(FileOpenV("F:\\FLIGHTS\\X.IGC", 4), 2);
    FileCloseV(1);
    FileCloseV(1);   // already closed
    FileCloseV(-1);  // never valid
    FileCloseV(77);
    EXPECT_EQ(OpenFileCount(), 2);
    EXPECT_EQ(FileOpenV("F:\\TOP.TXT", 0), 3);
    FileCloseV(0);
    FileCloseV(2);
    FileCloseV(3);
    EXPECT_EQ(OpenFileCount(), 0);
    EXPECT_EQ(FileOpenV("F:\\TOP.TXT", 0), 0);
    FileCloseV(0);

    // Handles that were never given are refused without touching anything.
    char byte = 0;
    EXPECT_EQ(FileReadV(5, &byte, 1), 0);
    EXPECT_EQ(FileSeekV(5, 0, 0), -1);
    EXPECT_FALSE(warnings_.Texts().empty());
}

TEST_F(VFileTest, SeekReturnsItsOffsetAndReadingDoesNotAdvance) {
    TN_REQUIRE_FAT_TOOLS();
    const std::string data = Pattern(1300, 7);  // three sectors of one-sector clusters
    const auto image = MakeImage("s.img", {{"/DATA.BIN", data}});
    TPVolumeFAT* volume = Mount(image, 'A', false);

    const int h = FileOpenV("A:\\DATA.BIN", 0);
    ASSERT_GE(h, 0);
    // Opened by path, the record has no current sector yet: a read before the first seek does
    // not deliver the file.
    char early[16] = {};
    const int got = FileReadV(h, early, 16);
    EXPECT_NE(std::string(early, static_cast<std::size_t>(std::max(got, 0))), data.substr(0, 16));

    EXPECT_EQ(FileSeekV(h, 100, 0), 100);
    EXPECT_EQ(FileSeekV(h, 10, 1), 10);  // the offset, not the new position 110
    std::string a(20, '\0'), b(20, '\0');
    EXPECT_EQ(FileReadV(h, a.data(), 20), 20);
    EXPECT_EQ(FileReadV(h, b.data(), 20), 20);  // no seek between: the same bytes again
    EXPECT_EQ(a, data.substr(110, 20));
    EXPECT_EQ(b, a);
    EXPECT_EQ(FileSeekV(h, -30, 2), -30);
    std::string tail(64, '\0');
    EXPECT_EQ(FileReadV(h, tail.data(), 64), 30);
    EXPECT_EQ(tail.substr(0, 30), data.substr(1270));
    EXPECT_EQ(FileSeekV(h, 700, 0), 700);
    std::string across(200, '\0');
    EXPECT_EQ(FileReadV(h, across.data(), 200), 200);
    EXPECT_EQ(across, data.substr(700, 200));

    EXPECT_EQ(FileSeekV(h, 0, 3), -1);     // no such origin
    EXPECT_EQ(FileSeekV(h, -1, 0), -1);    // before the start
    EXPECT_EQ(FileSeekV(h, 1301, 0), -1);  // past the end of a read-only file
    EXPECT_EQ(FileSeekV(h, 1300, 0), 1300);
    EXPECT_EQ(FileReadV(h, tail.data(), 1), 0);  // at the end
    FileCloseV(h);

    // Opened as a node the record starts on the first cluster: no seek needed.
    auto* node = volume->SearchFile("DATA.BIN");
    ASSERT_NE(node, nullptr);
    const int n = FileOpenV(node, 0);
    std::string first(8, '\0');
    EXPECT_EQ(FileReadV(n, first.data(), 8), 8);
    EXPECT_EQ(first, data.substr(0, 8));
    FileCloseV(n);
    EXPECT_EQ(FileOpenV(static_cast<TPDateiInfo*>(nullptr), 0), -1);
    TPDateiInfo detached;
    EXPECT_EQ(FileOpenV(&detached, 0), -1);
}

TEST_F(VFileTest, ReadOnlyAndWriteOnlyRecordsWarnWithTheirName) {
    TN_REQUIRE_FAT_TOOLS();
    const auto image = MakeImage("w.img", {{"/LOG.TXT", "abcdef"}});
    Mount(image, 'A', false);  // nothing reaches the medium in this test
    const int reader = FileOpenV("A:\\LOG.TXT", 0);
    const int writer = FileOpenV("A:\\LOG.TXT", 1);
    ASSERT_GE(reader, 0);
    ASSERT_GE(writer, 0);
    char buffer[8] = {};
    warnings_.Clear();
    EXPECT_EQ(FileReadV(writer, buffer, 6), 0);
    EXPECT_EQ(FileWriteV(reader, buffer, 6, true), 0);
    EXPECT_EQ(FileAppendV(reader, "x"), 0);
    ASSERT_EQ(warnings_.Texts().size(), 3u);
    EXPECT_EQ(warnings_.Texts()[0],
              "Datei 'LOG.TXT' nur zum Schreiben ge\xF6"
              "ffnet!");
    EXPECT_EQ(warnings_.Texts()[1],
              "Datei 'LOG.TXT' nur zum Lesen ge\xF6"
              "ffnet!");
    EXPECT_EQ(warnings_.Texts()[2], warnings_.Texts()[1]);
    EXPECT_EQ(std::string(buffer), "");
}

TEST_F(VFileTest, OnlyMode3TruncatesAnExistingFile) {
    TN_REQUIRE_FAT_TOOLS();
    const auto image = MakeImage("t.img", {{"/KEEP.TXT", "keep me"},
                                           {"/RW.TXT", "read write"},
                                           {"/CUT.TXT", "cut me"},
                                           {"/NODE.TXT", "node"}});
    TPVolumeFAT* volume = Mount(image, 'A', true);
    FileCloseV(FileCreateV("A:\\KEEP.TXT"));
    FileCloseV(FileOpenV("A:\\RW.TXT", 2));
    const int cut = FileOpenV("A:\\CUT.TXT", 3);
    ASSERT_GE(cut, 0);
    EXPECT_EQ(FileSeekV(cut, 0, 2), 0);
    char c = 0;
    EXPECT_EQ(FileReadV(cut, &c, 1), 0);  // size 0 already
    FileCloseV(cut);                      // the entry is saved
    EXPECT_EQ(ReadFile(image, "/KEEP.TXT"), "keep me");
    EXPECT_EQ(ReadFile(image, "/RW.TXT"), "read write");
    EXPECT_EQ(ReadFile(image, "/CUT.TXT"), "");

    // The node form cuts in mode 3 as well; a write that saves its entry is visible at once.
    const int node = FileOpenV(volume->SearchFile("NODE.TXT"), 3);
    ASSERT_GE(node, 0);
    EXPECT_EQ(FileWriteV(node, const_cast<char*>("ab"), 2, true), 2);
    EXPECT_EQ(ReadFile(image, "/NODE.TXT"), "ab");
    FileCloseV(node);
    const int rw = FileOpenV("A:\\RW.TXT", 2);
    EXPECT_EQ(FileSeekV(rw, 4, 0), 4);
    EXPECT_EQ(FileWriteV(rw, const_cast<char*>("-"), 1, false), 1);
    EXPECT_EQ(ReadFile(image, "/RW.TXT"), "read-write");  // data is on the medium already
    FileCloseV(rw);
}

TEST_F(VFileTest, RoundTripThroughASavedImageReadByMtools) {
    TN_REQUIRE_FAT_TOOLS();
    const std::filesystem::path dat = folder_ / "VOL.DAT";
    ASSERT_TRUE(MakeFatImage(dat, 1440, "-F 12"));
    ASSERT_TRUE(PutFile(dat, "/OLD.TXT", "old"));
    SpeicherPfad = folder_.string().c_str();
    const std::string text = Pattern(1500, 3);  // crosses two sector boundaries
    {
        TPImageSpeicher memory("VOL", 1440 * 1024);
        auto* volume = new TPVolumeFAT(&memory, 'A', 0);
        FATList->Add(volume);

        EXPECT_TRUE(ForceDirectoriesV("A:\\LOGS\\2026"));
        EXPECT_FALSE(ForceDirectoriesV("Q:\\LOGS"));
        EXPECT_FALSE(ForceDirectoriesV("LOGS"));
        int h = FileCreateV("A:\\LOGS\\2026\\FLIGHT.TXT");
        ASSERT_GE(h, 0);
        EXPECT_EQ(FileWriteV(h, const_cast<char*>(text.data()), 1500), 1500);
        EXPECT_EQ(FileAddLineV(h, "end"), 5);
        FileCloseV(h);
        EXPECT_TRUE(FileExistsV("A:\\LOGS\\2026\\FLIGHT.TXT"));

        h = FileOpenV("A:\\NOTES.TXT", 3);  // created
        ASSERT_GE(h, 0);
        EXPECT_EQ(FileAppendV(h, "Notiz"), 5);
        EXPECT_EQ(FileAppendV(h, ""), 0);
        FileCloseV(h);

        // Seeking past the end of a writable file fills the gap with 0xFF, also when the old
        // end lies on a sector boundary.
        h = FileOpenV("A:\\PAD.BIN", 2);
        ASSERT_GE(h, 0);
        EXPECT_EQ(FileWriteV(h, const_cast<char*>("0123456789"), 10), 10);
        EXPECT_EQ(FileSeekV(h, 600, 0), 600);
        EXPECT_EQ(FileWriteV(h, const_cast<char*>("Z"), 1, true), 1);
        FileCloseV(h);
        const std::string block = Pattern(512, 9);
        h = FileOpenV("A:\\EDGE.BIN", 2);
        EXPECT_EQ(FileWriteV(h, const_cast<char*>(block.data()), 512), 512);
        EXPECT_EQ(FileSeekV(h, 188, 2), 188);
        FileCloseV(h);

        // The written file reads back through the V functions.
        h = FileOpenV("A:\\LOGS\\2026\\FLIGHT.TXT", 0);
        EXPECT_EQ(ReadAt(h, 0, 2000), text + "end\r\n");
        EXPECT_EQ(ReadAt(h, 1000, 100), text.substr(1000, 100));
        FileCloseV(h);
        memory.Speichern();
    }
    EXPECT_EQ(ReadFile(dat, "/LOGS/2026/FLIGHT.TXT"), text + "end\r\n");
    EXPECT_EQ(ReadFile(dat, "/NOTES.TXT"), "Notiz");
    EXPECT_EQ(ReadFile(dat, "/OLD.TXT"), "old");
    EXPECT_EQ(ReadFile(dat, "/PAD.BIN"), "0123456789" + std::string(590, '\xFF') + "Z");
    EXPECT_EQ(ReadFile(dat, "/EDGE.BIN"), Pattern(512, 9) + std::string(188, '\xFF'));
    EXPECT_EQ(FsckProblems(dat), "");
}

TEST_F(VFileTest, NodesCopyToAndCompareWithDeviceMemory) {
    TN_REQUIRE_FAT_TOOLS();
    const std::string data = Pattern(777, 5);
    const auto image = MakeImage("c.img", {{"/PROG.BIN", data}});
    TPVolumeFAT* volume = Mount(image, 'A', false);
    TPDateiInfo* node = volume->SearchFile("PROG.BIN");
    ASSERT_NE(node, nullptr);

    constexpr std::uint32_t kBase = 0x61230000;
    std::vector<char> ram(4096, '\0');
    ASSERT_TRUE(DeviceAddressSpace::Map(kBase, ram.data(), 4096));
    EXPECT_TRUE(FileCopyV(node, static_cast<int>(kBase + 16)));
    EXPECT_EQ(std::string(ram.data() + 16, 777), data);
    EXPECT_EQ(ram[16 + 778], '\0');  // 778 bytes (the size rounded up to even), no more
    EXPECT_TRUE(FileEqualV(node, static_cast<int>(kBase + 16)));
    ram[16 + 31] ^= 1;
    EXPECT_FALSE(FileEqualV(node, static_cast<int>(kBase + 16)));
    ram[16 + 31] ^= 1;
    ram[16 + 40] ^= 1;  // beyond the 32 bytes compared
    EXPECT_TRUE(FileEqualV(node, static_cast<int>(kBase + 16)));

    // Device addresses outside every window are refused, never used as pointers.
    warnings_.Clear();
    EXPECT_FALSE(FileCopyV(node, static_cast<int>(kBase + 4000)));  // runs past the window
    EXPECT_FALSE(FileEqualV(node, 0x10));
    EXPECT_EQ(warnings_.Texts().size(), 2u);
    EXPECT_FALSE(FileCopyV(nullptr, static_cast<int>(kBase)));
    EXPECT_FALSE(FileCopyV(volume->Root, static_cast<int>(kBase)));  // a folder
    DeviceAddressSpace::Unmap(kBase);
}

}  // namespace
}  // namespace tn::test
