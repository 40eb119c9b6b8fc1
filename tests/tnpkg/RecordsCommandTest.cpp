// `tnpkg records` lists the live records of a file as the package's scan finds them.
#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include "support/RunTool.h"
#include "support/Scratch.h"

namespace {

using Word = unsigned long;

// A record header: magic "ZK", size, type 5, version, stride, state, checksum, 0xFFFF.
void PutRecord(unsigned char* p, Word size, Word version, Word stride, Word state, Word sum = 0) {
    for (Word word : {0x4B5Aul, size, 5ul, version, stride, state, sum, 0xFFFFul}) {
        *p++ = static_cast<unsigned char>(word);
        *p++ = static_cast<unsigned char>(word >> 8);
    }
}

TEST(RecordsCommand, ListsTheLiveRecordsOfAFile) {
    TN_REQUIRE_SHELL();
    std::vector<unsigned char> image(89, 0);
    PutRecord(&image[0], 25, 1, 28, 0x7FFF, 0x31C3);  // CRC-16/XMODEM of "123456789"
    PutRecord(&image[28], 25, 1, 28, 0x3FFF);
    PutRecord(&image[56], 25, 3, 0xFFFF, 0x7FFF, 0x1234);
    std::memcpy(&image[16], "123456789", 9);
    std::memcpy(&image[72], "123456789", 9);
    const std::string path = (tn::test::ScratchFolder() / "records.bin").string();
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(image.data()), static_cast<long>(image.size()));
    const std::string heading = "offset       type  version   size  stride  state   checksum\n";
    // A record whose checksum fails is passed over (a power cut in the middle of writing it
    // leaves one); --all shows it, marked.
    EXPECT_EQ(tn::test::RunTool("records '" + path + "'").output,
              heading + "0x00000000      5        1     25  0x001C  0x7FFF  valid\n");
    EXPECT_EQ(tn::test::RunTool("records '" + path + "' --all").output,
              heading +
                  "0x00000000      5        1     25  0x001C  0x7FFF  valid\n"
                  "0x00000038      5        3     25  0xFFFF  0x7FFF  invalid  damaged\n");
    EXPECT_EQ(tn::test::RunTool("records '" + path + "' --min-version 4").output, heading);
    EXPECT_EQ(tn::test::RunTool("records").status, 2);
    EXPECT_EQ(tn::test::RunTool("records '" + path + "' --min-version x").status, 2);
    EXPECT_EQ(tn::test::RunTool("records '" + path + ".missing'").status, 1);
}

}  // namespace
