// The rollback journal beside an image ("IMAGE.tnpkg-journal"): the image's bytes as they were
// before a command changed them, so that a command interrupted while writing in place can be
// undone by the next one. docs/image-journal.md describes the bytes and the order of writes.
//
// Layout, all numbers little-endian:
//   header   kHeaderSize bytes: magic, version, page size, old length, new length, flags, count
//   list     count x 8 bytes: file offsets of the pages, ascending
//   pages    count x kPageSize bytes: their old contents (zeros beyond the old length)
//   trailer  4 bytes: CRC-32 (IEEE, as zlib computes it) of everything before it
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "os/OsFile.h"
#include "store/Overlay.h"

namespace tnpkg::store {

namespace journal {
inline constexpr char kMagic[8] = {'T', 'N', 'P', 'K', 'G', 'J', 'N', 'L'};
inline constexpr std::uint32_t kVersion = 1;
inline constexpr std::size_t kPageSize = static_cast<std::size_t>(Overlay::kPageSize);
inline constexpr std::size_t kMagicAt = 0;
inline constexpr std::size_t kVersionAt = 8;
inline constexpr std::size_t kPageSizeAt = 12;
inline constexpr std::size_t kOldLengthAt = 16;
inline constexpr std::size_t kNewLengthAt = 24;
inline constexpr std::size_t kFlagsAt = 32;
inline constexpr std::size_t kCountAt = 36;
inline constexpr std::size_t kHeaderSize = 64;  // the rest of the header is zero
inline constexpr std::size_t kEntrySize = 8;
inline constexpr std::size_t kTrailerSize = 4;
/// Flag: the command created the image; rolling back removes it.
inline constexpr std::uint32_t kCreatedImage = 1;
static_assert(kCountAt + 4 <= kHeaderSize, "the header's fields fit it");
static_assert(kPageSize == 512, "pages are what the journal's readers expect");
}  // namespace journal

/// The journal's path for an image (its resolved path).
std::filesystem::path JournalPath(const std::filesystem::path& image);

/// What a journal holds.
struct JournalContent {
    std::int64_t oldLength = 0;
    std::int64_t newLength = 0;
    bool createdImage = false;
    std::vector<std::int64_t> pages;      // ascending file offsets
    std::vector<unsigned char> oldBytes;  // pages.size() x kPageSize
};

/// Writes the journal to `path` (a file that must not exist yet) and forces it and its folder
/// onto the disk. False with `problem` set; a partial journal is then removed.
bool WriteJournal(const std::filesystem::path& path, const JournalContent& content,
                  std::string& problem);

enum class JournalState {
    Complete,    // its checksum is good: it can be played back
    Incomplete,  // cut short or damaged: the command died while writing it
};

/// Reads a journal; Incomplete when its length or checksum is not right.
JournalState ReadJournal(os::File& journal, JournalContent& content);
/// The same from the journal's bytes: Complete only when the length, the checksum and every
/// page (ascending, inside the old length) are right.
JournalState ParseJournal(const unsigned char* bytes, std::size_t length, JournalContent& content);

/// Puts the old bytes back into `image` and gives it its old length; forces it to the disk.
bool PlayBack(os::File& image, const JournalContent& content);

/// CRC-32 (IEEE 802.3, reflected, as zlib's crc32) continued from `crc` over `n` bytes.
std::uint32_t Crc32(std::uint32_t crc, const unsigned char* bytes, std::size_t n);

}  // namespace tnpkg::store
