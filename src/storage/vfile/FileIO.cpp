// The V functions on FAT volumes: path parsing, the open-file table, read, write and seek.
#include <tnpackage/frame/DeviceAddressSpace.h>
#include <tnpackage/frame/Messages.h>
#include <tnpackage/persist/TPList.h>
#include <tnpackage/storage/FatGlobals.h>
#include <tnpackage/storage/FileIO.h>
#include <tnpackage/storage/TPDateiInfo.h>
#include <tnpackage/storage/TPFile.h>
#include <tnpackage/storage/TPVolumeFAT.h>
#include <tnpackage/storage/TP_FATList.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>
#include <string>

#include "storage/media/SpeicherMessages.h"
#include "storage/vfile/FileIOInternal.h"

#ifdef CreateFile
#undef CreateFile
#endif

namespace tn {

namespace {

// The open-file table: made at the first open, emptied when the last file closes. Both are
// constant-initialised so that the unit's exit may touch them whenever it runs.
constinit TPList* openFiles = nullptr;
constinit int openCount = 0;

constexpr int kExtendChunk = 4096;  // 0xFF bytes written per step when a seek extends a file

bool InTable(int handle) {
    return handle >= 0 && handle < openFiles->Count;
}

TPString NodeName(const TPFile* record) {
    return record->File != nullptr ? record->File->Name : TPString();
}

// The record of a handle; an invalid one is reported (the caller's fault, but never a crash).
TPFile* Record(int handle) {
    if (openFiles != nullptr && InTable(handle) && openFiles->Items[handle] != nullptr) {
        auto* record = static_cast<TPFile*>(openFiles->Items[handle]);
        if (record->File != nullptr && record->File->Volume != nullptr) return record;
    }
    Warning(storage::Owned("Ung\xFCltiges Datei-Handle " + std::to_string(handle)));
    return nullptr;
}

int Enter(TPFile* record) {
    if (openFiles == nullptr) openFiles = new TPList();
    ++openCount;
    return openFiles->Add(record);
}

// Writes 0xFF from the end of the file up to `target`; false when the volume ran full.
bool Extend(TPVolumeFAT* volume, TPFile* record, std::int64_t target) {
    TPDateiInfo* node = record->File;
    if (!volume->SetFilePointer(record, node->FileSize)) return false;
    // The pointer rests on the sector that holds the last byte; the bytes behind the end start
    // in the next sector when that one is full.
    const int z = volume->BytesPerSector;
    if (node->FileSize > 0 && z > 0 && node->FileSize % z == 0) {
        if (!volume->NextSector(record, true)) return false;
    }
    char fill[kExtendChunk];
    std::memset(fill, 0xFF, sizeof fill);
    std::int64_t missing = target - node->FileSize;
    while (missing > 0) {
        const int n = static_cast<int>(std::min<std::int64_t>(missing, kExtendChunk));
        const int done = volume->FileWrite(record, fill, n, false);
        if (done < 1) return false;
        missing -= done;
    }
    record->Written = true;
    return true;
}

}  // namespace

namespace fileio {

ParsedPath ParsePath(const TPString& path) {
    const std::string text = ToStdString(path);
    ParsedPath parsed;
    std::string rest;
    if (text.size() >= 2 && text[1] == ':') {
        parsed.letter = text[0];
        rest = text.size() >= 3 && text[2] == '\\' ? text.substr(3) : text.substr(2);
    } else {
        parsed.letter = 'F';
        rest = !text.empty() && text[0] == '\\' ? text.substr(1) : text;
    }
    parsed.rest = storage::Owned(rest).TrimRight();
    return parsed;
}

TPVolumeFAT* Volume(char letter) {
    return FATList != nullptr ? FATList->Search(letter) : nullptr;
}

void WarnUnmapped(std::uint32_t address, std::int64_t length) {
    char text[96];
    std::snprintf(text, sizeof text, "Adresse 0x%08X (%lld Bytes) liegt in keinem Speicherbereich",
                  static_cast<unsigned>(address), static_cast<long long>(length));
    Warning(storage::Owned(text));
}

void CloseAll() {
    if (openFiles == nullptr) return;
    // The volumes may be gone by now: the records are dropped without saving their entries.
    for (int i = 0; i < openFiles->Count; ++i) {
        auto* record = static_cast<TPFile*>(openFiles->Items[i]);
        if (record == nullptr) continue;
        record->Written = false;
        record->File = nullptr;
        delete record;
    }
    delete openFiles;
    openFiles = nullptr;
    openCount = 0;
}

}  // namespace fileio

int FileOpenV(TPString path, int mode) {
    const fileio::ParsedPath parsed = fileio::ParsePath(path);
    TPVolumeFAT* volume = fileio::Volume(parsed.letter);
    if (volume == nullptr) return -1;
    TPDateiInfo* node = volume->SearchFile(parsed.rest);
    auto* record = new TPFile();
    record->Mode = static_cast<std::uint8_t>(mode);
    const int kind = mode & 7;
    if (kind == 0) record->Flags = TPFile::kReadOnly;
    if (kind == 1) record->Flags = TPFile::kWriteOnly;
    if (kind >= 1 && kind <= 3) {
        if (node == nullptr) {
            node = volume->CreateFile(record, parsed.rest);
        } else if (kind == 3) {
            node->FileSize = 0;
            record->Written = true;
        }
    }
    if (node == nullptr) {
        delete record;
        return -1;
    }
    // An existing file keeps position 0 and cluster 0 without a current sector: the first seek
    // sets the record on its chain.
    record->File = node;
    return Enter(record);
}

int FileOpenV(TPDateiInfo* file, int mode) {
    if (file == nullptr || file->Volume == nullptr) return -1;
    auto* record = new TPFile();
    record->Mode = static_cast<std::uint8_t>(mode);
    record->Open(file, -1);
    switch (mode & 7) {
        case 0:
            record->Flags = TPFile::kReadOnly;
            break;
        case 1:
            record->Flags = TPFile::kWriteOnly;
            break;
        case 3:
            file->FileSize = 0;
            record->Written = true;
            break;
        default:
            break;
    }
    return Enter(record);
}

int FileCreateV(TPString path) {
    return FileOpenV(path, 1);
}

void FileCloseV(int handle) {
    if (openFiles == nullptr || !InTable(handle)) return;
    auto* record = static_cast<TPFile*>(openFiles->Items[handle]);
    if (record == nullptr) return;
    delete record;
    openFiles->Items[handle] = nullptr;
    if (--openCount <= 0) {
        openCount = 0;
        openFiles->Clear();
    }
}

int OpenFileCount() {
    return openCount;
}

int FileReadV(int handle, void* buffer, int count) {
    TPFile* record = Record(handle);
    if (record == nullptr) return 0;
    if (record->Flags & TPFile::kWriteOnly) {
        Warning(TPString("Datei '", 0) + NodeName(record) +
                "' nur zum Schreiben ge\xF6"
                "ffnet!");
        return 0;
    }
    if (record->Position < 0 || record->Position >= record->File->FileSize) return 0;
    return record->File->Volume->FileRead(record, static_cast<char*>(buffer), count);
}

int FileWriteV(int handle, void* buffer, int count, bool saveEntry) {
    TPFile* record = Record(handle);
    if (record == nullptr) return 0;
    if (record->Flags & TPFile::kReadOnly) {
        Warning(TPString("Datei '", 0) + NodeName(record) +
                "' nur zum Lesen ge\xF6"
                "ffnet!");
        return 0;
    }
    if (record->Position < 0) return 0;
    return record->File->Volume->FileWrite(record, static_cast<char*>(buffer), count, saveEntry);
}

int FileSeekV(int handle, int offset, int origin) {
    TPFile* record = Record(handle);
    if (record == nullptr) return -1;
    TPVolumeFAT* volume = record->File->Volume;
    std::int64_t target = offset;
    switch (origin) {
        case 0:
            break;
        case 1:
            target += record->Position;
            break;
        case 2:
            target += record->File->FileSize;
            break;
        default:
            return -1;
    }
    if (target < 0 || target > std::numeric_limits<std::int32_t>::max()) return -1;
    if (target > record->File->FileSize) {
        if (record->Flags & TPFile::kReadOnly) return -1;
        if (!Extend(volume, record, target)) return -1;
    }
    if (!volume->SetFilePointer(record, static_cast<int>(target))) return -1;
    return offset;
}

bool FileCopyV(TPDirEintrag* file, int address) {
    if (file == nullptr || !file->IsFile()) return false;
    auto* node = static_cast<TPDateiInfo*>(file);
    // The copy writes the size rounded up to even, at most 512 KiB.
    const std::int64_t length =
        std::min<std::int64_t>((std::int64_t{std::max(node->FileSize, 0)} + 1) & ~1, 0x80000);
    const auto device = static_cast<std::uint32_t>(address);
    void* host = DeviceAddressSpace::ToHost(
        device, static_cast<std::uint32_t>(std::max<std::int64_t>(length, 1)));
    if (host == nullptr) {
        fileio::WarnUnmapped(device, length);
        return false;
    }
    return node->FileCopy(host, false);
}

bool FileEqualV(TPDirEintrag* file, int address) {
    if (file == nullptr || !file->IsFile()) return false;
    auto* node = static_cast<TPDateiInfo*>(file);
    const int length = (std::min(std::max(node->FileSize, 0), 32) + 1) & ~1;
    const auto device = static_cast<std::uint32_t>(address);
    void* host =
        DeviceAddressSpace::ToHost(device, static_cast<std::uint32_t>(std::max(length, 1)));
    if (host == nullptr) {
        fileio::WarnUnmapped(device, length);
        return false;
    }
    return node->FileEqual(host);
}

int FindFirstV(TPString, int, TVSearchRec&) {
    return 0;
}

int FindNextV(TVSearchRec&) {
    return 0;
}

int FindCloseV(TVSearchRec&) {
    return 0;
}

bool DirectoryExistsV(TPString) {
    return true;
}

bool ForceDirectoriesV(TPString path) {
    const std::string text = ToStdString(path);
    const auto colon = text.find(':');
    if (colon == std::string::npos || colon == 0 || FATList == nullptr) return false;
    std::string rest = text.substr(colon + 1);
    if (!rest.empty() && rest[0] == '\\') rest.erase(0, 1);
    return FATList->ForceDirectories(text[colon - 1], storage::Owned(rest));
}

int FileAppendV(int handle, TPString text, bool saveEntry) {
    const int length = text.IsEmpty() ? 0 : text.Length();
    return FileWriteV(handle, text.c_str(), length, saveEntry);
}

int FileAddLineV(int handle, TPString text, bool saveEntry) {
    return FileAppendV(handle, text + "\r\n", saveEntry);
}

int ProgramCopy(int value, int, int) {
    return value;
}

}  // namespace tn
