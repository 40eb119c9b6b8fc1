// The PC-side image of an instrument's memory: a byte buffer of fixed size, kept in a ".DAT"
// file in the folder SpeicherPfad.
//
// The flash model and the persistent records work on Buffer directly; the FAT volume reaches
// the medium only through ReadBlock and WriteBlock, which a derived class supplies (see
// TPImageSpeicher for an image whose medium is its own buffer).
#pragma once

#include <tnpackage/Export.h>
#include <tnpackage/text/TPString.h>

#include <cstdint>
#include <optional>

namespace tn {

class TN_EXPORT TPSpeicher {
  public:
    /// Largest image a whole save writes; a bigger image is shrunk to it when saved.
    static constexpr int kMaxSavedSize = 0x400000;
    /// Extension of every image file.
    static constexpr const char* kExtension = ".DAT";

    /// Builds FileName from SpeicherPfad and `name`, then loads the file when its length is
    /// `size`, otherwise fills the buffer with 0xFF (erased flash). A missing file is created
    /// empty. `size` 0 gives no buffer and opens nothing.
    TPSpeicher(TPString name, int size);
    /// Saves the whole image, then frees the buffer it allocated, unless that buffer lies in a
    /// device window at or above DeviceAddressSpace::kInstrumentBase.
    virtual ~TPSpeicher();
    TPSpeicher(const TPSpeicher&) = delete;
    TPSpeicher& operator=(const TPSpeicher&) = delete;

    // ---- operations of a medium, in the order the FAT volume relies on ----------------------
    virtual void ReservedSlot0() {}
    /// Fills `destination` with one sector of the medium from byte `address` on.
    virtual void ReadBlock(void* destination, std::int64_t address) = 0;
    /// Writes one sector from `source` to the medium at byte `address`.
    virtual void WriteBlock(const void* source, std::int64_t address) = 0;
    /// Selects a sector base; the plain image has none.
    virtual void SetSector(int base);
    virtual void ReservedSlot4() {}
    /// Bytes the medium holds from address 0 on, or -1 when it cannot tell. A volume uses it to
    /// refuse a FAT or a volume that does not fit the medium.
    virtual std::int64_t MediumSize() const { return -1; }

    // ---- files ------------------------------------------------------------------------------
    /// Saves the whole buffer to FileName (at most kMaxSavedSize bytes, see there). The old file
    /// stays intact until the new one is complete.
    void Speichern();
    /// Saves `count` bytes from `start` into `fileName`; count 0 means UsedLength, and the
    /// slice ends at Size.
    void Speichern(TPString fileName, int start, int count);
    /// Loads up to `count` bytes (0: Size) at `start` from `fileName`. A short file leaves the
    /// rest of the slice as four 0x00 bytes followed by 0xFF.
    void Laden(TPString fileName, int start, int count);
    /// Whether Buffer < p < Buffer + Size. The first byte itself counts as outside.
    bool InSide(const char* p) const;
    /// One byte read from the image file (not the buffer); 0 when nothing could be read.
    char GetChar(int address);
    /// One byte written into the existing image file (not the buffer).
    void PutChar(int address, char c);

    // ---- device address space ---------------------------------------------------------------
    /// Maps the buffer at `deviceBase` (replacing an earlier mapping of this image); false when
    /// there is no buffer or the range is taken. The destructor removes the mapping.
    bool MapAt(std::uint32_t deviceBase);
    /// Removes the mapping made by MapAt.
    void Unmap();
    /// Where MapAt put the buffer, if anywhere.
    std::optional<std::uint32_t> DeviceBase() const { return deviceBase_; }

    // ---- fields -----------------------------------------------------------------------------
    TPString FileName;          ///< folder + separator + name + ".DAT"
    int Size = 0;               ///< bytes in the image; 0: no buffer
    int Reserved1 = 0;          ///< cleared here, for client code
    int UsedLength = 0;         ///< default byte count of a partial save
    int Reserved2 = 0;          ///< not touched by the image, for client code
    char* Buffer = nullptr;     ///< Size bytes, or null
    bool ReservedFlag = false;  ///< cleared here, for client code
    /// Bytes one ReadBlock / WriteBlock moves. 512 unless a FAT volume mounted on the medium
    /// sets its own bytes per sector (1024, 2048 or 4096).
    int BlockSize = 512;

  protected:
    /// Frees the buffer this image allocated (a derived medium that brings its own memory
    /// calls this first) and forgets it; Buffer becomes null.
    void ReleaseBuffer();
    /// Bytes of Buffer that may be touched: Size, but never more than this image allocated.
    std::int64_t Extent() const;

  private:
    // The extent of the buffer this image allocated: Size can shrink and a derived class may
    // replace Buffer, but only this block is ever freed here.
    char* ownedBuffer_ = nullptr;
    std::int64_t ownedLength_ = 0;
    std::optional<std::uint32_t> deviceBase_;

    void FreeOwnedBuffer();
};

/// Called by the flash model after every word it programs: device address, the value written
/// and its length in bytes.
using TPMemWriteHook = void (*)(std::uint32_t address, const void* value, int length);

/// Folder of all image files; relative to the current folder unless absolute.
TN_EXPORT extern TPString SpeicherPfad;
/// The application's main image (the package itself does not read it).
TN_EXPORT extern TPSpeicher* MainMemory;
/// A second image for the application's tests.
TN_EXPORT extern TPSpeicher* TestSpeicher;
/// Slot for the application's table of memory addresses; not used inside the package.
TN_EXPORT extern void* MemAdressen;
/// Called by the flash model on every write.
TN_EXPORT extern TPMemWriteHook OnMemWrite;

}  // namespace tn
