#include <tnpackage/persist/TPSaveList.h>

#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <memory>
#include <random>

#include "support/RunTool.h"
#include "support/Scratch.h"

namespace {

using Offsets = std::vector<std::ptrdiff_t>;

// Notes where the records it is handed start and end, and reads each one completely, so that a
// record reaching past its region shows up under the address sanitizer.
struct Collector : tn::TPSaveList {
    const unsigned char* base = nullptr;
    Offsets seen, ends;
    int AddData(tn::TPSaveObject* r) override {
        const auto* bytes = reinterpret_cast<const unsigned char*>(r);
        const std::vector<unsigned char> copy(bytes, bytes + r->Size);
        seen.push_back(bytes - base);
        ends.push_back(seen.back() + static_cast<std::ptrdiff_t>(copy.size()));
        return 1;
    }
};

void PutRecord(unsigned char* p, std::uint16_t size, std::uint16_t version, std::uint16_t stride,
               std::uint16_t state, std::uint16_t checksum = 0) {
    const std::uint16_t words[] = {0x4B5A, size, 5, version, stride, state, checksum, 0xFFFF};
    std::memcpy(p, words, sizeof words);
}

TEST(LoadObject, StepsAsTheRecordsSayWithOrWithoutTheRegionsEnd) {
    std::vector<unsigned char> region(144, 0);
    PutRecord(&region[0], 40, 1, 0xFFFF, 0x7FFF);  // live, stride unset: the size is the step
    PutRecord(&region[40], 20, 1, 24, 0x3FFF);     // deleted, padded to 24
    PutRecord(&region[96], 32, 2, 0, 0x1555);      // live again; stride 0: the size is the step
    PutRecord(&region[128], 0, 1, 0, 0x7FFF);      // size and stride 0: 4 bytes, never 0
    // offset, minimum version, handed to AddData, next offset; 64 to 95 is zeros (version 0).
    const std::tuple<std::ptrdiff_t, int, bool, std::ptrdiff_t> steps[] = {
        {0, 1, true, 40},   {40, 1, false, 64}, {64, 1, false, 68},
        {64, 0, false, 68}, {96, 1, true, 128}, {128, 1, true, 132}};
    for (bool bounded : {false, true}) {
        Collector c;
        c.base = region.data();
        for (auto [at, minimum, live, next] : steps) {
            auto* cursor = reinterpret_cast<unsigned short*>(&region[static_cast<std::size_t>(at)]);
            EXPECT_EQ(bounded ? c.LoadObject(cursor, region.data() + region.size(), minimum)
                              : c.LoadObject(cursor, minimum),
                      live);
            EXPECT_EQ(reinterpret_cast<unsigned char*>(cursor) - region.data(), next) << at;
        }
        EXPECT_EQ(c.seen, (Offsets{0, 96, 128}));
    }
    Collector c;  // whole regions (a scan through zeros would land inside the record at 96)
    EXPECT_EQ(c.LoadRegion(region.data(), 64, 1) + c.LoadRegion(&region[96], 48, 1), 3);
}

TEST(LoadObject, StaysInsideItsRegion) {
    const std::size_t n = 48;  // an exactly sized block: any read past it is caught
    const auto block = std::make_unique<unsigned char[]>(n);
    const unsigned char* end = block.get() + n;
    Collector c;
    c.base = block.get();
    for (std::uint16_t size :
         {std::uint16_t{200},
          std::uint16_t{40}}) {  // claims more than there is; fits, then a short tail
        PutRecord(block.get(), size, 1, size, 0x7FFF);
        auto* cursor = reinterpret_cast<unsigned short*>(block.get());
        EXPECT_EQ(c.LoadObject(cursor, end, 1), size == 40);
        EXPECT_FALSE(c.LoadObject(cursor, end, 1));
        EXPECT_EQ(reinterpret_cast<unsigned char*>(cursor), end);
    }
    unsigned short* none = nullptr;
    EXPECT_FALSE(c.LoadObject(none, end, 1) || c.LoadObject(none, 1));
    EXPECT_EQ(c.LoadRegion(nullptr, 10, 1), 0);
    EXPECT_EQ(c.ends, Offsets{40});
}

TEST(LoadObject, ScansRandomBytesSafely) {
    std::mt19937 random(20240611);
    for (int round = 0; round < 300; ++round) {
        const std::size_t n = 1 + random() % 600;
        const auto block = std::make_unique<unsigned char[]>(n);
        for (std::size_t i = 0; i < n; ++i)
            block[i] = static_cast<unsigned char>(random());
        for (std::size_t at = 0; at + 16 <= n; at += 4 + 4 * (random() % 8)) {
            if (random() % 3 == 0)  // plausible headers among the noise
                PutRecord(&block[at], static_cast<std::uint16_t>(random() % 300),
                          static_cast<std::uint16_t>(random() % 3),
                          static_cast<std::uint16_t>(random() % 2 ? random() % 64 : 0xFFFF),
                          static_cast<std::uint16_t>(random()));
        }
        Collector c;
        c.base = block.get();
        const std::size_t skew = random() % 2;  // odd starts as well
        const int handed = c.LoadRegion(block.get() + skew, n - skew, 1);
        EXPECT_EQ(handed, static_cast<int>(c.seen.size()));
        for (std::ptrdiff_t e : c.ends)
            EXPECT_LE(e, static_cast<std::ptrdiff_t>(n));
    }
}

TEST(RecordsCommand, ListsTheLiveRecordsOfAFile) {
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
    EXPECT_EQ(tn::test::RunTool("records '" + path + "'").output,
              heading +
                  "0x00000000      5        1     25  0x001C  0x7FFF  valid\n"
                  "0x00000038      5        3     25  0xFFFF  0x7FFF  invalid\n");
    EXPECT_EQ(tn::test::RunTool("records '" + path + "' --min-version 4").output, heading);
    const std::pair<std::string, int> statuses[] = {{"'" + path + "'", 0},
                                                    {"", 2},
                                                    {"'" + path + "' --min-version x", 2},
                                                    {"'" + path + "' --bogus", 2},
                                                    {"'" + path + ".missing'", 1},
                                                    {"--help", 0}};
    for (const auto& [arguments, status] : statuses)
        EXPECT_EQ(tn::test::RunTool("records " + arguments).status, status) << arguments;
}

}  // namespace
