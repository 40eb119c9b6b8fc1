// New volumes against mkfs.fat: the same parameter block for the same size, and fsck.fat finds
// nothing wrong with them.
#include <gtest/gtest.h>
#include <tnpackage/storage/FatFormat.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <vector>

#include "support/FatImages.h"
#include "support/Scratch.h"

namespace tn {
namespace {

void WriteImage(const std::filesystem::path& image, const std::vector<std::uint8_t>& area,
                std::uint64_t bytes) {
    std::ofstream out(image, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(area.data()),
              static_cast<std::streamsize>(area.size()));
    std::filesystem::resize_file(image, bytes);
}

TEST(FatFormat, LaysOutWhatMkfsLaysOut) {
    TN_REQUIRE_FAT_TOOLS();
    const auto folder = test::ScratchFolder();
    for (const int kib : {64, 1000, 4200, 20000, 200000}) {
        SCOPED_TRACE(kib);
        const std::uint64_t bytes = std::uint64_t{static_cast<unsigned>(kib)} * 1024;
        const auto geometry = ChooseFatGeometry(bytes);
        ASSERT_TRUE(geometry.has_value());
        const auto ours = folder / "ours.img";
        WriteImage(ours, FatSystemArea(*geometry, "FLUG", 0x12345678, 0x5A8F6C21), bytes);
        ASSERT_TRUE(test::MakeFatImage(folder / "mkfs.img", kib,
                                       "-F " + std::to_string(geometry->fatBits) + " -r 512"));
        const auto theirs = test::LoadPrefix(folder / "mkfs.img");
        const auto mine = test::LoadPrefix(ours);
        // From bytes per sector to the 32-bit total: the whole geometry, hidden sectors aside.
        EXPECT_EQ(0, std::memcmp(mine.data() + 11, theirs.data() + 11, 28 - 11));
        EXPECT_EQ(0, std::memcmp(mine.data() + 32, theirs.data() + 32, 4));
        const auto check = test::RunCommand("fsck.fat -n " + test::Shell(ours.string()) + " 2>&1");
        EXPECT_EQ(check.status, 0) << check.output;
        const auto label = test::Mtools("mlabel -s -i " + test::Shell(ours.string()) + " ::");
        EXPECT_NE(label.output.find("FLUG"), std::string::npos) << label.output;
    }
}

TEST(FatFormat, RefusesWhatFatCannotHold) {
    std::string reason;
    EXPECT_FALSE(ChooseFatGeometry(kFatFormatMinBytes - 1, {}, reason).has_value());
    EXPECT_FALSE(reason.empty());
    reason.clear();
    EXPECT_FALSE(ChooseFatGeometry(256ull * 1024 * 1024, {12, 0}, reason).has_value());
    EXPECT_NE(reason.find("FAT12"), std::string::npos) << reason;
    reason.clear();
    EXPECT_FALSE(ChooseFatGeometry(1024 * 1024, {16, 3000}, reason).has_value());
    EXPECT_FALSE(reason.empty());

    // A geometry no choice made gets no system area rather than one that overruns itself.
    FatGeometry bogus;
    bogus.sectorsPerFat = 1;
    bogus.rootEntries = 1;
    EXPECT_TRUE(FatSystemArea(bogus, "LABEL", 0, 0).empty());

    std::string label = "flug 7";
    EXPECT_TRUE(CheckVolumeLabel(label).empty());
    EXPECT_EQ(label, "FLUG 7");
    for (const char* bad : {"TWELVE CHARS", " LEADING", "A/B", "\xE4"}) {
        std::string text = bad;
        EXPECT_FALSE(CheckVolumeLabel(text).empty()) << bad;
    }
}

}  // namespace
}  // namespace tn
