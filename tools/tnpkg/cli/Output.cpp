#include "cli/Output.h"

namespace tnpkg {

std::string ToUtf8(const char* text) {
    std::string out;
    if (text == nullptr) return out;
    const tn::UnicodeString wide = static_cast<tn::UnicodeString>(tn::TPString(text));
    for (wchar_t w : wide) {
        const auto c = static_cast<char32_t>(w);
        if (c < 0x80) {
            out.push_back(static_cast<char>(c));
        } else if (c < 0x800) {
            out.push_back(static_cast<char>(0xC0 | (c >> 6)));
            out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
        } else {
            out.push_back(static_cast<char>(0xE0 | (c >> 12)));
            out.push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
            out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
        }
    }
    return out;
}

}  // namespace tnpkg
