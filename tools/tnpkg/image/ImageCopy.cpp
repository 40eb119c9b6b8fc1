#include "image/ImageCopy.h"

#include <fstream>
#include <random>
#include <system_error>

#ifdef _WIN32
#include <fcntl.h>
#include <io.h>
#else
#include <fcntl.h>
#include <unistd.h>
#endif

namespace tnpkg {
namespace {

namespace fs = std::filesystem;

// The rename only makes the new blocks the image's if they are on the disk before it.
bool SyncFile(const fs::path& path) {
#ifdef _WIN32
    const int fd = _wopen(path.c_str(), _O_RDWR | _O_BINARY);
    if (fd < 0) return false;
    const bool ok = _commit(fd) == 0;
    return _close(fd) == 0 && ok;
#else
    const int fd = ::open(path.c_str(), O_RDWR);
    if (fd < 0) return false;
    const bool ok = ::fsync(fd) == 0;
    return ::close(fd) == 0 && ok;
#endif
}

fs::path TemporaryBeside(const fs::path& image) {
    std::random_device random;
    const auto tag = std::to_string(random() % 1000000u);
    return image.parent_path() / (image.filename().string() + ".tnpkg-" + tag + ".tmp");
}

}  // namespace

ImageCopy::ImageCopy(fs::path image, bool fresh, std::uint64_t freshSize)
    : image_(std::move(image)), temporary_(TemporaryBeside(image_)) {
    std::error_code ec;
    if (fresh) {
        std::ofstream(temporary_, std::ios::binary | std::ios::trunc);
        if (fs::exists(temporary_, ec)) fs::resize_file(temporary_, freshSize, ec);
        if (!fs::exists(temporary_) || ec) {
            problem_ =
                "cannot create " + temporary_.string() + (ec ? ": " + ec.message() : std::string());
        }
        return;
    }
    fs::copy_file(image_, temporary_, fs::copy_options::overwrite_existing, ec);
    if (ec) problem_ = "cannot copy " + image_.string() + ": " + ec.message();
}

ImageCopy::~ImageCopy() {
    if (committed_) return;
    std::error_code ec;
    fs::remove(temporary_, ec);
}

bool ImageCopy::Commit() {
    if (!problem_.empty()) return false;
    if (!SyncFile(temporary_)) {
        problem_ = "cannot write " + temporary_.string() + " to the disk";
        return false;
    }
    std::error_code ec;
    fs::rename(temporary_, image_, ec);
    if (ec) {
        problem_ = "cannot replace " + image_.string() + ": " + ec.message();
        return false;
    }
    committed_ = true;
    return true;
}

}  // namespace tnpkg
