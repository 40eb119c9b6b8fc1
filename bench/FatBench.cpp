// The FAT volume in memory: mounting and listing a volume of many files, reading a file, and
// writing files of 1,000 and 4,000 clusters (their times should grow about linearly: the
// ratio of the two stays well below 5 when allocation does not rescan the FAT for every
// cluster).
#include <tnpackage/tnpackage.h>

#include <benchmark/benchmark.h>

#include <cstring>
#include <string>
#include <vector>

namespace {

class MemoryMedium : public tn::TPSpeicher {
  public:
    explicit MemoryMedium(std::size_t size) : tn::TPSpeicher(tn::TPString(), 0), bytes_(size) {}
    void ReadBlock(void* destination, std::int64_t address) override {
        std::memcpy(destination, bytes_.data() + address, static_cast<std::size_t>(BlockSize));
    }
    void WriteBlock(const void* source, std::int64_t address) override {
        std::memcpy(bytes_.data() + address, source, static_cast<std::size_t>(BlockSize));
    }
    std::int64_t MediumSize() const override { return static_cast<std::int64_t>(bytes_.size()); }
    unsigned char* Bytes() { return bytes_.data(); }

  private:
    std::vector<unsigned char> bytes_;
};

void Put16(unsigned char* p, unsigned v) {
    p[0] = static_cast<unsigned char>(v);
    p[1] = static_cast<unsigned char>(v >> 8);
}

// A FAT12 volume with one 512-byte sector per cluster and 4080 data clusters: 1 reserved
// sector, two FATs of 12 sectors, 512 root entries.
constexpr unsigned kSectors = 1 + 2 * 12 + 32 + 4080;

void Format(MemoryMedium& m) {
    unsigned char* b = m.Bytes();
    std::memset(b, 0, kSectors * 512u);
    b[0] = 0xEB;
    b[1] = 0x3C;
    b[2] = 0x90;
    Put16(b + 11, 512);
    b[13] = 1;
    Put16(b + 14, 1);
    b[16] = 2;
    Put16(b + 17, 512);
    Put16(b + 19, kSectors);
    b[21] = 0xF8;
    Put16(b + 22, 12);
    std::memcpy(b + 54, "FAT12   ", 8);
    b[510] = 0x55;
    b[511] = 0xAA;
    for (unsigned f = 0; f < 2; ++f) {
        unsigned char* fat = b + (1 + f * 12) * 512;
        fat[0] = 0xF8;
        fat[1] = fat[2] = 0xFF;
    }
}

void Quiet(tn::TPString) {}

void BM_FatWriteFile(benchmark::State& state) {
    tn::OnWarning = &Quiet;
    tn::FATTypeByDataClusters = true;
    std::string data(static_cast<std::size_t>(state.range(0)) * 512, 'x');
    for (auto _ : state) {
        state.PauseTiming();
        MemoryMedium medium(kSectors * 512u);
        Format(medium);
        tn::TPVolumeFAT volume(&medium, 'A', 0);
        state.ResumeTiming();
        tn::TPFile file;
        volume.CreateFile(&file, "DATA.BIN");
        const int written =
            volume.FileWrite(&file, data.data(), static_cast<int>(data.size()), true);
        if (written != static_cast<int>(data.size())) {
            state.SkipWithError("the file was not written whole");
            break;
        }
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) *
                            static_cast<std::int64_t>(data.size()));
}
BENCHMARK(BM_FatWriteFile)->Arg(1000)->Arg(4000)->Unit(benchmark::kMillisecond);

// A volume with `files` small files in 10 folders, written once.
MemoryMedium& FilledVolume(int files) {
    static MemoryMedium medium(kSectors * 512u);
    static int filled = -1;
    if (filled == files) return medium;
    tn::OnWarning = &Quiet;
    tn::FATTypeByDataClusters = true;
    Format(medium);
    tn::TPVolumeFAT volume(&medium, 'A', 0);
    char content[] = "ein kleiner Inhalt";
    for (int i = 0; i < files; ++i) {
        tn::TPFile file;
        std::string path = "ORDNER" + std::to_string(i % 10) + "\\Datei mit langem Namen " +
                           std::to_string(i) + ".txt";
        volume.CreateFile(&file, tn::TPString(path.data()));
        volume.FileWrite(&file, content, static_cast<int>(sizeof content - 1), true);
    }
    filled = files;
    return medium;
}

void BM_FatMountAndList(benchmark::State& state) {
    MemoryMedium& medium = FilledVolume(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        tn::TPVolumeFAT volume(&medium, 'A', 0);
        int entries = 0;
        for (int d = 0; d < volume.Root->Count(); ++d) {
            auto* dir = static_cast<tn::TPVerzeichnisInfo*>(volume.Root->Eintrag(d));
            entries += dir->IsDirectory() ? dir->Count() : 1;
        }
        benchmark::DoNotOptimize(entries);
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) * state.range(0));
}
BENCHMARK(BM_FatMountAndList)->Arg(100)->Arg(1000)->Unit(benchmark::kMillisecond);

void BM_FatReadFile(benchmark::State& state) {
    tn::OnWarning = &Quiet;
    tn::FATTypeByDataClusters = true;
    MemoryMedium medium(kSectors * 512u);
    Format(medium);
    std::string data(2000 * 512, 'y');
    {
        tn::TPVolumeFAT volume(&medium, 'A', 0);
        tn::TPFile file;
        volume.CreateFile(&file, "BIG.BIN");
        volume.FileWrite(&file, data.data(), static_cast<int>(data.size()), true);
    }
    tn::TPVolumeFAT volume(&medium, 'A', 0);
    tn::TPDateiInfo* node = volume.SearchFile("\\BIG.BIN");
    for (auto _ : state) {
        tn::TPFile file;
        file.Open(node);
        if (volume.FileRead(&file, data.data(), static_cast<int>(data.size())) !=
            static_cast<int>(data.size())) {
            state.SkipWithError("the file was not read whole");
            break;
        }
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) *
                            static_cast<std::int64_t>(data.size()));
}
BENCHMARK(BM_FatReadFile)->Unit(benchmark::kMillisecond);

}  // namespace
