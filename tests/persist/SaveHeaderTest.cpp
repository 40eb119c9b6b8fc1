#include <tnpackage/persist/TPSaveList.h>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <ctime>
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
    const std::time_t before = std::time(nullptr);
    EXPECT_EQ(list.SaveHeader(fd, buffer.data(), -2, "Segelflug"), 512);
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

    // The date word is the local date as a FAT date.
    std::tm local{};
    localtime_r(&before, &local);
    const std::uint32_t date = Le32(file, 8);
    EXPECT_EQ(date >> 25, static_cast<std::uint32_t>(local.tm_year + 1900 - 1980));
    EXPECT_EQ((date >> 21) & 15, static_cast<std::uint32_t>(local.tm_mon + 1));
    EXPECT_EQ((date >> 16) & 31, static_cast<std::uint32_t>(local.tm_mday));
    EXPECT_EQ((date >> 11) & 31, static_cast<std::uint32_t>(local.tm_hour));

    // A text too long for the header is cut before its end; a bad handle gives -1.
    const std::string longText(600, 'x');
    EXPECT_EQ(list.SaveHeader(-1, buffer.data(), 0, longText.c_str()), -1);
    EXPECT_EQ(buffer[510], 'x');
    EXPECT_EQ(buffer[511], 0);
    EXPECT_EQ(list.SaveHeader(-1, nullptr, 0, "x"), -1);
    std::filesystem::remove(path);
}

}  // namespace
