// The records command lists what a scan of a file finds.
#include <tnpackage/tnpackage.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "support/RunTool.h"

using tn::test::RunTool;

namespace {

struct Named : tn::TPSaveObject {
    char name[9];
    explicit Named(const char* text) : tn::TPSaveObject(5, 25, 1) {
        std::memcpy(name, text, sizeof name);
    }
};

std::string Scratch(const char* file) {
    const char* folder = std::getenv("TN_TEST_TMP");
    const std::filesystem::path dir = folder != nullptr
                                          ? std::filesystem::path(folder)
                                          : std::filesystem::temp_directory_path() / "tn-persist";
    std::filesystem::create_directories(dir);
    return (dir / file).string();
}

TEST(RecordsCommand, ListsTheLiveRecordsOfAFile) {
    std::vector<char> image;
    auto writer = [&](int, char b) { image.push_back(b); };
    int address = 0;
    Named first("123456789");
    first.Stride = 25;
    char pad[4];
    char* cursor = pad;
    first.BlindAnhang(cursor, 4, '\xFF');  // stride 28
    first.Save(address, writer);
    image.insert(image.end(), pad, cursor);
    Named gone("deleted!!");
    gone.State = 0x3FFF;
    gone.Stride = 28;
    gone.Save(address, writer);  // the stream carries the deleted state
    image.insert(image.end(), 3, '\xFF');
    Named stale("stale sum");
    stale.CheckSum = 0x1234;
    stale.Version = 3;
    stale.Save(address, writer);
    image.insert(image.end(), 8, '\0');

    const std::string path = Scratch("records.bin");
    std::ofstream(path, std::ios::binary).write(image.data(), static_cast<long>(image.size()));

    const auto all = RunTool("records '" + path + "'");
    EXPECT_EQ(all.status, 0);
    EXPECT_EQ(all.output,
              "offset       type  version   size  stride  state   checksum\n"
              "0x00000000      5        1     25  0x001C  0x7FFF  valid\n"
              "0x00000038      5        3     25  0xFFFF  0x7FFF  invalid\n");

    // Above every version: the scan walks the file in 4-byte steps and lists nothing.
    const auto none = RunTool("records '" + path + "' --min-version 4");
    EXPECT_EQ(none.status, 0);
    EXPECT_EQ(none.output, "offset       type  version   size  stride  state   checksum\n");

    EXPECT_EQ(RunTool("records").status, 2);
    EXPECT_EQ(RunTool("records '" + path + "' --min-version x").status, 2);
    EXPECT_EQ(RunTool("records '" + path + "' --bogus").status, 2);
    EXPECT_EQ(RunTool("records '" + path + ".missing'").status, 1);
    EXPECT_EQ(RunTool("records --help").status, 0);
    std::filesystem::remove(path);
}

}  // namespace
