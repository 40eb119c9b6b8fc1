// TPCRC::Check over a loaded file of any content (TPDateiInfo::SetBlock with the file's bytes),
// and the table CRC of any width, polynomial and bit order over the same bytes.
//
// Invariants: Check never reads outside the block (a heap block of exactly its length); it is
// true exactly when the length word L at offset 12 is positive, L + 4 bytes fit in the block and
// the word at L is the CRC of the first L bytes; writing that CRC there makes it true. The
// eight-bytes-a-step Create agrees with the byte-by-byte form, and both Hyperstone routines
// agree.
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>

#include "FuzzSupport.h"

namespace {

std::uint32_t Le32(const unsigned char* p) {
    return p[0] | p[1] << 8 | p[2] << 16 | static_cast<std::uint32_t>(p[3]) << 24;
}

// Building a generator's tables takes most of a run; mutations mostly keep the parameter bytes,
// so the last generator is kept while they stay the same.
tn::TPCRC& Generator(int width, int polynomial, bool reflected) {
    static std::unique_ptr<tn::TPCRC> last;
    static int lastWidth = 0, lastPolynomial = 0;
    static bool lastReflected = false;
    if (!last || width != lastWidth || polynomial != lastPolynomial || reflected != lastReflected) {
        const int savedMode = tn::CRCInsertMode;
        tn::CRCInsertMode = reflected ? 1 : 0;
        last = std::make_unique<tn::TPCRC>(width, polynomial);
        tn::CRCInsertMode = savedMode;
        lastWidth = width;
        lastPolynomial = polynomial;
        lastReflected = reflected;
    }
    return *last;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    tn::fuzz::Quiet();
    tn::fuzz::Bytes in(data, size);
    const int width = 1 + in.Byte() % 32;
    const bool reflected = (in.Byte() & 1) != 0;
    const auto polynomial = static_cast<int>(in.Long());
    const auto initial = static_cast<int>(in.Long());
    const auto finalXor = static_cast<int>(in.Long());
    const int byteXor = in.Byte();
    const bool repair = (in.Byte() & 1) != 0;
    const std::string content = in.Rest();

    tn::TPCRC& crc = Generator(width, polynomial, reflected);
    crc.Set(initial, finalXor, byteXor);

    const auto length = static_cast<int>(content.size());
    auto block = std::make_unique<unsigned char[]>(content.size());
    std::memcpy(block.get(), content.data(), content.size());
    TN_FUZZ_CHECK(crc.Create(block.get(), length) == crc.CreateByteByByte(block.get(), length));
    TN_FUZZ_CHECK(crc.CreateHyperstone(block.get(), length) == crc.CreateHS(block.get(), length));

    tn::TPDateiInfo file;
    file.SetBlock(block.get(), length);
    const bool checked = crc.Check(&file);
    bool expected = false;
    std::int64_t stored = -1;
    if (length >= 16) {
        stored = static_cast<std::int32_t>(Le32(block.get() + 12));
        if (stored >= 1 && stored + 4 <= length) {
            const auto at = static_cast<std::size_t>(stored);
            expected = crc.Create(block.get(), static_cast<int>(stored)) == Le32(block.get() + at);
            if (repair) {
                const std::uint32_t value = crc.Create(block.get(), static_cast<int>(stored));
                // The CRC may overlap the length word itself; then the repair changes what it
                // covers and proves nothing.
                if (at >= 16) {
                    for (int i = 0; i < 4; ++i)
                        block[at + static_cast<std::size_t>(i)] =
                            static_cast<unsigned char>(value >> (8 * i));
                    TN_FUZZ_CHECK(crc.Check(&file));
                }
            }
        }
    }
    TN_FUZZ_CHECK(checked == expected);
    return 0;
}
