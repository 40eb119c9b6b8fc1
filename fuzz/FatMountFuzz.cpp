// Any image: finding its volume, mounting it, listing the whole tree and reading every file never
// reads outside the image, never hangs and never crashes. The first byte of the input picks the
// FAT typing (by data clusters or the package's default); the rest is the image.
#include <tnpackage/tnpackage.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

namespace {

// An image held in memory; blocks outside it read as zeros and writes outside it are dropped.
class MemoryMedium : public tn::TPSpeicher {
  public:
    MemoryMedium(const std::uint8_t* data, std::size_t size, std::int64_t origin)
        : tn::TPSpeicher(tn::TPString(), 0), bytes_(data, data + size), origin_(origin) {}

    void ReadBlock(void* destination, std::int64_t address) override {
        auto* out = static_cast<std::uint8_t*>(destination);
        std::memset(out, 0, static_cast<std::size_t>(BlockSize));
        std::int64_t from = 0, to = 0, skip = 0;
        if (Overlap(address, from, to, skip)) {
            std::memcpy(out + skip, bytes_.data() + from, static_cast<std::size_t>(to - from));
        }
    }
    void WriteBlock(const void* source, std::int64_t address) override {
        std::int64_t from = 0, to = 0, skip = 0;
        if (Overlap(address, from, to, skip)) {
            std::memcpy(bytes_.data() + from, static_cast<const std::uint8_t*>(source) + skip,
                        static_cast<std::size_t>(to - from));
        }
    }
    std::int64_t MediumSize() const override {
        return static_cast<std::int64_t>(bytes_.size()) - origin_;
    }

  private:
    // The part [from, to) of the image that the block at `address` covers, `skip` bytes into
    // the block.
    bool Overlap(std::int64_t address, std::int64_t& from, std::int64_t& to,
                 std::int64_t& skip) const {
        const std::int64_t start = origin_ + address;
        const auto size = static_cast<std::int64_t>(bytes_.size());
        if (address < -size || address > size) return false;
        from = std::max<std::int64_t>(start, 0);
        to = std::min<std::int64_t>(start + BlockSize, size);
        skip = from - start;
        return from < to;
    }

    std::vector<std::uint8_t> bytes_;
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
    ++data;
    --size;
    std::int64_t origin = 0;
    const tn::PartitionTable table(data, size);
    if (table.FirstFatBase() > 0 && table.FirstFatBase() < static_cast<std::int64_t>(size)) {
        origin = table.FirstFatBase();
    }
    MemoryMedium medium(data, size, origin);
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
