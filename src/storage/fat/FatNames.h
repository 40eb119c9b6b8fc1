// Names on a FAT volume: the listed form of a short entry, long names from their UTF-16 pieces,
// and the 11-byte short name of a new entry.
#pragma once

#include <tnpackage/text/TPString.h>

#include <string>
#include <vector>

namespace tn::fat {

/// NAME.EXT of an 11-byte short name (no dot without extension), with the NT case bits of
/// entry byte 12 applied.
std::string ShortDisplayName(const unsigned char* entry);

/// Collects the long-name pieces that stand before a short entry.
class LongNameCollector {
  public:
    /// Takes one long-name entry; a piece out of order or with another checksum drops the set.
    void Piece(const unsigned char* entry);
    /// Forgets any pieces (a deleted or other entry came between).
    void Reset() { active_ = false; }
    /// The long name (Windows-1252) when a complete set with the short entry's checksum stands
    /// before it; empty otherwise. Resets the collector.
    std::string Take(const unsigned char* shortEntry);
    /// The same into `name`, whose buffer a listing reuses from entry to entry.
    void Take(const unsigned char* shortEntry, std::string& name);

  private:
    bool active_ = false;
    int expected_ = 0;  // sequence number of the next piece
    int pieces_ = 0;
    unsigned char checksum_ = 0;
    char16_t units_[20 * 13] = {};
};

/// Whether `name` is a valid upper-case 8.3 name that needs no long-name entry.
bool IsUpperShortName(const std::string& name);
/// Whether `name` may name a file or folder (length 1-255, no control or forbidden characters,
/// not "." or "..", no trailing dot or space).
bool IsAllowedLongName(const std::string& name);
/// The 11-byte form of a valid 8.3 name.
void PackShortName(const std::string& name, unsigned char* out);
/// The 11-byte short name of a long name, unique against `used` (11-byte names): upper case,
/// characters FAT forbids (and non-ASCII ones) as "_", "~1", "~2", ... , extension kept.
/// False when no unique form was found.
bool MakeShortName(const std::string& name, const std::vector<std::string>& used,
                   unsigned char* out);

}  // namespace tn::fat
