// `tnpkg fat` against the reference tools: images made by mkfs.fat and filled by mtools read
// back as mdir lists them and mcopy extracts them; what tnpkg writes passes fsck.fat -n and
// reads back through mcopy; what it cannot write it refuses without touching the image.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <random>
#include <set>
#include <sstream>

#include "support/FatImages.h"
#include "support/RunTool.h"
#include "support/Scratch.h"

namespace {

namespace fs = std::filesystem;
using tn::test::Mtools;
using tn::test::Shell;

std::string Q(const fs::path& p) {
    return Shell(p.string());
}

tn::test::ToolResult Fat(const std::string& arguments) {
    return tn::test::RunTool("fat " + arguments, true);
}

std::string ReadAll(const fs::path& path) {
    const auto bytes = tn::test::LoadBytes(path);
    return std::string(bytes.begin(), bytes.end());
}

void WriteAll(const fs::path& path, const std::string& bytes) {
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << bytes;
}

// Every file and folder below `root` by relative path (folders end in "/"), with contents.
std::map<std::string, std::string> Tree(const fs::path& root) {
    std::map<std::string, std::string> tree;
    if (!fs::exists(root)) return tree;
    for (const auto& e : fs::recursive_directory_iterator(root)) {
        const std::string rel = fs::relative(e.path(), root).generic_string();
        tree[e.is_directory() ? rel + "/" : rel] = e.is_directory() ? "" : ReadAll(e.path());
    }
    return tree;
}

// What cards hold and what trips readers up: long names, umlauts, blanks, nesting, an empty
// file, a file of exactly one cluster, files over many clusters, an empty folder.
void MakeSampleFolder(const fs::path& root, std::size_t clusterBytes) {
    WriteAll(root / "readme.txt", "Hallo Welt\n");
    WriteAll(root / "EMPTY.DAT", "");
    WriteAll(root / "ONE.BIN", tn::test::Pattern(clusterBytes, 1));
    WriteAll(root / "Flugbuch mit langem Namen.igc", tn::test::Pattern(3 * clusterBytes + 17, 2));
    WriteAll(root /
                 "Gr\xC3\xBC\xC3\x9F"
                 "e aus M\xC3\xBCnchen.txt",
             "\xFC\n");
    WriteAll(root / "LOGS" / "2024" / "Juli" / "4B7G1234.IGC", tn::test::Pattern(5000, 3));
    WriteAll(root / "LOGS" / "2024" / "Juli" / "small.txt", "x");
    WriteAll(root / "LOGS" / "\xC3\x84nderungen" / "A.TXT", tn::test::Pattern(513, 4));
    WriteAll(root / "Sub Dir" / "deeper" / "still deeper" / "bottom.dat",
             tn::test::Pattern(1024, 5));
    fs::create_directories(root / "Leerer Ordner");
}

// The paths of `tnpkg fat ls -R` ("/" first, folders ending in "/") with the sizes it lists.
std::map<std::string, long long> ListedByTool(const std::string& image,
                                              const std::string& options = "") {
    const auto r = tn::test::RunTool("fat ls -R " + image + " " + options);
    std::map<std::string, long long> listed;
    std::istringstream lines(r.output);
    std::string line;
    while (std::getline(lines, line)) {
        if (line.size() < 31) continue;
        const std::string size = line.substr(0, 10);
        const bool folder = size.find("<DIR>") != std::string::npos;
        listed["/" + line.substr(30) + (folder ? "/" : "")] = folder ? -1 : std::stoll(size);
    }
    return listed;
}

bool HaveSfdisk() {
    return tn::test::RunCommand("command -v sfdisk >/dev/null 2>&1").status == 0;
}

class FatCommandTest : public ::testing::Test {
  protected:
    void SetUp() override {
        if (std::string(TN_TNPKG_PATH).empty()) GTEST_SKIP() << "tnpkg is not built";
        TN_REQUIRE_FAT_TOOLS();
    }
    fs::path Path(const std::string& name) const { return dir_ / name; }
    const fs::path dir_ = tn::test::ScratchFolder();
};

TEST_F(FatCommandTest, ReadsWhatMtoolsWroteAsMdirListsItAndMcopyExtractsIt) {
    struct Layout {
        const char* options;
        int kib;
        long long offset;  // of the volume inside a partitioned card image
    };
    const Layout layouts[] = {
        {"-F 12", 1024, 0},      {"-F 12 -s 1", 2048, 0},          {"-F 12 -S 1024 -s 1", 2048, 0},
        {"-F 16 -s 2", 8192, 0}, {"-F 16 -s 1 -S 2048", 16384, 0}, {"-F 12 -s 8", 4096, 1048576},
    };
    const fs::path sample = Path("sample");
    MakeSampleFolder(sample, 4096);
    for (const auto& l : layouts) {
        SCOPED_TRACE(std::string(l.options) + " @" + std::to_string(l.offset));
        const fs::path image = Path("card.img");
        fs::remove(image);
        std::string mtoolsImage = Q(image);
        if (l.offset != 0) {
            if (!HaveSfdisk()) continue;
            const long long sectors = l.offset / 512;
            ASSERT_EQ(tn::test::RunCommand("truncate -s " +
                                           std::to_string(l.offset + l.kib * 1024) + " " + Q(image))
                          .status,
                      0);
            ASSERT_EQ(
                tn::test::RunCommand("printf 'label: dos\\nstart=" + std::to_string(sectors) +
                                     ", type=1\\n' | sfdisk -q " + Q(image) + " >/dev/null 2>&1")
                    .status,
                0);
            ASSERT_EQ(tn::test::RunCommand("mkfs.fat --offset " + std::to_string(sectors) + " " +
                                           l.options + " " + Q(image) + " " +
                                           std::to_string(l.kib) + " >/dev/null 2>&1")
                          .status,
                      0);
            mtoolsImage = Shell(image.string() + "@@" + std::to_string(l.offset));
        } else {
            ASSERT_TRUE(tn::test::MakeFatImage(image, l.kib, l.options));
        }
        ASSERT_EQ(Mtools("mcopy -s -i " + mtoolsImage + " " + Q(sample) + "/* ::/").status, 0);
        ASSERT_EQ(
            Mtools("mcopy -i " + mtoolsImage + " " + Q(sample / "readme.txt") + " ::/deleted.txt")
                .status,
            0);
        ASSERT_EQ(Mtools("mdel -i " + mtoolsImage + " ::/deleted.txt").status, 0);

        // Names: exactly what mdir lists. Sizes: those of the files mcopy extracts.
        const fs::path reference = Path("mcopy");
        fs::remove_all(reference);
        fs::create_directories(reference);
        ASSERT_EQ(Mtools("mcopy -s -n -i " + mtoolsImage + " '::/*' " + Q(reference)).status, 0);
        std::vector<std::string> mdir;
        const auto out = Mtools("mdir -/ -b -i " + mtoolsImage + " ::").output;
        std::istringstream lines(out);
        for (std::string line; std::getline(lines, line);) {
            if (line.rfind("::", 0) == 0) mdir.push_back(line.substr(2));
        }
        std::sort(mdir.begin(), mdir.end());
        const auto listed = ListedByTool(Q(image));
        std::vector<std::string> names;
        for (const auto& [path, size] : listed) {
            names.push_back(path);
            if (size >= 0) {
                EXPECT_EQ(size, fs::file_size(reference / path.substr(1))) << path;
            }
        }
        EXPECT_EQ(names, mdir);

        // Extraction: byte for byte what mcopy -s gives, whole volume and a single folder.
        const fs::path ours = Path("ours");
        fs::remove_all(ours);
        ASSERT_EQ(Fat("get " + Q(image) + " / --to " + Q(ours)).status, 0);
        EXPECT_EQ(Tree(ours), Tree(reference));
        fs::remove_all(ours);
        ASSERT_EQ(
            Fat("get " + Q(image) + " logs/2024 'flugbuch mit langem namen.igc' --to " + Q(ours))
                .status,
            0);
        EXPECT_EQ(Tree(ours / "2024"), Tree(reference / "LOGS" / "2024"));
        EXPECT_EQ(ReadAll(ours / "Flugbuch mit langem Namen.igc"),
                  ReadAll(sample / "Flugbuch mit langem Namen.igc"));
        EXPECT_EQ(tn::test::RunTool("fat cat " + Q(image) +
                                    " '/Sub Dir/deeper/still deeper/"
                                    "bottom.dat'")
                      .output,
                  ReadAll(sample / "Sub Dir" / "deeper" / "still deeper" / "bottom.dat"));

        // Geometry and free space as fsck.fat counts them ("N files, used/total clusters").
        const auto fsck = tn::test::RunCommand("fsck.fat -n " + Q(image) + " 2>&1").output;
        const auto info = tn::test::RunTool("fat info --json " + Q(image));
        if (l.offset == 0) {
            const auto slash = fsck.rfind('/');
            const auto comma = fsck.rfind(", ", slash);
            ASSERT_NE(slash, std::string::npos) << fsck;
            const long long used = std::stoll(fsck.substr(comma + 2));
            const long long total = std::stoll(fsck.substr(slash + 1));
            EXPECT_NE(info.output.find("\"dataClusters\":" + std::to_string(total) + ","),
                      std::string::npos)
                << info.output << fsck;
            EXPECT_NE(info.output.find("\"freeClusters\":" + std::to_string(total - used) + ","),
                      std::string::npos)
                << info.output << fsck;
        }
        EXPECT_EQ(tn::test::RunCommand("'" TN_TNPKG_PATH "' fat info --json " + Q(image) +
                                       " | python3 -c 'import json,sys; json.load(sys.stdin)'")
                      .status,
                  0);
    }
}

TEST_F(FatCommandTest, VolumesAreFoundInCardImagesAndBadImagesFailClearly) {
    if (!HaveSfdisk()) GTEST_SKIP() << "sfdisk is not installed";
    // Partition 1 is Linux, partition 2 a FAT16 volume, partition 3 FAT32.
    const fs::path card = Path("card.img");
    ASSERT_EQ(tn::test::RunCommand("truncate -s 40M " + Q(card)).status, 0);
    ASSERT_EQ(tn::test::RunCommand("printf 'label: dos\\nstart=2048, size=4096, type=83\\n"
                                   "start=8192, size=40960, type=6\\nstart=49152, type=c\\n' | "
                                   "sfdisk -q " +
                                   Q(card) + " >/dev/null 2>&1")
                  .status,
              0);
    ASSERT_EQ(tn::test::RunCommand("mkfs.fat --offset 8192 -F 16 -s 1 " + Q(card) +
                                   " 20480 >/dev/null 2>&1")
                  .status,
              0);
    const std::string part2 = Shell(card.string() + "@@" + std::to_string(8192 * 512));
    WriteAll(Path("x.txt"), "zweite Partition");
    ASSERT_EQ(Mtools("mcopy -i " + part2 + " " + Q(Path("x.txt")) + " ::/X.TXT").status, 0);

    EXPECT_EQ(Fat("cat " + Q(card) + " X.TXT").output, "zweite Partition");
    EXPECT_EQ(Fat("cat " + Q(card) + " X.TXT --partition 2").output, "zweite Partition");
    EXPECT_EQ(Fat("cat " + Q(card) + " X.TXT --offset 4194304").output, "zweite Partition");
    const auto info = Fat("info " + Q(card));
    EXPECT_NE(info.output.find("partition 2 (FAT16) at byte 4194304"), std::string::npos)
        << info.output;
    const auto linux = Fat("ls " + Q(card) + " --partition 1");
    EXPECT_EQ(linux.status, 1);
    EXPECT_NE(linux.output.find("no FAT boot sector at partition 1 (Linux)"), std::string::npos)
        << linux.output;
    const auto fat32 = Fat("ls " + Q(card) + " --partition 3");
    EXPECT_EQ(fat32.status, 1);
    EXPECT_NE(fat32.output.find("FAT32"), std::string::npos) << fat32.output;
    EXPECT_EQ(Fat("ls " + Q(card) + " --partition 4").status, 1);
    EXPECT_EQ(Fat("ls " + Q(card) + " --partition 5").status, 2);
    EXPECT_EQ(Fat("ls " + Q(card) + " --partition 2 --offset 0").status, 2);

    WriteAll(Path("text.txt"), std::string(4096, 'a'));
    const auto text = Fat("ls " + Q(Path("text.txt")));
    EXPECT_EQ(text.status, 1);
    EXPECT_NE(text.output.find("is not a FAT image"), std::string::npos) << text.output;
    WriteAll(Path("tiny.img"), "x");
    EXPECT_EQ(Fat("info " + Q(Path("tiny.img"))).status, 1);
    EXPECT_EQ(Fat("info " + Q(Path("missing.img"))).status, 1);
    const auto nofile = Fat("cat " + Q(card) + " NOPE.TXT");
    EXPECT_EQ(nofile.status, 1);
    EXPECT_NE(nofile.output.find("no /NOPE.TXT in the image"), std::string::npos);
}

TEST_F(FatCommandTest, TheDataClusterTypingReadsAFat12ThatCountsAsFat16OverTheWholeVolume) {
    // 16384 sectors / 4 = 4096 clusters over the whole volume (FAT16 by that count), but only
    // 4081 data clusters: a FAT12, as mkfs.fat made it.
    const fs::path image = Path("eight.img");
    ASSERT_TRUE(tn::test::MakeFatImage(image, 8192, "-F 12 -s 4"));
    const fs::path sample = Path("sample");
    MakeSampleFolder(sample, 2048);
    ASSERT_EQ(Mtools("mcopy -s -i " + Q(image) + " " + Q(sample) + "/* ::/").status, 0);
    const auto info = Fat("info " + Q(image));
    EXPECT_NE(info.output.find("type:                FAT12\n"), std::string::npos) << info.output;
    EXPECT_NE(info.output.find("typed by its 4081 data clusters"), std::string::npos);
    EXPECT_NE(info.output.find("gives FAT16"), std::string::npos);
    const fs::path reference = Path("mcopy"), ours = Path("ours");
    fs::create_directories(reference);
    ASSERT_EQ(Mtools("mcopy -s -n -i " + Q(image) + " '::/*' " + Q(reference)).status, 0);
    ASSERT_EQ(Fat("get " + Q(image) + " / --to " + Q(ours)).status, 0);
    EXPECT_EQ(Tree(ours), Tree(reference));
    EXPECT_EQ(Tree(ours).size(), Tree(sample).size());
}

std::string BootSector(const fs::path& image) {
    std::ifstream in(image, std::ios::binary);
    std::string boot(512, '\0');
    in.read(boot.data(), 512);
    return boot;
}

// The fields mkfs.fat decides: geometry, media, type text.
std::string BootFields(const fs::path& image) {
    const std::string boot = BootSector(image);
    return boot.substr(11, 25) + boot.substr(54, 8) + boot.substr(510, 2);
}

TEST_F(FatCommandTest, FormatLaysOutVolumesAsMkfsFatDoesAndTheyPassFsck) {
    std::mt19937 random(20241123);
    std::vector<long long> kib = {64, 100, 1000, 2049, 4096, 4100, 4200, 8000, 9000, 20000, 33000};
    for (int i = 0; i < 4; ++i)
        kib.push_back(std::uniform_int_distribution<long long>(64, 40000)(random));
    for (const long long k : kib) {
        SCOPED_TRACE(k);
        const fs::path ours = Path("ours.img"), theirs = Path("theirs.img");
        fs::remove(ours);
        const auto made =
            Fat("format " + Q(ours) + " --size " + std::to_string(k) + "K --label 'Card 1'");
        ASSERT_EQ(made.status, 0) << made.output;
        EXPECT_EQ(fs::file_size(ours), static_cast<std::uintmax_t>(k * 1024));
        EXPECT_EQ(tn::test::FsckProblems(ours), "");
        ASSERT_TRUE(tn::test::MakeFatImage(theirs, static_cast<int>(k), ""));
        EXPECT_EQ(BootFields(ours), BootFields(theirs));
        EXPECT_NE(Mtools("mdir -i " + Q(ours) + " ::/").output.find("Volume in drive : is CARD 1"),
                  std::string::npos);
    }
    // Where counting all sectors would type the FAT differently than its data clusters do,
    // the next cluster size is taken, as mkfs.fat lays it out when asked for it.
    for (const long long k : {8180, 8192, 131072}) {
        SCOPED_TRACE(k);
        const fs::path ours = Path("ours.img"), theirs = Path("theirs.img");
        ASSERT_EQ(Fat("format " + Q(ours) + " --force --size " + std::to_string(k * 1024)).status,
                  0);
        const int spc = static_cast<unsigned char>(BootSector(ours)[13]);
        ASSERT_TRUE(
            tn::test::MakeFatImage(theirs, static_cast<int>(k), "-s " + std::to_string(spc)));
        EXPECT_EQ(BootFields(ours), BootFields(theirs));
        EXPECT_EQ(tn::test::FsckProblems(ours), "");
        const auto info = Fat("info " + Q(ours));
        EXPECT_EQ(info.output.find("typed by its"), std::string::npos) << info.output;
    }
    EXPECT_EQ(Fat("format " + Q(Path("ours.img")) + " --size 1M").status, 1);  // exists
    EXPECT_EQ(Fat("format " + Q(Path("small.img")) + " --size 32K").status, 1);
    EXPECT_EQ(Fat("format " + Q(Path("l.img")) + " --size 1M --label 'TWELVE CHARS'").status, 2);
    EXPECT_EQ(Fat("format " + Q(Path("l.img")) + " --size 1M --label 'A/B'").status, 2);
    EXPECT_FALSE(fs::exists(Path("small.img")));
}

TEST_F(FatCommandTest, PutAndMkdirWriteWhatFsckAcceptsAndMcopyReadsBack) {
    const fs::path sample = Path("sample");
    MakeSampleFolder(sample, 2048);
    WriteAll(Path("more") / "Zusatz.txt", "mehr");
    // Our own format (FAT12, and FAT16 from 9 MiB on), and mkfs.fat's FAT12 and FAT16 with
    // 512-, 1024- and 2048-byte sectors.
    struct Volume {
        const char* format;  // tnpkg format --size, or null
        const char* mkfs;
        int kib;
    };
    const Volume volumes[] = {{"2M", "", 0},
                              {"16M", "", 0},
                              {nullptr, "-F 12 -s 1", 1440},
                              {nullptr, "-F 16 -s 2", 16384},
                              {nullptr, "-F 16 -S 1024 -s 1", 8192},
                              {nullptr, "-F 12 -S 2048 -s 1", 4096}};
    for (const Volume& v : volumes) {
        const bool ownFormat = v.format != nullptr;
        SCOPED_TRACE(ownFormat ? v.format : v.mkfs);
        const fs::path image = Path("put.img");
        fs::remove(image);
        if (ownFormat) {
            ASSERT_EQ(Fat("format " + Q(image) + " --size " + v.format).status, 0);
        } else {
            ASSERT_TRUE(tn::test::MakeFatImage(image, v.kib, v.mkfs));
            ASSERT_TRUE(tn::test::PutFile(image, "/VORHER.TXT", "schon da"));
        }
        const auto put = Fat("put " + Q(image) + " " + Q(sample) + " " +
                             Q(Path("more") / "Zusatz.txt") + " --to /Ziel/Ordner --quiet");
        ASSERT_EQ(put.status, 0) << put.output;
        ASSERT_EQ(Fat("mkdir " + Q(image) + " '/Neu/Tief/Unten'").status, 0);
        EXPECT_EQ(Fat("mkdir " + Q(image) + " /neu/tief").status, 0);  // exists: nothing to do
        EXPECT_EQ(tn::test::FsckProblems(image), "");

        const fs::path back = Path("back");
        fs::remove_all(back);
        fs::create_directories(back);
        ASSERT_EQ(Mtools("mcopy -s -n -i " + Q(image) + " '::/*' " + Q(back)).status, 0);
        auto expected = Tree(sample);
        std::map<std::string, std::string> wanted;
        for (const auto& [path, bytes] : expected)
            wanted["Ziel/Ordner/sample/" + path] = bytes;
        wanted["Ziel/"] = wanted["Ziel/Ordner/"] = wanted["Ziel/Ordner/sample/"] = "";
        wanted["Ziel/Ordner/Zusatz.txt"] = "mehr";
        wanted["Neu/"] = wanted["Neu/Tief/"] = wanted["Neu/Tief/Unten/"] = "";
        if (!ownFormat) wanted["VORHER.TXT"] = "schon da";
        EXPECT_EQ(Tree(back), wanted);
    }
}

TEST_F(FatCommandTest, WritesItCannotDoSafelyAreRefusedAndLeaveTheImageAsItWas) {
    struct Case {
        const char* what;
        std::string options;
        int kib;
        std::string arguments;  // after "fat"; IMAGE stands for the image
        std::string message;
    };
    WriteAll(Path("f.txt"), "neu");
    WriteAll(Path("big.bin"), tn::test::Pattern(300 * 1024, 9));
    const Case cases[] = {
        {"existing file", "-F 12", 1024, "put IMAGE " + Q(Path("f.txt")),
         "exists already in the image"},
        {"no room", "-F 12", 256, "put IMAGE " + Q(Path("big.bin")), "not enough room"},
        {"missing host file", "-F 12", 1024, "put IMAGE " + Q(Path("nope.txt")), "no "},
        {"file in the way", "-F 12", 1024, "mkdir IMAGE /f.txt/unter", "is a file"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        const fs::path image = Path("refuse.img");
        ASSERT_TRUE(tn::test::MakeFatImage(image, c.kib, c.options));
        ASSERT_TRUE(tn::test::PutFile(image, "/f.txt", "alt"));
        const std::string before = ReadAll(image);
        std::string arguments = c.arguments;
        arguments.replace(arguments.find("IMAGE"), 5, Q(image));
        const auto r = Fat(arguments);
        EXPECT_EQ(r.status, 1) << r.output;
        EXPECT_NE(r.output.find(c.message), std::string::npos) << r.output;
        EXPECT_TRUE(ReadAll(image) == before);
        EXPECT_EQ(tn::test::ReadFile(image, "/f.txt"), "alt");
        // Nothing is left behind beside the image.
        for (const auto& e : fs::directory_iterator(dir_)) {
            EXPECT_EQ(e.path().string().find(".tmp"), std::string::npos) << e.path();
        }
    }
}

// Writes a long-name entry set by hand into the root of a FAT12 image with 512-byte sectors and
// one sector per cluster: `name` (Latin-1) for the short name `shortName`, whose data is
// `content` in cluster `cluster`.
void AddHostileEntry(std::string& image, int slot, const std::string& name,
                     const std::string& shortName, int cluster, const std::string& content) {
    const auto* boot = reinterpret_cast<const unsigned char*>(image.data());
    const std::size_t reserved = boot[14] | boot[15] << 8, fats = boot[16];
    const std::size_t rootEntries = boot[17] | boot[18] << 8, fatSectors = boot[22] | boot[23] << 8;
    const std::size_t kRoot = (reserved + fats * fatSectors) * 512;
    const std::size_t kData = kRoot + rootEntries * 32;
    const int pieces = static_cast<int>((name.size() + 12) / 13);
    unsigned char sum = 0;
    for (const char c : shortName)
        sum = static_cast<unsigned char>(((sum & 1) << 7) + (sum >> 1) +
                                         static_cast<unsigned char>(c));
    for (int k = 0; k < pieces; ++k) {
        unsigned char e[32] = {};
        e[0] = static_cast<unsigned char>((k + 1) | (k + 1 == pieces ? 0x40 : 0));
        e[11] = 0x0F;
        e[13] = sum;
        static constexpr int kPos[13] = {1, 3, 5, 7, 9, 14, 16, 18, 20, 22, 24, 28, 30};
        for (int i = 0; i < 13; ++i) {
            const std::size_t at = static_cast<std::size_t>(k) * 13 + i;
            const unsigned unit = at < name.size()    ? static_cast<unsigned char>(name[at])
                                  : at == name.size() ? 0u
                                                      : 0xFFFFu;
            e[kPos[i]] = static_cast<unsigned char>(unit);
            e[kPos[i] + 1] = static_cast<unsigned char>(unit >> 8);
        }
        std::copy(e, e + 32,
                  image.begin() + static_cast<long>(kRoot) + 32 * (slot + pieces - 1 - k));
    }
    unsigned char s[32] = {};
    std::copy(shortName.begin(), shortName.end(), s);
    s[11] = 0x20;
    s[26] = static_cast<unsigned char>(cluster);
    s[28] = static_cast<unsigned char>(content.size());
    std::copy(s, s + 32, image.begin() + static_cast<long>(kRoot) + 32 * (slot + pieces));
    std::copy(content.begin(), content.end(),
              image.begin() + static_cast<long>(kData) + (cluster - 2) * 512);
    for (const std::size_t fat : {reserved * 512, (reserved + fatSectors) * 512}) {
        const std::size_t k = fat + 3 * (static_cast<std::size_t>(cluster) / 2);
        auto* b = reinterpret_cast<unsigned char*>(image.data());
        if (cluster % 2 == 0) {
            b[k] = 0xFF;
            b[k + 1] = static_cast<unsigned char>(b[k + 1] | 0x0F);
        } else {
            b[k + 1] = static_cast<unsigned char>(b[k + 1] | 0xF0);
            b[k + 2] = 0xFF;
        }
    }
}

TEST_F(FatCommandTest, HostileNamesInAnImageNeverLeaveTheTargetFolder) {
    const fs::path image = Path("hostile.img");
    ASSERT_TRUE(tn::test::MakeFatImage(image, 1024, "-F 12 -s 1"));
    std::string bytes = ReadAll(image);
    struct Hostile {
        std::string name, shortName, safe;
    };
    const std::vector<Hostile> hostile = {
        {"..", "DOTDOT  TXT", "__"},
        {"../../escape.txt", "ESCAPE  TXT", ".._.._escape.txt"},
        {"..\\..\\win.txt", "WIN     TXT", ".._.._win.txt"},
        {"/etc/passwd", "PASSWD     ", "_etc_passwd"},
        {"CON", "CON        ", "_CON"},
        {"nul.txt", "NUL     TXT", "_nul.txt"},
        {"COM1.log", "COM1    LOG", "_COM1.log"},
        {"tab\there\x01", "TAB     TXT", "tab_here_"},
        {"trailing. ", "TRAIL   TXT", "trailing__"},
        {"a:b*c?.txt", "ABC     TXT", "a_b_c_.txt"},
        {"link", "LINK       ", ""},
    };
    int slot = 0, cluster = 2;
    for (const auto& h : hostile) {
        AddHostileEntry(bytes, slot, h.name, h.shortName, cluster++, h.name + "!");
        slot += static_cast<int>((h.name.size() + 12) / 13) + 1;
    }
    WriteAll(image, bytes);
    // A link already in the target must not be written through.
    const fs::path out = Path("box") / "out";
    fs::create_directories(out);
    fs::create_symlink(Path("box") / "victim.txt", out / "link");

    const auto r = Fat("get " + Q(image) + " / --to " + Q(out));
    EXPECT_EQ(r.status, 1) << r.output;  // the link is reported as a failure
    EXPECT_NE(r.output.find("symbolic link"), std::string::npos) << r.output;
    std::set<std::string> made;
    for (const auto& e : fs::directory_iterator(out))
        made.insert(e.path().filename().string());
    for (const auto& h : hostile) {
        if (h.safe.empty()) continue;
        EXPECT_EQ(made.count(h.safe), 1u) << h.safe << " of " << h.name;
        EXPECT_EQ(ReadAll(out / h.safe), h.name + "!") << h.safe;
        EXPECT_NE(r.output.find("as " + (out / h.safe).string()), std::string::npos) << h.safe;
    }
    EXPECT_FALSE(fs::exists(Path("box") / "victim.txt"));
    // Nothing appeared outside the target folder.
    std::set<std::string> around;
    for (const auto& e : fs::recursive_directory_iterator(Path("box")))
        around.insert(fs::relative(e.path(), Path("box")).generic_string());
    for (const auto& name : around) {
        EXPECT_EQ(name.rfind("out", 0), 0u) << name;
    }
    EXPECT_TRUE(fs::is_symlink(out / "link"));
}

TEST_F(FatCommandTest, HostNamesFatCannotHoldAreMappedAndReported) {
    const fs::path image = Path("names.img");
    ASSERT_EQ(Fat("format " + Q(image) + " --size 1M").status, 0);
    const fs::path src = Path("src");
    WriteAll(src / "Euro \xE2\x82\xAC.txt", "1");   // outside Latin-1
    WriteAll(src / "Kanji \xE6\xBC\xA2.txt", "2");  // outside Windows-1252
    WriteAll(src / "what?.txt", "3");               // forbidden on FAT
    WriteAll(src /
                 "Stra\xC3\x9F"
                 "e.txt",
             "4");  // Latin-1: kept
    WriteAll(src / "README", "5");
    WriteAll(src / "readme", "6");  // differs only in case
    const auto r = Fat("put " + Q(image) + " " + Q(src));
    ASSERT_EQ(r.status, 0) << r.output;
    EXPECT_EQ(tn::test::FsckProblems(image), "");
    std::map<std::string, std::string> expected = {{"src/", ""},
                                                   {"src/Euro _.txt", "1"},
                                                   {"src/Kanji _.txt", "2"},
                                                   {"src/what_.txt", "3"},
                                                   {"src/Stra\xC3\x9F"
                                                    "e.txt",
                                                    "4"},
                                                   {"src/README", "5"},
                                                   {"src/readme~2", "6"}};
    const fs::path back = Path("back");
    fs::create_directories(back);
    ASSERT_EQ(Mtools("mcopy -s -n -i " + Q(image) + " '::/*' " + Q(back)).status, 0);
    EXPECT_EQ(Tree(back), expected);
    for (const char* note :
         {"as /src/Euro _.txt", "as /src/Kanji _.txt", "as /src/what_.txt", "as /src/readme~2"}) {
        EXPECT_NE(r.output.find(note), std::string::npos) << note << "\n" << r.output;
    }
    EXPECT_EQ(r.output.find("Stra"), std::string::npos) << r.output;
}

TEST_F(FatCommandTest, TheDemoListsReadsAndWritesItsSampleImage) {
    const auto r = tn::test::RunTool("demo", true);
    ASSERT_EQ(r.status, 0) << r.output;
    const auto at = r.output.find("== FAT volume");
    ASSERT_NE(at, std::string::npos) << r.output;
    EXPECT_NE(r.output.find("read back: Hallo vom Demo", at), std::string::npos) << r.output;
}

}  // namespace
