// What every command shares: options checked against each action's table, --opt=value and --,
// the overview's order, output that fails loudly when it cannot be written, package warnings
// shown in UTF-8 with what the tool was doing, and reading files whose entries lie.
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "support/FatImages.h"
#include "support/RunTool.h"
#include "support/Scratch.h"

namespace {

namespace fs = std::filesystem;
using tn::test::RunCommand;
using tn::test::RunTool;
using tn::test::Shell;

bool Has(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

std::string Tool() {
    return Shell(TN_TNPKG_PATH);
}

std::string ReadAll(const fs::path& path) {
    const auto bytes = tn::test::LoadBytes(path);
    return std::string(bytes.begin(), bytes.end());
}

void WriteAll(const fs::path& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
}

class ToolFrame : public ::testing::Test {
  protected:
    void SetUp() override {
        if (std::string(TN_TNPKG_PATH).empty()) GTEST_SKIP() << "tnpkg is not built";
        TN_REQUIRE_SHELL();
    }
    std::string Q(const std::string& name) const { return Shell((dir_ / name).string()); }
    // A FAT12 image of 1440 KiB, one 512-byte sector per cluster, holding `files`.
    bool MakeImage(const std::string& name, const std::map<std::string, std::string>& files) {
        if (!tn::test::HaveFatTools()) return false;
        const fs::path image = dir_ / name;
        if (!tn::test::MakeFatImage(image, 1440, "-F 12 -s 1")) return false;
        for (const auto& [path, content] : files) {
            if (!tn::test::PutFile(image, path, content)) return false;
        }
        return true;
    }
    const fs::path dir_ = tn::test::ScratchFolder();
};

TEST_F(ToolFrame, EachActionRefusesTheOptionsItDoesNotTake) {
    WriteAll(dir_ / "f.bin", "123456789");
    const std::string f = Q("f.bin");
    const char* const cases[] = {
        "fat info IMG --to x",
        "fat ls IMG --size 1M",
        "fat ls IMG --size=1M",
        "fat get IMG /A --label X",
        "fat cat IMG /A --quiet",
        "fat put IMG F --size 1M",
        "fat mkdir IMG /A --json",
        "fat format IMG --offset 0",
        "fat ls IMG -x",
        "fat info IMG -l",
        "fat get IMG /A -R",
        "flash info IMG --chip",
        "flash records IMG --sector 1",
        "flash erase IMG --offset 0",
        "flash write IMG F --chip",
        "image create N --offset 0",
        "image info N --size 4",
        "image dump N --force",
        "image load N F --size 1",
        "image save N F --no-journal",
        "crc --json",
        "records F --to x",
        "convert --json",
        "coord 47 11 --mode 1",
        "dist 47 11 48 11 --all",
        "course 47 11 48 11 --mode 2",
        "date --all --now",
        "drives --quiet",
        "partitions F --quiet",
        "mod36 1 --json",
        "igcname 1 1 --json",
        "demo --json",
        "coord --json=yes 47 11",
    };
    for (const char* arguments : cases) {
        const std::string words = arguments;
        const auto r = RunTool(words + " </dev/null", true);
        const std::string command = words.substr(0, words.find(' '));
        const std::size_t dash = words.find(" -") + 1;
        const std::string option = words.substr(dash, words.find_first_of(" =", dash) - dash);
        EXPECT_EQ(r.status, 2) << arguments << "\n" << r.output;
        EXPECT_EQ(r.output.rfind("tnpkg " + command + ": ", 0), 0u) << r.output;
        EXPECT_TRUE(Has(r.output, option)) << option << "\n" << r.output;
        EXPECT_TRUE(Has(r.output, "(see 'tnpkg " + command + " --help')")) << r.output;
    }
    // Missing values and operands, and unknown actions, are usage errors too.
    const std::pair<const char*, const char*> usage[] = {
        {"fat get IMG /A --to", "--to needs a value"},
        {"fat cat IMG", "cat needs IMAGE PATH"},
        {"fat ls", "ls needs IMAGE [PATH]"},
        {"fat", "needs an action: info, ls, get, cat, put, mkdir, rm, mv, label, format"},
        {"fat rm IMG", "rm needs IMAGE PATH..."},
        {"fat mv IMG A", "mv needs IMAGE SOURCE TARGET"},
        {"fat nuke IMG", "unknown action 'nuke'"},
        {"image load N F", "load needs --offset"},
        {"flash write IMG", "write needs IMAGE FILE"},
        {"igcname 1", "needs SERIAL FLIGHT"},
        {"igcname 1 2 3", "unexpected argument: 3"},
        {"drives x", "takes no arguments"},
    };
    for (const auto& [arguments, message] : usage) {
        const auto r = RunTool(std::string(arguments) + " </dev/null", true);
        EXPECT_EQ(r.status, 2) << arguments << "\n" << r.output;
        EXPECT_TRUE(Has(r.output, message)) << arguments << "\n" << r.output;
    }
}

TEST_F(ToolFrame, OptionValuesMayFollowAnEqualsSignAndADoubleDashEndsTheOptions) {
    WriteAll(dir_ / "f.bin", "123456789");
    WriteAll(dir_ / "-dash", "123456789");
    EXPECT_EQ(RunTool("crc --preset=kermit " + Q("f.bin")).output,
              RunTool("crc --preset kermit " + Q("f.bin")).output);
    EXPECT_EQ(RunTool("crc --preset=kermit " + Q("f.bin")).output.substr(0, 8), "0x2189  ");
    EXPECT_EQ(RunTool("crc --width=16 --poly=0x8005 --init=0xFFFF " + Q("f.bin")).output,
              RunTool("crc --width 16 --poly 0x8005 --init 0xFFFF " + Q("f.bin")).output);
    const std::string inDir = "cd " + Shell(dir_.string()) + " && " + Tool();
    EXPECT_EQ(RunCommand(inDir + " crc -- -dash").output, "0x31C3  -dash\n");
    EXPECT_EQ(RunCommand(inDir + " crc -dash 2>/dev/null").status, 2);
    EXPECT_EQ(RunCommand(inDir + " crc -- --json 2>/dev/null").status, 1);  // a file name now
    EXPECT_EQ(RunTool("dist -47.5 11 -- -48.5 11").output,
              RunTool("dist -47.5 11 -48.5 11").output);
    EXPECT_EQ(RunTool("dist -47.5 11 -48.5 11").status, 0);

    if (!MakeImage("a.img", {{"/A.TXT", "hello"}})) GTEST_SKIP() << "no mkfs.fat / mtools";
    EXPECT_EQ(RunTool("fat cat " + Q("a.img") + " --offset=0 -- /A.TXT").output, "hello");
    EXPECT_EQ(RunTool("fat ls --json " + Q("a.img") + " --partition=1").status, 1);  // no table
    // The write actions take --no-journal.
    EXPECT_EQ(RunTool("fat mkdir " + Q("a.img") + " /NEU --no-journal").status, 0);
    EXPECT_EQ(tn::test::Mtools("mdir -i " + Q("a.img") + " ::/NEU").status, 0);
    WriteAll(dir_ / "MEM.DAT", std::string(64, '\xFF'));
    EXPECT_EQ(RunTool("image load MEM " + Q("f.bin") +
                      " --offset=0 --length=9 --dir=" + Shell(dir_.string()) + " --no-journal")
                  .status,
              0);
    EXPECT_EQ(ReadAll(dir_ / "MEM.DAT").substr(0, 9), "123456789");
    WriteAll(dir_ / "chips.bin", std::string(0x20000, '\0'));
    EXPECT_EQ(RunTool("flash erase " + Q("chips.bin") + " --sector=0 --no-journal").status, 0);
    EXPECT_EQ(ReadAll(dir_ / "chips.bin"), std::string(0x20000, '\xFF'));
}

TEST_F(ToolFrame, TheOverviewListsTheCommandsInAFixedOrder) {
    const auto r = RunTool("--help");
    EXPECT_EQ(r.status, 0);
    std::istringstream lines(r.output.substr(r.output.find("commands:\n") + 10));
    std::string line, names;
    while (std::getline(lines, line))
        names += line.substr(2, line.find(' ', 2) - 2) + " ";
    EXPECT_EQ(names,
              "demo igcname mod36 convert date dist course coord image records crc fat flash "
              "drives partitions ");
    EXPECT_EQ(RunTool("help").output, r.output);
    EXPECT_TRUE(Has(RunTool("fat ls --help").output, "usage: tnpkg fat info IMAGE"));
    EXPECT_EQ(RunTool("fat ls -h").status, 0);
}

TEST_F(ToolFrame, OutputThatCannotBeWrittenFailsTheCommand) {
    if (!fs::exists("/dev/full")) GTEST_SKIP() << "no /dev/full";
    WriteAll(dir_ / "f.bin", "123456789");
    const std::string big = tn::test::Pattern(300 * 1024, 7);
    if (!MakeImage("a.img", {{"/A.TXT", "hello"}, {"/BIG.BIN", big}})) {
        GTEST_SKIP() << "no mkfs.fat / mtools";
    }
    const std::string full = "tnpkg: cannot write the output: no space left on device\n";
    for (const std::string& arguments :
         {"crc " + Q("f.bin"), "fat ls " + Q("a.img"), "fat ls --json " + Q("a.img"),
          "fat cat " + Q("a.img") + " /BIG.BIN", "fat get " + Q("a.img") + " /A.TXT --to -",
          std::string("--help"), std::string("coord 47 11 --json")}) {
        const auto r = RunCommand(Tool() + " " + arguments + " 2>&1 >/dev/full");
        EXPECT_EQ(r.status, 1) << arguments;
        EXPECT_EQ(r.output, full) << arguments;
    }
    // A reader that stops early is no error worth a message, whether the tool dies of the
    // signal or, with the signal ignored, sees the closed pipe.
    const std::string cat = Tool() + " fat cat " + Q("a.img") + " /BIG.BIN 2>" + Q("err.txt");
    for (const std::string& prefix : {std::string(""), std::string("trap '' PIPE; ")}) {
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(RunCommand("(" + prefix + cat + ") | head -c 10").output, big.substr(0, 10));
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
        EXPECT_EQ(ReadAll(dir_ / "err.txt"), "") << prefix;
    }
    // And what arrives is whole.
    EXPECT_EQ(RunTool("fat cat " + Q("a.img") + " /BIG.BIN").output, big);
}

TEST_F(ToolFrame, WarningsShowInUtf8AfterWhatTheToolWasDoing) {
    auto r = RunCommand("TN_DRIVES='Tx=/y' " + Tool() + " drives 2>&1");
    EXPECT_EQ(r.status, 1);  // a drive map that cannot be read fails the listing
    EXPECT_TRUE(Has(r.output,
                    "tnpkg drives: while reading the drives: Laufwerkszuordnung "
                    "'Tx=/y' ist ung\xC3\xBCltig!\n"))
        << r.output;
    EXPECT_FALSE(Has(r.output, "ung\xFCltig")) << r.output;

    r = RunTool("coord 4728123X01134567E", true);
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.output.rfind("tnpkg coord: while reading the point: ", 0), 0u) << r.output;

    // The tool types a FAT by its data clusters, as the format does: a volume the package's
    // compatible count would type otherwise mounts without a word.
    if (!tn::test::HaveFatTools()) GTEST_SKIP() << "no mkfs.fat / mtools";
    ASSERT_TRUE(tn::test::MakeFatImage(dir_ / "eight.img", 8192, "-F 12 -s 4"));
    ASSERT_TRUE(tn::test::PutFile(dir_ / "eight.img", "/A.TXT", "x"));
    r = RunTool("fat ls " + Q("eight.img"), true);
    EXPECT_EQ(r.status, 0) << r.output;
    EXPECT_FALSE(Has(r.output, "tnpkg fat: while mounting")) << r.output;
    EXPECT_TRUE(Has(r.output, "A.TXT\n")) << r.output;
}

// The root directory of a FAT12 image made by MakeImage: the directory entry named `shortName`
// ("DATA    BIN") at `entry`; false when there is none.
bool FindEntry(const std::string& image, const std::string& shortName, std::size_t& entry) {
    const auto* b = reinterpret_cast<const unsigned char*>(image.data());
    const std::size_t reserved = b[14] | b[15] << 8, fats = b[16], fatSectors = b[22] | b[23] << 8;
    const std::size_t root = (reserved + fats * fatSectors) * 512;
    for (std::size_t at = root; at + 32 <= root + 32 * (b[17] | b[18] << 8); at += 32) {
        if (image.compare(at, 11, shortName) == 0) {
            entry = at;
            return true;
        }
    }
    return false;
}

void SetFat12(std::string& image, unsigned cluster, unsigned value) {
    const auto* b = reinterpret_cast<const unsigned char*>(image.data());
    const std::size_t reserved = b[14] | b[15] << 8, fatSectors = b[22] | b[23] << 8;
    for (std::size_t fat : {reserved * 512, (reserved + fatSectors) * 512}) {
        const std::size_t at = fat + cluster * 3 / 2;
        auto lo = static_cast<unsigned char>(image[at]),
             hi = static_cast<unsigned char>(image[at + 1]);
        if (cluster % 2 == 0) {
            lo = static_cast<unsigned char>(value);
            hi = static_cast<unsigned char>((hi & 0xF0) | (value >> 8));
        } else {
            lo = static_cast<unsigned char>((lo & 0x0F) | (value << 4));
            hi = static_cast<unsigned char>(value >> 4);
        }
        image[at] = static_cast<char>(lo);
        image[at + 1] = static_cast<char>(hi);
    }
}

TEST_F(ToolFrame, AnEntryThatClaimsMoreThanItsChainHoldsIsReadAsFarAsTheChainGoes) {
    const std::string data = tn::test::Pattern(10000, 3);
    if (!MakeImage("lie.img", {{"/DATA.BIN", data}, {"/LOOP.BIN", data}})) {
        GTEST_SKIP() << "no mkfs.fat / mtools";
    }
    std::string image = ReadAll(dir_ / "lie.img");
    std::size_t lie = 0, loop = 0;
    ASSERT_TRUE(FindEntry(image, "DATA    BIN", lie) && FindEntry(image, "LOOP    BIN", loop));
    for (std::size_t at : {lie, loop})
        image.replace(at + 28, 4, "\xFF\xFF\xFF\x7F");
    // The second file's last cluster leads back to its first.
    const unsigned first = static_cast<unsigned char>(image[loop + 26]) |
                           static_cast<unsigned char>(image[loop + 27]) << 8;
    SetFat12(image, first + 19, first);
    WriteAll(dir_ / "lie.img", image);

    // Far less memory than the claimed 2 GiB, where the tool runs at all under a limit (an
    // address-sanitized build reserves more than that for itself).
    const std::string limited = "ulimit -v 200000 && ";
    const bool limits = RunCommand(limited + Tool() + " --version >/dev/null 2>&1").status == 0;
    const std::string run = (limits ? limited : std::string()) + Tool() + " fat ";
    const std::string missing =
        "tnpkg fat: /DATA.BIN: the cluster chain ends after 10240 of 2147483647 bytes; "
        "2147473407 bytes missing\n";
    const auto start = std::chrono::steady_clock::now();
    // What was read is kept only when asked for; otherwise the clipped file is removed.
    auto r = RunCommand(run + "get " + Q("lie.img") + " /DATA.BIN --to " + Q("gone") + " 2>&1");
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.output.substr(0, missing.size() - 1), missing.substr(0, missing.size() - 1));
    EXPECT_FALSE(fs::exists(dir_ / "gone" / "DATA.BIN"));
    r = RunCommand(run + "get " + Q("lie.img") + " /DATA.BIN --keep-partial --to " + Q("out") +
                   " 2>&1");
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.output.substr(0, missing.size() - 1), missing.substr(0, missing.size() - 1));
    const std::string got = ReadAll(dir_ / "out" / "DATA.BIN");
    EXPECT_EQ(got.size(), 10240u);
    EXPECT_EQ(got.substr(0, data.size()), data);

    r = RunCommand(run + "cat " + Q("lie.img") + " /DATA.BIN 2>" + Q("err.txt"));
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.output, got);
    EXPECT_EQ(ReadAll(dir_ / "err.txt"), missing);

    // A chain that loops ends where the data area would: never more than the volume holds.
    r = RunCommand(run + "cat " + Q("lie.img") + " /LOOP.BIN 2>" + Q("err.txt"));
    EXPECT_EQ(r.status, 1);
    EXPECT_LE(r.output.size(), image.size());
    EXPECT_EQ(r.output.substr(0, data.size()), data);
    EXPECT_TRUE(Has(ReadAll(dir_ / "err.txt"), "/LOOP.BIN: the cluster chain ends after "));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
}

TEST_F(ToolFrame, GetWritesNewFilesAndNeverThroughAnExistingLink) {
    if (!MakeImage("a.img", {{"/A.TXT", "from the image"}})) GTEST_SKIP() << "no mkfs.fat / mtools";
    fs::create_directories(dir_ / "out");
    WriteAll(dir_ / "victim.txt", "keep me");
    std::error_code ec;
    fs::create_hard_link(dir_ / "victim.txt", dir_ / "out" / "A.TXT", ec);
    if (ec) GTEST_SKIP() << "no hard links here: " << ec.message();
    // Without --force an existing file is kept.
    const auto kept = RunTool("fat get " + Q("a.img") + " /A.TXT --to " + Q("out"), true);
    EXPECT_EQ(kept.status, 1) << kept.output;
    EXPECT_TRUE(Has(kept.output, "exists already; not overwritten")) << kept.output;
    EXPECT_EQ(ReadAll(dir_ / "out" / "A.TXT"), "keep me");
    const auto r = RunTool("fat get " + Q("a.img") + " /A.TXT --force --to " + Q("out"), true);
    EXPECT_EQ(r.status, 0) << r.output;
    EXPECT_EQ(ReadAll(dir_ / "out" / "A.TXT"), "from the image");
    EXPECT_EQ(ReadAll(dir_ / "victim.txt"), "keep me");
    EXPECT_EQ(fs::hard_link_count(dir_ / "victim.txt"), 1u);
    // Getting it again with --force replaces the file the first get made.
    EXPECT_EQ(RunTool("fat get " + Q("a.img") + " /A.TXT --to " + Q("out")).status, 1);
    EXPECT_EQ(RunTool("fat get " + Q("a.img") + " /A.TXT --to " + Q("out") + " --force").status, 0);
    EXPECT_EQ(ReadAll(dir_ / "out" / "A.TXT"), "from the image");
}

}  // namespace
