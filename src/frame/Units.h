// The package's units in the order the package initialises them. Each unit's initialisation
// and finalisation live with its subsystem (src/<subsystem>/<Subsystem>Units.cpp).
//
// Unit bodies run from the library's load and unload, possibly before or after other
// translation units' dynamic initialisation. They may therefore touch only constant-initialised
// state (constinit globals, trivially destructible values, TPString globals).
#pragma once

#define TN_PACKAGE_UNITS(X) \
    X(Up_logfile)           \
    X(Up_speicher)          \
    X(Up_flash)             \
    X(Up_listobject)        \
    X(Up_filename)          \
    X(Up_fileio)            \
    X(Up_util)              \
    X(Up_crc)               \
    X(Up_dateimanager)      \
    X(Up_fat)               \
    X(Up_dateiinfo)         \
    X(Up_texte)             \
    X(Up_datetime)          \
    X(Up_constante)         \
    X(Up_string)            \
    X(Tnpackage)            \
    X(Up_math)              \
    X(Up_complex)           \
    X(Up_deviceinfo)        \
    X(Up_folderdialog)      \
    X(Up_intconvert)        \
    X(Up_koordinate)        \
    X(Up_punkt)             \
    X(Up_standards)         \
    X(Up_stringlist)

namespace tn::units {

#define TN_DECLARE_UNIT(name)     \
    void name##_Initialization(); \
    void name##_Finalization();
TN_PACKAGE_UNITS(TN_DECLARE_UNIT)
#undef TN_DECLARE_UNIT

}  // namespace tn::units
