#include "store/PrivateFolder.h"

#include <cstdio>
#include <random>
#include <system_error>

namespace tnpkg::store {

namespace fs = std::filesystem;

PrivateFolder::PrivateFolder(const std::string& purpose) {
    std::error_code ec;
    const fs::path base = fs::temp_directory_path(ec);
    if (ec) return;
    std::random_device random;
    for (int attempt = 0; attempt < 16; ++attempt) {
        char tag[24];
        std::snprintf(tag, sizeof tag, "%08x%08x", random(), random());
        const fs::path candidate = base / ("tnpkg-" + purpose + "-" + tag);
        // create_directory is false for a folder that exists: someone else's, never shared.
        if (fs::create_directory(candidate, ec) && !ec) {
            path_ = candidate;
            return;
        }
    }
}

PrivateFolder::~PrivateFolder() {
    if (path_.empty()) return;
    std::error_code ec;
    fs::remove_all(path_, ec);
}

}  // namespace tnpkg::store
