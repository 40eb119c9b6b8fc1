// A Windows host that includes <windows.h> before the package: its macros (CreateFile,
// DeleteFile, CopyFile, GetVolumeInformation, min, max, ...) must neither break our headers nor
// be taken from the host.
#include <windows.h>

#include <tnpackage/tnpackage.h>

#include <cstdio>
#include <cstring>
#include <string_view>

// The host's macros are still there afterwards, pointing at the ANSI functions.
#if !defined(CreateFile) || !defined(DeleteFile) || !defined(CopyFile) || \
    !defined(GetVolumeInformation) || !defined(MoveFile)
#error "the package's header removed the host's <windows.h> macros"
#endif
#define TN_EXPANDED2(name) #name
#define TN_EXPANDED(name) TN_EXPANDED2(name)
constexpr bool IsAnsiOrWide(std::string_view expanded, std::string_view name) {
    return expanded.size() == name.size() + 1 && expanded.substr(0, name.size()) == name &&
           (expanded.back() == 'A' || expanded.back() == 'W');
}
static_assert(IsAnsiOrWide(TN_EXPANDED(CreateFile), "CreateFile"));

// Inside the pair that wraps the package's headers, the Win32 names are plain identifiers
// again: a declaration of ours named so is not renamed to its ...A form (which would compile
// here and then fail to link against the DLL).
#include <tnpackage/WindowsMacrosPush.h>
static_assert(std::string_view(TN_EXPANDED(CreateFile)) == "CreateFile");
static_assert(std::string_view(TN_EXPANDED(DeleteFile)) == "DeleteFile");
static_assert(std::string_view(TN_EXPANDED(CopyFile)) == "CopyFile");
static_assert(std::string_view(TN_EXPANDED(MoveFile)) == "MoveFile");
static_assert(std::string_view(TN_EXPANDED(GetVolumeInformation)) == "GetVolumeInformation");
static_assert(std::string_view(TN_EXPANDED(GetDiskFreeSpace)) == "GetDiskFreeSpace");
static_assert(std::string_view(TN_EXPANDED(GetCurrentDirectory)) == "GetCurrentDirectory");
#include <tnpackage/WindowsMacrosPop.h>
static_assert(IsAnsiOrWide(TN_EXPANDED(DeleteFile), "DeleteFile"));
static_assert(IsAnsiOrWide(TN_EXPANDED(GetVolumeInformation), "GetVolumeInformation"));

// Never called, but compiled and linked: a member named like a Win32 macro (CreateFile becomes
// CreateFileA here) still reaches the package's function.
tn::TPDateiInfo* CreateThroughTheMacro(tn::TPVolumeFAT& volume, tn::TPFile& file) {
    return volume.CreateFile(&file, "\\LOG.TXT");
}

int main() {
    using namespace tn;
    TPString s("Datei", 0);
    s += '!';
    if (std::strcmp(s.c_str(), "Datei!") != 0) return 1;
    InitCRC16();
    if (CreateCRC16("123456789", 9) != 0x31C3) return 2;  // CRC-16/XMODEM check value
    WrnEnabled = false;
    Warning("not shown");
    // The host's own use of a macro keeps working.
    char path[MAX_PATH] = {};
    if (GetTempPathA(MAX_PATH, path) == 0) return 3;
    const HANDLE h = CreateFile("tn-windows-first.tmp", GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                                FILE_ATTRIBUTE_NORMAL, nullptr);
    if (h == INVALID_HANDLE_VALUE) return 4;
    CloseHandle(h);
    if (!DeleteFile("tn-windows-first.tmp")) return 5;
    std::printf("windows-first consumer ok: %s\n", s.c_str());
    return 0;
}
