// Names crossing between a FAT volume and the PC's file system. Names inside a volume are
// Windows-1252 and may hold anything a damaged or hostile image contains; names on the PC are
// UTF-8. Both directions map what the other side cannot hold to "_" and say so, so that
// extraction never leaves its target folder and nothing is dropped without notice.
#pragma once

#include <filesystem>
#include <set>
#include <string>

namespace tnpkg {

/// UTF-8 text as Windows-1252; characters without a Windows-1252 form (and bytes that are no
/// valid UTF-8) become `replacement`, and `lossy` is set.
std::string FromUtf8(const std::string& utf8, bool& lossy, char replacement = '_');

/// A name from a volume (Windows-1252) as one safe path component on the PC (UTF-8): no path
/// separators, no "." or "..", no control characters, no device names (CON, NUL, COM1, ...),
/// nothing a Windows file system refuses, at most 255 bytes. Sets `changed` when it differs
/// from the plain conversion.
std::string HostComponent(const std::string& fatName, bool& changed);

/// A name from the PC (UTF-8) as a long name a FAT volume can hold (Windows-1252, characters of
/// Latin-1 only, none of "*/:<>?\| or control characters, no trailing dots or blanks, at most
/// 255 characters). Sets `changed` when it had to differ.
std::string FatLongName(const std::string& hostName, bool& changed);

/// Keeps names unique within one folder, without regard to case (Windows-1252 letters too, as
/// FoldCase folds them): a name that was handed out already gets "~2", "~3", ... before its
/// extension, the name cut so that the result stays within 255 characters.
class UniqueNames {
  public:
    /// `name` itself, or a variant that is still free; records what it returns.
    std::string Claim(const std::string& name);
    /// Records a name that exists already.
    void Reserve(const std::string& name);

  private:
    std::set<std::string> taken_;  // folded to upper case
};

/// Windows-1252 text as UTF-8, without building package strings (fast for long listings).
std::string Cp1252ToUtf8(const std::string& text);
/// The same appended to `out`, for NUL-terminated text (null appends nothing).
void AppendCp1252AsUtf8(std::string& out, const char* text);

/// A short name as stored (OEM code page 850, the code page of German DOS and mtools' default)
/// as UTF-8.
std::string OemToUtf8(const std::string& oem);

/// ASCII letters in upper case; every other byte unchanged (safe on UTF-8).
std::string UpperAscii(const std::string& text);

/// A path given as UTF-8 text, and back.
std::filesystem::path Utf8Path(const std::string& utf8);
std::string PathText(const std::filesystem::path& path);

/// Upper case of Windows-1252 text (ASCII and the Latin-1 letters), for comparing names as FAT
/// does.
std::string FoldCase(const std::string& text);

}  // namespace tnpkg
