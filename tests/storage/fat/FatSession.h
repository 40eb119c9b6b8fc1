// Seeded write sessions through the package, and what mkfs.fat's companions must then see: the
// model of every file written, judged by fsck.fat, mdir and mcopy.
#pragma once

#include <gtest/gtest.h>

#include <tnpackage/tnpackage.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <map>
#include <random>
#include <span>
#include <string>
#include <vector>

#include "support/FatImages.h"

namespace tn::test {

// Names of every kind the sessions use (Windows-1252).
inline const char* const kSessionNames[] = {
    "DATA.BIN",
    "readme.txt",
    "Mixed Case Name.Text",
    "G\xF6\xDF"
    "e.txt",
    "\xC4pfel und Birnen mit sehr langem Namen.dat",
    "A",
    "x.y",
    "NOEXT",
    "ThirteenChars",
    "Fourteen Chars",
    "vier.punkt.namen.txt",
    "UPPER LONG NAME.TXT",
};
inline const char* const kSessionFolders[] = {"SUB", "Ordner", "tief unten",
                                              "\xDC"
                                              "ber"};

/// What a session wrote: UTF-8 path ("/DIR/NAME") to content, and every folder on the way.
struct SessionModel {
    std::map<std::string, std::string> files;
    std::vector<std::string> folders;
};

/// What a session may use: names and folders (Windows-1252), file sizes, folder depth.
struct SessionPlan {
    std::span<const char* const> names;
    std::span<const char* const> folders;
    std::vector<int> sizes;
    int steps = 40;
    int maxDepth = 2;
};

/// `plan.steps` files created or opened again on `v`, each written from the start or (when it
/// has content) overwritten or appended from a position inside a sector (a position on a sector
/// boundary stays on the sector before), in two pieces so that a record continues mid-file.
inline void SeededWrites(TPVolumeFAT& v, std::uint32_t seed, const SessionPlan& plan,
                         SessionModel& model) {
    std::mt19937 random(seed);
    const int z = v.GetSectorSize();
    for (int step = 0; step < plan.steps; ++step) {
        std::string folder;
        const int depth = static_cast<int>(random() % static_cast<unsigned>(plan.maxDepth + 1));
        for (int d = 0; d < depth; ++d)
            folder += std::string("\\") + plan.folders[random() % plan.folders.size()];
        const std::string path = folder + "\\" + plan.names[random() % plan.names.size()];
        std::string key;
        for (char c : path)
            key += c == '\\' ? '/' : c;
        key = Win1252ToUtf8(key);
        for (std::size_t p = key.find('/', 1); p != std::string::npos; p = key.find('/', p + 1))
            model.folders.push_back(key.substr(0, p));
        std::string& content = model.files[key];
        TPFile f;
        TPDateiInfo* node = v.CreateFile(&f, path.c_str());
        ASSERT_NE(node, nullptr) << key;
        ASSERT_EQ(static_cast<std::size_t>(node->FileSize), content.size()) << key;
        const int size = plan.sizes[random() % plan.sizes.size()];
        std::string data =
            Pattern(static_cast<std::size_t>(size), static_cast<std::uint32_t>(random()));
        int position = 0;
        if (!content.empty()) {
            position = random() % 2 == 0 ? static_cast<int>(content.size())
                                         : static_cast<int>(random() % content.size());
            if (position % z == 0) position = position > 0 ? position - 1 : 0;
            ASSERT_TRUE(v.SetFilePointer(&f, position));
        }
        const int half = size / 2;
        int done = v.FileWrite(&f, data.data(), half, false);
        done += v.FileWrite(&f, data.data() + half, size - half, random() % 2 == 0);
        ASSERT_EQ(done, size) << key;
        if (content.size() < static_cast<std::size_t>(position + size))
            content.resize(static_cast<std::size_t>(position + size));
        content.replace(static_cast<std::size_t>(position), data.size(), data);
    }
}

/// fsck.fat finds `image` clean, and mdir lists and mcopy extracts exactly the model.
inline void ExpectToolsSeeModel(const std::filesystem::path& image, const SessionModel& model) {
    EXPECT_EQ(FsckProblems(image), "");
    std::vector<std::string> paths;
    for (const auto& [key, content] : model.files)
        paths.push_back(key);
    for (const std::string& f : model.folders)
        paths.push_back(f + "/");
    std::sort(paths.begin(), paths.end());
    paths.erase(std::unique(paths.begin(), paths.end()), paths.end());
    EXPECT_EQ(ListTree(image), paths);
    const auto theirs = ExtractAll(image);
    EXPECT_EQ(theirs.size(), model.files.size());
    for (const auto& [key, content] : model.files) {
        const auto it = theirs.find(key);
        ASSERT_NE(it, theirs.end()) << key;
        EXPECT_EQ(it->second.size(), content.size()) << key;
        EXPECT_TRUE(it->second == content) << key;
    }
}

}  // namespace tn::test
