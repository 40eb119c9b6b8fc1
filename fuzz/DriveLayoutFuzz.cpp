// Any disk image: building the drive layout from its first sector and printing the report never
// reads outside the file's bytes or the 168-byte buffer.
#include <tnpackage/tnpackage.h>

#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>

namespace {

void Quiet(tn::TPString) {}

// The layout is read from a file, written anew for every input: on a memory file system that
// costs no disk traffic, which makes the runs several times faster.
std::string ScratchFile() {
    const char* dir = access("/dev/shm", W_OK) == 0 ? "/dev/shm" : "/tmp";
    return std::string(dir) + "/tn-drive-layout-fuzz-" + std::to_string(getpid());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const std::string path = ScratchFile();
    std::FILE* f = std::fopen(path.c_str(), "wb");
    if (f == nullptr) return 0;
    std::fwrite(data, 1, size, f);
    std::fclose(f);
    tn::OnWarning = Quiet;
    tn::TPDriveLayout layout;
    if (layout.ReadImage(path.c_str())) {
        tn::TPDriveLayout::Entry e;
        for (int i = 0; layout.Partition(i, e); ++i) {
        }
        (void)layout.Report().Length();
    }
    std::remove(path.c_str());
    return 0;
}
