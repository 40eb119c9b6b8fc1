// `tnpkg fat check` against fsck.fat -n: volumes made by mkfs.fat and mtools, each with one
// fault planted by editing bytes, are found not clean by both, with the damaged file named;
// sound volumes, including ones tnpkg wrote, are clean for both.
#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "support/FatImages.h"
#include "support/RunTool.h"
#include "support/Scratch.h"
#include "tnpkg/ImageWriteSupport.h"

namespace {

namespace fs = std::filesystem;
using tn::test::Shell;

// The layout of the volume in an image file, read from its boot sector as fsck.fat reads it.
class Planter {
  public:
    explicit Planter(const fs::path& image) : bytes_(tn::test::LoadBytes(image)) {
        bps_ = Get16(11);
        spc_ = bytes_[13];
        fats_ = bytes_[16];
        fatBytes_ = std::int64_t{Get16(22)} * bps_;
        fat_ = std::int64_t{Get16(14)} * bps_;
        root_ = fat_ + fats_ * fatBytes_;
        rootEntries_ = Get16(17);
        data_ = root_ + 32 * rootEntries_;
        std::int64_t total = Get16(19);
        if (total == 0) total = Get32(32);
        const std::int64_t clusters = (total * bps_ - data_) / (spc_ * bps_);
        bits_ = clusters < 4085 ? 12 : 16;
    }

    int Bits() const { return bits_; }
    std::uint32_t EndMark() const { return bits_ == 12 ? 0xFFF : 0xFFFF; }
    std::uint32_t Bad() const { return bits_ == 12 ? 0xFF7 : 0xFFF7; }
    std::uint32_t Reserved() const { return bits_ == 12 ? 0xFF0 : 0xFFF0; }
    std::uint32_t Beyond() const { return bits_ == 12 ? 0xF00 : 0xFF00; }
    std::int64_t ClusterBytes() const { return std::int64_t{spc_} * bps_; }

    // The offset of the entry with the 11-byte `name` in the root, or in the folder whose
    // first cluster is `folder`.
    std::int64_t Find(const std::string& name, std::uint32_t folder = 0) const {
        const std::int64_t from = folder == 0 ? root_ : ClusterAt(folder);
        const std::int64_t to = folder == 0 ? data_ : from + ClusterBytes();
        for (std::int64_t at = from; at < to; at += 32)
            if (std::string(bytes_.begin() + at, bytes_.begin() + at + 11) == name) return at;
        ADD_FAILURE() << "no entry " << name;
        return root_;
    }
    std::uint32_t FirstCluster(std::int64_t entry) const { return Get16(entry + 26); }
    void SetFirstCluster(std::int64_t entry, std::uint32_t c) { Put16(entry + 26, c); }
    void SetSize(std::int64_t entry, std::uint32_t size) {
        Put16(entry + 28, size & 0xFFFF);
        Put16(entry + 30, size >> 16);
    }
    std::int64_t ClusterAt(std::uint32_t c) const { return data_ + (c - 2) * ClusterBytes(); }
    unsigned char& Byte(std::int64_t at) { return bytes_[static_cast<std::size_t>(at)]; }

    // Sets FAT entry n in every copy, or in copy `only`.
    void SetFat(std::uint32_t n, std::uint32_t value, int only = -1) {
        for (int copy = 0; copy < fats_; ++copy) {
            if (only >= 0 && copy != only) continue;
            const std::int64_t base = fat_ + copy * fatBytes_;
            if (bits_ == 16) {
                Put16(base + 2 * n, value);
                continue;
            }
            const std::int64_t k = base + 3 * (n / 2);
            if (n % 2 == 0) {
                Byte(k) = static_cast<unsigned char>(value);
                Byte(k + 1) =
                    static_cast<unsigned char>((Byte(k + 1) & 0xF0) | (value >> 8 & 0x0F));
            } else {
                Byte(k + 1) =
                    static_cast<unsigned char>((Byte(k + 1) & 0x0F) | (value << 4 & 0xF0));
                Byte(k + 2) = static_cast<unsigned char>(value >> 4);
            }
        }
    }

    void Save(const fs::path& image, std::size_t cut = 0) const {
        std::ofstream(image, std::ios::binary | std::ios::trunc)
            .write(reinterpret_cast<const char*>(bytes_.data()),
                   static_cast<std::streamsize>(bytes_.size() - cut));
    }

  private:
    std::vector<unsigned char> bytes_;
    int bps_ = 0, spc_ = 0, fats_ = 0, bits_ = 0;
    std::int64_t fatBytes_ = 0, fat_ = 0, root_ = 0, rootEntries_ = 0, data_ = 0;

    std::uint32_t Get16(std::int64_t at) const {
        return bytes_[static_cast<std::size_t>(at)] |
               (std::uint32_t{bytes_[static_cast<std::size_t>(at + 1)]} << 8);
    }
    std::uint32_t Get32(std::int64_t at) const { return Get16(at) | (Get16(at + 2) << 16); }
    void Put16(std::int64_t at, std::uint32_t v) {
        Byte(at) = static_cast<unsigned char>(v);
        Byte(at + 1) = static_cast<unsigned char>(v >> 8);
    }
};

// fsck.fat -n's verdict. It reports some damage (a long name's checksum) without counting it
// in its exit status, so any line beyond its banner and summary counts too.
bool FsckFindsProblems(const fs::path& image) {
    const auto r = tn::test::RunCommand("fsck.fat -n " + Shell(image.string()) + " 2>&1");
    std::istringstream lines(r.output);
    std::string line;
    int count = 0;
    while (std::getline(lines, line))
        ++count;
    return r.status != 0 || count != 2;
}

// A volume with a file of three clusters, a one-cluster file, a folder with a file, and a
// file with a long name; every fault below is planted into a copy of it.
fs::path MakeBase(const fs::path& dir, const std::string& name, int kib, const std::string& options,
                  std::int64_t clusterBytes) {
    const fs::path image = dir / name;
    EXPECT_TRUE(tn::test::MakeFatImage(image, kib, options));
    EXPECT_TRUE(tn::test::PutTree(image, {"/SUB"},
                                  {{"/BIG.BIN", tn::test::Pattern(3 * clusterBytes - 5, 1)},
                                   {"/SMALL.TXT", "hi\n"},
                                   {"/SUB/INNER.BIN", tn::test::Pattern(clusterBytes + 1, 2)},
                                   {"/Long name file.txt", "long\n"}}));
    return image;
}

struct Fault {
    const char* kind;  // what check calls it
    const char* path;  // the file or folder it names ("" for the whole volume)
    void (*plant)(Planter& p);
};

std::int64_t Big(Planter& p) {
    return p.Find("BIG     BIN");
}
std::int64_t Small(Planter& p) {
    return p.Find("SMALL   TXT");
}
std::uint32_t SubCluster(Planter& p) {
    return p.FirstCluster(p.Find("SUB        "));
}

const Fault kFaults[] = {
    {"cross-link", "SMALL.TXT",
     [](Planter& p) { p.SetFirstCluster(Small(p), p.FirstCluster(Big(p)) + 2); }},
    {"free-cluster", "BIG.BIN", [](Planter& p) { p.SetFat(p.FirstCluster(Big(p)) + 1, 0); }},
    {"free-cluster", "BIG.BIN", [](Planter& p) { p.SetFat(p.FirstCluster(Big(p)), 0); }},
    {"bad-cluster", "BIG.BIN", [](Planter& p) { p.SetFat(p.FirstCluster(Big(p)) + 1, p.Bad()); }},
    {"reserved-cluster", "BIG.BIN",
     [](Planter& p) { p.SetFat(p.FirstCluster(Big(p)), p.Reserved()); }},
    {"out-of-range-cluster", "BIG.BIN",
     [](Planter& p) { p.SetFat(p.FirstCluster(Big(p)), p.Beyond()); }},
    {"circular-chain", "BIG.BIN",
     [](Planter& p) { p.SetFat(p.FirstCluster(Big(p)) + 2, p.FirstCluster(Big(p))); }},
    {"size-mismatch", "BIG.BIN", [](Planter& p) { p.SetSize(Big(p), 100); }},
    {"size-mismatch", "SMALL.TXT", [](Planter& p) { p.SetSize(Small(p), 100000); }},
    {"lost-chain", "",
     [](Planter& p) {
         p.SetFat(200, 201);
         p.SetFat(201, p.EndMark());
     }},
    {"fat-copies-differ", "", [](Planter& p) { p.SetFat(220, p.EndMark(), 1); }},
    {"dot-entries", "SUB",
     [](Planter& p) {
         const std::int64_t dot = p.ClusterAt(SubCluster(p));
         p.SetFirstCluster(dot, SubCluster(p) + 7);
     }},
    {"dot-entries", "SUB",
     [](Planter& p) {
         const std::int64_t dotDot = p.ClusterAt(SubCluster(p)) + 32;
         p.SetFirstCluster(dotDot, 7);
     }},
    {"duplicate-name", "BIG.BIN",
     [](Planter& p) {
         const std::string big = "BIG     BIN";
         const std::int64_t small = Small(p);
         for (std::size_t i = 0; i < big.size(); ++i)
             p.Byte(small + static_cast<std::int64_t>(i)) = static_cast<unsigned char>(big[i]);
     }},
    {"invalid-first-cluster", "SMALL.TXT", [](Planter& p) { p.SetFirstCluster(Small(p), 1); }},
    {"invalid-first-cluster", "SMALL.TXT",
     [](Planter& p) { p.SetFirstCluster(Small(p), p.Beyond()); }},
    {"invalid-first-cluster", "SUB",
     [](Planter& p) { p.SetFirstCluster(p.Find("SUB        "), 0); }},
    {"long-name-checksum", "LONGNA~1.TXT",
     [](Planter& p) { p.Byte(p.Find("LONGNA~1TXT") - 32 + 13) ^= 0x55; }},
};

struct Volume {
    const char* name;
    int kib;
    const char* options;
    std::int64_t clusterBytes;
};

const Volume kVolumes[] = {
    {"fat12.img", 1024, "-F 12 -S 512 -s 4", 2048},
    {"fat16.img", 4200, "-F 16 -S 512 -s 1", 512},
    {"fat16k.img", 8400, "-F 16 -S 1024 -s 1", 1024},
    {"fat12-2k.img", 4096, "-F 12 -S 2048 -s 1", 2048},
};

tn::test::ToolResult Check(const fs::path& image, const std::string& options = "") {
    return tn::test::RunTool("fat check " + Shell(image.string()) + " " + options);
}

std::string Expected(const Fault& f) {
    return std::string("{\"kind\":\"") + f.kind + "\",\"path\":\"" + f.path + "\"";
}

TEST(FatCheck, FindsEveryPlantedFaultThatFsckFinds) {
    TN_REQUIRE_SHELL();
    TN_REQUIRE_FAT_TOOLS();
    const fs::path dir = tn::test::ScratchFolder();
    for (const Volume& volume : kVolumes) {
        SCOPED_TRACE(volume.name);
        const fs::path base =
            MakeBase(dir, volume.name, volume.kib, volume.options, volume.clusterBytes);
        ASSERT_FALSE(FsckFindsProblems(base));
        const auto clean = Check(base, "--json");
        EXPECT_EQ(clean.status, 0) << clean.output;
        EXPECT_NE(clean.output.find("\"clean\":true,\"problems\":[]"), std::string::npos)
            << clean.output;

        const fs::path faulty = dir / "faulty.img";
        for (const Fault& fault : kFaults) {
            SCOPED_TRACE(fault.kind);
            Planter planter(base);
            fault.plant(planter);
            planter.Save(faulty);
            EXPECT_TRUE(FsckFindsProblems(faulty));
            const auto found = Check(faulty, "--json");
            EXPECT_EQ(found.status, 1) << found.output;
            EXPECT_NE(found.output.find("\"clean\":false"), std::string::npos) << found.output;
            EXPECT_NE(found.output.find(Expected(fault)), std::string::npos) << found.output;
        }

        // The end of the volume cut off: the last file's clusters are missing.
        SCOPED_TRACE("short-medium");
        Planter(base).Save(faulty, static_cast<std::size_t>(volume.kib) * 1024 / 2);
        EXPECT_TRUE(FsckFindsProblems(faulty));
        const auto cut = Check(faulty, "--json");
        EXPECT_EQ(cut.status, 1) << cut.output;
        EXPECT_NE(cut.output.find("{\"kind\":\"short-medium\""), std::string::npos) << cut.output;
    }
}

TEST(FatCheck, TellsWhatADamagedFileMeansForTheUser) {
    TN_REQUIRE_SHELL();
    TN_REQUIRE_FAT_TOOLS();
    const fs::path dir = tn::test::ScratchFolder();
    const fs::path base = MakeBase(dir, "base.img", 1024, "-F 12 -S 512 -s 4", 2048);
    Planter planter(base);
    kFaults[0].plant(planter);
    const fs::path faulty = dir / "faulty.img";
    planter.Save(faulty);
    const auto text = Check(faulty);
    EXPECT_EQ(text.status, 1);
    EXPECT_NE(text.output.find("SMALL.TXT shares clusters with BIG.BIN: one of them is damaged\n"),
              std::string::npos)
        << text.output;
    EXPECT_NE(text.output.find(faulty.string() + ": 2 problems found\n"), std::string::npos)
        << text.output;  // the cross-link and the chain SMALL.TXT had before
    EXPECT_EQ(Check(base).output, base.string() + ": clean\n");
}

TEST(FatCheck, VolumesTnpkgWroteAreClean) {
    TN_REQUIRE_SHELL();
    TN_REQUIRE_FAT_TOOLS();
    const fs::path dir = tn::test::ScratchFolder();
    const fs::path tree = dir / "tree";
    fs::create_directories(tree / "LOGS" / "2024");
    std::ofstream(tree / "Flugbuch mit langem Namen.igc") << tn::test::Pattern(7000, 3);
    std::ofstream(tree / "LOGS" / "2024" / "4B7G1234.IGC") << tn::test::Pattern(5000, 4);
    std::ofstream(tree / "empty.txt") << "";
    for (const char* size : {"1M", "12M"}) {
        SCOPED_TRACE(size);
        const fs::path image = dir / (std::string(size) + ".img");
        ASSERT_EQ(
            tn::test::RunTool("fat format " + Shell(image.string()) + " --size " + size).status, 0);
        ASSERT_EQ(tn::test::RunTool(
                      "fat put " + Shell(image.string()) + " " + Shell((tree / "LOGS").string()) +
                      " " + Shell((tree / "empty.txt").string()) + " " +
                      Shell((tree / "Flugbuch mit langem Namen.igc").string()) + " --quiet")
                      .status,
                  0);
        EXPECT_FALSE(FsckFindsProblems(image));
        const auto r = Check(image);
        EXPECT_EQ(r.status, 0) << r.output;
    }
}

// The last data cluster's FAT entry lies at the end of what check reads of each FAT copy.
TEST(FatCheck, FullVolumesAreClean) {
    TN_REQUIRE_SHELL();
    TN_REQUIRE_FAT_TOOLS();
    const fs::path dir = tn::test::ScratchFolder();
    const struct {
        int kib;
        const char* options;
        std::size_t clusters;  // data clusters mkfs.fat makes there
    } volumes[] = {{1024, "-F 12 -s 1", 2003}, {4200, "-F 16 -s 1", 8285}};
    for (const auto& v : volumes) {
        SCOPED_TRACE(v.options);
        const fs::path image = dir / "full.img";
        ASSERT_TRUE(tn::test::MakeFatImage(image, v.kib, v.options));
        ASSERT_TRUE(tn::test::PutFile(image, "/FULL.BIN", tn::test::Pattern(v.clusters * 512, 9)));
        ASSERT_FALSE(FsckFindsProblems(image));
        ASSERT_NE(tn::test::RunCommand("fsck.fat -n " + Shell(image.string()))
                      .output.find(std::to_string(v.clusters) + "/" + std::to_string(v.clusters)),
                  std::string::npos);
        const auto r = Check(image);
        EXPECT_EQ(r.status, 0) << r.output;
    }
}

TEST(FatCheck, EndsWithAVerdictOnRandomDamage) {
    TN_REQUIRE_SHELL();
    TN_REQUIRE_FAT_TOOLS();
    const fs::path dir = tn::test::ScratchFolder();
    const fs::path base = MakeBase(dir, "base.img", 1024, "-F 12 -S 512 -s 1", 512);
    const auto pristine = tn::test::LoadBytes(base);
    const fs::path damaged = dir / "damaged.img";
    std::mt19937 random(20);
    // The FAT, the root and the first folders and files lie in the first 32 KiB.
    std::uniform_int_distribution<std::size_t> where(512, 32 * 1024 - 1);
    std::uniform_int_distribution<int> value(0, 255);
    for (int round = 0; round < 30; ++round) {
        auto bytes = pristine;
        for (int i = 0; i < 40; ++i)
            bytes[where(random)] = static_cast<unsigned char>(value(random));
        std::ofstream(damaged, std::ios::binary | std::ios::trunc)
            .write(reinterpret_cast<const char*>(bytes.data()),
                   static_cast<std::streamsize>(bytes.size()));
        const auto r = Check(damaged, "--json");
        ASSERT_TRUE(r.status == 0 || r.status == 1) << "round " << round << ": " << r.output;
        EXPECT_NE(r.output.find("\"clean\":"), std::string::npos) << r.output;
    }
}

TEST(FatCheck, ReportsALeftoverJournal) {
    TN_REQUIRE_SHELL();
    TN_REQUIRE_FAT_TOOLS();
    const fs::path dir = tn::test::ScratchFolder();
    const fs::path image = dir / "card.img";
    ASSERT_TRUE(tn::test::MakeFatImage(image, 1024, "-F 12"));
    std::ofstream(dir / "a.txt") << "abc";
    const auto crashed =
        tn::test::RunWith("TNPKG_TEST_CRASH_AFTER=1", "fat put " + Shell(image.string()) + " " +
                                                          Shell((dir / "a.txt").string()));
    ASSERT_EQ(crashed.status, tn::test::kCrashStatus) << crashed.output;
    const auto r = Check(image, "--json");
    EXPECT_EQ(r.status, 1) << r.output;
    EXPECT_NE(r.output.find("{\"kind\":\"journal\",\"path\":\"\""), std::string::npos) << r.output;
    // Played back, the image is what it was before the interrupted command.
    EXPECT_FALSE(FsckFindsProblems(image));
    EXPECT_EQ(Check(image).status, 0);
}

}  // namespace
