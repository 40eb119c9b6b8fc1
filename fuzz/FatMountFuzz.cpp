// Any image: finding its volume, mounting it, listing the whole tree and reading every file never
// reads outside the image, never hangs and never crashes. The first byte of the input picks the
// FAT typing (bit 0: by data clusters or the package's default), the standard FAT mode (bit 2)
// and, with bit 1, that the image is only the start of a medium of at least 64 KiB whose
// remaining bytes are zeros: small inputs then stand for whole small volumes, which keeps each
// run and each mutation cheap.
#include <tnpackage/tnpackage.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

namespace {

// An image held in memory; blocks outside it read as zeros and writes outside it are dropped.
// Of a medium of `size` bytes only the first `stored` come from the input, the rest are zeros
// that are materialised by the first write reaching them.
class MemoryMedium : public tn::TPSpeicher {
  public:
    MemoryMedium(const std::uint8_t* data, std::size_t stored, std::size_t size,
                 std::int64_t origin)
        : tn::TPSpeicher(tn::TPString(), 0),
          bytes_(data, data + stored),
          size_(size),
          origin_(origin) {}

    void ReadBlock(void* destination, std::int64_t address) override {
        auto* out = static_cast<std::uint8_t*>(destination);
        std::memset(out, 0, static_cast<std::size_t>(BlockSize));
        std::int64_t from = 0, to = 0, skip = 0;
        if (Overlap(address, from, to, skip)) {
            const auto stored = static_cast<std::int64_t>(bytes_.size());
            if (from < stored) {
                std::memcpy(out + skip, bytes_.data() + from,
                            static_cast<std::size_t>(std::min(to, stored) - from));
            }
        }
    }
    void WriteBlock(const void* source, std::int64_t address) override {
        std::int64_t from = 0, to = 0, skip = 0;
        if (Overlap(address, from, to, skip)) {
            if (static_cast<std::size_t>(to) > bytes_.size()) {
                bytes_.resize(static_cast<std::size_t>(to));
            }
            std::memcpy(bytes_.data() + from, static_cast<const std::uint8_t*>(source) + skip,
                        static_cast<std::size_t>(to - from));
        }
    }
    std::int64_t MediumSize() const override { return static_cast<std::int64_t>(size_) - origin_; }

  private:
    // The part [from, to) of the image that the block at `address` covers, `skip` bytes into
    // the block.
    bool Overlap(std::int64_t address, std::int64_t& from, std::int64_t& to,
                 std::int64_t& skip) const {
        const std::int64_t start = origin_ + address;
        const auto size = static_cast<std::int64_t>(size_);
        if (address < -size || address > size) return false;
        from = std::max<std::int64_t>(start, 0);
        to = std::min<std::int64_t>(start + BlockSize, size);
        skip = from - start;
        return from < to;
    }

    std::vector<std::uint8_t> bytes_;
    std::size_t size_;
    std::int64_t origin_;
};

constexpr int kMaxRead = 1 << 17;

void Quiet(tn::TPString) {}

std::size_t Walk(tn::TPVolumeFAT& volume, tn::TPVerzeichnisInfo* dir, int depth) {
    std::size_t sum = 0;
    if (dir == nullptr || depth > 80) return sum;
    for (int i = 0; i < dir->Count(); ++i) {
        tn::TPDirEintrag* e = dir->Eintrag(i);
        if (e == nullptr) continue;
        sum += static_cast<std::size_t>(e->Name.Length()) + e->Name2.Length();
        if (e->IsDirectory()) {
            sum += Walk(volume, static_cast<tn::TPVerzeichnisInfo*>(e), depth + 1);
        } else if (e->IsFile()) {
            auto* file = static_cast<tn::TPDateiInfo*>(e);
            // One buffer for every read: the sanitizer still sees any write past its end.
            static std::vector<char> data(kMaxRead);
            const int wanted = std::clamp(file->FileSize, 0, kMaxRead);
            tn::TPFile record;
            record.Open(file);
            sum += static_cast<std::size_t>(volume.FileRead(&record, data.data(), wanted));
            // The path lookup must find the same node again.
            sum += volume.SearchFile(e->Path()) != nullptr ? 1 : 0;
        }
    }
    return sum;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 1) return 0;
    tn::OnWarning = &Quiet;
    tn::FATTypeByDataClusters = (data[0] & 1) != 0;
    tn::FATStandard = (data[0] & 4) != 0;
    const bool padded = (data[0] & 2) != 0;
    ++data;
    --size;
    const std::size_t mediumSize = padded ? std::max<std::size_t>(size, 64 * 1024) : size;
    std::int64_t origin = 0;
    const tn::PartitionTable table(data, size);
    if (table.FirstFatBase() > 0 && table.FirstFatBase() < static_cast<std::int64_t>(mediumSize)) {
        origin = table.FirstFatBase();
    }
    MemoryMedium medium(data, size, mediumSize, origin);
    {
        tn::TPVolumeFAT volume(&medium, 'A', 0);
        if (volume.FATBuffer != nullptr && volume.Root != nullptr) {
            volatile std::size_t sink = Walk(volume, volume.Root, 0);
            (void)sink;
            tn::TPStringList* lines = volume.VerzeichnisStrings();
            delete lines;
        }
    }
    return 0;
}
