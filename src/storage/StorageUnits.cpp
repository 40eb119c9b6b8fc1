// Start and exit of the storage units.
#include <tnpackage/storage/TPSpeicher.h>

#include "frame/Units.h"
#include "storage/vfile/FileIOInternal.h"

namespace tn::units {

// SpeicherPfad starts empty (it is constant-initialised); the host names the folder.
void Up_speicher_Initialization() {}
void Up_speicher_Finalization() {
    SpeicherPfad.Delete();
}

void Up_fileio_Initialization() {}
// Files the client left open are dropped; their volumes may already be gone.
void Up_fileio_Finalization() {
    fileio::CloseAll();
}

void Up_dateimanager_Initialization() {}
void Up_dateimanager_Finalization() {}

void Up_fat_Initialization() {}
void Up_fat_Finalization() {}

void Up_dateiinfo_Initialization() {}
void Up_dateiinfo_Finalization() {}

}  // namespace tn::units
