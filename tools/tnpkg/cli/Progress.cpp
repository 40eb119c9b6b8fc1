#include "cli/Progress.h"

#include <cstdio>
#include <utility>

#ifdef _WIN32
#include <io.h>
#define TNPKG_ISATTY _isatty
#define TNPKG_FILENO _fileno
#else
#include <unistd.h>
#define TNPKG_ISATTY isatty
#define TNPKG_FILENO fileno
#endif

namespace tnpkg {
namespace {

constexpr auto kRedrawInterval = std::chrono::milliseconds(100);
constexpr std::size_t kLineWidth = 79;

}  // namespace

Progress::Progress(std::string label, bool quiet)
    : label_(std::move(label)), enabled_(!quiet && TNPKG_ISATTY(TNPKG_FILENO(stderr)) != 0) {}

Progress::~Progress() {
    Finish();
}

void Progress::Update(std::uint64_t done, std::uint64_t total, const std::string& item) {
    if (!enabled_) return;
    const auto now = std::chrono::steady_clock::now();
    if (shown_ && now - last_ < kRedrawInterval && done != total) return;
    last_ = now;
    std::string line = label_ + " " + std::to_string(done);
    if (total != 0) line += "/" + std::to_string(total);
    if (!item.empty()) line += " " + item;
    if (line.size() > kLineWidth) line.resize(kLineWidth);
    std::fprintf(stderr, "\r%-*s", static_cast<int>(kLineWidth), line.c_str());
    std::fflush(stderr);
    shown_ = true;
}

void Progress::Finish() {
    if (!shown_) return;
    std::fprintf(stderr, "\r%-*s\r", static_cast<int>(kLineWidth), "");
    std::fflush(stderr);
    shown_ = false;
}

}  // namespace tnpkg
