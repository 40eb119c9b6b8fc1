// The identity a drive listing shows for a FAT volume, read from boot sectors mkfs.fat wrote.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <vector>

#include "storage/fat/FatBootIdentity.h"
#include "support/FatImages.h"
#include "support/Scratch.h"

namespace tn {
namespace {

TEST(FatBootIdentity, ReadsWhatMkfsWrote) {
    TN_REQUIRE_FAT_TOOLS();
    const auto image = test::ScratchFolder() / "card.img";
    struct Case {
        int kib;
        const char* options;
        const char* fileSystem;
        std::uint32_t serial;
        const char* label;
    };
    const Case cases[] = {
        {1440, "-F 12 -i 1A2B3C4D -n FLUG2024", "FAT", 0x1A2B3C4Du, "FLUG2024"},
        {16384, "-F 16 -i DEADBEEF -n 'MY CARD'", "FAT", 0xDEADBEEFu, "MY CARD"},
        {40960, "-F 32 -i 01020304 -n LOGGER", "FAT32", 0x01020304u, "LOGGER"},
        {1440, "-F 12 -i 00C0FFEE", "FAT", 0x00C0FFEEu, ""},  // "NO NAME" means none
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.options);
        ASSERT_TRUE(test::MakeFatImage(image, c.kib, c.options));
        const auto sector = test::LoadPrefix(image);
        const auto id = fat::ReadBootIdentity(sector.data(), sector.size());
        ASSERT_TRUE(id.has_value());
        EXPECT_EQ(id->fileSystem, c.fileSystem);
        EXPECT_EQ(id->serial, c.serial);
        EXPECT_EQ(id->label, c.label);
    }

    // Without the extended signature there is neither id nor label; without the boot
    // signature, or with too few bytes, the sector is no boot sector at all.
    ASSERT_TRUE(test::MakeFatImage(image, 1440, "-F 12 -n X"));
    auto sector = test::LoadPrefix(image);
    EXPECT_FALSE(fat::ReadBootIdentity(sector.data(), 511).has_value());
    EXPECT_FALSE(fat::ReadBootIdentity(nullptr, 512).has_value());
    sector[38] = 0x28;
    EXPECT_FALSE(fat::ReadBootIdentity(sector.data(), sector.size()).has_value());
    sector[38] = 0x29;
    sector[511] = 0;
    EXPECT_FALSE(fat::ReadBootIdentity(sector.data(), sector.size()).has_value());
}

}  // namespace
}  // namespace tn
