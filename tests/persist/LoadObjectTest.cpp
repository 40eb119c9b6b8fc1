#include <tnpackage/persist/TPSaveList.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "PersistTestSupport.h"

using tn::TPSaveList;
using tn::TPSaveObject;

namespace {

// Remembers the records it is handed and reads each one completely, so that a record reaching
// past its region shows up under the address sanitizer.
class Collector : public TPSaveList {
  public:
    std::vector<const unsigned char*> seen;
    unsigned checksum = 0;
    int AddData(TPSaveObject* object) override {
        seen.push_back(reinterpret_cast<const unsigned char*>(object));
        const auto* bytes = reinterpret_cast<const unsigned char*>(object);
        for (int i = 0; i < object->Size; ++i)
            checksum += bytes[i];
        checksum += object->CheckSumValid() ? 1u : 0u;
        return 1;
    }
};

// Writes a header into a byte buffer.
void PutRecord(unsigned char* p, std::uint16_t size, std::uint16_t version, std::uint16_t stride,
               std::uint16_t state) {
    const std::uint16_t words[] = {0x4B5A, size, 1, version, stride, state, 0, 0xFFFF};
    std::memcpy(p, words, sizeof words);
}

unsigned short* At(std::vector<unsigned char>& region, std::size_t offset) {
    return reinterpret_cast<unsigned short*>(region.data() + offset);
}

std::size_t Offset(std::vector<unsigned char>& region, unsigned short* cursor) {
    return static_cast<std::size_t>(reinterpret_cast<unsigned char*>(cursor) - region.data());
}

TEST(LoadObject, StepsAsTheRecordsSay) {
    std::vector<unsigned char> region(256, 0);
    PutRecord(region.data() + 0, 40, 1, 0xFFFF, 0x7FFF);  // live, stride not set
    PutRecord(region.data() + 40, 20, 1, 24, 0x3FFF);     // deleted, padded to 24
    // 64 to 95: zero bytes, version 0, too old for a minimum of 1
    PutRecord(region.data() + 96, 16, 2, 16, 0x1555);  // live again after reactivation

    Collector c;
    unsigned short* cursor = At(region, 0);
    EXPECT_TRUE(c.LoadObject(cursor, 1));
    EXPECT_EQ(Offset(region, cursor), 40u);
    EXPECT_FALSE(c.LoadObject(cursor, 1));
    EXPECT_EQ(Offset(region, cursor), 64u);
    EXPECT_FALSE(c.LoadObject(cursor, 1));  // below the minimum version: 4 bytes on
    EXPECT_EQ(Offset(region, cursor), 68u);
    cursor = At(region, 96);
    EXPECT_TRUE(c.LoadObject(cursor, 1));
    EXPECT_EQ(Offset(region, cursor), 112u);
    ASSERT_EQ(c.seen.size(), 2u);
    EXPECT_EQ(c.seen[0], region.data());
    EXPECT_EQ(c.seen[1], region.data() + 96);

    // The bounded form gives the same answers inside the region.
    Collector bounded;
    cursor = At(region, 0);
    const unsigned char* end = region.data() + region.size();
    EXPECT_TRUE(bounded.LoadObject(cursor, end, 1));
    EXPECT_EQ(Offset(region, cursor), 40u);
    EXPECT_FALSE(bounded.LoadObject(cursor, end, 1));
    EXPECT_EQ(Offset(region, cursor), 64u);
    EXPECT_FALSE(bounded.LoadObject(cursor, end, 1));
    EXPECT_EQ(Offset(region, cursor), 68u);
    cursor = At(region, 96);
    EXPECT_TRUE(bounded.LoadObject(cursor, end, 1));
    EXPECT_EQ(Offset(region, cursor), 112u);

    // Zero bytes are version 0: with minimum 0 they count as records that are not live, and
    // with the stride unset and size 0 the scan still moves on.
    Collector zeros;
    EXPECT_FALSE(zeros.LoadObject(cursor, end, 0));
    EXPECT_EQ(Offset(region, cursor), 116u);
    EXPECT_EQ(zeros.LoadRegion(region.data(), 64, 1), 1);
    EXPECT_EQ(zeros.LoadRegion(region.data() + 96, 160, 1), 1);
}

TEST(LoadObject, NeverStandsStill) {
    std::vector<unsigned char> region(64, 0);
    PutRecord(region.data(), 32, 1, 0, 0x7FFF);      // stride 0: the size is the step
    PutRecord(region.data() + 32, 0, 1, 0, 0x7FFF);  // stride and size 0: 4 bytes
    Collector c;
    unsigned short* cursor = At(region, 0);
    EXPECT_TRUE(c.LoadObject(cursor, 1));
    EXPECT_EQ(Offset(region, cursor), 32u);
    EXPECT_TRUE(c.LoadObject(cursor, 1));
    EXPECT_EQ(Offset(region, cursor), 36u);
    EXPECT_EQ(Collector().LoadRegion(region.data(), region.size(), 1), 2);
}

TEST(LoadObject, StaysInsideItsRegion) {
    // An exactly sized heap block, so that any read past it is caught by the sanitizer.
    const std::size_t n = 48;
    auto block = std::make_unique<unsigned char[]>(n);
    std::memset(block.get(), 0, n);
    PutRecord(block.get(), 200, 1, 0xFFFF, 0x7FFF);  // claims more than there is
    Collector c;
    auto* cursor = reinterpret_cast<unsigned short*>(block.get());
    const unsigned char* end = block.get() + n;
    EXPECT_FALSE(c.LoadObject(cursor, end, 1));
    EXPECT_EQ(reinterpret_cast<unsigned char*>(cursor), end);
    EXPECT_FALSE(c.LoadObject(cursor, end, 1));  // at the end: nothing more
    EXPECT_TRUE(c.seen.empty());

    // A tail shorter than a header ends the scan.
    PutRecord(block.get(), 40, 1, 40, 0x7FFF);
    cursor = reinterpret_cast<unsigned short*>(block.get());
    EXPECT_TRUE(c.LoadObject(cursor, end, 1));
    EXPECT_EQ(reinterpret_cast<unsigned char*>(cursor), block.get() + 40);
    EXPECT_FALSE(c.LoadObject(cursor, end, 1));
    EXPECT_EQ(reinterpret_cast<unsigned char*>(cursor), end);

    unsigned short* none = nullptr;
    EXPECT_FALSE(c.LoadObject(none, end, 1));
    EXPECT_FALSE(c.LoadObject(none, 1));
    EXPECT_EQ(c.LoadRegion(nullptr, 10, 1), 0);
}

TEST(LoadObject, ScansRandomBytesSafely) {
    std::mt19937 random(20240611);
    for (int round = 0; round < 300; ++round) {
        const std::size_t n = 1 + random() % 600;
        auto block = std::make_unique<unsigned char[]>(n);
        for (std::size_t i = 0; i < n; ++i)
            block[i] = static_cast<unsigned char>(random());
        // Sprinkle headers with plausible fields among the noise.
        for (std::size_t at = 0; at + 16 <= n; at += 4 + 4 * (random() % 8)) {
            if (random() % 3 == 0) {
                PutRecord(block.get() + at, static_cast<std::uint16_t>(random() % 300),
                          static_cast<std::uint16_t>(random() % 3),
                          static_cast<std::uint16_t>(random() % 2 ? random() % 64 : 0xFFFF),
                          static_cast<std::uint16_t>(random()));
            }
        }
        // Odd starts as well: records at odd addresses are not handed out.
        const std::size_t skew = random() % 2;
        Collector c;
        const int found = c.LoadRegion(block.get() + skew, n - skew, 1);
        EXPECT_EQ(found, static_cast<int>(c.seen.size()));
        for (const unsigned char* r : c.seen) {
            std::uint16_t size = 0;
            std::memcpy(&size, r + 2, 2);
            EXPECT_LE(r + size, block.get() + n);
        }
    }
}

TEST(RecordChecksum, MatchesPythonsCrcHqxOnRandomPayloads) {
    const char* folder = std::getenv("TN_TEST_TMP");
    const std::string dir = folder != nullptr ? folder : "/tmp";
    std::mt19937 random(7);
    for (int round = 0; round < 4; ++round) {
        struct Blob : TPSaveObject {
            unsigned char payload[200];
        } blob;
        blob.Size = static_cast<std::uint16_t>(16 + 1 + random() % 200);
        for (auto& b : blob.payload)
            b = static_cast<unsigned char>(random());
        const std::string path = dir + "/payload" + std::to_string(round) + ".bin";
        std::filesystem::create_directories(dir);
        FILE* f = std::fopen(path.c_str(), "wb");
        ASSERT_NE(f, nullptr);
        std::fwrite(blob.payload, 1, blob.Size - 16u, f);
        std::fclose(f);
        const std::string command =
            "python3 -c \"import "
            "binascii,sys;print(binascii.crc_hqx(open(sys.argv[1],'rb').read(),0))\" " +
            path;
        FILE* p = popen(command.c_str(), "r");
        ASSERT_NE(p, nullptr);
        unsigned expected = 0;
        ASSERT_EQ(std::fscanf(p, "%u", &expected), 1);
        pclose(p);
        EXPECT_EQ(blob.CheckSumme(), expected);
        std::filesystem::remove(path);
    }
}

}  // namespace
