// The directory tree of a FAT volume: nodes for entries found on the medium and for entries
// this system writes.
#include <tnpackage/storage/TPDateiInfo.h>
#include <tnpackage/storage/TPDirEintrag.h>
#include <tnpackage/storage/TPDirList.h>
#include <tnpackage/storage/TPSpeicher.h>
#include <tnpackage/storage/TPVerzeichnisInfo.h>
#include <tnpackage/storage/TPVolumeFAT.h>
#include <tnpackage/storage/TPVolumeInfo.h>
#include <tnpackage/text/TPStringList.h>
#include <tnpackage/time/Clock.h>

#include <cstring>
#include <string>
#include <vector>

#include "storage/fat/FatLayout.h"
#include "storage/fat/FatMessages.h"
#include "storage/fat/FatNames.h"
#include "text/GermanLetters.h"

namespace tn {

namespace {

const char* KindLabel(std::uint16_t type) {
    switch (type) {
        case TPDirEintrag::kFile:
            return "Datei";
        case TPDirEintrag::kDirectory:
            return "Verzeichnis";
        case TPDirEintrag::kVolumeLabel:
            return "Volume";
        default:
            return "Eintrag";
    }
}

// The text as the package reads OEM names (Windows-1252 letters for their OEM and 7-bit forms).
void OemToAnsi(std::string& text) {
    for (char& c : text)
        c = german::FromOem(c);
}

// Takes `text` into `name` with the one copy a string needs: a volume lists thousands of them.
void Adopt(TPString& name, const std::string& text) {
    TPString made = fat::Text(text);
    name.Swap(made);
}

// Names as listed: the long name when the medium has one, the short form as the other name.
void SetNames(TPDirEintrag* node, const char* longName) {
    std::string shortName = fat::ShortDisplayName(node->Entry);
    OemToAnsi(shortName);
    if (longName != nullptr && *longName != '\0') {
        TPString made = TPString::Trusted(longName);
        node->Name.Swap(made);
        Adopt(node->Name2, shortName);
    } else {
        Adopt(node->Name, shortName);
        TPString none;
        node->Name2.Swap(none);
    }
}

// Writes the entry set of a new file or folder `name` into `parent`; false (with a Warning)
// when nothing was written.
bool WriteNewEntry(TPDirEintrag* node, TPVerzeichnisInfo* parent, const TPString& name) {
    TPVolumeFAT* volume = parent != nullptr ? parent->Volume : nullptr;
    const std::string text = ToStdString(name);
    if (volume == nullptr || volume->FATBuffer == nullptr) {
        fat::Warn("FAT: kein Volume f\xFCr '" + text + "'");
        return false;
    }
    if (!fat::IsAllowedLongName(text)) {
        fat::Warn("FAT: ung\xFCltiger Name '" + text + "'");
        return false;
    }
    const bool needsLongName = !fat::IsUpperShortName(text);
    const std::vector<std::string> used = volume->ShortNames(parent);
    unsigned char shortName[fat::kEntryNameLength + 1] = {};
    if (needsLongName) {
        if (!fat::MakeShortName(text, used, shortName)) {
            fat::Warn("FAT: kein kurzer Name f\xFCr '" + text + "'");
            return false;
        }
    } else {
        fat::PackShortName(text, shortName);
        const std::string key(reinterpret_cast<const char*>(shortName), fat::kEntryNameLength);
        for (const std::string& u : used) {
            if (u == key) {
                fat::Warn("FAT: '" + text + "' existiert schon");
                return false;
            }
        }
    }
    // A folder needs its first cluster; a file without one is an empty file.
    if (node->Type == TPDirEintrag::kDirectory &&
        !volume->IsDataCluster(volume->GetFreeCluster(false))) {
        fat::WarnVolumeFull(volume->DriveLetter);
        return false;
    }
    const int pieces =
        needsLongName
            ? (static_cast<int>(text.size()) + fat::kLfnCharsPerEntry - 1) / fat::kLfnCharsPerEntry
            : 0;
    const std::int64_t first = volume->FindEntrySlots(parent, 1 + pieces);
    if (first == 0) return false;
    // Growing the parent may have taken the last free cluster.
    if (node->Type == TPDirEintrag::kDirectory &&
        !volume->IsDataCluster(volume->GetFreeCluster(false))) {
        fat::WarnVolumeFull(volume->DriveLetter);
        return false;
    }
    node->NewEntry(parent, nullptr, 0, 0, 0, static_cast<short>(node->Type));
    int address = static_cast<int>(first + fat::kEntrySize * std::int64_t{1 + pieces});
    char* p = reinterpret_cast<char*>(shortName);
    node->FATDirEintrag(-1, p, address);
    std::string longName = text;
    char* q = longName.data();
    for (int k = 0; k < pieces; ++k)
        node->FATDirEintrag(k, q, address);
    if (needsLongName) {
        node->Name = name;
        node->Name2 = fat::Text(fat::ShortDisplayName(node->Entry));
    } else {
        node->Name = name;
        node->Name2 = TPString();
    }
    return true;
}

}  // namespace

// ---- TPDirEintrag
// ------------------------------------------------------------------------------------

TPDirEintrag::TPDirEintrag() : TPObject(0, 8, 1) {}

TPDirEintrag::TPDirEintrag(TPVerzeichnisInfo* parent, unsigned char* entry, int address, short kind,
                           short reserved1, short reserved2)
    : TPObject(static_cast<std::uint16_t>(kind), 8, 1) {
    NewEntry(parent, entry, address, reserved1, reserved2, kind);
}

TPDirEintrag::~TPDirEintrag() = default;

void TPDirEintrag::NewEntry(TPVerzeichnisInfo* parent, unsigned char* entry, int address, short,
                            short, short kind) {
    Parent = parent;
    if (parent != nullptr) {
        Volume = parent->Volume;
        Depth = parent->Depth + 1;
        EntryAddress = address;
        const int bps = Volume != nullptr ? Volume->BytesPerSector : 0;
        EntryOffset = bps > 0 ? address % bps : 0;
    }
    if (entry != nullptr && parent != nullptr) {
        std::memcpy(Entry, entry, kEntrySize);
        if (static_cast<std::uint16_t>(kind) != kVolumeLabel) {
            FileDate = ReadLE32(Entry + fat::kEntryTime);
            Date.SetFileDate(FileDate);
            FirstCluster = ReadLE16(Entry + fat::kEntryCluster);
            Attributes = Entry[fat::kEntryAttributes] & fat::kAttrKept;
        }
    } else {
        std::memset(Entry, 0, kEntrySize);
        FirstCluster = 0;
    }
}

void TPDirEintrag::FATDirEintrag(int piece, char*& name, int& address) {
    address -= kEntrySize;
    if (Volume == nullptr || name == nullptr) return;
    if (piece < 0) {
        EntryAddress = address;
        EntryOffset = address % Volume->BytesPerSector;
        std::memset(Entry, 0, kEntrySize);
        std::memcpy(Entry + fat::kEntryName, name, fat::kEntryNameLength);
        CheckSum = fat::ShortNameChecksum(Entry + fat::kEntryName);
        name += fat::kEntryNameLength;
        Entry[fat::kEntryAttributes] = Type == kDirectory     ? fat::kAttrDirectory
                                       : Type == kVolumeLabel ? fat::kAttrVolume
                                                              : fat::kAttrNewFile;
        Date = TPDateTime(0, PDateTimeFlag::DateTime);
        const std::uint32_t v = Date.FileDate();
        FileDate = v;
        WriteLE16(Entry + fat::kEntryCreateTime, v);
        WriteLE16(Entry + fat::kEntryCreateDate, v >> 16);
        WriteLE16(Entry + fat::kEntryAccessDate, v >> 16);
        WriteLE32(Entry + fat::kEntryTime, v);
        const int n = Volume->GetFreeCluster(false);
        FirstCluster = 0;
        if (Volume->IsDataCluster(n)) {
            Volume->SetCluster(n, -1);
            FirstCluster = n;
        } else {
            fat::WarnVolumeFull(Volume->DriveLetter);
        }
        WriteLE16(Entry + fat::kEntryCluster, static_cast<std::uint32_t>(FirstCluster));
        Volume->Write(this);
        return;
    }
    unsigned char bytes[kEntrySize] = {};
    const std::size_t remaining = std::strlen(name);
    bytes[fat::kLfnSequence] =
        static_cast<unsigned char>(remaining < 14 ? piece + 0x41 : piece + 1);
    bytes[fat::kLfnAttributes] = fat::kAttrLongName;
    bytes[fat::kLfnType] = 0;
    bytes[fat::kLfnChecksum] = CheckSum;
    for (int i = 0; i < fat::kLfnCharsPerEntry; ++i) {
        const auto index = static_cast<std::size_t>(i);
        const std::uint32_t unit = index < remaining    ? static_cast<unsigned char>(name[i])
                                   : index == remaining ? 0x0000u
                                                        : 0xFFFFu;
        WriteLE16(bytes + fat::kLfnCharOffsets[i], unit);
    }
    name += std::min<std::size_t>(remaining, fat::kLfnCharsPerEntry);
    Volume->Write(address, reinterpret_cast<char*>(bytes), kEntrySize);
}

TPString TPDirEintrag::Info() {
    return fat::Text(std::string(KindLabel(Type)) + " '" + ToStdString(Name) + "' ('" +
                     ToStdString(Name2) + "') Cluster " + std::to_string(FirstCluster) +
                     " Adresse " + fat::Hex(static_cast<std::uint32_t>(EntryAddress)));
}

TPString TPDirEintrag::Text(TPString prefix) {
    return prefix + Name;
}

void TPDirEintrag::String(TPStringList* list, TPString prefix) {
    if (list != nullptr) list->Add(Text(prefix));
}

void TPDirEintrag::Mount() {}

TPString TPDirEintrag::Path() const {
    std::string path;
    for (const TPDirEintrag* e = this; e != nullptr && e->Parent != nullptr; e = e->Parent) {
        path = "\\" + ToStdString(e->Name) + path;
    }
    return fat::Text(path);
}

// ---- TPDateiInfo
// ---------------------------------------------------------------------------------------

TPDateiInfo::TPDateiInfo() : TPDirEintrag(nullptr, nullptr, 0, kFile) {}

TPDateiInfo::TPDateiInfo(TPVerzeichnisInfo* parent, char* longName, unsigned char* entry,
                         int address)
    : TPDirEintrag(parent, entry, address, kFile) {
    if (entry != nullptr && parent != nullptr) {
        FileSize = static_cast<std::int32_t>(ReadLE32(Entry + fat::kEntrySizeField));
        SetNames(this, longName);
    }
}

TPDateiInfo::TPDateiInfo(TPVerzeichnisInfo* parent, TPString name)
    : TPDirEintrag(nullptr, nullptr, 0, kFile) {
    Name = name;
    if (WriteNewEntry(this, parent, name)) {
        parent->Insert(this);
        if (Volume != nullptr) Volume->WriteClusterBuffer();
    } else {
        EntryAddress = 0;
    }
}

bool TPDateiInfo::FileCopy(void* destination, bool) {
    return Volume != nullptr && Volume->FileCopy(this, destination, nullptr);
}

bool TPDateiInfo::FileCopy(int address, bool) {
    if (Volume == nullptr || MainMemory == nullptr) return false;
    return Volume->FileCopy(this, static_cast<std::int64_t>(address), MainMemory);
}

bool TPDateiInfo::FileEqual(void* data) {
    return Volume != nullptr && Volume->FileEqual(this, data);
}

void TPDateiInfo::SaveEntry(bool keepDate) {
    if (!keepDate && !KeepDate) {
        Date = TPDateTime(0, PDateTimeFlag::DateTime);
        FileDate = Date.FileDate();
    }
    WriteLE16(Entry + fat::kEntryTime, FileDate & 0xFFFFu);
    WriteLE16(Entry + fat::kEntryDate, FileDate >> 16);
    WriteLE16(Entry + fat::kEntryCluster, static_cast<std::uint32_t>(FirstCluster));
    WriteLE32(Entry + fat::kEntrySizeField, static_cast<std::uint32_t>(FileSize));
    if (EntryAddress != 0 && Volume != nullptr) {
        Volume->Write(this);
    } else {
        Warning(TPString("MediumAdresse=0 ????????????????", 0));
    }
}

TPString TPDateiInfo::Text(TPString prefix) {
    return prefix + Name + " " + TPString(FileSize);
}

void TPDateiInfo::SetBlock(const void* block, int length) {
    block_ = static_cast<const unsigned char*>(block);
    blockLength_ = block_ != nullptr && length > 0 ? length : 0;
}

// ---- TPVolumeInfo
// ------------------------------------------------------------------------------------------

TPVolumeInfo::TPVolumeInfo(TPVerzeichnisInfo* parent, unsigned char* entry, int address)
    : TPDirEintrag(parent, entry, address, kVolumeLabel) {
    if (entry != nullptr) {
        std::string label(reinterpret_cast<const char*>(Entry), fat::kEntryNameLength);
        while (!label.empty() && label.back() == ' ')
            label.pop_back();
        Name = fat::Text(label);
    }
}

TPString TPVolumeInfo::Text(TPString prefix) {
    return prefix + "[" + Name + "]";
}

// ---- TPDirList
// -----------------------------------------------------------------------------------------------

TPDirList::TPDirList(TPVerzeichnisInfo* owner) : Owner(owner) {}

TPDirList::~TPDirList() {
    Clear();
}

void TPDirList::Clear() {
    for (int i = 0; i < Count; ++i)
        delete static_cast<TPDirEintrag*>(Items[i]);
    TPList::Clear();
}

TPDirEintrag* TPDirList::Eintrag(int i) const {
    if (i < 0 || i >= Count) return nullptr;
    return static_cast<TPDirEintrag*>(Items[i]);
}

void TPDirList::Delete(int i) {
    if (i < 0 || i >= Count) return;
    delete static_cast<TPDirEintrag*>(Items[i]);
    TPList::Delete(i);
}

int TPDirList::Insert(int index, void* entry) {
    return TPList::Insert(index, entry);
}

int TPDirList::Add(void* entry) {
    return TPList::Add(entry);
}

// ---- TPVerzeichnisInfo
// ----------------------------------------------------------------------------------------

TPVerzeichnisInfo::TPVerzeichnisInfo(TPVolumeFAT* volume)
    : TPDirEintrag(nullptr, nullptr, 0, kDirectory), List(new TPDirList(this)) {
    Volume = volume;
    if (volume != nullptr) Name = volume->VolumeString();
}

TPVerzeichnisInfo::TPVerzeichnisInfo(TPString name)
    : TPDirEintrag(nullptr, nullptr, 0, kDirectory), List(new TPDirList(this)) {
    Name = name;
}

TPVerzeichnisInfo::TPVerzeichnisInfo(TPVerzeichnisInfo* parent, char* longName,
                                     unsigned char* entry, int address)
    : TPDirEintrag(parent, entry, address, kDirectory), List(new TPDirList(this)) {
    if (entry != nullptr && parent != nullptr) SetNames(this, longName);
}

TPVerzeichnisInfo::TPVerzeichnisInfo(TPVerzeichnisInfo* parent, TPString name)
    : TPDirEintrag(nullptr, nullptr, 0, kDirectory), List(new TPDirList(this)) {
    Name = name;
    if (!WriteNewEntry(this, parent, name) || FirstCluster == 0) {
        EntryAddress = 0;
        return;
    }
    // The new folder's cluster: cleared, with "." (itself) and ".." (the parent; 0 for the root).
    Volume->ClearCluster(FirstCluster);
    unsigned char dot[kEntrySize];
    std::memcpy(dot, Entry, kEntrySize);
    std::memset(dot, ' ', fat::kEntryNameLength);
    dot[0] = '.';
    int n = FirstCluster;
    const int address = Volume->ClusterAdresse(n);
    Volume->Write(address, reinterpret_cast<char*>(dot), kEntrySize);
    dot[1] = '.';
    const int parentCluster = parent->Parent != nullptr ? parent->FirstCluster : 0;
    WriteLE16(dot + fat::kEntryCluster, static_cast<std::uint32_t>(parentCluster));
    Volume->Write(address + kEntrySize, reinterpret_cast<char*>(dot), kEntrySize);
    parent->Insert(this);
    Volume->WriteClusterBuffer();
}

TPVerzeichnisInfo::~TPVerzeichnisInfo() {
    delete List;
}

bool TPVerzeichnisInfo::DirListing(TPVerzeichnisInfo* dir) {
    TPVerzeichnisInfo* target = dir != nullptr ? dir : this;
    return Volume != nullptr && Volume->DirListing(target);
}

void TPVerzeichnisInfo::String(TPStringList* list, TPString prefix) {
    if (list == nullptr) return;
    list->Add(Text(prefix));
    const TPString inner = prefix + "  ";
    for (int i = 0; i < Count(); ++i)
        Eintrag(i)->String(list, inner);
}

TPString TPVerzeichnisInfo::Text(TPString prefix) {
    return prefix + Name + "\\";
}

TPDirEintrag* TPVerzeichnisInfo::Search(TPString name, int kind) {
    for (int i = 0; i < Count(); ++i) {
        TPDirEintrag* e = Eintrag(i);
        if ((kind == 0 || e->Type == kind) && e->Name == name) return e;
    }
    return nullptr;
}

int TPVerzeichnisInfo::Count() {
    return List != nullptr ? List->Count : 0;
}

TPDirEintrag* TPVerzeichnisInfo::Eintrag(int i) {
    return List != nullptr ? List->Eintrag(i) : nullptr;
}

void TPVerzeichnisInfo::Insert(TPDirEintrag* entry) {
    if (entry == nullptr || List == nullptr) return;
    if (entry->Type == kDirectory) {
        InsertDir(entry);
    } else {
        List->Add(entry);
    }
}

void TPVerzeichnisInfo::InsertRootDir(TPDirEintrag* entry) {
    Insert(entry);
}

void TPVerzeichnisInfo::InsertDir(TPDirEintrag* entry) {
    if (entry == nullptr || List == nullptr) return;
    int i = 0;
    while (i < List->Count && List->Eintrag(i)->Type == kDirectory)
        ++i;
    List->Insert(i, entry);
}

void TPVerzeichnisInfo::Mount() {
    for (int i = 0; i < Count(); ++i)
        Eintrag(i)->Mount();
}

}  // namespace tn
