// Helpers of the record tests: a writer that records what it is handed, and an independent
// CRC-16/XMODEM.
#pragma once

#include <tnpackage/tnpackage.h>

#include "support/DeviceWindow.h"
#include "support/WarningCapture.h"

#include <cstdint>
#include <string>
#include <vector>

namespace persist_test {

using tn::test::DeviceWindow;
using tn::test::WarningCapture;

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
