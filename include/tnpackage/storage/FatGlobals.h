// Globals and free functions of the FAT volume unit: the boot-sector tests, the registry, the
// diagnostic switches and the hooks the host sets. (StopAll, the cancel flag of long listings,
// is a frame global; every volume constructor clears it.)
#pragma once

#include <tnpackage/Export.h>

namespace tn {

class TP_FATList;
class TPDateiInfo;
class TPDirEintrag;

/// First byte 0xE9, or 0xEB with 0x90 as the third byte.
TN_EXPORT bool IsFATSector(void* sector);
/// The 16-bit word at byte 510 is 0xAA55.
TN_EXPORT bool FileSystemSector(void* sector);

/// The registry of mounted volumes; null until a client creates it.
TN_EXPORT extern TP_FATList* FATList;
/// Diagnostic logging of mounts (a log line per volume).
TN_EXPORT extern bool LogEveryEntry;
TN_EXPORT extern bool LogFAT;
/// Off (default): the FAT type follows total sectors / sectors per cluster (below 4085: 12-bit,
/// below 65525: 16-bit). On: it follows the number of data clusters, as FAT defines it.
TN_EXPORT extern bool FATTypeByDataClusters;
/// Off (default): volumes keep the package's historic FAT handling (12-bit values above 0xFF0
/// read negative, 16-bit entries stored through the 12-bit packing, FAT sectors written back at
/// s x 512, free clusters searched up to total sectors / sectors per cluster). On: a volume
/// mounted now reads and writes its FAT as mtools, fsck.fat and operating systems do: typed by
/// its data clusters, every data cluster a cluster, 16-bit entries as 16-bit words, FAT sectors
/// at s x bytes per sector, free clusters only among the data clusters. The volume decides at
/// its mount; changing the switch later does not change a mounted volume.
TN_EXPORT extern bool FATStandard;

using TPFileFoundHook = void (*)(TPDateiInfo* file);
using TPUpdateEndeHook = void (*)();
using TPDirEntryHook = void (*)(TPDirEintrag* entry);

/// Called by TPVolumeFAT::Update for each file of the root.
TN_EXPORT extern TPFileFoundHook OnFileFound;
/// Called at the end of TPVolumeFAT::Update.
TN_EXPORT extern TPUpdateEndeHook OnUpdateEnde;
/// Called for each directory / each file node made while a directory is listed from a medium.
TN_EXPORT extern TPDirEntryHook OnDirEntry;
TN_EXPORT extern TPDirEntryHook OnFileEntry;

}  // namespace tn
