// What the tool counts as a live record. The package's scan takes any record whose state says
// live, magic and checksum unchecked, and that is kept: host programs rely on it. But a power
// cut in the middle of a record, or data that happens to look like a header, passes that scan,
// and a user reading a listing takes every line as a record. The tool lists such records only
// when asked, marked damaged.
#pragma once

#include <tnpackage/tnpackage.h>

#include <string>

namespace tnpkg {

/// Whether the record has the magic "ZK" and, when it has a payload, a valid checksum.
inline bool RecordIntact(const tn::TPSaveObject& record) {
    if (record.Magic != tn::TPObject::kMagic) return false;
    return record.Size <= tn::TPObject::kHeaderSize || record.CheckSumValid();
}

/// The line on standard error about the damaged records a listing passed over.
inline std::string PassedOverNote(const char* command, int count) {
    return "tnpkg " + std::string(command) + ": passed over " + std::to_string(count) +
           " damaged record" + (count == 1 ? "" : "s") +
           " (magic not \"ZK\" or checksum invalid); --all lists them\n";
}

}  // namespace tnpkg
