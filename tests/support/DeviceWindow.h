// A zero-filled host block mapped at a device address while it lives, with a writer that stores
// into it at device addresses.
#pragma once

#include <tnpackage/tnpackage.h>

#include <cstdint>
#include <vector>

namespace tn::test {

class DeviceWindow {
  public:
    DeviceWindow(std::uint32_t base, std::size_t length, unsigned char fill = 0)
        : base_(base), bytes_(length, fill) {
        mapped_ = DeviceAddressSpace::Map(base, bytes_.data(), static_cast<std::uint32_t>(length));
    }
    ~DeviceWindow() {
        if (mapped_) DeviceAddressSpace::Unmap(base_);
    }
    DeviceWindow(const DeviceWindow&) = delete;
    DeviceWindow& operator=(const DeviceWindow&) = delete;

    bool Mapped() const { return mapped_; }
    unsigned char* At(std::uint32_t device) { return bytes_.data() + (device - base_); }
    char* CharAt(std::uint32_t device) { return reinterpret_cast<char*>(At(device)); }
    std::vector<unsigned char>& Bytes() { return bytes_; }
    TPWriter Writer() {
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

}  // namespace tn::test
