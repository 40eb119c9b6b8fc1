// The small interface between the package and the operating system: dialogs, the clock, the
// environment, files and folders. One implementation per platform family is compiled in.
#pragma once

#include <cstdint>
#include <string>

namespace tn::platform {

// ---- dialogs --------------------------------------------------------------------------------
// Answers as the Windows message boxes give them.
inline constexpr int kAnswerCancel = 2;
inline constexpr int kAnswerYes = 6;
inline constexpr int kAnswerNo = 7;

/// An information box (no caption of its own).
void ShowInformation(const char* text);
/// A warning box with one button and the given caption.
void ShowWarning(const char* text, const char* caption);
/// A modal question; `withCancel` adds a cancel button. Without a user to ask: kAnswerNo.
int AskYesNo(const char* text, const char* caption, bool withCancel);

/// A short beep; `duration` as the caller's unit (milliseconds on Windows).
void Beep(int duration);

// ---- memory ---------------------------------------------------------------------------------
/// Whether one byte at `p` can be read without a fault.
bool IsReadable(const void* p);

// ---- clock ----------------------------------------------------------------------------------
struct LocalTime {
    int year = 0, month = 0, day = 0;  // month and day 1-based
    int hour = 0, minute = 0, second = 0, millisecond = 0;
};
/// The computer's local date and time.
LocalTime Now();

// ---- environment ----------------------------------------------------------------------------
/// Value of an environment variable, or empty when unset.
std::string GetEnv(const char* name);
/// Whether standard input and error are attached to a terminal that can answer questions.
bool HasTerminal();

// ---- files and folders ----------------------------------------------------------------------
/// The platform's path separator.
char PathSeparator();
bool FileExists(const char* path);
bool DirectoryExists(const char* path);
/// Creates a folder and any missing parents; true when it exists afterwards.
bool ForceDirectories(const char* path);
bool DeleteFile(const char* path);
/// Renames `from` over `to`, replacing `to` atomically where the platform allows.
bool ReplaceFile(const char* from, const char* to);
/// Size of a file in bytes, or -1.
std::int64_t FileSize(const char* path);

// ---- open files -----------------------------------------------------------------------------
/// Writes `length` bytes to an open file (a C run-time file descriptor), as the run-time
/// library's FileWrite does: the number of bytes written, or -1.
int FileWrite(int handle, const void* data, int length);

}  // namespace tn::platform
