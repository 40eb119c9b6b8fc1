// `tnpkg partitions`: a card image's table in figures, numbered as sfdisk counts, and the
// package's reasons when there is none to read.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "support/DiskImages.h"
#include "support/RunTool.h"
#include "support/Scratch.h"

namespace tn {
namespace {

namespace fs = std::filesystem;

TEST(PartitionsCommand, ShowsTheTableSfdiskWroteAndRefusesTheRest) {
    TN_REQUIRE_SHELL();
    if (!test::HaveTool("sfdisk")) GTEST_SKIP() << "sfdisk missing";
    const fs::path image = test::Partitioned(
        "three.img",
        "label: dos\\nlabel-id: 0x12ab34cd\\nstart=2048, size=20480, type=c, bootable\\n"
        "start=22528, size=20480, type=83\\nstart=43008, size=8192, type=6\\n");
    const test::ToolResult r = test::RunTool("partitions '" + image.string() + "'");
    EXPECT_EQ(r.status, 0);
    // The tool shows the figures, numbered as sfdisk counts, not the package's test fields.
    EXPECT_EQ(r.output, image.string() + ": disk signature 0x12AB34CD\n" +
                            "number  type                  start (bytes)   size (bytes)\n"
                            "     1  0x0C FAT32 (LBA)            1048576       10485760  boot\n"
                            "     2  0x83 Linux                 11534336       10485760\n"
                            "     3  0x06 FAT16                 22020096        4194304\n");
    const test::ToolResult j = test::RunTool("partitions '" + image.string() + "' --json");
    EXPECT_NE(j.output.find("\"index\":0,\"type\":\"0x0C\",\"typeName\":\"FAT32 (LBA)\",\"number\":"
                            "1,\"startingOffset\":1048576,\"length\":10485760,\"hiddenSectors\":"
                            "2048,\"boot\":true,\"recognized\":true}"),
              std::string::npos)
        << j.output;
    // An extended partition brings more entries than the layout buffer holds.
    const fs::path crowded =
        test::Partitioned("logical.img",
                          "label: dos\\nstart=2048, size=20480, type=c\\nstart=22528, type=5\\n"
                          "start=24576, size=4096, type=83\\n");
    EXPECT_EQ(test::RunTool("partitions '" + crowded.string() + "'").status, 1);

    // A folder mapped to a letter has no disk behind it.
    if (test::RunCommand("stat -f -c %T /dev/shm 2>/dev/null").output == "tmpfs\n") {
        EXPECT_EQ(test::RunCommand("TN_DRIVES=R=/dev/shm '" TN_TNPKG_PATH "' partitions R 2>&1")
                      .output.rfind("tnpkg partitions: while reading R: CreateFile mit '", 0),
                  0u);
    }
}

}  // namespace
}  // namespace tn
