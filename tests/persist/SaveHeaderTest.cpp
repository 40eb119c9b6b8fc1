#include <tnpackage/persist/TPSaveList.h>
#include <tnpackage/time/Clock.h>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace {

std::uint32_t Le32(const std::vector<unsigned char>& b, std::size_t at) {
    return b[at] | b[at + 1] << 8 | b[at + 2] << 16 | static_cast<std::uint32_t>(b[at + 3]) << 24;
}

std::string Scratch(const char* file) {
    const char* folder = std::getenv("TN_TEST_TMP");
    const std::filesystem::path dir = folder != nullptr
                                          ? std::filesystem::path(folder)
                                          : std::filesystem::temp_directory_path() / "tn-persist";
    std::filesystem::create_directories(dir);
    return (dir / file).string();
}

TEST(SaveHeader, Writes512BytesOfHeader) {
    const std::string path = Scratch("header.bin");
    const int fd = ::open(path.c_str(), O_CREAT | O_TRUNC | O_WRONLY, 0644);
    ASSERT_GE(fd, 0);
    std::vector<unsigned char> buffer(600, 0x11);
    tn::TPSaveList list;
    // The package clock, counted from a known time: 31 Dec 2011 23:59:50 plus 8 seconds.
    const auto previousTimer = tn::ZehntelTimer;
    const tn::TPDateTime previousReset = tn::ResetTime;
    tn::ResetTime = tn::TPDateTime(31, 12, 2011) + tn::TPDateTime(23, 59, 50, 0);
    tn::ZehntelTimer = 80;
    EXPECT_EQ(list.SaveHeader(fd, buffer.data(), -2, "Segelflug"), 512);
    tn::ZehntelTimer = previousTimer;
    tn::ResetTime = previousReset;
    ::close(fd);

    std::ifstream in(path, std::ios::binary);
    const std::vector<unsigned char> file((std::istreambuf_iterator<char>(in)),
                                          std::istreambuf_iterator<char>());
    ASSERT_EQ(file.size(), 512u);
    EXPECT_TRUE(std::equal(file.begin(), file.end(), buffer.begin()));
    EXPECT_EQ(buffer[512], 0x11);  // nothing beyond the header
    EXPECT_EQ(Le32(file, 0), 512u);
    EXPECT_EQ(Le32(file, 4), 0xFFFFFFFEu);
    for (std::size_t i = 12; i < 16; ++i)
        EXPECT_EQ(file[i], 0xFF);
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(&file[16])), "Segelflug");
    for (std::size_t i = 26; i < 512; ++i)
        ASSERT_EQ(file[i], 0xFF) << i;

    // The date word is that moment as a FAT date: seconds / 2, minute, hour, day, month,
    // year - 1980.
    const std::uint32_t expected = 29u | 59u << 5 | 23u << 11 | 31u << 16 | 12u << 21 | 31u << 25;
    EXPECT_EQ(Le32(file, 8), expected);

    // A text too long for the header is cut before its end; a bad handle gives -1.
    const std::string longText(600, 'x');
    EXPECT_EQ(list.SaveHeader(-1, buffer.data(), 0, longText.c_str()), -1);
    EXPECT_EQ(buffer[510], 'x');
    EXPECT_EQ(buffer[511], 0);
    EXPECT_EQ(list.SaveHeader(-1, nullptr, 0, "x"), -1);
    std::filesystem::remove(path);
}

}  // namespace
