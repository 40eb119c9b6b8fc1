// Start and exit of the frame's units: the package itself, the language texts, the file-name
// unit's directory strings and the string unit's standard strings.
#include <tnpackage/frame/Globals.h>

#include "frame/Units.h"

namespace tn::units {

void Tnpackage_Initialization() {}
void Tnpackage_Finalization() {}

void Up_texte_Initialization() {}
void Up_texte_Finalization() {}

// The directory strings start empty (they are constant-initialised) and are released in
// reverse order of construction.
void Up_filename_Initialization() {}
void Up_filename_Finalization() {
    TarnoDatabase.Delete();
    TarnoDBDir.Delete();
    ProgramName.Delete();
    TempDir.Delete();
    ProgramDir.Delete();
}

// The six standard strings start empty; CreateStdStrings gives them their contents.
void Up_string_Initialization() {}
void Up_string_Finalization() {
    strLeerZeichen.Delete();
    strPunkt.Delete();
    strNEWS.Delete();
    EmptyString.Delete();
    sCRLF.Delete();
    OEMChar.Delete();
}

}  // namespace tn::units
