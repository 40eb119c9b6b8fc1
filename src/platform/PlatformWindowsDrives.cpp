// Windows side of the drive queries: the system's own volume-information, drive-type and
// drive-layout calls.
#define WIN32_LEAN_AND_MEAN
#include <windows.h>

#include <string>

#include "platform/Platform.h"

namespace tn::platform {

namespace {

// IOCTL_DISK_GET_DRIVE_LAYOUT: the partition table in its pre-GPT form.
constexpr DWORD kGetDriveLayout = 0x7400C;
constexpr DWORD kVolumeNameSize = 256;
constexpr DWORD kFileSystemNameSize = 32;

// The root of the volume that holds `folder` ("E:\" for "E:\FLIGHTS"), or empty.
std::string VolumeRoot(const char* folder) {
    char root[MAX_PATH + 1] = {};
    if (folder == nullptr || !GetVolumePathNameA(folder, root, sizeof root)) return {};
    return root;
}

}  // namespace

bool HasDriveLetters() {
    return true;
}

std::uint32_t LogicalDrives() {
    return GetLogicalDrives();
}

VolumeDetails QueryVolume(const char* folder) {
    VolumeDetails v;
    std::string root = VolumeRoot(folder);
    if (root.empty() && folder != nullptr) root = folder;
    if (root.empty()) return v;
    v.driveType = GetDriveTypeA(root.c_str());
    char name[kVolumeNameSize] = {};
    char fileSystem[kFileSystemNameSize] = {};
    DWORD serial = 0, maxLength = 0, flags = 0;
    // An empty floppy or card drive must fail quietly instead of asking for a disk.
    const UINT previous = SetErrorMode(SEM_FAILCRITICALERRORS);
    v.known = GetVolumeInformationA(root.c_str(), name, kVolumeNameSize, &serial, &maxLength,
                                    &flags, fileSystem, kFileSystemNameSize) != 0;
    SetErrorMode(previous);
    if (v.known) {
        v.label = name;
        v.serial = serial;
        v.maxComponentLength = maxLength;
        v.flags = flags;
        v.fileSystem = fileSystem;
    }
    return v;
}

std::string DriveDevice(const char* folder) {
    std::string root = VolumeRoot(folder);
    if (root.empty()) return {};
    if (root.size() == 3 && root[1] == ':') return "\\\\.\\" + root.substr(0, 2);
    // A volume mounted in a folder: its "\\?\Volume{...}\" name without the last backslash.
    char volume[MAX_PATH + 1] = {};
    if (!GetVolumeNameForVolumeMountPointA(root.c_str(), volume, sizeof volume)) return {};
    std::string device = volume;
    if (!device.empty() && device.back() == '\\') device.pop_back();
    if (device.rfind("\\\\?\\", 0) == 0) device[2] = '.';
    return device;
}

LayoutQuery QueryDriveLayout(const char* device, void* buffer, std::uint32_t size,
                             std::uint32_t& returned) {
    returned = 0;
    const HANDLE h =
        CreateFileA(device, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                    nullptr, OPEN_EXISTING, 0, nullptr);
    if (h == INVALID_HANDLE_VALUE) return LayoutQuery::OpenFailed;
    DWORD n = 0;
    const BOOL ok = DeviceIoControl(h, kGetDriveLayout, nullptr, 0, buffer, size, &n, nullptr);
    CloseHandle(h);
    returned = n;
    return ok ? LayoutQuery::Done : LayoutQuery::QueryFailed;
}

}  // namespace tn::platform
