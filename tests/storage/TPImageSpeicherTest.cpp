// The image as a medium: bounds-checked sector transfers, mapping into the device address
// space, and which buffers its destructor may free.
#include <tnpackage/tnpackage.h>

#include <array>
#include <cstring>

#include "storage/ImageTestSupport.h"

namespace {

using namespace imagetest;
using tn::DeviceAddressSpace;
using tn::TPImageSpeicher;
using tn::TPSpeicher;

class TPImageSpeicherTest : public ImageTest {
  protected:
    void TearDown() override {
        DeviceAddressSpace::Clear();
        ImageTest::TearDown();
    }
};

using Sector = std::array<char, TPImageSpeicher::kSectorSize>;

TEST_F(TPImageSpeicherTest, BlocksMoveWholeSectorsInsideTheBuffer) {
    TPImageSpeicher image("BLOCKS", 2048);
    TPSpeicher& medium = image;  // the FAT volume sees only the base class
    Sector written{};
    for (std::size_t i = 0; i < written.size(); ++i)
        written[i] = static_cast<char>(i * 7);

    medium.WriteBlock(written.data(), 1536);  // the last sector
    medium.WriteBlock(written.data(), 100);   // unaligned but inside
    Sector read{};
    medium.ReadBlock(read.data(), 1536);
    EXPECT_EQ(read, written);
    EXPECT_EQ(std::memcmp(image.Buffer + 100, written.data(), written.size()), 0);
    EXPECT_EQ(image.Buffer[99], '\xFF');
    EXPECT_EQ(image.Buffer[612], '\xFF');
    EXPECT_TRUE(Warnings().empty());
}

TEST_F(TPImageSpeicherTest, BlocksReachingOutsideTheBufferAreRefusedWithAWarning) {
    TPImageSpeicher image("EDGES", 1024);
    Sector ones{};
    ones.fill('\x01');
    const std::string before(image.Buffer, 1024);
    for (const std::int64_t address :
         {std::int64_t{513}, std::int64_t{-1}, std::int64_t{1024}, std::int64_t{1} << 40}) {
        image.WriteBlock(ones.data(), address);
    }
    EXPECT_EQ(std::string(image.Buffer, 1024), before);

    Sector read{};
    read.fill('\x02');
    image.ReadBlock(read.data(), 1023);
    EXPECT_EQ(read[0], '\x02');
    ASSERT_EQ(Warnings().size(), 5u);
    EXPECT_EQ(Warnings()[0],
              "Sektor au\xDF"
              "erhalb von 'Speicher' (Adresse 513)");
    EXPECT_EQ(Warnings()[1],
              "Sektor au\xDF"
              "erhalb von 'Speicher' (Adresse -1)");
    EXPECT_EQ(Warnings()[3],
              "Sektor au\xDF"
              "erhalb von 'Speicher' (Adresse 1099511627776)");

    // An image smaller than a sector has no block at all.
    TPImageSpeicher tiny("TINY", 100);
    tiny.ReadBlock(read.data(), 0);
    EXPECT_EQ(Warnings().size(), 6u);
}

TEST_F(TPImageSpeicherTest, MappedImageIsReachedByDeviceAddressAndUnmappedOnDestruction) {
    {
        TPImageSpeicher image("MAPPED", 4096);
        ASSERT_TRUE(image.MapAt(0x00100000));
        EXPECT_EQ(image.DeviceBase(), 0x00100000u);
        EXPECT_EQ(DeviceAddressSpace::ToHost(0x00100000), image.Buffer);
        EXPECT_EQ(DeviceAddressSpace::ToHost(0x00100FFF), image.Buffer + 4095);
        EXPECT_EQ(DeviceAddressSpace::ToHost(0x00101000), nullptr);
        EXPECT_EQ(DeviceAddressSpace::ToDevice(image.Buffer + 10), 0x0010000Au);

        // Moving it elsewhere drops the first window; a taken range is refused and the image
        // keeps its window.
        ASSERT_TRUE(image.MapAt(0x00200000));
        EXPECT_EQ(DeviceAddressSpace::ToHost(0x00100000), nullptr);
        TPImageSpeicher other("OTHER", 512);
        EXPECT_FALSE(other.MapAt(0x00200800));
        EXPECT_FALSE(other.DeviceBase().has_value());
        EXPECT_EQ(DeviceAddressSpace::WindowCount(), 1);
    }
    EXPECT_EQ(DeviceAddressSpace::WindowCount(), 0);
    TPImageSpeicher empty("EMPTY", 0);
    EXPECT_FALSE(empty.MapAt(0x00300000));
}

TEST_F(TPImageSpeicherTest, BufferInTheInstrumentRangeIsNeverFreed) {
    char* kept = nullptr;
    {
        TPImageSpeicher image("DEVICE", 256);
        image.Buffer[0] = 'D';
        ASSERT_TRUE(image.MapAt(DeviceAddressSpace::kInstrumentBase));
        kept = image.Buffer;
    }
    // Still readable (a sanitizer run reports a use after free here if it was released), and
    // the image's own window is gone.
    EXPECT_EQ(kept[0], 'D');
    EXPECT_EQ(DeviceAddressSpace::WindowCount(), 0);
    EXPECT_EQ(ReadFile(Image("DEVICE"))[0], 'D');
    delete[] kept;  // the device side's memory in this test is ours to release
}

TEST_F(TPImageSpeicherTest, WindowsOntoAFreedBufferAreRemovedWithIt) {
    {
        TPImageSpeicher image("SHARED", 256);
        // Mapped by someone else below the instrument range: the buffer is freed, and the
        // window must not outlive it.
        ASSERT_TRUE(DeviceAddressSpace::Map(0x00400000, image.Buffer, 256));
    }
    EXPECT_EQ(DeviceAddressSpace::ToHost(0x00400000), nullptr);
}

// A medium that brings its own memory instead of the image's buffer.
class BorrowingMedium : public TPImageSpeicher {
  public:
    BorrowingMedium(char* memory, int size) : TPImageSpeicher("BORROWED", size) {
        ReleaseBuffer();
        Buffer = memory;
    }
};

TEST_F(TPImageSpeicherTest, ABufferTheImageDidNotAllocateIsLeftAlone) {
    static char memory[1024];
    std::memset(memory, 'm', sizeof memory);
    {
        BorrowingMedium medium(memory, 1024);
        Sector read{};
        medium.ReadBlock(read.data(), 512);
        EXPECT_EQ(read[0], 'm');
    }
    // Saved from the borrowed memory, and not freed (freeing static memory would crash).
    EXPECT_EQ(ReadFile(Image("BORROWED")), std::string(1024, 'm'));
}

}  // namespace
