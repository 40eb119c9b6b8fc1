// A medium whose N-th block transfer fails, driven across every transfer of a put, a mkdir and
// a folder that grows by a cluster: whatever fails, the volume reports it and never crashes,
// and what is left on the medium mounts and lists again. (The sanitizer build turns any read
// or write out of bounds on the way into a failure.)
#include <gtest/gtest.h>
#include <tnpackage/tnpackage.h>

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "storage/fat/FatTestSupport.h"
#include "support/FatImages.h"
#include "support/Files.h"
#include "support/Scratch.h"
#include "support/WarningCapture.h"

namespace tn {
namespace {

enum class Fault {
    Read,          // the block reads as 0xFF (what an unreadable flash page gives)
    Write,         // nothing of the block arrives
    PartialWrite,  // only its first half arrives
};

// Holds the medium's bytes; the transfer numbered `failAt` (1-based, counted from Arm) fails
// the way `fault` says, and the medium reports it as a driver would.
class FaultyMedium : public TPSpeicher {
  public:
    explicit FaultyMedium(std::vector<unsigned char> bytes)
        : TPSpeicher(TPString(), 0), bytes_(std::move(bytes)) {}

    void Arm(Fault fault, long failAt) {
        fault_ = fault;
        failAt_ = failAt;
        transfers_ = 0;
        injected_ = false;
    }
    long Transfers() const { return transfers_; }
    bool Failed() const { return injected_; }
    const std::vector<unsigned char>& Bytes() const { return bytes_; }

    void ReadBlock(void* destination, std::int64_t address) override {
        if (!Inside(address)) return;
        if (Hit(Fault::Read)) {
            std::memset(destination, 0xFF, Block());
            Warning("Lesefehler");
            return;
        }
        std::memcpy(destination, bytes_.data() + address, Block());
    }
    void WriteBlock(const void* source, std::int64_t address) override {
        if (!Inside(address)) return;
        std::size_t arriving = Block();
        if (Hit(Fault::Write)) arriving = 0;
        if (Hit(Fault::PartialWrite)) arriving /= 2;
        std::memcpy(bytes_.data() + address, source, arriving);
        if (arriving < Block()) Warning("Schreibfehler");
    }
    std::int64_t MediumSize() const override { return static_cast<std::int64_t>(bytes_.size()); }

  private:
    std::vector<unsigned char> bytes_;
    Fault fault_ = Fault::Read;
    long failAt_ = 0;
    long transfers_ = 0;
    bool counted_ = false;
    bool injected_ = false;

    std::size_t Block() const { return static_cast<std::size_t>(BlockSize); }
    bool Inside(std::int64_t address) {
        counted_ = false;
        return address >= 0 && static_cast<std::size_t>(address) + Block() <= bytes_.size();
    }
    // Counts the transfer once, and says whether it is the one that fails in this way.
    bool Hit(Fault kind) {
        if (!counted_) {
            ++transfers_;
            counted_ = true;
        }
        const bool hit = transfers_ == failAt_ && fault_ == kind;
        injected_ = injected_ || hit;
        return hit;
    }
};

struct Operation {
    const char* name;
    std::function<void(TPVolumeFAT&)> run;
};

void Put(TPVolumeFAT& v, const char* path, std::size_t size) {
    TPFile record;
    std::string name = path;
    if (v.CreateFile(&record, TPString(name.data())) == nullptr) return;
    std::string bytes = test::Pattern(size, 7);
    v.FileWrite(&record, bytes.data(), static_cast<int>(bytes.size()), true);
}

TEST(FaultyMedium, EveryFailingTransferIsReportedAndLeavesAMountableMedium) {
    const auto image = test::ScratchFolder() / "card.img";
    ASSERT_TRUE(test::MakeFatImage(image, 256, "-F 12 -S 512 -s 1"));
    const std::vector<unsigned char> formatted = test::LoadBytes(image);
    const Operation operations[] = {
        {"put", [](TPVolumeFAT& v) { Put(v, "FLUG.IGC", 3000); }},
        {"mkdir", [](TPVolumeFAT& v) { v.ForceDirectories(TPString("LOG\\2024\\JULI")); }},
        {"growing folder",
         [](TPVolumeFAT& v) {
             // 16 entries fill a 512-byte cluster of a folder; the long names take more.
             v.ForceDirectories(TPString("LOG"));
             for (int i = 0; i < 12; ++i) {
                 const std::string path = "LOG\\Flug Nummer " + std::to_string(i) + ".igc";
                 Put(v, path.c_str(), 100);
             }
         }},
    };
    test::WarningCapture warnings;
    for (const Operation& op : operations) {
        SCOPED_TRACE(op.name);
        long total = 0;
        {
            FaultyMedium clean(formatted);
            TPVolumeFAT v(&clean, 'A', 0);
            clean.Arm(Fault::Read, 0);
            op.run(v);
            total = clean.Transfers();
        }
        ASSERT_GT(total, 0);
        for (const Fault fault : {Fault::Read, Fault::Write, Fault::PartialWrite}) {
            for (long n = 1; n <= total; ++n) {
                warnings.Clear();
                FaultyMedium medium(formatted);
                {
                    TPVolumeFAT v(&medium, 'A', 0);
                    medium.Arm(fault, n);
                    op.run(v);
                }
                if (medium.Failed()) {
                    EXPECT_FALSE(warnings.Texts().empty()) << n;
                }
                FaultyMedium again(medium.Bytes());
                TPVolumeFAT remounted(&again, 'A', 0);
                std::map<std::string, std::string> files;
                std::vector<std::string> paths;
                if (remounted.Root != nullptr)
                    test::Collect(remounted, remounted.Root, "", files, paths);
                if (HasFatalFailure()) return;
            }
        }
    }
}

}  // namespace
}  // namespace tn
