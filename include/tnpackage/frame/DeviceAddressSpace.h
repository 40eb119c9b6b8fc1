// The device address space: the one place where 32-bit device addresses meet host memory.
//
// Records on the instrument hold 32-bit device addresses; the host's pointers are 64-bit. A
// device window maps a range of device addresses (a memory image at its device base, the flash
// window, the instrument's range) onto a block of host memory. Code that meets a device address
// translates it here and never dereferences the number itself; code that must not free memory
// belonging to an image asks here whether a host pointer lies in a window.
#pragma once

#include <tnpackage/Export.h>

#include <cstdint>
#include <optional>

namespace tn {

class TN_EXPORT DeviceAddressSpace {
  public:
    /// Start of the instrument's own range; memory mapped there is never released.
    static constexpr std::uint32_t kInstrumentBase = 0x60000000;
    /// Device address of the flash window.
    static constexpr std::uint32_t kFlashBase = 0x20800000;
    /// Device address of the boot-sector copy kept in memory.
    static constexpr std::uint32_t kBootSectorCopy = 0x003FFC00;
    /// How many windows may be mapped at once.
    static constexpr int kMaxWindows = 32;

    /// Maps `length` bytes of host memory at `host` to device addresses from `deviceBase`.
    /// Fails (false) for a null host pointer, a zero length, a range past 2^32, or one that
    /// overlaps a window already mapped.
    static bool Map(std::uint32_t deviceBase, void* host, std::uint32_t length);
    /// Removes the window that starts at `deviceBase`; false when there is none.
    static bool Unmap(std::uint32_t deviceBase);
    /// Removes every window whose host block starts at `host`.
    static void UnmapHost(const void* host);
    /// Removes all windows.
    static void Clear();

    /// Host pointer of `address` when `length` bytes from it lie inside one window, else null.
    static void* ToHost(std::uint32_t address, std::uint32_t length = 1);
    /// Device address of a host pointer that lies inside a window.
    static std::optional<std::uint32_t> ToDevice(const void* host);
    /// Whether a host pointer lies inside a mapped window.
    static bool Contains(const void* host) { return ToDevice(host).has_value(); }
    /// Whether a host pointer lies in a window at or above the instrument's base.
    static bool InInstrumentRange(const void* host);
    /// Number of mapped windows.
    static int WindowCount();
};

}  // namespace tn
