// Helpers shared by the fuzz targets: reading the fuzzer's bytes as typed values, and a check
// that stops the run with a message when an invariant fails.
#pragma once

#include <tnpackage/tnpackage.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

namespace tn::fuzz {

/// Stops the run (the fuzzer saves the input) when `condition` does not hold.
#define TN_FUZZ_CHECK(condition)                                                                   \
    do {                                                                                           \
        if (!(condition)) {                                                                        \
            std::fprintf(stderr, "%s:%d: invariant failed: %s\n", __FILE__, __LINE__, #condition); \
            std::abort();                                                                          \
        }                                                                                          \
    } while (false)

/// Warnings are expected on bad input; they must not cost a terminal write per run.
inline void Quiet() {
    OnWarning = [](TPString) {};
}

/// The fuzzer's bytes consumed from the front.
class Bytes {
  public:
    Bytes(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}

    std::size_t Remaining() const { return size_; }
    std::uint8_t Byte() {
        if (size_ == 0) return 0;
        --size_;
        return *data_++;
    }
    std::uint16_t Word() { return static_cast<std::uint16_t>(Byte() | Byte() << 8); }
    std::uint32_t Long() { return Word() | static_cast<std::uint32_t>(Word()) << 16; }
    /// Up to `n` bytes as a string (it may contain NULs).
    std::string Take(std::size_t n) {
        n = n < size_ ? n : size_;
        std::string s(reinterpret_cast<const char*>(data_), n);
        data_ += n;
        size_ -= n;
        return s;
    }
    std::string Rest() { return Take(size_); }

  private:
    const std::uint8_t* data_;
    std::size_t size_;
};

/// `s` up to its first NUL: the text a C string of these bytes holds.
inline std::string Text(const std::string& s) {
    return std::string(s.c_str());
}

/// A heap copy of exactly `s.size()` bytes plus a NUL, so that a read behind the text's end is
/// caught by the address sanitizer.
inline std::unique_ptr<char[]> ExactCopy(const std::string& s) {
    auto copy = std::make_unique<char[]>(s.size() + 1);
    std::memcpy(copy.get(), s.data(), s.size());
    copy[s.size()] = '\0';
    return copy;
}

/// The same without the NUL, for byte forms of a fixed length.
inline std::unique_ptr<char[]> ExactBytes(const std::string& s) {
    auto copy = std::make_unique<char[]>(s.size());
    std::memcpy(copy.get(), s.data(), s.size());
    return copy;
}

}  // namespace tn::fuzz
