// A file of records comes from outside (a memory image, a saved list): LoadRegion scans any
// bytes for live records, must never read past the region and never crash.
#include <tnpackage/tnpackage.h>

#include <cstddef>
#include <cstdint>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    tn::WrnEnabled = false;
    // An exact-size copy, so that AddressSanitizer catches a read past the end; both an even
    // and an odd start.
    const std::vector<std::uint8_t> bytes(data, data + size);
    tn::TPSaveList list;
    for (std::size_t skew = 0; skew < 2 && skew < size; ++skew) {
        for (int minimumVersion : {0, 1, 3})
            list.LoadRegion(bytes.data() + skew, size - skew, minimumVersion);
    }
    return 0;
}
