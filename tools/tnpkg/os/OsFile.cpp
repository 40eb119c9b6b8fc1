// The parts of a file handle that do not depend on the system: ownership moves with the handle.
#include "os/OsFile.h"

namespace tnpkg::os {

File::~File() {
    Close();
}

File::File(File&& other) noexcept : handle_(other.handle_) {
    other.handle_ = -1;
}

File& File::operator=(File&& other) noexcept {
    if (this != &other) {
        Close();
        handle_ = other.handle_;
        other.handle_ = -1;
    }
    return *this;
}

}  // namespace tnpkg::os
