// Mounting images for the FAT volume tests and reading the package's view of them back.
#pragma once

#include <gtest/gtest.h>

#include <tnpackage/tnpackage.h>

#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "support/FatImages.h"

namespace tn::test {

/// Switches the standard mode on (or off) for the volumes mounted while it lives; the typing
/// rule is restored with it, as tests change that too.
class FatMode {
  public:
    explicit FatMode(bool standard) : saved_(FATStandard), savedTyping_(FATTypeByDataClusters) {
        FATStandard = standard;
    }
    ~FatMode() {
        FATStandard = saved_;
        FATTypeByDataClusters = savedTyping_;
    }
    FatMode(const FatMode&) = delete;
    FatMode& operator=(const FatMode&) = delete;

  private:
    bool saved_;
    bool savedTyping_;
};

/// The clusters of a chain from `first`, as the volume follows it (bounded).
inline std::vector<int> Chain(TPVolumeFAT& v, int first) {
    std::vector<int> chain;
    for (int c = first; v.IsDataCluster(c) && chain.size() < 70000; c = v.GetCluster(c))
        chain.push_back(c);
    return chain;
}

/// An image file mounted through the package: the medium and the volume on it.
struct Mounted {
    std::unique_ptr<TPDateiSpeicher> medium;
    std::unique_ptr<TPVolumeFAT> volume;

    explicit Mounted(const std::filesystem::path& image, bool writable = false, int base = 0,
                     std::int64_t origin = 0)
        : medium(std::make_unique<TPDateiSpeicher>(image.string().c_str(), writable, origin)),
          volume(std::make_unique<TPVolumeFAT>(medium.get(), 'A', base)) {}
};

/// The whole content of a file node as the package reads it (one read from position 0).
inline std::string ReadNode(TPVolumeFAT& volume, TPDateiInfo* node) {
    if (node->FileSize <= 0) return {};
    TPFile f;
    f.Open(node);
    std::string data(static_cast<std::size_t>(node->FileSize), '\0');
    const int n = volume.FileRead(&f, data.data(), -1);
    data.resize(static_cast<std::size_t>(n < 0 ? 0 : n));
    return data;
}

/// Every path of the tree in the form ListTree gives, with each file's bytes.
inline void Collect(TPVolumeFAT& volume, TPVerzeichnisInfo* dir, const std::string& prefix,
                    std::map<std::string, std::string>& files, std::vector<std::string>& paths) {
    for (int i = 0; i < dir->Count(); ++i) {
        TPDirEintrag* e = dir->Eintrag(i);
        const std::string path = prefix + "/" + Win1252ToUtf8(ToStdString(e->Name));
        if (e->Type == TPDirEintrag::kDirectory) {
            paths.push_back(path + "/");
            Collect(volume, static_cast<TPVerzeichnisInfo*>(e), path, files, paths);
        } else if (e->Type == TPDirEintrag::kFile) {
            paths.push_back(path);
            files[path] = ReadNode(volume, static_cast<TPDateiInfo*>(e));
        }
    }
}

/// Compares the package's tree and every file's bytes with what mtools reports.
inline void ExpectSameAsMtools(TPVolumeFAT& volume, const std::filesystem::path& image) {
    ASSERT_NE(volume.Root, nullptr);
    std::map<std::string, std::string> files;
    std::vector<std::string> paths;
    Collect(volume, volume.Root, "", files, paths);
    std::sort(paths.begin(), paths.end());
    EXPECT_EQ(paths, ListTree(image));
    const std::map<std::string, std::string> theirs = ExtractAll(image);
    EXPECT_EQ(files.size(), theirs.size());
    for (const auto& [path, bytes] : files) {
        const auto it = theirs.find(path);
        ASSERT_NE(it, theirs.end()) << path;
        EXPECT_EQ(bytes.size(), it->second.size()) << path;
        EXPECT_TRUE(bytes == it->second) << path;
    }
}

/// Directories stand before files in every list of the tree.
inline bool DirectoriesFirst(TPVerzeichnisInfo* dir) {
    bool seenOther = false;
    for (int i = 0; i < dir->Count(); ++i) {
        TPDirEintrag* e = dir->Eintrag(i);
        if (e->Type == TPDirEintrag::kDirectory) {
            if (seenOther || !DirectoriesFirst(static_cast<TPVerzeichnisInfo*>(e))) return false;
        } else {
            seenOther = true;
        }
    }
    return true;
}

}  // namespace tn::test
