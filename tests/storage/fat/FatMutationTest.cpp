// Ten thousand damaged FAT images: small mkfs.fat and mtools images (the fuzz seeds) with bytes
// changed at random, mostly in the boot sector, the FATs and the directories. Each one mounts,
// lists and reads within a time limit and without a fault; the seed makes every run the same.
#include <tnpackage/tnpackage.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <vector>

#include "support/Files.h"
#include "support/WarningCapture.h"

namespace {

namespace fs = std::filesystem;

// An image held in memory; blocks outside it read as zeros, writes outside it are dropped.
class MemoryMedium : public tn::TPSpeicher {
  public:
    explicit MemoryMedium(std::vector<unsigned char> bytes)
        : tn::TPSpeicher(tn::TPString(), 0), bytes_(std::move(bytes)) {}

    void ReadBlock(void* destination, std::int64_t address) override {
        auto* out = static_cast<unsigned char*>(destination);
        std::memset(out, 0, static_cast<std::size_t>(BlockSize));
        const auto size = static_cast<std::int64_t>(bytes_.size());
        const std::int64_t from = std::max<std::int64_t>(address, 0);
        const std::int64_t to = std::min<std::int64_t>(address + BlockSize, size);
        if (from < to) {
            std::memcpy(out + (from - address), bytes_.data() + from,
                        static_cast<std::size_t>(to - from));
        }
    }
    void WriteBlock(const void*, std::int64_t) override {}
    std::int64_t MediumSize() const override { return static_cast<std::int64_t>(bytes_.size()); }

  private:
    std::vector<unsigned char> bytes_;
};

std::size_t ReadEverything(tn::TPVolumeFAT& volume, tn::TPVerzeichnisInfo* dir, int depth) {
    std::size_t bytes = 0;
    if (dir == nullptr || depth > 80) return bytes;
    static std::vector<char> buffer(1 << 16);
    for (int i = 0; i < dir->Count(); ++i) {
        tn::TPDirEintrag* e = dir->Eintrag(i);
        if (e == nullptr) continue;
        if (e->IsDirectory()) {
            bytes += ReadEverything(volume, static_cast<tn::TPVerzeichnisInfo*>(e), depth + 1);
        } else if (e->IsFile()) {
            auto* file = static_cast<tn::TPDateiInfo*>(e);
            tn::TPFile record;
            record.Open(file);
            const int wanted = std::clamp(file->FileSize, 0, static_cast<int>(buffer.size()));
            const int got = volume.FileRead(&record, buffer.data(), wanted);
            EXPECT_GE(got, 0);
            EXPECT_LE(got, wanted);
            bytes += static_cast<std::size_t>(std::max(got, 0));
        }
    }
    return bytes;
}

std::vector<std::vector<unsigned char>> Seeds() {
    std::vector<std::vector<unsigned char>> seeds;
    const fs::path folder = fs::path(TN_TEST_SOURCE_DIR) / ".." / "fuzz" / "corpus" / "FatMount";
    for (const auto& e : fs::directory_iterator(folder)) {
        std::vector<unsigned char> bytes = tn::test::LoadBytes(e.path());
        if (bytes.size() < 2) continue;
        // The first byte chooses the fuzz target's typing; the first 40 KiB hold every boot
        // sector, FAT and root of these seeds.
        bytes.erase(bytes.begin());
        bytes.resize(std::min<std::size_t>(bytes.size(), 40 * 1024));
        seeds.push_back(std::move(bytes));
    }
    // A fixed order whatever the folder listing gives. (Not std::sort's default: GCC 12 at -O3
    // sees a bogus bound in the byte vectors' memcmp and warns.)
    std::sort(seeds.begin(), seeds.end(), [](const auto& a, const auto& b) {
        if (a.size() != b.size()) return a.size() < b.size();
        const auto [pa, pb] = std::mismatch(a.begin(), a.end(), b.begin());
        return pa != a.end() && *pa < *pb;
    });
    return seeds;
}

TEST(FatMutationTest, TenThousandDamagedImagesMountListAndReadWithinTheirTimeLimit) {
    const auto seeds = Seeds();
    ASSERT_GE(seeds.size(), 4u);
    const tn::test::WarningCapture quiet;  // damaged images warn; that is expected
    const bool savedTyping = tn::FATTypeByDataClusters;
    std::mt19937 random(0x7A9C0DE);
    constexpr int kImages = 10000;
    constexpr auto kLimit = std::chrono::seconds(2);
    int mounted = 0;
    for (int n = 0; n < kImages; ++n) {
        std::vector<unsigned char> image = seeds[static_cast<std::size_t>(n) % seeds.size()];
        const int changes = std::uniform_int_distribution<int>(1, 12)(random);
        for (int c = 0; c < changes; ++c) {
            // Mostly the system area and the first directory clusters, where damage matters.
            const std::size_t span = random() % 4 == 0 ? image.size() : 4096;
            const std::size_t at = random() % std::min(span, image.size());
            switch (random() % 4) {
                case 0:
                    image[at] = static_cast<unsigned char>(random());
                    break;
                case 1:
                    image[at] ^= static_cast<unsigned char>(1u << (random() % 8));
                    break;
                case 2:
                    image[at] = 0xFF;
                    break;
                default:
                    image[at] = 0x00;
                    break;
            }
        }
        tn::FATTypeByDataClusters = n % 2 == 0;
        const auto start = std::chrono::steady_clock::now();
        {
            MemoryMedium medium(image);
            tn::TPVolumeFAT volume(&medium, 'A', 0);
            if (volume.FATBuffer != nullptr && volume.Root != nullptr) {
                ++mounted;
                ReadEverything(volume, volume.Root, 0);
            }
        }
        const auto spent = std::chrono::steady_clock::now() - start;
        ASSERT_LT(spent, kLimit) << "image " << n;
        if (HasFailure()) break;
    }
    tn::FATTypeByDataClusters = savedTyping;
    // Most damage leaves a mountable volume: the test must exercise the walks, not just the
    // boot-sector checks.
    EXPECT_GT(mounted, kImages / 2);
}

}  // namespace
