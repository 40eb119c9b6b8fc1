// Helpers of the record tests: a warning capture, a device window over a host buffer, and a
// writer that records what it is handed.
#pragma once

#include <tnpackage/tnpackage.h>

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace persist_test {

inline std::vector<std::string>& CapturedWarnings() {
    static std::vector<std::string> warnings;
    return warnings;
}

/// Collects the package's warnings while it lives; restores the hook afterwards.
class WarningCapture {
  public:
    WarningCapture() : previous_(tn::OnWarning) {
        CapturedWarnings().clear();
        tn::OnWarning = [](tn::TPString text) {
            CapturedWarnings().emplace_back(text.c_str() ? text.c_str() : "");
        };
    }
    ~WarningCapture() { tn::OnWarning = previous_; }
    WarningCapture(const WarningCapture&) = delete;
    WarningCapture& operator=(const WarningCapture&) = delete;
    const std::vector<std::string>& Warnings() const { return CapturedWarnings(); }

  private:
    tn::TPWarningHook previous_;
};

/// A zero-filled host buffer mapped at a device address for the window's lifetime.
class Window {
  public:
    Window(std::uint32_t base, std::size_t length, unsigned char fill = 0)
        : base_(base), bytes_(length, fill) {
        mapped_ =
            tn::DeviceAddressSpace::Map(base, bytes_.data(), static_cast<std::uint32_t>(length));
    }
    ~Window() {
        if (mapped_) tn::DeviceAddressSpace::Unmap(base_);
    }
    Window(const Window&) = delete;
    Window& operator=(const Window&) = delete;

    bool Mapped() const { return mapped_; }
    std::uint32_t Base() const { return base_; }
    unsigned char* At(std::uint32_t device) { return bytes_.data() + (device - base_); }
    std::vector<unsigned char>& Bytes() { return bytes_; }
    /// A writer that stores into this window at device addresses.
    tn::TPWriter Writer() {
        return [this](int address, char byte) {
            *At(static_cast<std::uint32_t>(address)) = static_cast<unsigned char>(byte);
        };
    }
    std::uint32_t Le32(std::uint32_t device) {
        const unsigned char* p = At(device);
        return p[0] | p[1] << 8 | p[2] << 16 | static_cast<std::uint32_t>(p[3]) << 24;
    }
    void PutLe32(std::uint32_t device, std::uint32_t v) {
        for (int i = 0; i < 4; ++i)
            At(device)[i] = static_cast<unsigned char>(v >> (8 * i));
    }

  private:
    std::uint32_t base_;
    std::vector<unsigned char> bytes_;
    bool mapped_ = false;
};

/// Records every (address, byte) it is handed, in order.
struct Recorder {
    std::vector<std::pair<int, unsigned char>> calls;
    void Put(int address, char byte) {
        calls.emplace_back(address, static_cast<unsigned char>(byte));
    }
    tn::TPWriter Writer() { return tn::TPWriter(*this, &Recorder::Put); }
    std::vector<unsigned char> Bytes() const {
        std::vector<unsigned char> out;
        for (const auto& c : calls)
            out.push_back(c.second);
        return out;
    }
    /// Whether the addresses rise by one from `first`.
    bool Consecutive(int first) const {
        for (std::size_t i = 0; i < calls.size(); ++i) {
            if (calls[i].first != first + static_cast<int>(i)) return false;
        }
        return true;
    }
};

/// CRC-16/XMODEM bit by bit, independent of the package's table.
inline std::uint16_t XmodemReference(const unsigned char* data, std::size_t length) {
    std::uint16_t crc = 0;
    for (std::size_t i = 0; i < length; ++i) {
        crc = static_cast<std::uint16_t>(crc ^ (data[i] << 8));
        for (int bit = 0; bit < 8; ++bit) {
            crc = (crc & 0x8000) != 0 ? static_cast<std::uint16_t>((crc << 1) ^ 0x1021)
                                      : static_cast<std::uint16_t>(crc << 1);
        }
    }
    return crc;
}

}  // namespace persist_test
