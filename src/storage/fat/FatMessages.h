// The texts the FAT volume reports through Warning.
#pragma once

#include <tnpackage/frame/Messages.h>
#include <tnpackage/text/TPString.h>

#include <cstdint>
#include <string>

namespace tn::fat {

inline TPString Text(const std::string& text) {
    return TPString::Trusted(text);
}

inline void Warn(const std::string& text) {
    Warning(Text(text));
}

inline std::string Hex(std::int64_t value) {
    static const char digits[] = "0123456789ABCDEF";
    std::string s;
    auto v = static_cast<std::uint64_t>(value);
    do {
        s.insert(s.begin(), digits[v & 15u]);
        v >>= 4;
    } while (v != 0);
    return "0x" + s;
}

/// A write stopped because no data cluster is free.
inline void WarnVolumeFull(char letter) {
    Warn(std::string("FAT-Volume ") + letter + ": ist voll");
}

}  // namespace tn::fat
