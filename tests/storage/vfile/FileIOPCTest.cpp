// The V functions on the PC's files: the existence test through a mapped letter, copy and move
// by name pattern, delete, appending to PC handles, and the viewer command of WinStart.
#include <gtest/gtest.h>

#include <tnpackage/tnpackage.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "support/Files.h"

#ifndef _WIN32
#include <fcntl.h>
#include <unistd.h>
#endif

#include "storage/vfile/FileIOTestSupport.h"

namespace tn::test {
namespace {

namespace fs = std::filesystem;

void Write(const fs::path& file, const std::string& bytes) {
    fs::create_directories(file.parent_path());
    std::ofstream out(file, std::ios::binary);
    out << bytes;
}

std::string Read(const fs::path& file) {
    return tn::test::LoadText(file);
}

std::set<std::string> Names(const fs::path& folder) {
    std::set<std::string> names;
    for (const auto& e : fs::directory_iterator(folder))
        names.insert(e.path().filename().string());
    return names;
}

// A drive letter given to a folder for one test, and taken back afterwards.
class MappedLetter {
  public:
    MappedLetter(char letter, const fs::path& folder) : letter_(letter) {
        MapDrive(letter, folder.string().c_str());
    }
    ~MappedLetter() { MapDrive(letter_, ""); }

  private:
    char letter_;
};

class VFilePCTest : public VFileTest {};

TEST_F(VFilePCTest, ExistenceFallsBackToTheMappedFolderOfAnUnregisteredLetter) {
    Write(folder_ / "card" / "FLIGHTS" / "X.IGC", "B");
    {
        MappedLetter e('E', folder_ / "card");
        EXPECT_TRUE(FileExistsV("E:\\FLIGHTS\\X.IGC"));
        EXPECT_TRUE(FileExistsV("E:FLIGHTS\\X.IGC  "));
        EXPECT_FALSE(FileExistsV("E:\\FLIGHTS\\Y.IGC"));
        EXPECT_FALSE(FileExistsV("E:\\FLIGHTS"));           // a folder is no file
        EXPECT_EQ(FileOpenV("E:\\FLIGHTS\\X.IGC", 0), -1);  // handles are for FAT volumes only

        // A registered volume of that letter answers instead of the PC.
        if (HaveFatTools()) {
            Mount(MakeImage("e.img", {{"/OTHER.TXT", "o"}}), 'E', false);
            EXPECT_FALSE(FileExistsV("E:\\FLIGHTS\\X.IGC"));
            EXPECT_TRUE(FileExistsV("E:\\OTHER.TXT"));
        }
    }
#ifndef _WIN32
    // Neither registered nor mapped, and no drive letters of the system's own.
    MapDrive('R', "");
    EXPECT_FALSE(FileExistsV("R:\\FLIGHTS\\X.IGC"));
    EXPECT_FALSE(FileDeleteV("R:\\FLIGHTS\\X.IGC"));
#endif
}

TEST_F(VFilePCTest, CopyAndMoveWalkTheNamePattern) {
    const fs::path src = folder_ / "src";
    const fs::path dst = folder_ / "dst";
    Write(src / "A.IGC", "a");
    Write(src / "b.igc", "b");
    Write(src / "C.TXT", "c");
    Write(src / "D1.IGC", "d1");
    Write(src / "D22.IGC", "d22");
    fs::create_directories(src / "SUB.IGC");  // folders never match
    fs::create_directories(dst);
    MappedLetter k('K', folder_);

    EXPECT_TRUE(FileCopyV("K:\\src\\*.IGC", "K:\\dst", false));
    EXPECT_EQ(Names(dst), (std::set<std::string>{"A.IGC", "b.igc", "D1.IGC", "D22.IGC"}));
    EXPECT_EQ(Read(dst / "D22.IGC"), "d22");
    fs::remove_all(dst);
    fs::create_directories(dst);
    EXPECT_TRUE(FileCopyV("K:\\src\\D?.IGC", "K:\\dst\\", false));
    EXPECT_EQ(Names(dst), (std::set<std::string>{"D1.IGC"}));
    EXPECT_TRUE(FileCopyV("K:\\src\\*.*", "K:\\dst", false));
    EXPECT_EQ(Names(dst).size(), 5u);
    EXPECT_FALSE(FileCopyV("K:\\src\\*.XYZ", "K:\\dst", false));  // nothing matches

    // failIfExists keeps an existing target and makes the walk fail.
    Write(dst / "A.IGC", "changed");
    EXPECT_FALSE(FileCopyV("K:\\src\\A.IGC", "K:\\dst", true));
    EXPECT_EQ(Read(dst / "A.IGC"), "changed");
    EXPECT_TRUE(FileCopyV("K:\\src\\A.IGC", "K:\\dst", false));
    EXPECT_EQ(Read(dst / "A.IGC"), "a");
    EXPECT_FALSE(FileCopyV("K:\\src\\A.IGC", "K:\\src", false));  // never onto itself
    EXPECT_EQ(Read(src / "A.IGC"), "a");
    EXPECT_FALSE(FileCopyV("K:\\src\\A.IGC", "K:\\missing", false));

    // One file to another name.
    EXPECT_TRUE(FileCopy("K:\\src\\C.TXT", "K:\\dst\\C2.TXT", true));
    EXPECT_FALSE(FileCopy("K:\\src\\C.TXT", "K:\\dst\\C2.TXT", true));
    EXPECT_EQ(Read(dst / "C2.TXT"), "c");

    // Moving: the sources go, existing targets stay with failIfExists.
    const fs::path moved = folder_ / "moved";
    fs::create_directories(moved);
    Write(moved / "D1.IGC", "old");
    EXPECT_FALSE(FileMoveV("K:\\src\\D*.IGC", "K:\\moved", true));  // D1 exists there
    EXPECT_EQ(Read(moved / "D1.IGC"), "old");
    EXPECT_TRUE(fs::exists(src / "D1.IGC"));
    EXPECT_FALSE(fs::exists(src / "D22.IGC"));
    EXPECT_EQ(Read(moved / "D22.IGC"), "d22");
    EXPECT_TRUE(FileMoveV("K:\\src\\D*.IGC", "K:\\moved", false));
    EXPECT_EQ(Read(moved / "D1.IGC"), "d1");
    EXPECT_FALSE(fs::exists(src / "D1.IGC"));

    // Delete works on the PC only.
    EXPECT_TRUE(FileDeleteV("K:\\moved\\D1.IGC"));
    EXPECT_FALSE(fs::exists(moved / "D1.IGC"));
    EXPECT_FALSE(FileDeleteV("K:\\moved\\D1.IGC"));
}

#ifndef _WIN32
TEST_F(VFilePCTest, AppendAndAddLineWriteToAPCHandle) {
    const fs::path file = folder_ / "log.txt";
    const int fd = ::open(file.c_str(), O_RDWR | O_CREAT | O_TRUNC, 0600);
    ASSERT_GE(fd, 0);
    EXPECT_EQ(FileAppend(fd, "Start"), 5);
    EXPECT_EQ(FileAddLine(fd, " \xE4"), 4);
    EXPECT_EQ(FileAddLine(fd, ""), 2);
    EXPECT_EQ(FileAppend(fd, ""), 0);
    ::close(fd);
    EXPECT_EQ(Read(file), "Start \xE4\r\n\r\n");
    EXPECT_EQ(FileAppend(fd, "x"), -1);  // closed
}
#endif

std::vector<std::pair<std::string, std::string>>& Started() {
    static std::vector<std::pair<std::string, std::string>> started;
    return started;
}

TEST_F(VFilePCTest, WinStartBuildsTheViewerCommandByExtension) {
    EXPECT_EQ(WinStartCommand("C:\\Daten\\Liesmich.TXT"), "Notepad.exe 'C:\\Daten\\Liesmich.TXT'");
    EXPECT_EQ(WinStartCommand("info.htm"),
              "D:\\Programme\\Internet Explorer\\IExplore.exe info.htm");
    EXPECT_EQ(WinStartCommand("a b.HTML"),
              "D:\\Programme\\Internet Explorer\\IExplore.exe a b.HTML");
    EXPECT_EQ(WinStartCommand("flight.igc"), "");
    EXPECT_EQ(WinStartCommand("C:\\my.txt\\README"), "");  // the dot is in a folder's name
    EXPECT_EQ(WinStartCommand(""), "");

    Started().clear();
    OnWinStart = [](TPString command, TPString file) {
        Started().emplace_back(command.IsEmpty() ? "" : command.c_str(), file.c_str());
    };
    WinStart("x.txt");
    WinStart("y.bin");
    OnWinStart = nullptr;
    ASSERT_EQ(Started().size(), 2u);
    EXPECT_EQ(Started()[0],
              std::make_pair(std::string("Notepad.exe 'x.txt'"), std::string("x.txt")));
    EXPECT_EQ(Started()[1].first, "");
}

#if !defined(_WIN32) && !defined(__APPLE__)
// Sets environment variables for one test and restores them afterwards.
class Environment {
  public:
    void Set(const char* name, const std::string& value) {
        const char* old = std::getenv(name);
        saved_.emplace_back(name, old != nullptr ? std::optional<std::string>(old) : std::nullopt);
        ::setenv(name, value.c_str(), 1);
    }
    void Unset(const char* name) {
        const char* old = std::getenv(name);
        saved_.emplace_back(name, old != nullptr ? std::optional<std::string>(old) : std::nullopt);
        ::unsetenv(name);
    }
    ~Environment() {
        for (auto it = saved_.rbegin(); it != saved_.rend(); ++it) {
            if (it->second) {
                ::setenv(it->first.c_str(), it->second->c_str(), 1);
            } else {
                ::unsetenv(it->first.c_str());
            }
        }
    }

  private:
    std::vector<std::pair<std::string, std::optional<std::string>>> saved_;
};

TEST_F(VFilePCTest, WinStartHandsTheFileToTheOpenerAsOneArgument) {
    // A stand-in opener that records its arguments, found through PATH.
    const fs::path bin = folder_ / "bin";
    const fs::path record = folder_ / "opened.txt";
    Write(bin / "xdg-open",
          "#!/bin/sh\nfor a in \"$@\"; do printf '%s|' \"$a\"; done > '" + record.string() + "'\n");
    fs::permissions(bin / "xdg-open", fs::perms::owner_all);
    Environment env;
    env.Set("PATH", bin.string() + ":/usr/bin:/bin");
    env.Set("DISPLAY", ":99");
    env.Unset("TN_NO_DIALOGS");

    const std::string hostile = (folder_ / "a b'$(touch pwned)`id`.txt").string();
    WinStart(hostile.c_str());
    // The opener runs detached; wait for what it wrote.
    for (int i = 0; i < 300 && Read(record) != hostile + "|"; ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    EXPECT_EQ(Read(record), hostile + "|");
    EXPECT_FALSE(fs::exists(folder_ / "pwned"));
    EXPECT_FALSE(fs::exists("pwned"));

    // Nothing is opened for an unknown extension, without a display, or in quiet runs.
    fs::remove(record);
    WinStart((folder_ / "x.igc").string().c_str());
    env.Unset("DISPLAY");
    WinStart((folder_ / "y.txt").string().c_str());
    env.Set("DISPLAY", ":99");
    env.Set("TN_NO_DIALOGS", "1");
    WinStart((folder_ / "z.txt").string().c_str());
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    EXPECT_FALSE(fs::exists(record));
}
#endif

}  // namespace
}  // namespace tn::test
