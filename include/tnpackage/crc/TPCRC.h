// The configurable table CRC of the package, and the shared calculator slots.
//
// A TPCRC is built once for a width, a polynomial and the bit order in force at construction
// (CRCInsertMode); after that and Set() it is read-only, so one object may serve many readers.
#pragma once

#include <tnpackage/Export.h>
#include <tnpackage/text/TPString.h>

#include <cstdint>

namespace tn {

class TPDateiInfo;

class TN_EXPORT TPCRC {
  public:
    static constexpr int kTableSize = 256;
    /// Slicing tables of the eight-bytes-at-a-time form of Create: one per input byte of a
    /// block and one per byte of the register.
    static constexpr int kSliceBytes = 8;
    static constexpr int kRegisterBytes = 4;
    static constexpr int kSliceTables = kSliceBytes + kRegisterBytes;
    /// Constant words of the carry-less-multiply form of Create (powers of x modulo the
    /// polynomial, the Barrett constant, the shape).
    static constexpr int kFoldWords = 13;

    /// Builds the table for the bit order of CRCInsertMode (1 = reflected, else normal). Start
    /// and final XOR are all ones for width 32, 0 otherwise; byte XOR 0. Widths outside 1..32
    /// never fault: from 0 down the mask is 0, so every setting and table CRC is 0; above 32
    /// the table is empty.
    TPCRC(int width, int polynomial);

    /// Start and final XOR, both cut to the width; the byte XOR becomes 0.
    void Set(int initial, int finalXor);
    /// As above, and the low 8 bits of `byteXor` are XORed into every input byte.
    void Set(int initial, int finalXor, int byteXor);

    /// CRC of `len` bytes (no bytes, or no data, gives start XOR final).
    std::uint32_t Create(const void* data, int len) const;
    /// CRC of the text's characters, without the terminating NUL.
    std::uint32_t Create(const TPString& text) const;
    /// The same result as Create, one table step per byte: the plain form the faster one is
    /// measured and checked against.
    std::uint32_t CreateByteByByte(const void* data, int len) const;

    /// Reflected CCITT CRC of the instrument's processor data (start and final XOR from Set;
    /// the table is not used). The register is 16 bits wide, so is the result.
    std::uint16_t CreateHyperstone(const void* data, int len) const;
    /// The same CRC, computed nibble-wise; equal to CreateHyperstone for every input.
    std::uint16_t CreateHS(const void* data, int len) const;

    /// Checks the trailing 32-bit CRC of a loaded file: the length word L at offset 12 of the
    /// file's block, the CRC of its first L bytes against the word at offset L. A mismatch is
    /// reported through Warning. No node, nothing loaded, or L below 1: false without a
    /// message. A block too short for the length word, or an L whose stored CRC would lie
    /// behind the block's end: false with a warning, and nothing outside the block is read.
    bool Check(TPDateiInfo* datei) const;

    // ---- read access to the settings ----------------------------------------------------------
    int Mode() const { return mode_; }
    bool Reflected() const;
    int Width() const { return width_; }
    std::uint32_t Polynomial() const { return polynomial_; }
    std::uint32_t Mask() const { return mask_; }
    std::uint32_t Initial() const { return initial_; }
    std::uint32_t FinalXor() const { return finalXor_; }
    std::uint8_t ByteXor() const { return byteXor_; }
    const std::uint32_t* Table() const { return table_; }

  private:
    // The calculator's own fields, in their traditional order.
    std::uint32_t table_[kTableSize];
    std::int32_t mode_;
    std::int32_t width_;
    std::uint32_t polynomial_;
    std::uint32_t top_;  // 2^width, 0 from width 32 on
    std::uint32_t mask_;
    std::int32_t shift_;  // width - 8 above width 8, else 0
    std::uint32_t initial_;
    std::uint32_t finalXor_;
    std::uint8_t byteXor_;
    // Derived from the table: the step of eight input bytes at once.
    std::uint32_t slices_[kSliceTables][kTableSize];
    // Derived from the polynomial: the constants of folding 16 bytes and more at once.
    std::uint64_t fold_[kFoldWords];
};

/// Bit order of every TPCRC built afterwards: 1 reflected (least significant bit first), any
/// other value normal.
TN_EXPORT extern int CRCInsertMode;

/// Calculators an application may create and share; the package itself never sets them.
TN_EXPORT extern TPCRC* CRC16;
TN_EXPORT extern TPCRC* CRC7;
TN_EXPORT extern TPCRC* CRC32;

}  // namespace tn
