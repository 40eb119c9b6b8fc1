// Files by drive letter and handle: the "V" functions.
//
// A path names its volume by a letter ("A:\DIR\FILE.TXT", "A:DIR\FILE.TXT"); a path without a
// letter means drive F. A letter registered in FATList is that FAT volume; the existence test,
// delete, copy and move also reach the PC's own drives (on systems without drive letters through
// the drive map, see Drives.h). Files on FAT volumes are TPFile records in one package-wide
// table; a handle is the record's index there. Closed slots are not reused until the last file
// is closed, then numbering starts at 0 again. See docs/file-handles.md.
#pragma once

#include <tnpackage/Export.h>
#include <tnpackage/text/TPString.h>

#include <cstdint>

namespace tn {

class TPDateiInfo;
class TPDirEintrag;

/// Search record of FindFirstV / FindNextV / FindCloseV (which fill nothing).
struct TVSearchRec {
    std::int32_t Time = 0;
    std::int32_t Size = 0;
    std::int32_t Attr = 0;
    TPString Name;
    std::int32_t ExcludeAttr = 0;
    std::intptr_t FindHandle = -1;
};

/// Open modes (mode & 7). 0 read (read-only flag; a missing file fails), 1 write (write-only
/// flag; created when missing, contents kept), 2 read and write (created when missing), 3 create
/// (created when missing; an existing file is cut to size 0). 4 to 7 open existing files only.
inline constexpr int fmOpenReadV = 0;
inline constexpr int fmOpenWriteV = 1;
inline constexpr int fmOpenReadWriteV = 2;
inline constexpr int fmCreateV = 3;

/// Opens a file of a FAT volume by path; the handle, or -1 (unknown letter, missing file in a
/// mode that does not create, nothing could be created). An existing file opened by path has
/// no current sector until the first FileSeekV: seek before reading or writing. The path's
/// bytes are Windows-1252 ("\xDC" is the capital U with umlaut), not UTF-8. The letter must be
/// registered in FATList, which the host creates (the package only declares it) and deletes before
/// the volumes' media.
TN_EXPORT int FileOpenV(TPString path, int mode);
/// Opens a file node (set up on its first cluster); -1 for a null node or one without volume.
TN_EXPORT int FileOpenV(TPDateiInfo* file, int mode);
/// FileOpenV(path, 1): creates a missing file, keeps an existing one's contents.
TN_EXPORT int FileCreateV(TPString path);
/// Closes a handle (the entry is saved when something was written). Invalid or closed handles
/// are ignored. Close every handle before deleting FATList or a volume.
TN_EXPORT void FileCloseV(int handle);
/// Whether the file exists: on the registered volume of the letter, else on the PC's drive of
/// that letter; false when the letter is neither.
TN_EXPORT bool FileExistsV(TPString path);
/// Reads from the record's position, which does not move: a second read without a seek reads
/// the same bytes again. Read a file in one call from position 0, or seek before each read.
/// Write-only records: warning "Datei '<name>' nur zum Schreiben ge\xF6" "ffnet!" and 0.
TN_EXPORT int FileReadV(int handle, void* buffer, int count);
/// Writes at the record's position. Read-only records: warning "Datei '<name>' nur zum Lesen
/// ge\xF6" "ffnet!" and 0. `saveEntry` writes the directory entry at once.
TN_EXPORT int FileWriteV(int handle, void* buffer, int count, bool saveEntry = false);
/// Origin 0 from the start, 1 from the position, 2 from the end. Returns `offset` itself on
/// success (not the new position), -1 on failure. Past the end a writable file is extended
/// with 0xFF bytes; a read-only one fails. Strict: a position that is a non-zero multiple of
/// the sector size (512) stays on the sector before, and the next read or write starts at the
/// beginning of that sector, so seeking to 512 and reading gives the file's first bytes.
TN_EXPORT int FileSeekV(int handle, int offset, int origin);
/// Copies a file node out of its volume to the 32-bit device address `address` (which must
/// lie in a mapped device window).
TN_EXPORT bool FileCopyV(TPDirEintrag* file, int address);
/// Whether the node's first bytes (up to 32) equal the bytes at device address `address`.
TN_EXPORT bool FileEqualV(TPDirEintrag* file, int address);
/// Deletes a file of the PC (FAT volumes are not touched).
TN_EXPORT bool FileDeleteV(TPString path);
/// Do nothing and return 0.
TN_EXPORT int FindFirstV(TPString path, int attributes, TVSearchRec& rec);
TN_EXPORT int FindNextV(TVSearchRec& rec);
TN_EXPORT int FindCloseV(TVSearchRec& rec);
/// Always true.
TN_EXPORT bool DirectoryExistsV(TPString path);
/// "X:\DIR\SUB": the folders on the registered volume X, created where missing.
TN_EXPORT bool ForceDirectoriesV(TPString path);
/// PC only: every file matching the source's name pattern (* and ?, any case) is copied into
/// the destination folder under its own name. True when something matched and every copy
/// succeeded; with `failIfExists` an existing target is a failed copy.
TN_EXPORT bool FileCopyV(TPString source, TPString destination, bool failIfExists);
/// The same walk, moving.
TN_EXPORT bool FileMoveV(TPString source, TPString destination, bool failIfExists);
/// PC only: one file copied to another.
TN_EXPORT bool FileCopy(TPString source, TPString destination, bool failIfExists);
/// FileWriteV of the text's characters.
TN_EXPORT int FileAppendV(int handle, TPString text, bool saveEntry = false);
/// FileAppendV of the text followed by "\r\n".
TN_EXPORT int FileAddLineV(int handle, TPString text, bool saveEntry = false);
/// The same on a handle of a PC file (as the platform's file functions give it); -1 on error.
TN_EXPORT int FileAppend(int handle, TPString text);
TN_EXPORT int FileAddLine(int handle, TPString text);
/// Returns its first argument.
TN_EXPORT int ProgramCopy(int value, int, int);

/// Opens a document with its viewer: ".txt" runs "Notepad.exe '<file>'", ".htm" and ".html"
/// run "D:\Programme\Internet Explorer\IExplore.exe <file>", anything else an empty command.
/// With OnWinStart set, the hook gets the command and nothing is run. Otherwise Windows runs
/// the command; other systems open the file with the desktop's opener (xdg-open, open) when
/// there is one and a display, and never for an empty command.
TN_EXPORT void WinStart(TPString file);
/// The command WinStart runs for `file`.
TN_EXPORT TPString WinStartCommand(TPString file);
using TPWinStartHook = void (*)(TPString command, TPString file);
/// Takes over WinStart when set.
TN_EXPORT extern TPWinStartHook OnWinStart;

/// Number of files open through the V functions.
TN_EXPORT int OpenFileCount();

}  // namespace tn
