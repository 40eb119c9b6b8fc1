// The package's text tables. Text is Windows-1252: "M\xE4rz" is März.
#include <tnpackage/frame/Globals.h>
#include <tnpackage/frame/LanguageTables.h>

namespace tn {

const char* const pcaGliderClass[7][kLanguageColumns] = {
    {"Offen", "Open", nullptr},  {"Standard", nullptr, nullptr}, {"FAI", "15m", nullptr},
    {"18m", nullptr, nullptr},   {"Club", nullptr, nullptr},     {"Dosi", "DoubleSeater", nullptr},
    {nullptr, nullptr, nullptr},
};

const char* const pcaMonthName[14][kLanguageColumns] = {
    {"Monat", nullptr, nullptr},       {"Januar", "January", nullptr},
    {"Februar", "February", nullptr},  {"M\xE4rz", "March", nullptr},
    {"April", nullptr, nullptr},       {"Mai", "May", nullptr},
    {"Juni", "June", nullptr},         {"Juli", "July", nullptr},
    {"August", nullptr, nullptr},      {"September", nullptr, nullptr},
    {"Oktober", "October", nullptr},   {"November", nullptr, nullptr},
    {"Dezember", "December", nullptr}, {nullptr, nullptr, nullptr},
};

const char* const pcaShortMonthName[14][kLanguageColumns] = {
    {"Monat", nullptr, nullptr}, {"Jan", nullptr, nullptr},   {"Feb", nullptr, nullptr},
    {"Mrz", "Mar", nullptr},     {"Apr", nullptr, nullptr},   {"Mai", "May", nullptr},
    {"Jun", nullptr, nullptr},   {"Jul", nullptr, nullptr},   {"Aug", nullptr, nullptr},
    {"Sep", nullptr, nullptr},   {"Okt", "Oct", nullptr},     {"Nov", nullptr, nullptr},
    {"Dez", "Dec", nullptr},     {nullptr, nullptr, nullptr},
};

TPString GetLanguageString(const char* const* row, int index) {
    if (row == nullptr) return TPString();
    // Rows have three columns; a column that does not exist reads as a missing translation.
    const char* text = index >= 0 && index < kLanguageColumns ? row[index] : nullptr;
    return TPString(text != nullptr ? text : row[0]);
}

TPString SystemLanguage(const char* const* row) {
    if (row == nullptr) return TPString();
    const char* text = Language >= 0 && Language < kLanguageColumns ? row[Language] : nullptr;
    if (text != nullptr && *text != '\0') return TPString(text);
    return TPString(row[0]);
}

}  // namespace tn
