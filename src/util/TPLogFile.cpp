// The package's plain-text log.
#include <tnpackage/util/TPLogFile.h>

#include <tnpackage/frame/Globals.h>
#include <tnpackage/time/Clock.h>
#include <tnpackage/time/TPDateTime.h>

#include <cstring>
#include <string>

#include "platform/Platform.h"

namespace tn {

constinit TPLogFile* LogFile = nullptr;
constinit bool LogFileEnable = false;

namespace {

constexpr char kLineEnd[] = "\r\n";
constexpr std::int64_t kLineEndLength = 2;

void WriteLine(std::intptr_t handle, const TPString& text) {
    if (handle == platform::kInvalidFile) return;
    if (!text.IsEmpty()) platform::FileWrite(handle, text.c_str(), text.Length());
    platform::FileWrite(handle, kLineEnd, kLineEndLength);
}

bool InDevelopmentEnvironment() {
    const std::string value = platform::GetEnv(TPLogFile::kDevelopmentVariable);
    return !value.empty() && value != "0";
}

// The folder part of a PC path; "/" counts as a separator on Windows as well.
std::string FolderOf(const char* path) {
    const std::string p = path != nullptr ? path : "";
    std::size_t cut = p.find_last_of(platform::PathSeparator());
    const std::size_t slash = p.find_last_of('/');
    if (cut == std::string::npos || (slash != std::string::npos && slash > cut)) cut = slash;
    return cut == std::string::npos ? std::string() : p.substr(0, cut);
}

}  // namespace

TPLogFile::TPLogFile(TPString name, bool append) {
    FileName = name;
    if (InDevelopmentEnvironment()) IDERun = true;

    const char* path = FileName.IsEmpty() ? "" : FileName.c_str();
    const std::string folder = FolderOf(path);
    if (!folder.empty()) platform::ForceDirectories(folder.c_str());

    if (append && platform::FileExists(path)) {
        Handle = platform::FileOpen(path, platform::FileAccess::Write);
        platform::FileSeek(Handle, 0, platform::SeekOrigin::End);
    } else {
        Handle = platform::FileCreate(path);
    }

    const TPString stars = TPString::StringOfChar('*', kOpeningStars);
    const TPString now = TPDateTime::CurrentDateTime().String(PDateTimeFlag::DateTime);
    Write(stars + " " + now + " " + stars);
}

TPLogFile::~TPLogFile() {
    Write(TPString::StringOfChar('*', kClosingStars));
    platform::FileClose(Handle);
    Handle = platform::kInvalidFile;
    FileName.Delete();
    // A host that forgets to clear the pointer must not leave the string class a dead log.
    if (LogFile == this) LogFile = nullptr;
}

void TPLogFile::Write(TPString text) {
    WriteLine(Handle, text);
}

void TPLogFile::TimeWrite(TPString text) {
    // The package clock's UTC time of day, as HH:MM:SS.
    Write(CurrentTime().TimeString() + ", " + text);
}

void TPLogFile::Append(TPString text) {
    // Back over the last line break, so that the text continues the last line.
    if (platform::FileSeek(Handle, 0, platform::SeekOrigin::End) >= kLineEndLength) {
        platform::FileSeek(Handle, -kLineEndLength, platform::SeekOrigin::End);
    }
    WriteLine(Handle, text);
}

}  // namespace tn
