#ifdef _WIN32

#include <tnpackage/text/Encodings.h>
#include <windows.h>

#include <vector>

#include "os/ConsoleText.h"

namespace tnpkg::os {

namespace {

constexpr UINT kWindows1252 = 1252;

// Any other code page is reached through the wide characters of the package's UTF-8.
std::string InCodePage(const std::string& utf8, UINT page) {
    const int length = static_cast<int>(utf8.size());
    const int wideCount = ::MultiByteToWideChar(CP_UTF8, 0, utf8.data(), length, nullptr, 0);
    if (wideCount <= 0) return utf8;
    std::vector<wchar_t> wide(static_cast<std::size_t>(wideCount));
    ::MultiByteToWideChar(CP_UTF8, 0, utf8.data(), length, wide.data(), wideCount);
    const int count =
        ::WideCharToMultiByte(page, 0, wide.data(), wideCount, nullptr, 0, nullptr, nullptr);
    if (count <= 0) return utf8;
    std::string out(static_cast<std::size_t>(count), '\0');
    ::WideCharToMultiByte(page, 0, wide.data(), wideCount, out.data(), count, nullptr, nullptr);
    return out;
}

}  // namespace

std::string ForTerminal(const std::string& text) {
    if (text.empty()) return text;
    // Output redirected to a file has no console code page: the system's ANSI page then.
    UINT page = ::GetConsoleOutputCP();
    if (page == 0) page = ::GetACP();
    if (page == kWindows1252) return text;
    const std::string utf8 = tn::Win1252ToUtf8(text);
    return page == CP_UTF8 ? utf8 : InCodePage(utf8, page);
}

}  // namespace tnpkg::os

#endif
