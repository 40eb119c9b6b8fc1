// The registry of device windows. A fixed table keeps it constant-initialised, so it works
// during package start and exit as well.
#include <tnpackage/frame/DeviceAddressSpace.h>

#include <cstddef>
#include <cstdint>

namespace tn {

namespace {

struct Window {
    std::uint64_t deviceBase = 0;  // 64-bit so that base + length never wraps
    std::uint64_t length = 0;      // 0: slot free
    std::byte* host = nullptr;
};

constinit Window windows[DeviceAddressSpace::kMaxWindows] = {};

// The host memory all windows together span, [lowest, end): every string's release asks
// whether its buffer lies in a window, and nearly all of them lie outside this span, so the
// answer comes without a walk over the table. Empty (lowest >= end) while nothing is mapped.
constinit std::uintptr_t lowestHost = 0;
constinit std::uintptr_t hostEnd = 0;

void RecomputeHostSpan() {
    lowestHost = 0;
    hostEnd = 0;
    for (const Window& w : windows) {
        if (w.length == 0) continue;
        const auto start = reinterpret_cast<std::uintptr_t>(w.host);
        const auto end = start + static_cast<std::uintptr_t>(w.length);
        if (hostEnd <= lowestHost) {
            lowestHost = start;
            hostEnd = end;
            continue;
        }
        if (start < lowestHost) lowestHost = start;
        if (end > hostEnd) hostEnd = end;
    }
}

bool OutsideEveryWindow(const void* host) {
    const auto p = reinterpret_cast<std::uintptr_t>(host);
    return p < lowestHost || p >= hostEnd;
}

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
    RecomputeHostSpan();
    return true;
}

bool DeviceAddressSpace::Unmap(std::uint32_t deviceBase) {
    for (Window& w : windows) {
        if (w.length != 0 && w.deviceBase == deviceBase) {
            w = Window{};
            RecomputeHostSpan();
            return true;
        }
    }
    return false;
}

void DeviceAddressSpace::UnmapHost(const void* host) {
    for (Window& w : windows) {
        if (w.length != 0 && w.host == host) w = Window{};
    }
    RecomputeHostSpan();
}

void DeviceAddressSpace::Clear() {
    for (Window& w : windows)
        w = Window{};
    RecomputeHostSpan();
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
    if (OutsideEveryWindow(host)) return std::nullopt;
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
