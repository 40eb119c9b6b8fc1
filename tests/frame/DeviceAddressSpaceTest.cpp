#include <gtest/gtest.h>
#include <tnpackage/tnpackage.h>

#include <array>
#include <cstdint>

using namespace tn;

class DeviceAddressSpaceTest : public testing::Test {
  protected:
    void TearDown() override { DeviceAddressSpace::Clear(); }
    std::array<unsigned char, 0x1000> image{};
    std::array<unsigned char, 0x100> flash{};
};

TEST_F(DeviceAddressSpaceTest, TranslatesBothWaysInsideAWindowOnly) {
    ASSERT_TRUE(DeviceAddressSpace::Map(0x60000000, image.data(), 0x1000));
    EXPECT_EQ(DeviceAddressSpace::ToHost(0x60000000), image.data());
    EXPECT_EQ(DeviceAddressSpace::ToHost(0x60000FFF), image.data() + 0xFFF);
    EXPECT_EQ(DeviceAddressSpace::ToHost(0x60001000), nullptr);  // one past the end
    EXPECT_EQ(DeviceAddressSpace::ToHost(0x5FFFFFFF), nullptr);
    EXPECT_EQ(DeviceAddressSpace::ToHost(0x60000FFC, 4), image.data() + 0xFFC);
    EXPECT_EQ(DeviceAddressSpace::ToHost(0x60000FFD, 4), nullptr);  // would run past the end

    EXPECT_EQ(DeviceAddressSpace::ToDevice(image.data() + 0x123), 0x60000123u);
    EXPECT_FALSE(DeviceAddressSpace::ToDevice(image.data() + image.size()).has_value());
    EXPECT_FALSE(DeviceAddressSpace::ToDevice(flash.data()).has_value());
    EXPECT_TRUE(DeviceAddressSpace::InInstrumentRange(image.data() + 5));
}

TEST_F(DeviceAddressSpaceTest, RejectsOverlapsAndRangesBeyondThirtyTwoBits) {
    ASSERT_TRUE(DeviceAddressSpace::Map(DeviceAddressSpace::kFlashBase, flash.data(), 0x100));
    EXPECT_FALSE(DeviceAddressSpace::Map(DeviceAddressSpace::kFlashBase + 0xFF, image.data(), 16));
    EXPECT_TRUE(DeviceAddressSpace::Map(DeviceAddressSpace::kFlashBase + 0x100, image.data(), 16));
    EXPECT_FALSE(DeviceAddressSpace::Map(0xFFFFFFF0u, image.data() + 16, 0x20));
    EXPECT_TRUE(DeviceAddressSpace::Map(0xFFFFFFF0u, image.data() + 16, 0x10));
    EXPECT_EQ(DeviceAddressSpace::ToHost(0xFFFFFFFFu), image.data() + 31);
    EXPECT_FALSE(DeviceAddressSpace::Map(0, nullptr, 16));
    EXPECT_FALSE(DeviceAddressSpace::Map(0, image.data(), 0));
    EXPECT_FALSE(DeviceAddressSpace::InInstrumentRange(flash.data()));
    EXPECT_EQ(DeviceAddressSpace::WindowCount(), 3);

    EXPECT_TRUE(DeviceAddressSpace::Unmap(DeviceAddressSpace::kFlashBase));
    EXPECT_FALSE(DeviceAddressSpace::Unmap(DeviceAddressSpace::kFlashBase));
    EXPECT_EQ(DeviceAddressSpace::ToHost(DeviceAddressSpace::kFlashBase), nullptr);
    DeviceAddressSpace::UnmapHost(image.data());
    EXPECT_EQ(DeviceAddressSpace::WindowCount(), 1);
}

TEST_F(DeviceAddressSpaceTest, HasALimitedNumberOfWindows) {
    for (int i = 0; i < DeviceAddressSpace::kMaxWindows; ++i) {
        ASSERT_TRUE(
            DeviceAddressSpace::Map(static_cast<std::uint32_t>(i) * 0x100, image.data() + i, 1));
    }
    EXPECT_FALSE(DeviceAddressSpace::Map(0x100000, flash.data(), 1));
}

// Pointers between, below and above windows lie outside every one of them, however the
// windows come and go.
TEST_F(DeviceAddressSpaceTest, FindsPointersOnlyInsideTheWindowsLeftAfterUnmapping) {
    std::array<unsigned char, 0x300> block{};
    unsigned char* low = block.data();
    unsigned char* gap = block.data() + 0x100;
    unsigned char* high = block.data() + 0x200;
    ASSERT_TRUE(DeviceAddressSpace::Map(0x1000, low, 0x100));
    ASSERT_TRUE(DeviceAddressSpace::Map(0x3000, high, 0x100));
    EXPECT_EQ(DeviceAddressSpace::ToDevice(low + 0xFF), 0x10FFu);
    EXPECT_EQ(DeviceAddressSpace::ToDevice(high), 0x3000u);
    EXPECT_FALSE(DeviceAddressSpace::Contains(gap));
    EXPECT_FALSE(DeviceAddressSpace::Contains(high + 0x100));
    EXPECT_FALSE(DeviceAddressSpace::Contains(image.data()));

    ASSERT_TRUE(DeviceAddressSpace::Unmap(0x1000));
    EXPECT_FALSE(DeviceAddressSpace::Contains(low));
    EXPECT_EQ(DeviceAddressSpace::ToDevice(high + 0x10), 0x3010u);
    ASSERT_TRUE(DeviceAddressSpace::Map(0x2000, gap, 0x100));
    EXPECT_EQ(DeviceAddressSpace::ToDevice(gap + 1), 0x2001u);
    DeviceAddressSpace::UnmapHost(high);
    EXPECT_FALSE(DeviceAddressSpace::Contains(high));
    EXPECT_TRUE(DeviceAddressSpace::Contains(gap));
    DeviceAddressSpace::Clear();
    EXPECT_FALSE(DeviceAddressSpace::Contains(gap));
    EXPECT_EQ(DeviceAddressSpace::WindowCount(), 0);
}
