// The partition reader against sfdisk: tables written by sfdisk read back as its own dump
// lists them, volumes formatted by mkfs.fat are told from tables, and short or odd sectors
// never count as a table.
#include <tnpackage/tnpackage.h>

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <regex>
#include <string>
#include <vector>

#include "support/RunTool.h"
#include "support/Scratch.h"

namespace {

using tn::PartitionTable;
using Kind = PartitionTable::SectorKind;

const std::string kPath = "PATH=\"$PATH:/usr/sbin:/sbin\" ";

bool Have(const char* tool) {
    return tn::test::RunCommand(kPath + "command -v " + tool + " >/dev/null").status == 0;
}

std::string Sector0(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::string bytes(512, '\0');
    in.read(bytes.data(), 512);
    return bytes;
}

struct Dumped {
    int number;
    std::uint32_t start, size;
    unsigned type;
    bool bootable;
};

// The partition lines of `sfdisk --dump`: "img1 : start= 2048, size= 4096, type=6, bootable".
std::vector<Dumped> SfdiskDump(const std::string& path) {
    const auto dump = tn::test::RunCommand(kPath + "sfdisk --dump '" + path + "' 2>/dev/null");
    std::vector<Dumped> parts;
    const std::regex line(R"((\d+) : start= *(\d+), size= *(\d+), type=([0-9a-f]+)(, bootable)?)");
    for (std::sregex_iterator it(dump.output.begin(), dump.output.end(), line), end; it != end;
         ++it) {
        const auto& m = *it;
        parts.push_back({std::stoi(m[1]), static_cast<std::uint32_t>(std::stoul(m[2])),
                         static_cast<std::uint32_t>(std::stoul(m[3])),
                         static_cast<unsigned>(std::stoul(m[4], nullptr, 16)), m[5].matched});
    }
    return parts;
}

TEST(PartitionTableTest, TablesWrittenBySfdiskReadBackAsItsDumpListsThem) {
    if (!Have("sfdisk")) GTEST_SKIP() << "sfdisk is not installed";
    const auto dir = tn::test::ScratchFolder();
    struct Case {
        const char* script;
        int firstFat;  // 1-based, 0: none
    };
    const Case cases[] = {
        {"start=2048, size=4096, type=6, bootable\n", 1},
        {"start=63, size=1000, type=83\nstart=1063, size=2000, type=c\n"
         "start=3063, size=3000, type=e\n",
         3},
        {"start=100, size=50, type=b\nstart=150, size=60, type=1\n", 2},
        {"start=2048, size=8192, type=7\n", 0},
        {"start=34, size=10, type=4\nstart=44, size=10, type=14\nstart=54, size=10, type=6\n"
         "start=64, size=16000, type=16, bootable\n",
         1},
        // A partition whose byte offset needs more than 32 bits.
        {"start=4294967000, size=200, type=e\n", 1},
    };
    std::size_t n = 0;
    for (const auto& c : cases) {
        const std::string image = (dir / ("card" + std::to_string(n++) + ".img")).string();
        // The last case lies beyond 2 TiB: a sparse file costs nothing.
        const char* size = n == std::size(cases) ? "2300G" : "64M";
        ASSERT_EQ(
            tn::test::RunCommand(std::string("truncate -s ") + size + " '" + image + "'").status,
            0);
        const auto made =
            tn::test::RunCommand("printf 'label: dos\\n" + std::string(c.script) + "' | " + kPath +
                                 "sfdisk -q '" + image + "' 2>/dev/null");
        ASSERT_EQ(made.status, 0) << c.script;
        const auto dumped = SfdiskDump(image);
        ASSERT_FALSE(dumped.empty()) << c.script;

        const std::string sector = Sector0(image);
        const PartitionTable table(sector.data(), sector.size());
        ASSERT_TRUE(table.IsValid()) << c.script;
        EXPECT_EQ(table.Kind(), Kind::BootRecord);
        EXPECT_EQ(table.UsedCount(), static_cast<int>(dumped.size()));
        for (const auto& d : dumped) {
            const auto& e = table.At(d.number - 1);
            EXPECT_EQ(e.firstLba, d.start) << c.script << d.number;
            EXPECT_EQ(e.sectorCount, d.size);
            EXPECT_EQ(e.type, d.type);
            EXPECT_EQ(e.IsActive(), d.bootable);
            EXPECT_EQ(table.VolumeBase(d.number), static_cast<std::int64_t>(d.start) * 512);
        }
        EXPECT_EQ(table.FirstFat(), c.firstFat) << c.script;
        EXPECT_EQ(table.FirstFatBase(), c.firstFat ? table.VolumeBase(c.firstFat) : -1);
        for (const int outside : {0, 5, -1, static_cast<int>(dumped.size()) + 1}) {
            if (outside < 1 || outside > 4 || !table.At(outside - 1).IsUsed()) {
                EXPECT_EQ(table.VolumeBase(outside), -1) << outside;
            }
        }
        std::filesystem::remove(image);
    }
}

TEST(PartitionTableTest, FormattedVolumesAreBootSectorsAndOddSectorsAreNoTables) {
    const auto dir = tn::test::ScratchFolder();
    if (Have("mkfs.fat")) {
        for (const char* options : {"-F 12", "-F 16 -s 1", "-F 12 -S 1024", "-F 16 -s 2"}) {
            const std::string image = (dir / "vol.img").string();
            std::filesystem::remove(image);
            ASSERT_EQ(tn::test::RunCommand(kPath + "mkfs.fat -C " + options + " '" + image +
                                           "' 16384 >/dev/null")
                          .status,
                      0);
            const std::string sector = Sector0(image);
            const PartitionTable table(sector.data(), sector.size());
            EXPECT_EQ(table.Kind(), Kind::FatBootSector) << options;
            EXPECT_FALSE(table.IsValid());
            EXPECT_EQ(table.FirstFatBase(), -1);
            EXPECT_EQ(table.UsedCount(), 0);
        }
    }

    // A boot loader that starts with a short jump (as GRUB's does) but leaves the parameter
    // block empty still has its table read.
    std::string mbr(512, '\0');
    mbr[0] = '\xEB';
    mbr[1] = '\x63';
    mbr[2] = '\x90';
    const unsigned char entry[16] = {0x80, 0, 0, 0, 0x0E, 0, 0, 0, 0x00, 0x08, 0, 0, 0, 0, 1, 0};
    std::copy(std::begin(entry), std::end(entry), mbr.begin() + 446);
    mbr[510] = '\x55';
    mbr[511] = '\xAA';
    EXPECT_EQ(PartitionTable::Classify(mbr.data(), mbr.size()), Kind::BootRecord);
    EXPECT_EQ(PartitionTable(mbr.data(), mbr.size()).FirstFatBase(), 2048 * 512);

    // Without the signature, with an illegal boot flag, with a partition at sector 0 or with no
    // used slot it is no table; a jump keeps it a (possibly odd) boot sector for the volume.
    const auto kindWith = [&](std::size_t at, char value) {
        std::string s = mbr;
        s[at] = value;
        return PartitionTable::Classify(s.data(), s.size());
    };
    EXPECT_EQ(kindWith(510, 0), Kind::FatBootSector);
    EXPECT_EQ(kindWith(0, 0), Kind::BootRecord);
    std::string plain = mbr;
    plain[0] = 0;
    const auto plainWith = [&](std::size_t at, char value) {
        std::string s = plain;
        s[at] = value;
        return PartitionTable::Classify(s.data(), s.size());
    };
    EXPECT_EQ(plainWith(510, 0), Kind::Unknown);
    EXPECT_EQ(plainWith(446, 0x7F), Kind::Unknown);
    EXPECT_EQ(plainWith(446 + 9, 0), Kind::Unknown);  // first LBA 0
    EXPECT_EQ(plainWith(446 + 4, 0), Kind::Unknown);  // type 0: unused
    // A sector shorter than 512 bytes is never read as a table.
    EXPECT_EQ(PartitionTable::Classify(plain.data(), 511), Kind::Unknown);
    EXPECT_EQ(PartitionTable::Classify(nullptr, 512), Kind::Unknown);
    EXPECT_FALSE(PartitionTable(plain.data(), 100).IsValid());
    EXPECT_EQ(PartitionTable().At(7).type, 0);

    using Support = PartitionTable::FatSupport;
    for (const int t : {0x01, 0x04, 0x06, 0x0E, 0x11, 0x14, 0x16, 0x1E})
        EXPECT_EQ(PartitionTable::Support(static_cast<std::uint8_t>(t)), Support::Supported) << t;
    for (const int t : {0x0B, 0x0C, 0x1B, 0x1C})
        EXPECT_EQ(PartitionTable::Support(static_cast<std::uint8_t>(t)), Support::NotSupported);
    for (const int t : {0x00, 0x05, 0x07, 0x0F, 0x83, 0xEE, 0xEF})
        EXPECT_EQ(PartitionTable::Support(static_cast<std::uint8_t>(t)), Support::None) << t;
}

}  // namespace
