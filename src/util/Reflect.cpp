// Bit reversal of a field of a value.
#include <tnpackage/util/Reflect.h>

#include <cstdint>

namespace tn {

int Reflect(int value, int bits) {
    constexpr int kValueBits = 32;
    if (bits <= 0) return 0;
    const auto v = static_cast<std::uint32_t>(value);
    std::uint32_t reflected = 0;
    // Bit i of the field goes to bit (bits - 1 - i); targets past bit 31 fall off.
    for (int i = 0; i < bits && i < kValueBits; ++i) {
        const int target = bits - 1 - i;
        if (((v >> i) & 1U) != 0 && target < kValueBits) reflected |= 1U << target;
    }
    return static_cast<int>(reflected);
}

}  // namespace tn
