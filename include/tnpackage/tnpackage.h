// tnPackage: the shared library of the flight recorder's desktop programs.
//
// One include for everything; all names live in namespace tn. A host may include <windows.h>
// before it: the Win32 macros that clash with our names (CreateFile, DeleteFile, min, ...) are
// set aside while our headers are read and restored afterwards (WindowsMacrosPush.h).
#pragma once

#include <tnpackage/WindowsMacrosPush.h>

#include <tnpackage/BuildConfig.h>
#include <tnpackage/Export.h>

// Package frame: start-up, settings, hooks, messages, language tables.
#include <tnpackage/frame/DeviceAddressSpace.h>
#include <tnpackage/frame/Globals.h>
#include <tnpackage/frame/LanguageTables.h>
#include <tnpackage/frame/Messages.h>
#include <tnpackage/frame/Package.h>

// Text: the string class, conversions, helpers, string lists.
#include <tnpackage/text/Conversions.h>
#include <tnpackage/text/Encodings.h>
#include <tnpackage/text/Standards.h>
#include <tnpackage/text/TPString.h>
#include <tnpackage/text/TPStringArray.h>
#include <tnpackage/text/TPStringList.h>
#include <tnpackage/text/TPStringTable.h>

// Lists and persistent records.
#include <tnpackage/persist/TPList.h>
#include <tnpackage/persist/TPObject.h>
#include <tnpackage/persist/TPSaveList.h>
#include <tnpackage/persist/TPSaveObject.h>
#include <tnpackage/persist/TPWriter.h>

// CRC checksums.
#include <tnpackage/crc/CrcFunctions.h>
#include <tnpackage/crc/TPCRC.h>

// Date and time.
#include <tnpackage/time/Clock.h>
#include <tnpackage/time/MessTime.h>
#include <tnpackage/time/TPDateTime.h>

// Coordinates and constants.
#include <tnpackage/geo/Constants.h>
#include <tnpackage/geo/TPEllipsoid.h>
#include <tnpackage/geo/TPGeoid.h>
#include <tnpackage/geo/TSKoordinate.h>

// Device memory and FAT volume.
#include <tnpackage/storage/Drives.h>
#include <tnpackage/storage/FatFormat.h>
#include <tnpackage/storage/FatGlobals.h>
#include <tnpackage/storage/FileIO.h>
#include <tnpackage/storage/PartitionTable.h>
#include <tnpackage/storage/TPDateiInfo.h>
#include <tnpackage/storage/TPDateiManager.h>
#include <tnpackage/storage/TPDateiSpeicher.h>
#include <tnpackage/storage/TPDirEintrag.h>
#include <tnpackage/storage/TPDirList.h>
#include <tnpackage/storage/TPDriveLayout.h>
#include <tnpackage/storage/TPFile.h>
#include <tnpackage/storage/TPImageSpeicher.h>
#include <tnpackage/storage/TPSpeicher.h>
#include <tnpackage/storage/TPVerzeichnisInfo.h>
#include <tnpackage/storage/TPVolumeFAT.h>
#include <tnpackage/storage/TPVolumeInfo.h>
#include <tnpackage/storage/TP_FATList.h>

// Flash memory model.
#include <tnpackage/flash/FlashChipPair.h>
#include <tnpackage/flash/TFlash.h>

// Utilities.
#include <tnpackage/util/Reflect.h>
#include <tnpackage/util/Rounding.h>
#include <tnpackage/util/TPLogFile.h>
#include <tnpackage/util/zkFloat.h>

#include <tnpackage/WindowsMacrosPop.h>
