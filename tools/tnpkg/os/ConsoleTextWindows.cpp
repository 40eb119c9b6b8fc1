#ifdef _WIN32

#include <windows.h>

#include <vector>

#include "os/ConsoleText.h"

namespace tnpkg::os {

namespace {
constexpr UINT kWindows1252 = 1252;
}  // namespace

std::string ForTerminal(const std::string& text) {
    if (text.empty()) return text;
    const int length = static_cast<int>(text.size());
    const int wideCount = ::MultiByteToWideChar(kWindows1252, 0, text.data(), length, nullptr, 0);
    if (wideCount <= 0) return text;
    std::vector<wchar_t> wide(static_cast<std::size_t>(wideCount));
    ::MultiByteToWideChar(kWindows1252, 0, text.data(), length, wide.data(), wideCount);
    // Output redirected to a file has no console code page: the system's ANSI page then.
    UINT page = ::GetConsoleOutputCP();
    if (page == 0) page = CP_ACP;
    const int count =
        ::WideCharToMultiByte(page, 0, wide.data(), wideCount, nullptr, 0, nullptr, nullptr);
    if (count <= 0) return text;
    std::string out(static_cast<std::size_t>(count), '\0');
    ::WideCharToMultiByte(page, 0, wide.data(), wideCount, out.data(), count, nullptr, nullptr);
    return out;
}

}  // namespace tnpkg::os

#endif
