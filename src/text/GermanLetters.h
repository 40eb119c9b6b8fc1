// The German letters and their forms in the other character sets the package meets:
// the OEM code page of DOS-era files and device displays (437 and 850 agree on these seven),
// the 7-bit German replacements of old printers and terminals, HTML and plain ASCII.
#pragma once

namespace tn::german {

struct Letter {
    unsigned char ansi;         // Windows-1252
    unsigned char oem;          // code page 437/850
    char sevenBit;              // 7-bit replacement that OEM2Ansi also reads
    const char* entity;         // numeric HTML reference
    const char* spelling;       // ASCII spelling
    const char* upperSpelling;  // ASCII spelling in capitals (UmlautCodierung(true))
};

// Ä Ö Ü ä ö ü ß. The 7-bit form of ß is the underscore, not the tilde.
inline constexpr Letter kLetters[] = {
    {0xC4, 0x8E, '[', "&#196;", "Ae", "AE"}, {0xD6, 0x99, '\\', "&#214;", "Oe", "OE"},
    {0xDC, 0x9A, ']', "&#220;", "Ue", "UE"}, {0xE4, 0x84, '{', "&#228;", "ae", "ae"},
    {0xF6, 0x94, '|', "&#246;", "oe", "oe"}, {0xFC, 0x81, '}', "&#252;", "ue", "ue"},
    {0xDF, 0xE1, '_', "&#223;", "ss", "ss"},
};
inline constexpr int kLetterCount = sizeof kLetters / sizeof kLetters[0];
static_assert(kLetterCount == 7);

// The degree sign, which only the HTML forms convert.
inline constexpr unsigned char kDegreeSign = 0xB0;
inline constexpr const char* kDegreeEntity = "&#176;";

// Mark-up characters, escaped only when asked.
struct Markup {
    char character;
    const char* entity;
};
inline constexpr Markup kMarkup[] = {{'&', "&#38;"}, {'<', "&#60;"}, {'>', "&#62;"}};

/// The letter whose Windows-1252 byte is `c`, or null.
inline const Letter* FromAnsi(char c) {
    for (const Letter& l : kLetters) {
        if (l.ansi == static_cast<unsigned char>(c)) return &l;
    }
    return nullptr;
}

// Every byte read as the OEM code page or as a 7-bit replacement, in a table: a mount reads
// every short name of the volume through it.
struct OemToAnsiTable {
    char ansi[256];
};
inline constexpr OemToAnsiTable kOemToAnsi = [] {
    OemToAnsiTable table{};
    for (int c = 0; c < 256; ++c)
        table.ansi[c] = static_cast<char>(c);
    for (const Letter& l : kLetters) {
        table.ansi[l.oem] = static_cast<char>(l.ansi);
        table.ansi[static_cast<unsigned char>(l.sevenBit)] = static_cast<char>(l.ansi);
    }
    return table;
}();

/// The Windows-1252 byte of `c` read as the OEM code page or as a 7-bit replacement; other
/// bytes unchanged.
inline char FromOem(char c) {
    return kOemToAnsi.ansi[static_cast<unsigned char>(c)];
}

/// The HTML reference of `c` (letters and degree sign, and mark-up when asked), or null.
inline const char* HtmlEntity(char c, bool markup) {
    if (const Letter* l = FromAnsi(c)) return l->entity;
    if (static_cast<unsigned char>(c) == kDegreeSign) return kDegreeEntity;
    if (markup) {
        for (const Markup& m : kMarkup) {
            if (m.character == c) return m.entity;
        }
    }
    return nullptr;
}

}  // namespace tn::german
