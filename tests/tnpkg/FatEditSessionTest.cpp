// A seeded random editing session per FAT type and sector size: put, put --force, mkdir, rm,
// rm -r, mv and label with awkward names, each through tnpkg, until the volume is full. After
// every step fsck.fat -n finds the volume clean, mcopy -s and mdir return exactly what the
// session's own model holds, and mlabel reads the label the session set.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "support/FatImages.h"
#include "support/RunTool.h"
#include "support/Scratch.h"
#include "tnpkg/ImageWriteSupport.h"

namespace {

namespace fs = std::filesystem;
using tn::test::Q;

// Long names, blanks, mixed case, umlauts (also differing only in their case), names that begin
// with a dot, and many names that share one 8.3 stem.
const std::vector<std::string> kNames = {
    "Flug Nr 1.igc",
    "flugbuch.txt",
    "MixedCase.Txt",
    "README.TXT",
    "\xC3\x84rger mit \xC3\xBC"
    "berlangen Namen.log",
    "Gr\xC3\xBC\xC3\x9F"
    "e.txt",
    "a.b.c.d",
    "ein sehr langer Name mit vielen Zeichen und noch mehr Zeichen.igc",
    "logbook entry 1.txt",
    "logbook entry 2.txt",
    "logbook entry 3.txt",
    "logbook entry 4.txt",
    "logbook entry 5.txt",
    "logbook entry 6.txt",
    "logbook entry 7.txt",
    "logbook entry 8.txt",
    "logbook entry 9.txt",
    "logbook entry 10.txt",
    "logbook entry 11.txt",
    "logbook entry 12.txt",
    "x",
    "NOEXT",
    "with  two  blanks",
    ".hidden",
    ".profile.cfg",
    "\xC3\xA4.txt",
    "\xC3\x84.txt",
};

const std::vector<std::string> kLabels = {"FLIGHTS", "CARD 2024", "A", "NO NAME X", "X-1_2"};

// Case folding for the model's names (ASCII and the German umlauts as UTF-8).
std::string Fold(const std::string& name) {
    std::string out;
    for (std::size_t i = 0; i < name.size(); ++i) {
        const auto c = static_cast<unsigned char>(name[i]);
        if (c == 0xC3 && i + 1 < name.size()) {
            auto d = static_cast<unsigned char>(name[i + 1]);
            if (d == 0x84 || d == 0x96 || d == 0x9C) d = static_cast<unsigned char>(d + 0x20);
            out += static_cast<char>(c);
            out += static_cast<char>(d);
            ++i;
        } else {
            out += static_cast<char>(std::tolower(c));
        }
    }
    return out;
}

// What the volume should hold: folders ("/A/B") and files with their bytes.
struct Model {
    std::set<std::string> folders{""};  // "" is the root
    std::map<std::string, std::string> files;
    std::string label;

    bool Taken(const std::string& folder, const std::string& name) const {
        const std::string wanted = Fold(folder + "/" + name);
        for (const auto& f : folders)
            if (Fold(f) == wanted) return true;
        for (const auto& [path, bytes] : files)
            if (Fold(path) == wanted) return true;
        return false;
    }

    // Everything at `path` and below it leaves the model.
    void Drop(const std::string& path) {
        files.erase(path);
        std::erase_if(files, [&](const auto& f) { return f.first.rfind(path + "/", 0) == 0; });
        std::erase_if(folders, [&](const std::string& f) {
            return f == path || f.rfind(path + "/", 0) == 0;
        });
    }

    // `from` and everything below it as `to`.
    void Rename(const std::string& from, const std::string& to) {
        std::map<std::string, std::string> files2;
        for (auto& [path, bytes] : files) {
            const bool below = path == from || path.rfind(from + "/", 0) == 0;
            files2[below ? to + path.substr(from.size()) : path] = bytes;
        }
        files = files2;
        std::set<std::string> folders2;
        for (const auto& f : folders) {
            const bool below = f == from || f.rfind(from + "/", 0) == 0;
            folders2.insert(below ? to + f.substr(from.size()) : f);
        }
        folders = folders2;
    }

    std::vector<std::string> Listing() const {
        std::vector<std::string> paths;
        for (const auto& f : folders)
            if (!f.empty()) paths.push_back(f + "/");
        for (const auto& [path, bytes] : files)
            paths.push_back(path);
        std::sort(paths.begin(), paths.end());
        return paths;
    }
};

class Session {
  public:
    Session(const fs::path& dir, std::uint32_t seed)
        : dir_(dir), image_(dir / "card.img"), rng_(seed) {}

    const fs::path& Image() const { return image_; }
    int Commands() const { return commands_; }

    // One random step; false when it did not run as the model expects (a message says why).
    void Step(int n) {
        switch (rng_() % 8) {
            case 0:
            case 1:
                Put();
                break;
            case 2:
                PutForce();
                break;
            case 3:
                Mkdir();
                break;
            case 4:
                Rm();
                break;
            case 5:
                RmTree();
                break;
            case 6:
                Mv();
                break;
            default:
                Label();
                break;
        }
        Check(n);
    }

    // Fills the volume to its last cluster with one file, then: a put that needs one more
    // cluster is refused and leaves the image as it was, a move still works, and a removal
    // gives the room back.
    void FillUp() {
        const auto info = tn::test::RunTool("fat info " + Q(image_) + " --json").output;
        const std::size_t free = std::stoull(info.substr(info.find("\"freeBytes\":") + 12));
        const std::string bytes = tn::test::Pattern(free, static_cast<std::uint32_t>(rng_()));
        Run("put " + Q(image_) + " " + Q(HostFile("Voll.bin", bytes)));
        model_.files["/Voll.bin"] = bytes;
        Check(-1);
        ASSERT_NE(tn::test::RunTool("fat info " + Q(image_))
                      .output.find("free:                0 clusters"),
                  std::string::npos);
        const std::string before = tn::test::LoadText(image_);
        const auto refused =
            tn::test::RunTool("fat put " + Q(image_) + " " + Q(HostFile("one more", "x")), true);
        EXPECT_EQ(refused.status, 1);
        EXPECT_NE(refused.output.find("not enough room"), std::string::npos) << refused.output;
        ASSERT_EQ(tn::test::LoadText(image_), before);
        Run("mv " + Q(image_) + " /Voll.bin '/.voll bis zum Rand'");
        model_.Rename("/Voll.bin", "/.voll bis zum Rand");
        Check(-2);
        Run("rm " + Q(image_) + " '/.voll bis zum Rand'");
        model_.Drop("/.voll bis zum Rand");
        Check(-3);
    }

  private:
    fs::path dir_;
    fs::path image_;
    std::mt19937 rng_;
    Model model_;
    std::string lastCommand_;
    int host_ = 0;
    int commands_ = 0;

    template <typename T>
    const T& Pick(const std::vector<T>& from) {
        return from[rng_() % from.size()];
    }

    std::string PickFolder() {
        const std::vector<std::string> all(model_.folders.begin(), model_.folders.end());
        return Pick(all);
    }

    void Run(const std::string& arguments) {
        lastCommand_ = arguments;
        ++commands_;
        const auto r = tn::test::RunTool("fat " + arguments, true);
        ASSERT_EQ(r.status, 0) << arguments << "\n" << r.output;
    }

    fs::path HostFile(const std::string& name, const std::string& bytes) {
        const fs::path folder = dir_ / ("host" + std::to_string(++host_));
        fs::create_directories(folder);
        const fs::path file = folder / name;
        tn::test::WriteBytes(file, bytes);
        return file;
    }

    std::string Content() {
        const std::size_t sizes[] = {0, 1, 511, 512, 513, 2048, 5000, 17000};
        return tn::test::Pattern(sizes[rng_() % 8], static_cast<std::uint32_t>(rng_()));
    }

    void Put() {
        const std::string folder = PickFolder();
        const std::string name = Pick(kNames);
        if (model_.Taken(folder, name)) return;
        const std::string bytes = Content();
        Run("put " + Q(image_) + " " + Q(HostFile(name, bytes)) + " --to " + Q(folder + "/"));
        model_.files[folder + "/" + name] = bytes;
    }

    void PutForce() {
        if (model_.files.empty()) return;
        std::vector<std::string> paths;
        for (const auto& [path, bytes] : model_.files)
            paths.push_back(path);
        const std::string path = Pick(paths);
        const auto slash = path.rfind('/');
        const std::string bytes = Content();
        Run("put --force " + Q(image_) + " " + Q(HostFile(path.substr(slash + 1), bytes)) +
            " --to " + Q(path.substr(0, slash) + "/"));
        model_.files[path] = bytes;
    }

    void Mkdir() {
        const std::string folder = PickFolder();
        if (folder.size() > 60) return;
        const std::string name = Pick(kNames);
        if (model_.Taken(folder, name)) return;
        Run("mkdir " + Q(image_) + " " + Q(folder + "/" + name));
        model_.folders.insert(folder + "/" + name);
    }

    void Rm() {
        if (model_.files.empty()) return;
        std::vector<std::string> paths;
        for (const auto& [path, bytes] : model_.files)
            paths.push_back(path);
        const std::string path = Pick(paths);
        Run("rm " + Q(image_) + " " + Q(path));
        model_.Drop(path);
    }

    void RmTree() {
        if (model_.folders.size() < 2 || rng_() % 2 == 0) return;  // let the tree grow
        std::string path = PickFolder();
        if (path.empty()) return;
        Run("rm -r " + Q(image_) + " " + Q(path));
        model_.Drop(path);
    }

    void Mv() {
        std::vector<std::string> sources;
        for (const auto& [path, bytes] : model_.files)
            sources.push_back(path);
        for (const auto& f : model_.folders)
            if (!f.empty()) sources.push_back(f);
        if (sources.empty()) return;
        const std::string from = Pick(sources);
        const std::string folder = PickFolder();
        if (folder == from || folder.rfind(from + "/", 0) == 0) return;  // into itself
        const std::string name = rng_() % 2 == 0 ? from.substr(from.rfind('/') + 1) : Pick(kNames);
        const std::string to = folder + "/" + name;
        if (to == from || model_.Taken(folder, name)) return;
        Run("mv " + Q(image_) + " " + Q(from) + " " + Q(to));
        model_.Rename(from, to);
    }

    void Label() {
        const std::string label = rng_() % 4 == 0 ? std::string() : Pick(kLabels);
        Run("label " + Q(image_) + (label.empty() ? " --clear" : " " + Q(label)));
        model_.label = label;
        const std::string shown = tn::test::Mtools("mlabel -s -i " + Q(image_) + " ::").output;
        std::string padded = label;
        padded.resize(11, ' ');
        const std::string expected =
            label.empty() ? " Volume has no label\n" : " Volume label is " + padded + "\n";
        EXPECT_EQ(shown, expected) << lastCommand_;
        const auto listed = tn::test::RunTool("fat label " + Q(image_));
        EXPECT_EQ(listed.output, (label.empty() ? "(none)" : label) + "\n");
    }

    void Check(int n) {
        ASSERT_EQ(tn::test::FsckProblems(image_), "") << "step " << n << ": " << lastCommand_;
        ASSERT_EQ(tn::test::ExtractAll(image_), model_.files)
            << "step " << n << ": " << lastCommand_;
        ASSERT_EQ(tn::test::ListTree(image_), model_.Listing())
            << "step " << n << ": " << lastCommand_;
    }
};

struct Layout {
    const char* name;
    int kib;
    const char* options;
};

TEST(FatEditSession, RandomEditsStayCleanAndEqualToTheModel) {
    TN_REQUIRE_SHELL();
    TN_REQUIRE_FAT_TOOLS();
    // FAT12 and FAT16 at 512-, 1024- and 2048-byte sectors; the small clusters fill folders
    // and chains across cluster borders quickly.
    const Layout layouts[] = {
        {"fat12-512", 1440, "-F 12 -S 512 -s 1"},   {"fat12-1024", 2048, "-F 12 -S 1024 -s 1"},
        {"fat12-2048", 4096, "-F 12 -S 2048 -s 1"}, {"fat16-512", 4096, "-F 16 -S 512 -s 1"},
        {"fat16-1024", 8192, "-F 16 -S 1024 -s 1"}, {"fat16-2048", 12288, "-F 16 -S 2048 -s 1"},
    };
    const char* stepsText = std::getenv("TN_EDIT_SESSION_STEPS");
    const int kSteps = stepsText != nullptr ? std::atoi(stepsText) : 32;
    const char* seedText = std::getenv("TN_EDIT_SESSION_SEED");
    std::uint32_t seed =
        seedText != nullptr ? static_cast<std::uint32_t>(std::atol(seedText)) : 2024;
    for (const Layout& layout : layouts) {
        SCOPED_TRACE(layout.name);
        const fs::path dir = tn::test::ScratchFolder() / layout.name;
        fs::create_directories(dir);
        Session session(dir, ++seed);
        ASSERT_TRUE(tn::test::MakeFatImage(session.Image(), layout.kib, layout.options));
        for (int n = 0; n < kSteps; ++n) {
            session.Step(n);
            if (testing::Test::HasFatalFailure()) return;
        }
        // Steps that found nothing to do are skipped (more of them early, on an empty volume);
        // a good part must have run a command.
        EXPECT_GE(session.Commands(), kSteps / 3);
        session.FillUp();
        if (testing::Test::HasFatalFailure()) return;
    }
}

}  // namespace
