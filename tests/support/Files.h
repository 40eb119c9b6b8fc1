// Whole PC files read into memory, for comparing what a test wrote or a command left behind.
#pragma once

#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>
#include <vector>

namespace tn::test {

/// The file's bytes; empty when it cannot be read. One read of the whole file: a byte-wise
/// iterator takes seconds per image in the unoptimised sanitizer build.
inline std::vector<unsigned char> LoadBytes(const std::filesystem::path& file) {
    std::error_code error;
    const auto size = std::filesystem::file_size(file, error);
    if (error) return {};
    std::vector<unsigned char> bytes(static_cast<std::size_t>(size));
    std::ifstream in(file, std::ios::binary);
    in.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    bytes.resize(static_cast<std::size_t>(in.gcount()));
    return bytes;
}

/// The same bytes as a string.
inline std::string LoadText(const std::filesystem::path& file) {
    const std::vector<unsigned char> bytes = LoadBytes(file);
    return {bytes.begin(), bytes.end()};
}

}  // namespace tn::test
