// The small interface between the package and the operating system: dialogs, the clock, the
// environment, files and folders. One implementation per platform family is compiled in.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

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

// ---- copying, moving, listing ---------------------------------------------------------------
/// Copies a file over any existing target; with `failIfExists` an existing target is left
/// alone and the copy fails. A file is never copied onto itself.
bool CopyOneFile(const char* from, const char* to, bool failIfExists);
/// Moves a file (across file systems by copying and deleting); with `failIfExists` an existing
/// target makes it fail, otherwise the target is replaced.
bool MoveOneFile(const char* from, const char* to, bool failIfExists);
/// Names of the plain files (no folders) in `folder`, in the system's order; empty when the
/// folder cannot be read.
std::vector<std::string> ListFiles(const char* folder);

// ---- starting programs ----------------------------------------------------------------------
/// Shows `file` with the viewer `command` names. Windows runs the command line itself; other
/// systems cannot run that command and hand the file to the desktop's opener instead (xdg-open,
/// macOS open), without a shell seeing the name, only when there is a display and automated
/// runs (TN_NO_DIALOGS) are not asking for quiet. False when nothing was started.
bool StartDocument(const char* command, const char* file);

// ---- drives and volumes ---------------------------------------------------------------------
/// Whether the system itself names its drives by letters (Windows). Elsewhere a letter names a
/// drive only through the package's drive map.
bool HasDriveLetters();
/// The system's drive letters as a bit mask, bit 0 for A; 0 where the system has none.
std::uint32_t LogicalDrives();

/// What the system tells about the file system that holds a folder, in the terms of the Windows
/// volume-information and drive-type queries.
struct VolumeDetails {
    bool known = false;  ///< the volume information could be obtained
    std::string label;   ///< Windows-1252
    std::uint32_t serial = 0;
    std::uint32_t maxComponentLength = 0;
    std::uint32_t flags = 0;      ///< Windows FILE_* volume flag bits
    std::string fileSystem;       ///< upper-case like Windows: "FAT32", "EXT4", ...
    std::uint32_t driveType = 1;  ///< Windows drive type code; 1: no such root
    /// The first sector of a FAT volume where the system leaves reading its id and label to
    /// the package (empty otherwise): what it says wins over the label and serial above.
    std::vector<std::uint8_t> bootSector;
};
/// `folder`: a drive root such as "E:\" on Windows, or any existing folder.
VolumeDetails QueryVolume(const char* folder);

/// The device to ask for the partition layout of the disk that holds `folder`: Windows "\\.\X:"
/// of the folder's volume; POSIX the whole-disk block device (e.g. "/dev/sdb"), or the mount's
/// source when the file system has no block device. Empty when the folder is not found.
std::string DriveDevice(const char* folder);

enum class LayoutQuery { Unsupported, OpenFailed, QueryFailed, Done };
/// The Windows drive-layout query (IOCTL_DISK_GET_DRIVE_LAYOUT) of `device` into `buffer`;
/// `returned` gets the byte count. Unsupported where the system has no such query (the caller
/// then reads the master boot record itself).
LayoutQuery QueryDriveLayout(const char* device, void* buffer, std::uint32_t size,
                             std::uint32_t& returned);

// ---- file handles ---------------------------------------------------------------------------
// Byte-level file access for memory images and logs. A handle is a plain integer so that it can
// live in a public field; kInvalidFile marks a failed open.
using FileHandle = std::intptr_t;
inline constexpr FileHandle kInvalidFile = -1;

enum class FileAccess { Read, Write, ReadWrite };
enum class SeekOrigin { Begin, Current, End };

/// Opens an existing file; kInvalidFile when it is missing or cannot be opened.
FileHandle FileOpen(const char* path, FileAccess access);
/// Opens a file for reading and writing, creating it (empty) when it is missing.
FileHandle FileOpenOrCreate(const char* path);
/// Creates a file for reading and writing; an existing file is emptied.
FileHandle FileCreate(const char* path);
/// Moves the file position; the new position from the start, or -1.
std::int64_t FileSeek(FileHandle file, std::int64_t offset, SeekOrigin origin);
/// Reads up to `count` bytes (fewer only at the end of the file); -1 on an error.
std::int64_t FileRead(FileHandle file, void* buffer, std::int64_t count);
/// Writes `count` bytes; the number written (fewer when the medium is full), or -1.
std::int64_t FileWrite(FileHandle file, const void* buffer, std::int64_t count);
/// Positioned transfers at byte `offset`: one system call where the platform allows it
/// (instead of a seek and a transfer); the file position is unspecified afterwards. Same
/// results as FileRead / FileWrite.
std::int64_t FileReadAt(FileHandle file, void* buffer, std::int64_t count, std::int64_t offset);
std::int64_t FileWriteAt(FileHandle file, const void* buffer, std::int64_t count,
                         std::int64_t offset);
/// Forces written data onto the medium.
bool FileFlush(FileHandle file);
/// Closes a handle; kInvalidFile is ignored.
void FileClose(FileHandle file);
/// Whether a path is absolute on this platform (a relative one depends on the current folder).
bool IsAbsolutePath(const char* path);

/// A handle that is closed when it goes out of scope.
class ScopedFile {
  public:
    explicit ScopedFile(FileHandle file) noexcept : file_(file) {}
    ~ScopedFile() { FileClose(file_); }
    ScopedFile(const ScopedFile&) = delete;
    ScopedFile& operator=(const ScopedFile&) = delete;

    FileHandle get() const noexcept { return file_; }
    bool IsOpen() const noexcept { return file_ != kInvalidFile; }

  private:
    FileHandle file_;
};

}  // namespace tn::platform
