// An open file on a FAT volume: its position as cluster, sector and address, and its sector
// buffer. The volume's file layer moves it (TPVolumeFATFiles.cpp).
#include <tnpackage/storage/TPDateiInfo.h>
#include <tnpackage/storage/TPFile.h>
#include <tnpackage/storage/TPVolumeFAT.h>

namespace tn {

TPFile::TPFile() : Buffer(new unsigned char[512]()) {}

TPFile::~TPFile() {
    if (Written && File != nullptr) File->SaveEntry(true);
    // A file that stayed empty gives back the cluster it got when it was created, so that the
    // volume stays consistent (a size of 0 owns no cluster).
    TPVolumeFAT* volume = File != nullptr ? File->Volume : nullptr;
    if (volume != nullptr && File->FileSize == 0 && File->EntryAddress != 0 &&
        volume->IsDataCluster(File->FirstCluster) && volume->GetCluster(File->FirstCluster) != 0 &&
        volume->IsChainEnd(volume->GetCluster(File->FirstCluster))) {
        volume->SetCluster(File->FirstCluster, 0);
        File->FirstCluster = 0;
        File->SaveEntry(true);
        volume->WriteClusterBuffer();
    } else if (volume != nullptr && File->FileSize == 0 && File->FirstCluster == 0 &&
               volume->IsDataCluster(Cluster) && volume->IsChainEnd(volume->GetCluster(Cluster))) {
        // Opening an empty file gave this record a cluster the file never took over.
        volume->SetCluster(Cluster, 0);
        volume->WriteClusterBuffer();
    }
    delete[] Buffer;
}

void TPFile::EnsureBuffer(int bytes) {
    if (bytes <= BufferSize) return;
    delete[] Buffer;
    Buffer = new unsigned char[static_cast<std::size_t>(bytes)]();
    BufferSize = bytes;
    BufferedAddress = 0;
}

void TPFile::Open(TPDateiInfo* node, int address) {
    File = node;
    Cluster = node != nullptr ? node->FirstCluster : 0;
    SectorIndex = 0;
    TPVolumeFAT* volume = node != nullptr ? node->Volume : nullptr;
    EnsureBuffer(TPVolumeFAT::GetSectorSize(volume));
    if (address == -1) {
        SectorAddress = volume != nullptr ? volume->ClusterAdresse(Cluster) : 0;
    } else {
        SectorAddress = address;
    }
}

}  // namespace tn
