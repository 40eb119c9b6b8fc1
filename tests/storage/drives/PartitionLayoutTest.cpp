// The partition layout of disk images, compared with what sfdisk wrote and dumps, and the
// limits of the 168-byte layout buffer.
#include <gtest/gtest.h>
#include <tnpackage/tnpackage.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <sstream>
#include <string>

#include "support/DiskImages.h"
#include "support/RunTool.h"
#include "support/Scratch.h"
#include "support/WarningCapture.h"

namespace tn {
namespace {

namespace fs = std::filesystem;

struct DumpedPartition {
    long long start = 0, size = 0;
    unsigned type = 0;
    bool bootable = false;
};

// `sfdisk --dump`: the label id and the partitions by their number.
std::map<int, DumpedPartition> Dump(const fs::path& image, std::uint32_t& labelId) {
    const test::ToolResult r = test::RunCommand("sfdisk --dump '" + image.string() + "'");
    std::map<int, DumpedPartition> parts;
    std::smatch m;
    std::istringstream lines(r.output);
    const std::regex id("label-id: 0x([0-9a-fA-F]+)");
    const std::regex part(
        "[^ ]*?([0-9]+) *: start= *([0-9]+), size= *([0-9]+), type=([0-9a-fA-F]+)(, bootable)?");
    for (std::string line; std::getline(lines, line);) {
        if (std::regex_search(line, m, id))
            labelId = static_cast<std::uint32_t>(std::stoul(m[1], nullptr, 16));
        if (std::regex_search(line, m, part)) {
            parts[std::stoi(m[1])] = {std::stoll(m[2]), std::stoll(m[3]),
                                      static_cast<unsigned>(std::stoul(m[4], nullptr, 16)),
                                      m[5].matched};
        }
    }
    return parts;
}

TEST(PartitionLayoutTest, ImageLayoutMatchesSfdisk) {
    if (!test::HaveTool("sfdisk")) GTEST_SKIP() << "sfdisk missing";
    const fs::path image = test::Partitioned(
        "three.img",
        "label: dos\\nlabel-id: 0x12ab34cd\\nstart=2048, size=20480, type=c, bootable\\n"
        "start=22528, size=20480, type=83\\nstart=43008, size=8192, type=6\\n");
    std::uint32_t labelId = 0;
    const auto dumped = Dump(image, labelId);
    ASSERT_EQ(dumped.size(), 3u);

    TPDriveLayout layout;
    ASSERT_TRUE(layout.ReadImage(image.string().c_str()));
    EXPECT_EQ(layout.Bytes, 136u);  // the header and the master boot record's four entries
    EXPECT_EQ(layout.Signature(), labelId);
    ASSERT_EQ(layout.PartitionCount(), 4);
    for (const auto& [number, p] : dumped) {
        TPDriveLayout::Entry e;
        ASSERT_TRUE(layout.Partition(number - 1, e));
        EXPECT_EQ(e.StartingOffset, p.start * 512) << number;
        EXPECT_EQ(e.PartitionLength, p.size * 512) << number;
        EXPECT_EQ(e.HiddenSectors, static_cast<std::uint32_t>(p.start)) << number;
        EXPECT_EQ(e.PartitionType, p.type) << number;
        EXPECT_EQ(e.BootIndicator, p.bootable) << number;
        EXPECT_EQ(e.PartitionNumber, static_cast<std::uint32_t>(number));
        EXPECT_EQ(e.RecognizedPartition, p.type != 0x83) << number;
    }
    TPDriveLayout::Entry unused;
    ASSERT_TRUE(layout.Partition(3, unused));
    EXPECT_EQ(unused.PartitionType, 0);
    EXPECT_EQ(unused.PartitionNumber, 0u);
    EXPECT_FALSE(layout.Partition(4, unused));

    const std::string report =
        "Ok 136Bytes\n"
        "PartCount = 4, Signature = 0x12AB34CD\n"
        "Partition = 0, Type: 0x0C, No: 0x00000001, Test: 1\n"
        "Partition = 1, Type: 0x83, No: 0x00000002, Test: 0, n.e.!\n"
        "Partition = 2, Type: 0x06, No: 0x00000003, Test: 1\n"
        "Partition = 3, Type: 0x00, No: 0x00000000, Test: 0, n.e.!";
    EXPECT_EQ(ToStdString(layout.Report()), report);
}

TEST(PartitionLayoutTest, MoreEntriesThanFitAreRefused) {
    if (!test::HaveTool("sfdisk")) GTEST_SKIP() << "sfdisk missing";
    // An extended partition brings a partition table of its own: eight entries or more.
    const fs::path image =
        test::Partitioned("logical.img",
                          "label: dos\\nstart=2048, size=20480, type=c\\nstart=22528, type=5\\n"
                          "start=24576, size=4096, type=83\\n");
    std::uint32_t labelId = 0;
    ASSERT_EQ(Dump(image, labelId).count(5), 1u);  // sfdisk made the logical drive

    test::WarningCapture warnings;
    TPDriveLayout layout;
    EXPECT_FALSE(layout.ReadImage(image.string().c_str()));
    ASSERT_EQ(warnings.Texts().size(), 1u);
    EXPECT_EQ(warnings.Texts()[0],
              "Partitionen von '" + image.string() +
                  "' k\xF6nnen nicht gelesen werden! (mehr als 5 Eintr\xE4ge)");
    EXPECT_EQ(layout.Bytes, 0u);
    EXPECT_EQ(layout.PartitionCount(), 0);

    // A buffer that claims more entries than it holds shows only those it holds.
    layout.Bytes = TPDriveLayout::kBufferSize;
    layout.Buffer[0] = 0xFF;
    layout.Buffer[1] = 0xFF;
    EXPECT_EQ(layout.PartitionCount(), TPDriveLayout::kMaxEntries);
    layout.Bytes = 1000;
    EXPECT_EQ(layout.PartitionCount(), TPDriveLayout::kMaxEntries);
    const std::string report = ToStdString(layout.Report());
    EXPECT_NE(report.find("Partition = 4,"), std::string::npos);
    EXPECT_EQ(report.find("Partition = 5,"), std::string::npos);
    layout.Bytes = 3;
    EXPECT_EQ(layout.PartitionCount(), 0);
}

TEST(PartitionLayoutTest, VolumesWithoutTableAndFilesWithoutVolume) {
    test::WarningCapture warnings;
    const fs::path folder = test::ScratchFolder();
    if (test::HaveTool("mkfs.fat")) {
        // A card formatted without a table is one partition over the whole card.
        const struct {
            const char* name;
            const char* options;
            int megabytes;
            int type;
        } cards[] = {{"fat12.img", "-F 12", 2, 0x01},
                     {"fat16.img", "-F 16", 20, 0x06},
                     {"fat32.img", "-F 32", 40, 0x0C}};
        for (const auto& c : cards) {
            const fs::path image = folder / c.name;
            fs::remove(image);
            ASSERT_EQ(
                test::RunCommand("mkfs.fat -C " + std::string(c.options) + " '" + image.string() +
                                 "' " + std::to_string(c.megabytes * 1024) + " >/dev/null 2>&1")
                    .status,
                0);
            TPDriveLayout layout;
            ASSERT_TRUE(layout.ReadImage(image.string().c_str())) << c.name;
            TPDriveLayout::Entry e;
            ASSERT_EQ(layout.PartitionCount(), 1) << c.name;
            ASSERT_TRUE(layout.Partition(0, e));
            EXPECT_EQ(layout.Bytes, 40u);
            EXPECT_EQ(e.PartitionType, c.type) << c.name;
            EXPECT_EQ(e.StartingOffset, 0);
            EXPECT_EQ(e.PartitionLength, static_cast<std::int64_t>(fs::file_size(image)));
            EXPECT_EQ(e.PartitionNumber, 1u);
            EXPECT_TRUE(e.RecognizedPartition);
        }
    }
    EXPECT_TRUE(warnings.Texts().empty());

    const fs::path zeros = folder / "zeros.img";
    std::ofstream(zeros, std::ios::binary) << std::string(4096, '\0');
    const fs::path tiny = folder / "tiny.img";
    std::ofstream(tiny, std::ios::binary) << std::string(100, '\x55');
    TPDriveLayout layout;
    EXPECT_FALSE(layout.ReadImage(zeros.string().c_str()));
    EXPECT_FALSE(layout.ReadImage(tiny.string().c_str()));
    EXPECT_FALSE(layout.ReadImage((folder / "missing.img").string().c_str()));
    EXPECT_FALSE(layout.ReadImage(TPString()));
    ASSERT_EQ(warnings.Texts().size(), 4u);
    EXPECT_EQ(warnings.Texts()[0],
              "Partitionen von '" + zeros.string() +
                  "' k\xF6nnen nicht gelesen werden! (kein Master Boot Record)");
    EXPECT_EQ(warnings.Texts()[2], "Datei '" + (folder / "missing.img").string() +
                                       "' kann nicht ge\xF6"
                                       "ffnet werden");
}

TEST(PartitionLayoutTest, PhysicalDriveOfLetters) {
    SetDriveMap("");
    test::WarningCapture warnings;
    GetPhysicalDrive("Q");  // no colon: nothing at all
    GetPhysicalDrive("");
    GetPhysicalDrive("Qx");
    EXPECT_TRUE(warnings.Texts().empty());
#ifndef _WIN32
    GetPhysicalDrive("Q:");
    ASSERT_EQ(warnings.Texts().size(), 1u);
    EXPECT_EQ(warnings.Texts()[0], "CreateFile mit '\\\\.\\Q:' ist fehlgeschlagen!");

    // A file system without a disk of its own has nothing to open.
    if (fs::is_directory("/dev/shm") &&
        test::RunCommand("stat -f -c %T /dev/shm 2>/dev/null").output == "tmpfs\n") {
        warnings.Clear();
        MapDrive('R', "/dev/shm");
        GetPhysicalDrive("R:");
        ASSERT_EQ(warnings.Texts().size(), 1u);
        EXPECT_EQ(warnings.Texts()[0].rfind("CreateFile mit '", 0), 0u);
    }
    SetDriveMap("");
#endif
}

}  // namespace
}  // namespace tn
