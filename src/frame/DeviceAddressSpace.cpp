// The registry of device windows. A fixed table keeps it constant-initialised, so it works
// during package start and exit as well.
#include <tnpackage/frame/DeviceAddressSpace.h>

#include <cstddef>

namespace tn {

namespace {

struct Window {
    std::uint64_t deviceBase = 0;  // 64-bit so that base + length never wraps
    std::uint64_t length = 0;      // 0: slot free
    std::byte* host = nullptr;
};

constinit Window windows[DeviceAddressSpace::kMaxWindows] = {};

bool Overlaps(const Window& w, std::uint64_t base, std::uint64_t length) {
    return w.length != 0 && base < w.deviceBase + w.length && w.deviceBase < base + length;
}

bool HostInside(const Window& w, const void* host) {
    // Compare as integers: relational operators on pointers into different objects are
    // unspecified.
    const auto p = reinterpret_cast<std::uintptr_t>(host);
    const auto start = reinterpret_cast<std::uintptr_t>(w.host);
    return w.length != 0 && p >= start && p - start < w.length;
}

}  // namespace

bool DeviceAddressSpace::Map(std::uint32_t deviceBase, void* host, std::uint32_t length) {
    if (host == nullptr || length == 0) return false;
    const std::uint64_t base = deviceBase;
    if (base + length > (std::uint64_t{1} << 32)) return false;
    Window* free = nullptr;
    for (Window& w : windows) {
        if (Overlaps(w, base, length)) return false;
        if (w.length == 0 && free == nullptr) free = &w;
    }
    if (free == nullptr) return false;
    *free = Window{base, length, static_cast<std::byte*>(host)};
    return true;
}

bool DeviceAddressSpace::Unmap(std::uint32_t deviceBase) {
    for (Window& w : windows) {
        if (w.length != 0 && w.deviceBase == deviceBase) {
            w = Window{};
            return true;
        }
    }
    return false;
}

void DeviceAddressSpace::UnmapHost(const void* host) {
    for (Window& w : windows) {
        if (w.length != 0 && w.host == host) w = Window{};
    }
}

void DeviceAddressSpace::Clear() {
    for (Window& w : windows)
        w = Window{};
}

void* DeviceAddressSpace::ToHost(std::uint32_t address, std::uint32_t length) {
    const std::uint64_t a = address;
    for (const Window& w : windows) {
        if (w.length != 0 && a >= w.deviceBase && a - w.deviceBase + length <= w.length) {
            return w.host + (a - w.deviceBase);
        }
    }
    return nullptr;
}

std::optional<std::uint32_t> DeviceAddressSpace::ToDevice(const void* host) {
    for (const Window& w : windows) {
        if (HostInside(w, host)) {
            const auto offset =
                reinterpret_cast<std::uintptr_t>(host) - reinterpret_cast<std::uintptr_t>(w.host);
            return static_cast<std::uint32_t>(w.deviceBase + offset);
        }
    }
    return std::nullopt;
}

bool DeviceAddressSpace::InInstrumentRange(const void* host) {
    const auto device = ToDevice(host);
    return device.has_value() && *device >= kInstrumentBase;
}

int DeviceAddressSpace::WindowCount() {
    int n = 0;
    for (const Window& w : windows)
        n += w.length != 0 ? 1 : 0;
    return n;
}

}  // namespace tn
