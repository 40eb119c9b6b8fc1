// Proof, at compile time, that a record is the object's own bytes: the header fields stand at
// the offsets of the record format, little-endian, with nothing in front of them, and a derived
// class's fixed-width fields follow the header directly.
#include <tnpackage/persist/TPSaveObject.h>

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace tn {
namespace {

static_assert(std::is_standard_layout_v<TPObject>);
static_assert(sizeof(TPObject) == 8);
static_assert(offsetof(TPObject, Magic) == 0 && offsetof(TPObject, Size) == 2 &&
              offsetof(TPObject, Type) == 4 && offsetof(TPObject, Version) == 6);
static_assert(sizeof(TPSaveObject) == TPObject::kHeaderSize);
static_assert(std::is_trivially_copyable_v<TPSaveObject>);
static_assert(!std::is_polymorphic_v<TPSaveObject>);

using Bytes16 = std::array<unsigned char, 16>;

constexpr bool HeaderIsTheFirstSixteenBytes() {
    TPSaveObject o(0x0201, 0x0403, 0x0605);
    o.Stride = 0x0807;
    o.State = 0x0A09;
    o.CheckSum = 0x0C0B;
    o.Reserved = 0x0E0D;
    const auto b = std::bit_cast<Bytes16>(o);
    const Bytes16 expected = {0x5A, 0x4B, 0x03, 0x04, 0x01, 0x02, 0x05, 0x06,
                              0x07, 0x08, 0x09, 0x0A, 0x0B, 0x0C, 0x0D, 0x0E};
    return b == expected;
}
static_assert(HeaderIsTheFirstSixteenBytes(),
              "magic, size, type, version, stride, state, "
              "checksum, reserved at offsets 0 to 14");

// A record class as a host writes one: its fields follow the header without a gap.
struct SampleRecord : TPSaveObject {
    std::int32_t number = 0x11223344;
    std::uint16_t word = 0x5566;
    std::uint16_t spare = 0x7788;
    constexpr SampleRecord() : TPSaveObject(7, 24, 1) {}
};
static_assert(sizeof(SampleRecord) == 24);

constexpr bool DerivedFieldsFollowTheHeader() {
    const auto b = std::bit_cast<std::array<unsigned char, 24>>(SampleRecord{});
    return b[0] == 0x5A && b[2] == 24 && b[4] == 7 && b[16] == 0x44 && b[19] == 0x11 &&
           b[20] == 0x66 && b[21] == 0x55 && b[22] == 0x88 && b[23] == 0x77;
}
static_assert(DerivedFieldsFollowTheHeader());

}  // namespace
}  // namespace tn
