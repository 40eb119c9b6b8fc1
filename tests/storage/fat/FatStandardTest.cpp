// Volumes mounted with FATStandard: FAT12 near its cluster limit, FAT16, 512- to 2048-byte
// sectors, read back byte for byte against mtools and written in seeded sessions that fsck.fat
// must find clean; the default mode's quirks on the same images; FAT32 refused; the mount's
// figures for callers.
#include <gtest/gtest.h>

#include <tnpackage/tnpackage.h>

#include <fstream>
#include <map>
#include <random>

#include "storage/fat/FatSession.h"
#include "storage/fat/FatTestSupport.h"
#include "support/Scratch.h"
#include "support/WarningCapture.h"

namespace {

using tn::test::Pattern;

using Mode = tn::test::FatMode;
using tn::test::Chain;

struct Geometry {
    const char* name;
    int kib;
    const char* options;
    std::int64_t dataClusters;  // as mkfs.fat lays the volume out
};

// FAT12 at 4,081-4,084 data clusters: the last ones are numbered 0xFF1 and up.
const Geometry kNearLimit[] = {
    {"n512s4", 8192, "-F 12 -S 512 -s 4", 4081},
    {"n512", 2070, "-a -F 12 -S 512 -s 1", 4083},
    {"n1024", 4113, "-a -F 12 -S 1024 -s 1", 4084},
    {"n2048", 8198, "-a -F 12 -S 2048 -s 1", 4084},
};
const Geometry kSixteen[] = {
    {"f512", 4096, "-F 16 -S 512 -s 1", 0},
    {"f1024", 8192, "-F 16 -S 1024 -s 1", 0},
    {"f2048", 10240, "-F 16 -S 2048 -s 1", 0},
};

constexpr int kFirstHigh = 0xFF1;  // the first cluster number the default mode reads negative

std::filesystem::path Make(const Geometry& g) {
    const auto image = tn::test::ScratchFolder() / (std::string(g.name) + ".img");
    EXPECT_TRUE(tn::test::MakeFatImage(image, g.kib, g.options)) << g.name;
    return image;
}

int ClusterBytes(const std::filesystem::path& image) {
    const auto b = tn::test::LoadBytes(image);
    return (b[11] | (b[12] << 8)) * b[13];
}

// Copies empty files named `names` into the folder `fatDir` with one mcopy.
bool PutEmptyFiles(const std::filesystem::path& image, const std::string& fatDir,
                   const std::vector<std::string>& names) {
    const auto stage = std::filesystem::path(image.string() + ".empty");
    std::filesystem::remove_all(stage);
    std::filesystem::create_directories(stage);
    std::string list;
    for (const std::string& n : names) {
        std::ofstream(stage / n).flush();
        list += " " + tn::test::Shell(n);
    }
    const bool ok =
        tn::test::Mtools("sh -c " +
                         tn::test::Shell("cd " + tn::test::Shell(stage.string()) + " && mcopy -i " +
                                         tn::test::Shell(image.string()) + list + " " +
                                         tn::test::Shell("::" + fatDir + "/")))
            .status == 0;
    std::filesystem::remove_all(stage);
    return ok;
}

// A near-limit volume laid out by mtools: folder F in cluster 2, FILL.BIN up to 0xFE0, a gap
// (deleted GAP.BIN) up to 0xFEF, TAIL.BIN in 0xFF0 and 0xFF1, F's second cluster 0xFF2.
struct HighLayout {
    std::filesystem::path image;
    std::vector<std::string> inF;  // mtools names of F's files
    std::string tail;
};

HighLayout LayOutHigh(const Geometry& g) {
    HighLayout h{Make(g), {}, {}};
    const std::int64_t cs = ClusterBytes(h.image);
    EXPECT_TRUE(tn::test::MakeDir(h.image, "/F"));
    EXPECT_TRUE(tn::test::PutFile(h.image, "/FILL.BIN",
                                  Pattern(static_cast<std::size_t>((0xFE1 - 3) * cs), 1)));
    EXPECT_TRUE(tn::test::PutFile(h.image, "/GAP.BIN",
                                  Pattern(static_cast<std::size_t>((0xFF0 - 0xFE1) * cs), 2)));
    h.tail = Pattern(static_cast<std::size_t>(cs + cs / 2), 3);
    EXPECT_TRUE(tn::test::PutFile(h.image, "/TAIL.BIN", h.tail));
    // ".", ".." and one entry short of a full cluster, then one more: F grows by a cluster.
    for (std::int64_t i = 0; i < cs / 32 - 1; ++i)
        h.inF.push_back("E" + std::to_string(100 + i));
    EXPECT_TRUE(PutEmptyFiles(h.image, "/F", h.inF));
    EXPECT_TRUE(tn::test::RemoveFile(h.image, "/GAP.BIN"));
    EXPECT_EQ(tn::test::FsckProblems(h.image), "");
    return h;
}

TEST(FatStandard, NearLimitFat12IsReadWholeAndItsHighFoldersTakeNewEntries) {
    TN_REQUIRE_FAT_TOOLS();
    for (const Geometry& g : kNearLimit) {
        SCOPED_TRACE(g.name);
        const HighLayout h = LayOutHigh(g);
        tn::test::WarningCapture warnings;
        {
            const Mode standard(true);
            tn::test::Mounted m(h.image, true);
            tn::TPVolumeFAT& v = *m.volume;
            EXPECT_TRUE(v.IsStandard());
            EXPECT_EQ(v.MountStatus(), tn::TPVolumeFAT::MountResult::Mounted);
            EXPECT_EQ(v.FATType, 1);
            EXPECT_EQ(v.DataClusters(), g.dataClusters);
            EXPECT_EQ(v.DataClusterLimit(), g.dataClusters + 2);
            EXPECT_TRUE(warnings.Texts().empty()) << warnings.Texts().front();
            tn::test::ExpectSameAsMtools(v, h.image);
            // The layout is what the test means it to be.
            EXPECT_EQ(Chain(v, v.SearchFile("\\TAIL.BIN")->FirstCluster),
                      (std::vector<int>{0xFF0, 0xFF1}));
            EXPECT_EQ(Chain(v, v.Root->Search("F")->FirstCluster), (std::vector<int>{2, 0xFF2}));
            EXPECT_EQ(v.GetCluster(0xFF0), kFirstHigh);

            // New entries in F land behind those of its second cluster.
            tn::TPFile f;
            tn::TPDateiInfo* node = v.CreateFile(&f, "\\F\\Neue lange Datei.txt");
            ASSERT_NE(node, nullptr);
            std::string data = Pattern(3000, 4);
            EXPECT_EQ(v.FileWrite(&f, data.data(), 3000, true), 3000);
            tn::TPFile e;
            ASSERT_NE(v.CreateFile(&e, "\\F\\LAST.TXT"), nullptr);
            EXPECT_EQ(v.FileWrite(&e, data.data(), 10, true), 10);
        }
        EXPECT_TRUE(warnings.Texts().empty()) << warnings.Texts().front();
        EXPECT_EQ(tn::test::FsckProblems(h.image), "");
        std::vector<std::string> expected{"/F/", "/F/LAST.TXT", "/F/Neue lange Datei.txt",
                                          "/FILL.BIN", "/TAIL.BIN"};
        for (const std::string& n : h.inF)
            expected.push_back("/F/" + n);
        std::sort(expected.begin(), expected.end());
        EXPECT_EQ(tn::test::ListTree(h.image), expected);
        EXPECT_EQ(tn::test::ReadFile(h.image, "/F/Neue lange Datei.txt"), Pattern(3000, 4));
        EXPECT_EQ(tn::test::ReadFile(h.image, "/F/LAST.TXT"), Pattern(3000, 4).substr(0, 10));

        // The default mode (typed by data clusters) keeps its quirk: 0xFF1 reads negative, so
        // the tail stops a cluster early and F's second cluster is not listed.
        {
            const Mode compatible(false);
            tn::FATTypeByDataClusters = true;
            tn::test::Mounted m(h.image);
            tn::TPVolumeFAT& v = *m.volume;
            EXPECT_FALSE(v.IsStandard());
            EXPECT_EQ(v.GetCluster(0xFF0), kFirstHigh | ~0xF);
            tn::TPDateiInfo* tail = v.SearchFile("\\TAIL.BIN");
            ASSERT_NE(tail, nullptr);
            EXPECT_EQ(tn::test::ReadNode(v, tail), h.tail.substr(0, h.tail.size() / 3 * 2));
            auto* f = static_cast<tn::TPVerzeichnisInfo*>(v.Root->Search("F"));
            EXPECT_EQ(f->Count(), static_cast<int>(h.inF.size()) - 1);
        }
    }
}

TEST(FatStandard, SeededSessionsOnFat12AndFat16AreCleanAndReadBackByMtools) {
    TN_REQUIRE_FAT_TOOLS();
    std::vector<Geometry> geometries(std::begin(kNearLimit), std::end(kNearLimit));
    geometries.insert(geometries.end(), std::begin(kSixteen), std::end(kSixteen));
    std::uint32_t seed = 20261125;
    for (const Geometry& g : geometries) {
        SCOPED_TRACE(g.name);
        const auto image = Make(g);
        const std::int64_t cs = ClusterBytes(image);
        // Near the limit, the sessions get the top 250 clusters (0xFF1 and up among them); on
        // FAT16 they start in the FAT's second sector.
        const std::int64_t filler = g.dataClusters > 0 ? g.dataClusters - 250 : 1100;
        const std::string fill = Pattern(static_cast<std::size_t>(filler * cs), 9);
        ASSERT_TRUE(tn::test::PutFile(image, "/FILL.BIN", fill));
        tn::test::SessionModel model{{{"/FILL.BIN", fill}}, {}};
        tn::test::WarningCapture warnings;
        {
            const Mode standard(true);
            tn::test::Mounted m(image, true);
            tn::TPVolumeFAT& v = *m.volume;
            ASSERT_EQ(v.FATType, g.dataClusters > 0 ? 1 : 11);
            const int z = v.GetSectorSize();
            const int c = static_cast<int>(cs);
            const tn::test::SessionPlan plan{tn::test::kSessionNames,
                                             tn::test::kSessionFolders,
                                             {0, 1, z - 1, z, z + 1, c - 1, c, c + 1, 3 * c + 7},
                                             40,
                                             2};
            ASSERT_NO_FATAL_FAILURE(tn::test::SeededWrites(v, ++seed, plan, model));
            if (g.dataClusters > 0) {
                // One more file takes every cluster left, 0xFF1 and up among them.
                int left = 0;
                for (int n = 2; n < v.DataClusterLimit(); ++n)
                    left += v.GetCluster(n) == 0 ? 1 : 0;
                std::string rest = Pattern(static_cast<std::size_t>(left * cs), 10);
                tn::TPFile f;
                ASSERT_NE(v.CreateFile(&f, "\\REST.BIN"), nullptr);
                EXPECT_EQ(v.FileWrite(&f, rest.data(), left * static_cast<int>(cs), true),
                          left * cs);
                model.files["/REST.BIN"] = rest;
                EXPECT_EQ(v.GetFreeCluster(false), -1);
                EXPECT_EQ(v.GetCluster(kFirstHigh) != 0, true);
            }
        }
        EXPECT_TRUE(warnings.Texts().empty()) << warnings.Texts().front();
        tn::test::ExpectToolsSeeModel(image, model);
        const Mode standard(true);
        tn::test::Mounted again(image);
        tn::test::ExpectSameAsMtools(*again.volume, image);
    }
}

TEST(FatStandard, SixteenBitEntriesAndFatSectorsOfTheVolumesSize) {
    const auto image = Make(kSixteen[2]);  // 2048-byte sectors
    const auto pristine = tn::test::LoadBytes(image);
    {
        // The default mode: the low byte at byte n, then the 12-bit packing.
        const Mode compatible(false);
        tn::test::Mounted m(image, true);
        tn::TPVolumeFAT& v = *m.volume;
        v.SetCluster(5, 0x1234);
        EXPECT_EQ(v.FATBuffer[5], 0x34);
        EXPECT_EQ(v.GetCluster(5), 0);
        v.FATBuffer[12] = 0xFF;
        v.FATBuffer[13] = 0xFF;
        EXPECT_EQ(v.GetCluster(6), 0xFFFF);
        EXPECT_TRUE(v.IsChainEnd(0xFFFF));
    }
    EXPECT_EQ(tn::test::LoadBytes(image), pristine);  // nothing was written back
    const Mode standard(true);
    tn::test::Mounted m(image, true);
    tn::TPVolumeFAT& v = *m.volume;
    tn::FATStandard = false;  // the mounted volume keeps its mode
    ASSERT_EQ(v.BytesPerSector, 2048);
    v.SetCluster(5, 0x1234);
    EXPECT_EQ(v.FATBuffer[10], 0x34);
    EXPECT_EQ(v.FATBuffer[11], 0x12);
    EXPECT_EQ(v.FATBuffer[5], pristine[v.FATAddress + 5]);
    EXPECT_EQ(v.GetCluster(5), 0x1234);
    v.SetCluster(6, -1);
    EXPECT_EQ(v.GetCluster(6), -1);
    v.SetCluster(7, 0xFFF8);
    EXPECT_EQ(v.GetCluster(7), -8);
    v.SetCluster(8, 0xFFF7);
    EXPECT_EQ(v.GetCluster(8), int{tn::TPVolumeFAT::kBadCluster});
    v.SetCluster(9, 0xFFF6);
    EXPECT_EQ(v.GetCluster(9), 0xFFF6);
    EXPECT_TRUE(v.IsChainEnd(-1));
    EXPECT_TRUE(v.IsChainEnd(-8));
    EXPECT_FALSE(v.IsChainEnd(tn::TPVolumeFAT::kBadCluster));
    EXPECT_FALSE(v.IsChainEnd(0xFFFF));
    EXPECT_EQ(v.GetCluster(1 << 30), -1);
    for (int n = 5; n <= 9; ++n)
        v.SetCluster(n, 0);
    // Entry 1500 lies in FAT sector 1 (bytes 2048-4095), which goes to 2048 in both copies.
    v.SetCluster(1500, 0x0777);
    v.FATBuffer[4000] = 0x5A;  // same sector, not marked by itself
    v.FATBuffer[5000] = 0xA5;  // sector 2: not dirty
    v.WriteClusterBuffer();
    const auto bytes = tn::test::LoadBytes(image);
    for (std::size_t copy : {std::size_t{v.FATAddress}, std::size_t{v.FATAddress} + v.FATSize}) {
        EXPECT_EQ(bytes[copy + 3000], 0x77);
        EXPECT_EQ(bytes[copy + 3001], 0x07);
        EXPECT_EQ(bytes[copy + 4000], 0x5A);
        EXPECT_EQ(bytes[copy + 5000], pristine[copy + 5000]);
        EXPECT_EQ(bytes[copy + 10], 0x00);  // entry 5 set back to free
    }
}

TEST(FatStandard, FullVolumesMarkNothingBehindTheirDataClusters) {
    TN_REQUIRE_FAT_TOOLS();
    for (const bool standard : {false, true}) {
        SCOPED_TRACE(standard ? "standard" : "default");
        const auto image = tn::test::ScratchFolder() / "full.img";
        ASSERT_TRUE(tn::test::MakeFatImage(image, 200, "-F 12 -S 512 -s 1 -r 32"));
        const Mode mode(standard);
        std::int64_t dataClusters = 0;
        {
            tn::test::Mounted probe(image);
            dataClusters = probe.volume->DataClusters();
            // total / per cluster counts the boot, FAT and root sectors as clusters too.
            ASSERT_LT(probe.volume->DataClusterLimit(), probe.volume->ClusterCount);
        }
        const std::string all = Pattern(static_cast<std::size_t>(dataClusters * 512), 5);
        ASSERT_TRUE(tn::test::PutFile(image, "/ALL.BIN", all));
        tn::test::WarningCapture warnings;
        {
            tn::test::Mounted m(image, true);
            tn::TPVolumeFAT& v = *m.volume;
            EXPECT_EQ(v.GetFreeCluster(false) < 0, standard);
            tn::TPFile f;
            tn::TPDateiInfo* node = v.CreateFile(&f, "\\NEW.TXT");
            ASSERT_NE(node, nullptr);
            EXPECT_EQ(node->FirstCluster, 0);
            std::string data = "x";
            EXPECT_EQ(v.FileWrite(&f, data.data(), 1, true), 0);
            tn::TPFile g;
            EXPECT_EQ(v.CreateFile(&g, "\\NEW.TXT"), node);  // an empty file opened again
            EXPECT_EQ(node->FirstCluster, 0);
            for (int n = v.DataClusterLimit(); n < v.ClusterCount; ++n)
                ASSERT_EQ(v.GetCluster(n), 0) << n;
            EXPECT_FALSE(warnings.Texts().empty());
        }
        EXPECT_EQ(tn::test::FsckProblems(image), "");
        EXPECT_EQ(tn::test::ReadFile(image, "/ALL.BIN"), all);
        tn::test::Mounted again(image);
        for (int n = again.volume->DataClusterLimit(); n < again.volume->ClusterCount; ++n)
            ASSERT_EQ(again.volume->GetCluster(n), 0) << n;
    }
}

void Prepend(const std::filesystem::path& from, const std::filesystem::path& to,
             std::size_t bytes) {
    std::ofstream out(to, std::ios::binary | std::ios::trunc);
    const std::string pad(bytes, '\0');
    out.write(pad.data(), static_cast<std::streamsize>(pad.size()));
    const auto image = tn::test::LoadBytes(from);
    out.write(reinterpret_cast<const char*>(image.data()),
              static_cast<std::streamsize>(image.size()));
}

TEST(FatStandard, Fat32IsRefusedBareAndThroughAnOriginInBothModes) {
    TN_REQUIRE_FAT_TOOLS();
    const auto big = tn::test::ScratchFolder() / "fat32.img";
    const auto small = tn::test::ScratchFolder() / "fat32small.img";
    ASSERT_TRUE(tn::test::MakeFatImage(big, 40000, "-F 32"));
    ASSERT_TRUE(tn::test::MakeFatImage(small, 2048, "-F 32"));
    ASSERT_TRUE(tn::test::PutFile(big, "/A.TXT", "a"));
    const auto padded = tn::test::ScratchFolder() / "padded.img";
    Prepend(small, padded, 1 << 20);
    for (const bool standard : {false, true}) {
        const Mode mode(standard);
        for (const auto& [image, origin] :
             {std::pair{big, 0}, std::pair{small, 0}, std::pair{padded, 1 << 20}}) {
            SCOPED_TRACE(image.filename().string() + (standard ? " standard" : " default"));
            tn::test::WarningCapture warnings;
            tn::test::Mounted m(image, false, 0, origin);
            EXPECT_FALSE(m.volume->Valid);
            EXPECT_EQ(m.volume->MountStatus(), tn::TPVolumeFAT::MountResult::FAT32);
            EXPECT_EQ(m.volume->FATBuffer, nullptr);
            EXPECT_EQ(m.volume->Root, nullptr);
            EXPECT_EQ(warnings.Texts(),
                      std::vector<std::string>{"FAT-Volume A: FAT32 volumes are not supported"});
        }
    }
    // A FAT16 boot sector over 65,525 data clusters or more is FAT32 by its size.
    const auto sixteen = tn::test::ScratchFolder() / "huge16.img";
    ASSERT_TRUE(tn::test::MakeFatImage(sixteen, 1440, "-F 12 -S 512 -s 1"));
    {
        std::fstream io(sixteen, std::ios::in | std::ios::out | std::ios::binary);
        const unsigned char total[] = {0, 0};                   // 16-bit total: none
        const unsigned char total32[] = {0x00, 0x00, 0x02, 0};  // 131,072 sectors
        io.seekp(19);
        io.write(reinterpret_cast<const char*>(total), 2);
        io.seekp(32);
        io.write(reinterpret_cast<const char*>(total32), 4);
    }
    const Mode standard(true);
    tn::test::WarningCapture warnings;
    tn::test::Mounted m(sixteen);
    EXPECT_EQ(m.volume->MountStatus(), tn::TPVolumeFAT::MountResult::FAT32);
    EXPECT_EQ(m.volume->FATBuffer, nullptr);
}

TEST(FatStandard, MountResultsTypeFiguresAndMissingBytes) {
    using Result = tn::TPVolumeFAT::MountResult;
    const tn::test::WarningCapture quiet;
    const auto floppy = tn::test::ScratchFolder() / "floppy.img";
    ASSERT_TRUE(tn::test::MakeFatImage(floppy, 1440, "-F 12 -S 512 -s 1"));
    const auto copy = tn::test::ScratchFolder() / "copy.img";
    const auto variant = [&](std::int64_t length,
                             std::vector<std::pair<int, std::vector<int>>> patches) {
        auto bytes = tn::test::LoadBytes(floppy);
        bytes.resize(static_cast<std::size_t>(length));
        for (const auto& [at, values] : patches) {
            for (std::size_t i = 0; i < values.size(); ++i)
                bytes[static_cast<std::size_t>(at) + i] = static_cast<unsigned char>(values[i]);
        }
        std::ofstream out(copy, std::ios::binary | std::ios::trunc);
        out.write(reinterpret_cast<const char*>(bytes.data()),
                  static_cast<std::streamsize>(bytes.size()));
    };
    for (const bool standard : {false, true}) {
        SCOPED_TRACE(standard ? "standard" : "default");
        const Mode mode(standard);
        {
            tn::TPVolumeFAT none(nullptr, 'A', 0);
            EXPECT_EQ(none.MountStatus(), Result::NoMedium);
        }
        const std::int64_t full = 1474560;
        variant(full, {});
        EXPECT_EQ(tn::test::Mounted(copy).volume->MountStatus(), Result::Mounted);
        EXPECT_EQ(tn::test::Mounted(copy).volume->MissingBytes(), 0);
        variant(full, {{0, {0}}});
        EXPECT_EQ(tn::test::Mounted(copy).volume->MountStatus(), Result::NoFileSystem);
        variant(full, {{11, {0xE8, 0x03}}});
        EXPECT_EQ(tn::test::Mounted(copy).volume->MountStatus(), Result::BadGeometry);
        variant(full, {{22, {0x00, 0x06}}});  // 1,536 sectors per FAT: larger than the volume
        EXPECT_EQ(tn::test::Mounted(copy).volume->MountStatus(), Result::BadGeometry);
        // 4,200,000 sectors of 512 bytes in clusters of 64 KiB: FAT16 by size, past 2 GiB.
        variant(full, {{13, {128}}, {19, {0, 0}}, {32, {0x40, 0x16, 0x40, 0x00}}});
        {
            tn::test::Mounted m(copy);
            EXPECT_EQ(m.volume->MountStatus(), Result::OutOfRange);
            EXPECT_EQ(m.volume->MissingBytes(), std::int64_t{4200000} * 512 - full);
        }
        variant(1024, {});  // the FAT runs past the medium
        {
            tn::test::Mounted m(copy);
            EXPECT_EQ(m.volume->MountStatus(), Result::FatBeyondMedium);
            EXPECT_EQ(m.volume->MissingBytes(), full - 1024);
        }
        variant(1000000, {});  // the data area runs past the medium
        {
            tn::test::Mounted m(copy);
            EXPECT_EQ(m.volume->MountStatus(), Result::Mounted);
            EXPECT_TRUE(m.volume->Valid);
            EXPECT_EQ(m.volume->MissingBytes(), full - 1000000);
        }
    }
    // The two type rules on an 8 MiB volume of 4-sector clusters: 4,096 clusters by size,
    // 4,081 data clusters. Only the default mode warns about the disagreement.
    const auto eight = Make(kNearLimit[0]);
    for (const bool standard : {false, true}) {
        const Mode mode(standard);
        tn::test::WarningCapture warnings;
        tn::test::Mounted m(eight);
        EXPECT_EQ(m.volume->DataClusters(), 4081);
        EXPECT_EQ(m.volume->ClusterCount, 4096);
        EXPECT_EQ(m.volume->TypeByClusterCount(), 11);
        EXPECT_EQ(m.volume->TypeByDataClusters(), 1);
        EXPECT_EQ(m.volume->FATType, standard ? 1 : 11);
        EXPECT_EQ(warnings.Texts().size(), standard ? 0u : 1u);
    }
}

TEST(FatStandard, DamagedNearLimitImagesNeverCrashAStandardVolume) {
    TN_REQUIRE_FAT_TOOLS();
    const HighLayout h = LayOutHigh(kNearLimit[2]);  // 1024-byte sectors, 4,084 clusters
    const auto pristine = tn::test::LoadBytes(h.image);
    const auto copy = tn::test::ScratchFolder() / "damaged.img";
    const Mode standard(true);
    const tn::test::WarningCapture quiet;  // damaged images warn; that is expected
    std::mt19937 random(0x5EED);
    for (int round = 0; round < 60; ++round) {
        std::vector<unsigned char> bytes = pristine;
        const int flips = 1 + static_cast<int>(random() % 16);
        for (int i = 0; i < flips; ++i) {
            // The boot sector, the FATs (their high entries too) and the root.
            bytes[random() % 30000] = static_cast<unsigned char>(random());
        }
        {
            std::ofstream out(copy, std::ios::binary | std::ios::trunc);
            out.write(reinterpret_cast<const char*>(bytes.data()),
                      static_cast<std::streamsize>(bytes.size()));
        }
        tn::test::Mounted m(copy, true);
        if (m.volume->Root == nullptr) continue;
        for (const char* path : {"\\TAIL.BIN", "\\FILL.BIN"}) {
            tn::TPDateiInfo* node = m.volume->SearchFile(path);
            if (node != nullptr) {
                EXPECT_LE(tn::test::ReadNode(*m.volume, node).size(), 0x1000000u);
            }
        }
        tn::TPFile f;
        if (m.volume->CreateFile(&f, "\\F\\new file.bin") != nullptr) {
            std::string data = Pattern(5000, static_cast<std::uint32_t>(round));
            m.volume->FileWrite(&f, data.data(), 5000, true);
        }
    }
}

}  // namespace
