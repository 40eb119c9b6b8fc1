// A FAT12/FAT16 volume inside a medium (a TPSpeicher): geometry from the boot sector, the whole
// first FAT in memory with a dirty bitmap of its sectors, the directory tree, and the file layer
// that walks cluster chains sector by sector.
//
// All addresses are byte addresses from the medium's start. Volumes whose addresses do not fit
// 32 bits, and boot sectors with impossible geometry, are refused (no FAT, Valid false) with a
// Warning. Chain walks are bounded by the cluster count; nothing is ever transferred below the
// data area or past the volume's end.
#pragma once

#include <tnpackage/Export.h>
#include <tnpackage/text/TPString.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#ifdef CreateFile
#pragma push_macro("CreateFile")
#undef CreateFile
#define TN_RESTORE_CREATEFILE
#endif

namespace tn {

class TPDateiInfo;
class TPDirEintrag;
class TPDirList;
class TPFile;
class TPSpeicher;
class TPStringList;
class TPVerzeichnisInfo;

class TN_EXPORT TPVolumeFAT {
  public:
    /// How the constructor ended, so that a caller can explain a refusal without reading the
    /// Warning texts.
    enum class MountResult {
        Mounted,          ///< the FAT is read and the tree listed
        NoFileSystem,     ///< the sector at the base is no FAT boot sector (valid, inert volume)
        NoMedium,         ///< no medium, or a negative base
        BadBlockSize,     ///< the medium's block size lies outside 1 .. kMaxSectorSize
        BadGeometry,      ///< bytes per sector, a zero field, or a FAT area larger than the volume
        OutOfRange,       ///< the volume's addresses do not fit 32 bits
        FatBeyondMedium,  ///< the first FAT ends past the medium's end
        FAT32,            ///< a FAT32 volume, which the package cannot read
    };

    // ---- from the boot sector -----------------------------------------------------------------
    std::uint16_t BytesPerSector = 0;
    std::uint8_t SectorsPerCluster = 0;
    std::uint16_t ReservedSectors = 0;
    std::uint8_t NumberOfFATs = 0;
    std::uint16_t RootEntries = 0;
    std::uint32_t TotalSectors = 0;
    std::uint8_t MediaDescriptor = 0;
    std::uint16_t SectorsPerFAT = 0;
    std::uint16_t SectorsPerTrack = 0;
    std::uint16_t Heads = 0;
    std::uint16_t HiddenSectors = 0;  ///< low 16 bits of the boot sector's field
    // ---- derived ------------------------------------------------------------------------------
    bool Valid = true;                ///< false when the boot sector's geometry was refused
    std::uint32_t VolumeSize = 0;     ///< bytes per sector x total sectors
    std::uint32_t FATAddress = 0;     ///< base + bytes per sector x reserved sectors
    std::uint32_t FATSize = 0;        ///< sectors per FAT x bytes per sector
    std::uint32_t RootAddress = 0;    ///< FAT address + FATs x FAT size
    std::uint32_t ClusterBase = 0;    ///< root address + 32 x root entries - 2 x cluster size
    std::uint32_t ClusterSize = 0;    ///< sectors per cluster x bytes per sector
    std::int32_t ClusterCount = 0;    ///< total sectors / sectors per cluster
    std::uint8_t FATType = 0;         ///< 1: 12-bit entries; 4, 5, 6, 11, 12, 14, 15: 16-bit
    std::int32_t WorkingAddress = 0;  ///< address of the last cleared cluster (initially base)
    std::int32_t VolumeBase = 0;      ///< medium address of the boot sector
    char DriveLetter = 0;
    unsigned char* FATBuffer = nullptr;    ///< the first FAT; null when the medium has none
    TPVerzeichnisInfo* Root = nullptr;     ///< the directory tree, owned
    TPVerzeichnisInfo* Current = nullptr;  ///< the current directory
    TPSpeicher* Medium = nullptr;          ///< not owned

    /// Largest sector the volume accepts (and the size of its sector buffer).
    static constexpr int kMaxSectorSize = 4096;
    /// Directories deeper than this are not listed.
    static constexpr int kMaxDepth = 64;

    /// Reads the boot sector at `base`, the first FAT and the whole tree. A sector that is not
    /// a FAT boot sector gives a volume without FAT. Clears StopAll.
    TPVolumeFAT(TPSpeicher* medium, char driveLetter, int base);
    /// Frees the buffers and the tree; does not write the FAT back.
    ~TPVolumeFAT();
    TPVolumeFAT(const TPVolumeFAT&) = delete;
    TPVolumeFAT& operator=(const TPVolumeFAT&) = delete;

    // ---- FAT ----------------------------------------------------------------------------------
    /// Entry n. 12-bit: values above 0xFF0 come back negative (0xFFF is -1); 16-bit: the word
    /// zero-extended. Unknown type: -1. An entry outside the FAT buffer reads as end of chain
    /// (-1 for 12-bit, 0xFFFF for 16-bit).
    /// Standard volumes: end marks (0xFF8-0xFFF, 0xFFF8-0xFFFF) read -8 .. -1 and the bad mark
    /// (0xFF7, 0xFFF7) reads kBadCluster in both widths; every other value as it stands. An
    /// entry outside the FAT buffer reads -1.
    int GetCluster(int n);
    /// Sets entry n and marks its FAT sector(s) dirty. 16-bit types store the low byte at byte
    /// n and then go through the 12-bit packing as well (standard volumes: the 16-bit word at
    /// byte 2n). Entries outside the buffer: nothing.
    void SetCluster(int n, int value);
    /// The lowest free cluster from 2 below ClusterCount (standard volumes: below
    /// DataClusterLimit()), marked end of chain when `allocate`, or -1. The search starts at a
    /// lowest-free hint that SetCluster and ReadClusterBuffer keep; code that frees entries by
    /// writing FATBuffer directly calls ReadClusterBuffer or SetCluster instead.
    int GetFreeCluster(bool allocate);
    /// ClusterBase + n x cluster size; n 0 first takes a free data cluster into n (-1 when the
    /// data area is full).
    int ClusterAdresse(int& n);
    /// Writes zeros over cluster n (0: a new one, not handed back); WorkingAddress = its address.
    void ClearCluster(int n);
    /// Loads the first FAT from the medium.
    void ReadClusterBuffer();
    /// Writes every dirty FAT sector to every FAT copy (sector s at s x 512 of the FAT; on
    /// standard volumes at s x bytes per sector).
    void WriteClusterBuffer();

    // ---- sector buffer ------------------------------------------------------------------------
    /// Writes `length` bytes at medium `address` through the one-sector buffer (address 0:
    /// nothing; bytes past the sector's end are dropped with a Warning).
    void Write(int address, char* data, int length);
    /// Writes a node's 32 entry bytes back to its entry address (0: nothing).
    void Write(TPDirEintrag* entry);

    // ---- registry and geometry ----------------------------------------------------------------
    /// Root becomes the current directory; the whole tree is listed anew.
    void CreateList();
    bool IsVolume(char c) { return c == DriveLetter; }
    char GetVolume() { return DriveLetter; }
    /// The drive letter followed by ":\".
    TPString VolumeString();
    /// Bytes per sector; 512 for a null volume (see the static form).
    int GetSectorSize() { return GetSectorSize(this); }
    /// Bytes per sector of `volume`, 512 when it is null: the safe way to ask through a pointer
    /// that may be null.
    static int GetSectorSize(const TPVolumeFAT* volume);
    int GetClusterSize() { return static_cast<int>(ClusterSize); }
    /// First byte after the root directory: ClusterBase + 2 x cluster size.
    int RootEnde();
    /// The root node's entry list.
    TPDirList* RootList();
    /// Does nothing.
    void Set(int, TPDateiInfo*) {}

    // ---- files --------------------------------------------------------------------------------
    /// Moves `f` to `position` (0 .. size); outside: position 0 and false.
    bool SetFilePointer(TPFile* f, int position);
    bool NextSector(TPFile* f, bool allocate);
    bool NextCluster(TPFile* f, bool allocate);
    /// Bytes read from the record's position (count < 0: to the end; data null: walk only).
    /// The position itself does not move.
    int FileRead(TPFile* f, char* data, int count);
    /// Bytes written at the record's position; the size grows at once. A full volume stops the
    /// write with a Warning after the bytes that found room.
    int FileWrite(TPFile* f, char* data, int count, bool saveEntry);
    /// Finds or creates the file of `path` (folders are created) and opens it in `f` if given.
    TPDateiInfo* CreateFile(TPFile* f, TPString path);
    /// Finds or creates every folder of `path` below the root; the last one, or null.
    TPVerzeichnisInfo* ForceDirectories(TPString path);
    /// The file of `path`: from the root with a leading "\", else from the current directory.
    TPDateiInfo* SearchFile(TPString path);
    /// Copies a whole file (length rounded up to even, at most 512 KiB) to memory at
    /// `destination`, or with a target into that medium at the address `destination` names.
    bool FileCopy(TPDateiInfo* file, void* destination, TPSpeicher* target);
    /// As above, the target address as a number.
    bool FileCopy(TPDateiInfo* file, std::int64_t destination, TPSpeicher* target);
    /// Whether the file's first min(size, 32) bytes (rounded up to even) equal `data`.
    bool FileEqual(TPDateiInfo* file, void* data);
    /// Calls OnFileFound for each file of the root, then OnUpdateEnde.
    void Update();
    /// Lists `dir` (with its subdirectories) from the medium into the tree.
    bool DirListing(TPVerzeichnisInfo* dir);
    /// Lines of the whole tree; the caller owns the list.
    TPStringList* VerzeichnisStrings();

    // Windows' <windows.h> defines CreateFile as CreateFileA or CreateFileW; a caller compiled
    // after it reaches the member through these.
    TPDateiInfo* CreateFileA(TPFile* f, TPString path) { return CreateFile(f, path); }
    TPDateiInfo* CreateFileW(TPFile* f, TPString path) { return CreateFile(f, path); }

    // ---- for the write layer (not part of the on-media rules) ---------------------------------
    /// First cluster number past the data area (data clusters + 2).
    std::int32_t DataClusterLimit() const { return dataLimit_; }
    /// GetCluster's value of a bad cluster on a standard volume.
    static constexpr int kBadCluster = -9;
    /// Whether a FAT value as GetCluster gives it ends a chain (12-bit: negative; 16-bit:
    /// 0xFFF8 and above; standard volumes: -8 .. -1).
    bool IsChainEnd(int value) const {
        return standard_ ? value < 0 && value > kBadCluster : value < 0 || value >= 0xFFF8;
    }
    /// Whether cluster n lies inside the data area.
    bool IsDataCluster(std::int64_t n) const { return n >= 2 && n < dataLimit_; }
    /// Whether the `length` bytes at medium `address` lie in the data area of this volume.
    bool InDataArea(std::int64_t address, std::int64_t length) const;
    /// Whether the bytes lie anywhere inside the volume.
    bool InVolume(std::int64_t address, std::int64_t length) const;
    /// Takes a free data cluster marked end of chain, or -1 with a "full" Warning.
    int AllocateCluster();
    /// Forgets the sector buffer when it holds the sector at `address`.
    void ForgetSector(std::int64_t address);
    /// Reads one sector at `address` into `buffer` (kMaxSectorSize bytes at least), guarded:
    /// false (zeros) outside the volume.
    bool ReadSector(std::int64_t address, unsigned char* buffer);
    /// Writes one sector; refused (false) outside the data or root/FAT area of this volume.
    bool WriteSector(std::int64_t address, const unsigned char* buffer);
    /// The 11-byte short names used in a folder (for unique short names).
    std::vector<std::string> ShortNames(TPVerzeichnisInfo* dir);
    /// Finds `slots` consecutive free entries in `dir` (extending a subfolder when needed);
    /// the address of the first, or 0 when the folder is full.
    std::int64_t FindEntrySlots(TPVerzeichnisInfo* dir, int slots);

    // ---- how the mount went ---------------------------------------------------------------------
    MountResult MountStatus() const { return mountResult_; }
    /// Whether the volume was mounted with FATStandard on (see FatGlobals.h).
    bool IsStandard() const { return standard_; }
    /// Data clusters by the boot sector: (total sectors - first data sector) / sectors per
    /// cluster; 0 when the geometry was refused before they were known.
    std::int64_t DataClusters() const { return dataClusters_; }
    /// The FAT type code the package's default rule gives (total sectors / sectors per cluster)
    /// and the one the data clusters give, as FAT defines it; 0 for 65525 clusters and more.
    std::uint8_t TypeByClusterCount() const { return typeByCount_; }
    std::uint8_t TypeByDataClusters() const { return typeByData_; }
    /// Bytes of the volume beyond the medium's end; 0 when it fits or the medium cannot tell.
    std::int64_t MissingBytes() const { return missingBytes_; }

  private:
    unsigned char* sectorBuffer_ = nullptr;
    std::int64_t bufferedAddress_ = 0;
    std::vector<std::uint32_t> dirtyBitmap_;
    std::vector<unsigned char> fatSectorFlags_;
    std::int32_t bitmapWords_ = 0;
    std::int32_t dataLimit_ = 0;
    std::int32_t freeHint_ = 2;
    std::vector<bool> listed_;  // directory clusters already listed during a mount
    bool standard_ = false;
    MountResult mountResult_ = MountResult::Mounted;
    std::int64_t dataClusters_ = 0;
    std::int64_t missingBytes_ = 0;
    std::uint8_t typeByCount_ = 0;
    std::uint8_t typeByData_ = 0;

    // Receives each sector of a whole-file copy and the number of its bytes that belong to the
    // copy.
    using SectorSink = std::function<void(const unsigned char* sector, std::int64_t piece)>;
    // Walks a file's sectors for FileCopy (even length, at most 512 KiB); true when the last
    // piece was reached.
    bool CopySectors(TPDateiInfo* file, const SectorSink& sink);
    // Mounting reads the boot sector's fields, checks the geometry they give, and only then
    // derives the type, the addresses and the buffers from them.
    MountResult Mount();
    void ReadBootFields(const unsigned char* boot);
    MountResult CheckGeometry(const unsigned char* boot, const std::string& where);
    void DeriveType(const unsigned char* boot, const std::string& where);
    void DeriveLayout();
    // The first free data cluster marked end of chain, or -1.
    int TakeDataCluster();
    // The cluster after c in its chain, or -1 where the chain ends.
    int Follow(int c);
    // One sector of a folder as WalkDirectory hands it over: its medium address, its bytes, how
    // many of them are entries (the root area's last sector may hold fewer), and whether it is
    // the first of its cluster.
    struct DirSector {
        std::int64_t address;
        unsigned char* bytes;
        int entryBytes;
        bool startsCluster;
    };
    // Receives each sector in medium order; false ends the walk.
    using DirSectorVisitor = std::function<bool(const DirSector&)>;
    struct DirWalk {
        bool stopped = false;     // the visitor ended the walk
        bool readFailed = false;  // a sector lay outside the volume
        int lastCluster = 0;      // the last cluster of the chain reached; 0 for the root
    };
    // Hands the sectors of `dir` to `visit`: the root area, or the cluster chain, which ends at
    // a cluster it (or, during a listing, another folder) has already passed.
    DirWalk WalkDirectory(TPVerzeichnisInfo* dir, const DirSectorVisitor& visit);
    void ListDirectory(TPVerzeichnisInfo* dir);
    // Adds a cleared cluster after `last`, the final cluster of a full folder; its address, or 0.
    std::int64_t GrowDirectory(int last);
    // Whether a listing passes over this short entry: the package passes over every name that
    // begins with '.'; standard volumes only over the "." and ".." entries of a folder, since
    // other programs store files such as ".PROFILE" under such names.
    bool IsSkippedDotEntry(const unsigned char* entry) const;
    void MarkDirty(std::int64_t offset);
    bool ReadBuffered(std::int64_t address);
    bool StoreFileSector(TPFile* f, std::int64_t address, const char* data, int n);
    bool LoadFileSector(TPFile* f);

    friend class TPDirEintrag;
};

}  // namespace tn

#ifdef TN_RESTORE_CREATEFILE
#pragma pop_macro("CreateFile")
#undef TN_RESTORE_CREATEFILE
#endif
