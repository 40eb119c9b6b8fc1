// Files on the user's side of the tool: an input that may be standard input ("-"), and an
// output file written whole or not at all. Every failure comes back as one line naming the file
// and the system's reason, in the user's words ("no such file", "a folder, not a file").
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace tnpkg {

/// The word that stands for standard input wherever a command reads a file.
inline constexpr const char* kStandardInput = "-";

/// The system's reason for `error` (an errno value), as a lower-case phrase.
std::string SystemReason(int error);

/// Told how many bytes have been read so far, and of how many (0: unknown, standard input).
using ReadProgress = std::function<void(std::uint64_t done, std::uint64_t total)>;

/// Reads all of `path` ("-": standard input) into `bytes`; false with `problem` set ("cannot
/// open X: no such file", "X is a folder, not a file", "cannot read X: reason").
bool ReadInputFile(const std::string& path, std::vector<unsigned char>& bytes, std::string& problem,
                   const ReadProgress& progress = {});

/// Writes `count` bytes into `path`, replacing it only once all of them arrived on the disk;
/// false with `problem` set and `path` as it was.
bool WriteOutputFile(const std::string& path, const char* bytes, std::size_t count,
                     std::string& problem);

}  // namespace tnpkg
