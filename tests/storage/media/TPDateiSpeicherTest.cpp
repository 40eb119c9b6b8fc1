// The image file medium reads through an in-memory chunk of the file: every block it returns and
// every block it writes must still be exactly the file's bytes, wherever the block lies.
#include <tnpackage/tnpackage.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "support/Files.h"
#include "support/Scratch.h"
#include "support/WarningCapture.h"

namespace tn {
namespace {

using test::ScratchFolder;
using test::WarningCapture;

std::vector<char> Pattern(std::size_t size) {
    std::vector<char> bytes(size);
    std::uint32_t x = 12345;
    for (char& c : bytes) {
        x = x * 1103515245u + 12345u;
        c = static_cast<char>(x >> 24);
    }
    return bytes;
}

std::vector<char> FileBytes(const std::filesystem::path& path) {
    const std::vector<unsigned char> bytes = tn::test::LoadBytes(path);
    return {bytes.begin(), bytes.end()};
}

void WriteFile(const std::filesystem::path& path, const std::vector<char>& bytes) {
    std::ofstream(path, std::ios::binary)
        .write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

TEST(TPDateiSpeicherTest, BlocksOfAnySizeAndPlaceMatchTheFileBeforeAndAfterWrites) {
    const auto path = ScratchFolder() / "medium.img";
    const std::int64_t origin = 1000;  // the medium starts inside the file, off any alignment
    std::vector<char> file = Pattern(3 * 65536 + 4000);
    WriteFile(path, file);
    WarningCapture warnings;
    TPDateiSpeicher medium(TPString::Trusted(path.string()), true, origin);
    ASSERT_TRUE(medium.IsOpen());
    const std::int64_t size = medium.MediumSize();
    ASSERT_EQ(size, static_cast<std::int64_t>(file.size()) - origin);

    // Block sizes that divide the chunk and one that makes blocks straddle two chunks; addresses
    // at the start, around every chunk boundary and at the very end of the medium.
    for (int blockSize : {512, 2048, 1000}) {
        medium.BlockSize = blockSize;
        std::vector<std::int64_t> addresses = {0, size - blockSize};
        for (std::int64_t boundary = 65536; boundary < size; boundary += 65536) {
            for (std::int64_t at : {boundary - blockSize, boundary - 1, boundary, boundary - 300}) {
                if (at >= 0 && at <= size - blockSize) addresses.push_back(at);
            }
        }
        for (std::int64_t address : addresses) {
            std::vector<char> block(static_cast<std::size_t>(blockSize));
            medium.ReadBlock(block.data(), address);
            const auto from = file.begin() + origin + address;
            EXPECT_TRUE(std::equal(block.begin(), block.end(), from))
                << "block size " << blockSize << " at " << address;
        }
        // A write lands in the file and in what later reads return, also across a boundary.
        for (std::int64_t address :
             {std::int64_t{65536} - 200, std::int64_t{4096}, size - blockSize}) {
            std::vector<char> block(static_cast<std::size_t>(blockSize),
                                    static_cast<char>(0x40 + blockSize % 7 + address % 5));
            std::vector<char> before(block.size());
            medium.ReadBlock(before.data(), address);  // brings its chunk in
            medium.WriteBlock(block.data(), address);
            std::copy(block.begin(), block.end(), file.begin() + origin + address);
            std::vector<char> back(block.size());
            medium.ReadBlock(back.data(), address - 100 >= 0 ? address - 100 : address);
            const std::int64_t readAt = address - 100 >= 0 ? address - 100 : address;
            EXPECT_TRUE(std::equal(back.begin(), back.end(), file.begin() + origin + readAt));
        }
        EXPECT_EQ(FileBytes(path), file);
    }
    EXPECT_TRUE(warnings.Texts().empty());

    // Outside the medium: zeros and the warning, as before.
    medium.BlockSize = 512;
    std::vector<char> outside(512, 'x');
    medium.ReadBlock(outside.data(), size - 100);
    EXPECT_EQ(outside, std::vector<char>(512, '\0'));
    ASSERT_EQ(warnings.Texts().size(), 1u);
    EXPECT_NE(warnings.Texts()[0].find("erhalb des Mediums"), std::string::npos);
}

TEST(TPDateiSpeicherTest, AFileShorterThanAtOpeningGivesItsBytesZerosAndAWarning) {
    const auto path = ScratchFolder() / "shrunk.img";
    const std::vector<char> file = Pattern(2 * 65536);
    WriteFile(path, file);
    WarningCapture warnings;
    TPDateiSpeicher medium(TPString::Trusted(path.string()), false);
    ASSERT_TRUE(medium.IsOpen());
    std::filesystem::resize_file(path, 65536 + 100);
    // The chunk behind the new end cannot be read whole: the block is read alone, short.
    std::vector<char> block(512, 'x');
    medium.ReadBlock(block.data(), 65536);
    EXPECT_TRUE(std::equal(block.begin(), block.begin() + 100, file.begin() + 65536));
    EXPECT_EQ(std::vector<char>(block.begin() + 100, block.end()), std::vector<char>(412, '\0'));
    EXPECT_EQ(warnings.Texts().size(), 1u);
    // The part still in the file reads as before, without a warning.
    warnings.Clear();
    medium.ReadBlock(block.data(), 512);
    EXPECT_TRUE(std::equal(block.begin(), block.end(), file.begin() + 512));
    EXPECT_TRUE(warnings.Texts().empty());
}

}  // namespace
}  // namespace tn
