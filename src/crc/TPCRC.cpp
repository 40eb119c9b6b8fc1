// TPCRC: construction of the table, the settings and the table-driven CRC.
#include <tnpackage/crc/TPCRC.h>
#include <tnpackage/util/Reflect.h>

#include <algorithm>
#include <cstddef>
#include <type_traits>

#include "crc/ByteSum.h"
#include "crc/Fold.h"
#include "crc/PlaneSteps.h"
#include "crc/SlicedSteps.h"

namespace tn {

constinit int CRCInsertMode = 0;
constinit TPCRC* CRC16 = nullptr;
constinit TPCRC* CRC7 = nullptr;
constinit TPCRC* CRC32 = nullptr;

static_assert(TPCRC::kTableSize == crc::kTableSize && TPCRC::kSliceBytes == crc::kSliceBytes &&
              TPCRC::kRegisterBytes == crc::kRegisterBytes && TPCRC::kFoldWords == crc::kFoldWords);

namespace {

constexpr int kReflectedMode = 1;
constexpr int kMaxWidth = 32;
constexpr int kByteBits = 8;
constexpr std::uint32_t kAllOnes = 0xFFFFFFFF;

// 2^width; 0 once it no longer fits in 32 bits; widths of 0 and below give 1 (mask 0).
constexpr std::uint32_t TopValue(int width) {
    if (width >= kMaxWidth) return 0;
    if (width <= 0) return 1;
    return std::uint32_t{1} << width;
}

// Table entry of index i in normal (most significant bit first) order.
std::uint32_t NormalEntry(int i, int width, int shift, std::uint32_t polynomial) {
    std::uint32_t r = crc::ShiftLeft(static_cast<std::uint32_t>(i), shift);
    const bool hasTopBit = width >= 1 && width <= kMaxWidth;
    for (int bit = 0; bit < kByteBits; ++bit) {
        const bool top = hasTopBit && ((r >> (width - 1)) & 1U) != 0;
        r <<= 1;
        if (top) r ^= polynomial;
    }
    return r;
}

// The reflected step shifts the register by width - 8: only at width 16 is that the common
// reflected CRC, a polynomial remainder that folding can compute.
constexpr int kFoldedReflectedWidth = 16;
// Up to this width the reflected register never reaches the table index (see ByteSum.h).
constexpr int kMaxByteSumWidth = 4;

std::uint32_t ReflectBits(std::uint32_t value, int bits) {
    return static_cast<std::uint32_t>(Reflect(static_cast<int>(value), bits));
}

}  // namespace

TPCRC::TPCRC(int width, int polynomial)
    : table_{},
      mode_(CRCInsertMode),
      width_(width),
      polynomial_(static_cast<std::uint32_t>(polynomial)),
      top_(TopValue(width)),
      mask_(top_ - 1),
      shift_(width > kByteBits ? width - kByteBits : 0),
      initial_(width == kMaxWidth ? kAllOnes : 0),
      finalXor_(width == kMaxWidth ? kAllOnes : 0),
      byteXor_(0),
      slices_{},
      fold_{} {
    for (int i = 0; i < kTableSize; ++i) {
        const std::uint32_t r = NormalEntry(i, width_, shift_, polynomial_);
        if (Reflected()) {
            table_[ReflectBits(static_cast<std::uint32_t>(i), kByteBits)] =
                ReflectBits(r, width_) & mask_;
        } else {
            table_[i] = r & mask_;
        }
    }
    crc::BuildSliceTables({Reflected(), shift_, mask_, table_}, slices_);
    if (!Reflected() || width_ == kFoldedReflectedWidth) {
        const crc::FoldConstants fold = crc::MakeFoldConstants(width_, polynomial_, Reflected());
        std::copy(std::begin(fold.word), std::end(fold.word), fold_);
    }
}

bool TPCRC::Reflected() const {
    return mode_ == kReflectedMode;
}

void TPCRC::Set(int initial, int finalXor) {
    Set(initial, finalXor, 0);
}

void TPCRC::Set(int initial, int finalXor, int byteXor) {
    initial_ = static_cast<std::uint32_t>(initial) & mask_;
    finalXor_ = static_cast<std::uint32_t>(finalXor) & mask_;
    byteXor_ = static_cast<std::uint8_t>(byteXor & 0xFF);
}

std::uint32_t TPCRC::Create(const void* data, int len) const {
    if (data == nullptr || len <= 0) return initial_ ^ finalXor_;
    const auto* p = static_cast<const std::uint8_t*>(data);
    const auto n = static_cast<std::size_t>(len);
    if (Reflected() && width_ >= 1 && width_ <= kMaxByteSumWidth) {
        const std::uint8_t oddXor = (n % 2) != 0 ? byteXor_ : 0;
        return initial_ ^ table_[crc::XorOfBytes(p, n) ^ oddXor] ^ finalXor_;
    }
    // Below width 8 the normal table reads only the low `width` bits of an input byte, and
    // puts them where a CRC puts the byte's top bits.
    const int byteShift = !Reflected() && width_ < kByteBits ? kByteBits - width_ : 0;
    std::uint32_t c = initial_;
    const std::size_t folded = crc::FoldPrefix(fold_, {byteXor_, byteShift}, c, p, n);
    const crc::StepShape shape{Reflected(), shift_, mask_, table_};
    if (folded == 0 && crc::RunByPlanes(shape, slices_, width_, c, p, n, byteXor_))
        return c ^ finalXor_;
    c = crc::RunSliced(shape, slices_, c, p + folded, n - folded, byteXor_);
    return c ^ finalXor_;
}

std::uint32_t TPCRC::Create(const TPString& text) const {
    return Create(text.c_str(), text.Length());
}

std::uint32_t TPCRC::CreateByteByByte(const void* data, int len) const {
    if (data == nullptr || len <= 0) return initial_ ^ finalXor_;
    const std::uint32_t c = crc::RunByteByByte({Reflected(), shift_, mask_, table_}, initial_,
                                               static_cast<const std::uint8_t*>(data),
                                               static_cast<std::size_t>(len), byteXor_);
    return c ^ finalXor_;
}

}  // namespace tn
