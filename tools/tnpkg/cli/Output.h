// Standard output of the tool. Everything a command prints there, text and binary alike, goes
// through these functions, so that a failed write is noticed in one place: main finishes the
// output after the command, and a write that did not reach its destination fails the command.
// The package speaks Windows-1252; a terminal speaks UTF-8.
#pragma once

#include <tnpackage/tnpackage.h>

#include <cstddef>
#include <string>

#if defined(__MINGW32__)
#define TNPKG_PRINTF_LIKE __attribute__((format(gnu_printf, 1, 2)))
#elif defined(__GNUC__)
#define TNPKG_PRINTF_LIKE __attribute__((format(printf, 1, 2)))
#else
#define TNPKG_PRINTF_LIKE
#endif

namespace tnpkg {

/// Windows-1252 text as UTF-8.
inline std::string ToUtf8(const char* text) {
    return text != nullptr ? tn::Win1252ToUtf8(text) : std::string();
}
inline std::string ToUtf8(const tn::TPString& text) {
    return tn::Win1252ToUtf8(tn::ToStdString(text));
}

/// printf to standard output.
void Print(const char* format, ...) TNPKG_PRINTF_LIKE;
/// Bytes to standard output; false once the output has failed (the caller can stop producing).
bool WriteOutput(const void* bytes, std::size_t count);
inline bool WriteOutput(const std::string& text) {
    return WriteOutput(text.data(), text.size());
}
/// Standard output takes bytes unchanged (Windows would otherwise turn "\n" into "\r\n").
void BinaryOutput();
/// Whether anything was written to standard output.
bool OutputWritten();
/// Whether a write to standard output has failed.
bool OutputFailed();
/// Flushes standard output after the command; a failed write becomes exit status 1 with a
/// message, except when the reader has gone (a closed pipe, as with `| head`), which ends the
/// tool quietly with status 1. Returns the command's `status` when all output arrived.
int FinishOutput(int status);

}  // namespace tnpkg
