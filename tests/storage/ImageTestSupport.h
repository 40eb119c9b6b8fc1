// Scratch folders, warning capture and whole-file helpers for the memory-image tests.
#pragma once

#include <tnpackage/tnpackage.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/Scratch.h"

#include "support/WarningCapture.h"

namespace imagetest {

namespace fs = std::filesystem;

/// A fresh folder per test, the image folder pointed at it, warnings recorded; all restored.
class ImageTest : public ::testing::Test {
  protected:
    void SetUp() override {
        dir_ = tn::test::ScratchFolder();
        savedFolder_ = tn::SpeicherPfad;
        tn::SpeicherPfad = dir_.string().c_str();
        capture_.emplace();
    }

    void TearDown() override {
        capture_.reset();
        tn::SpeicherPfad = savedFolder_;
    }

    const std::vector<std::string>& Warnings() const { return capture_->Texts(); }

    fs::path Image(const std::string& name) const { return dir_ / (name + ".DAT"); }

    fs::path dir_;

  private:
    tn::TPString savedFolder_;
    std::optional<tn::test::WarningCapture> capture_;
};

inline std::string ReadFile(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

inline void WriteFile(const fs::path& path, const std::string& bytes) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

/// Bytes 0, 1, 2, ... wrapping at 251 (a prime, so no block repeats at a power of two).
inline std::string Pattern(std::size_t length) {
    std::string bytes(length, '\0');
    for (std::size_t i = 0; i < length; ++i)
        bytes[i] = static_cast<char>(i % 251);
    return bytes;
}

inline std::string Bytes(const char* data, std::size_t length) {
    return std::string(data, length);
}

}  // namespace imagetest
