// A host block mapped at a device address while it lives, with a writer that stores into it at
// device addresses.
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

    unsigned char* At(std::uint32_t device) { return bytes_.data() + (device - base_); }
    char* CharAt(std::uint32_t device) { return reinterpret_cast<char*>(At(device)); }
    std::vector<unsigned char> Range(std::uint32_t from, std::uint32_t to) {
        return {At(from), At(to)};
    }
    TPWriter Writer() {
        return
            [this](int address, char byte) { *CharAt(static_cast<std::uint32_t>(address)) = byte; };
    }

  private:
    std::uint32_t base_;
    std::vector<unsigned char> bytes_;
    bool mapped_ = false;
};

}  // namespace tn::test
