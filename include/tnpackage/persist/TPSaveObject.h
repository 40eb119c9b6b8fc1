// A persistent record: the 16-byte header (TPObject's fields, then stride, state, checksum and a
// reserved word) followed by the derived class's own fields.
//
// The state word is a ladder whose bits are only ever cleared, so that flash can change it
// without an erase: the index of its highest set bit, counted from bit 15 as index 0, is odd
// for a live record and even for a deleted one (erased flash, 0xFFFF, is not live).
#pragma once

#include <tnpackage/Export.h>
#include <tnpackage/persist/TPObject.h>
#include <tnpackage/persist/TPWriter.h>

#include <cstddef>
#include <cstdint>
#include <new>

namespace tn {

class TN_EXPORT TPSaveObject : public TPObject {
  public:
    /// State of a freshly made record: live.
    static constexpr std::uint16_t kLive = 0x7FFF;
    /// Strides from this value on mean "not set": the next record follows after Size bytes.
    static constexpr std::uint16_t kStrideUnset = 0x8000;

    std::uint16_t Stride;    ///< distance to the next record: Size plus padding
    std::uint16_t State;     ///< the live/deleted ladder
    std::uint16_t CheckSum;  ///< CRC-16 of the payload; 0 while not computed
    std::uint16_t Reserved;

    /// Type 0, size 8, version 1, live, checksum not computed. The stride is left "not set"
    /// (0xFFFF) and the reserved word 0xFFFF, as erased flash holds them, for the owner to set.
    constexpr TPSaveObject() noexcept
        : TPObject(), Stride(0xFFFF), State(kLive), CheckSum(0), Reserved(0xFFFF) {}
    constexpr TPSaveObject(std::uint16_t type, std::uint16_t size, std::uint16_t version) noexcept
        : TPObject(type, size, version),
          Stride(0xFFFF),
          State(kLive),
          CheckSum(0),
          Reserved(0xFFFF) {}

    using TPObject::Copy;

    /// Hands the record's Size bytes to `writer` from `address` on (address advances), computing
    /// the checksum first if it is 0, then marks the object in memory live. The bytes handed out
    /// carry the state the object had before.
    void Save(int& address, const TPWriter& writer);
    /// As Save, without the state change.
    void Copy(int& address, const TPWriter& writer);
    /// Copies the record (Size bytes) to ordinary memory, computing the checksum first if it is 0.
    void Saving(char* destination);
    /// Whether the stored checksum matches the payload.
    bool CheckSumValid() const;

    /// True when the record is LIVE (the name says otherwise; every reader relies on this).
    bool Deleted() const;
    /// Clears the next state bit in place, but only for a record in the instrument's flash (the
    /// instrument's range or the flash window) while the flash is present; a record anywhere
    /// else is not changed.
    void Delete();
    /// Clears every state bit at an even ladder index, in memory only (0x3FFF becomes 0x1555).
    void ReAktiv();

    /// Pads the record to a multiple of `alignment`: writes the missing bytes of value `fill` at
    /// `cursor` (when it is not null, advancing it) and adds them to Stride. Nothing for an
    /// alignment below 1.
    void BlindAnhang(char*& cursor, int alignment, char fill);

    // Records created with new live on the C run-time heap.
    static void* operator new(std::size_t size);
    static void* operator new(std::size_t size, const std::nothrow_t&) noexcept;
    static void operator delete(void* p) noexcept;
    static void operator delete(void* p, const std::nothrow_t&) noexcept;
    // Records are also built in place, inside images.
    static void* operator new(std::size_t, void* place) noexcept { return place; }
    static void operator delete(void*, void*) noexcept {}
};

/// The state after one deletion step: the highest set bit cleared when it stands at an odd
/// ladder index (a live record), otherwise the state unchanged.
TN_EXPORT std::uint16_t DeleteSaveObject(std::uint16_t state);

/// Makes the process's failed allocations fail quietly instead of ending the program.
TN_EXPORT void SetMyNewHandler();

}  // namespace tn
