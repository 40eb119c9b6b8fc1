// The package's single-byte text as UTF-8 and back: for terminals, host file names, device
// labels and anything else that speaks UTF-8.
//
// Windows-1252 is the package's own text; its five undefined bytes (0x81, 0x8D, 0x8F, 0x90,
// 0x9D) stand for the C1 controls of the same value, as in Windows' own conversion, so every
// byte comes back unchanged. The OEM code page is 850, the page of German DOS, of FAT short
// names and of older device files.
//
// From UTF-8, a character the code page lacks becomes one `replacement`, and so does each byte
// of malformed UTF-8 (a stray continuation byte, a sequence cut short, an overlong form, a
// surrogate, a value above U+10FFFF); NUL bytes are characters like any other.
#pragma once

#include <tnpackage/Export.h>

#include <string>
#include <string_view>

namespace tn {

TN_EXPORT std::string Win1252ToUtf8(std::string_view text);
/// The same, appended to `out`: a long listing converts name after name into one buffer.
TN_EXPORT void AppendWin1252AsUtf8(std::string& out, std::string_view text);
TN_EXPORT std::string Utf8ToWin1252(std::string_view utf8, char replacement = '?');

TN_EXPORT std::string OemToUtf8(std::string_view text);
TN_EXPORT std::string Utf8ToOem(std::string_view utf8, char replacement = '?');

/// Appends the UTF-8 form of a code point (at most U+10FFFF, no surrogate).
TN_EXPORT void AppendUtf8(std::string& out, char32_t codePoint);

}  // namespace tn
