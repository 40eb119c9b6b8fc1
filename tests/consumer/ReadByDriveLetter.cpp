// A host that reads one file of a FAT image by drive letter: read_by_letter IMAGE "A:\LOG.IGC"
#include <tnpackage/tnpackage.h>

#include <cstdio>
#include <vector>

int main(int argc, char** argv) {
    if (argc != 3) return 2;
    tn::FATList = new tn::TP_FATList();                          // the host creates the registry
    tn::TPDateiSpeicher medium(argv[1], false);                  // the image file, read-only
    tn::FATList->Add(new tn::TPVolumeFAT(&medium, 'A', 0));      // drive A:, owned by the list
    const int handle = tn::FileOpenV(argv[2], tn::fmOpenReadV);  // path bytes: Windows-1252
    if (handle < 0) return 1;
    std::vector<char> data(1 << 20);  // files up to 1 MiB
    tn::FileSeekV(handle, 0, 0);      // no current sector before a seek
    const int n = tn::FileReadV(handle, data.data(), static_cast<int>(data.size()));
    std::fwrite(data.data(), 1, n > 0 ? static_cast<std::size_t>(n) : 0, stdout);
    tn::FileCloseV(handle);
    delete tn::FATList;  // the volume goes before its medium
    return n >= 0 ? 0 : 1;
}
