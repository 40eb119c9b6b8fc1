#include "text/HtmlEntities.h"

#include <cstring>

#include "text/Windows1252.h"

namespace tn::html {

namespace {

struct NamedCharacter {
    const char* name;
    char32_t codePoint;
};

// The Latin-1 block in code-point order (160 to 255), then the others Windows-1252 carries.
constexpr NamedCharacter kEntities[] = {
    {"nbsp", 160},
    {"iexcl", 161},
    {"cent", 162},
    {"pound", 163},
    {"curren", 164},
    {"yen", 165},
    {"brvbar", 166},
    {"sect", 167},
    {"uml", 168},
    {"copy", 169},
    {"ordf", 170},
    {"laquo", 171},
    {"not", 172},
    {"shy", 173},
    {"reg", 174},
    {"macr", 175},
    {"deg", 176},
    {"plusmn", 177},
    {"sup2", 178},
    {"sup3", 179},
    {"acute", 180},
    {"micro", 181},
    {"para", 182},
    {"middot", 183},
    {"cedil", 184},
    {"sup1", 185},
    {"ordm", 186},
    {"raquo", 187},
    {"frac14", 188},
    {"frac12", 189},
    {"frac34", 190},
    {"iquest", 191},
    {"Agrave", 192},
    {"Aacute", 193},
    {"Acirc", 194},
    {"Atilde", 195},
    {"Auml", 196},
    {"Aring", 197},
    {"AElig", 198},
    {"Ccedil", 199},
    {"Egrave", 200},
    {"Eacute", 201},
    {"Ecirc", 202},
    {"Euml", 203},
    {"Igrave", 204},
    {"Iacute", 205},
    {"Icirc", 206},
    {"Iuml", 207},
    {"ETH", 208},
    {"Ntilde", 209},
    {"Ograve", 210},
    {"Oacute", 211},
    {"Ocirc", 212},
    {"Otilde", 213},
    {"Ouml", 214},
    {"times", 215},
    {"Oslash", 216},
    {"Ugrave", 217},
    {"Uacute", 218},
    {"Ucirc", 219},
    {"Uuml", 220},
    {"Yacute", 221},
    {"THORN", 222},
    {"szlig", 223},
    {"agrave", 224},
    {"aacute", 225},
    {"acirc", 226},
    {"atilde", 227},
    {"auml", 228},
    {"aring", 229},
    {"aelig", 230},
    {"ccedil", 231},
    {"egrave", 232},
    {"eacute", 233},
    {"ecirc", 234},
    {"euml", 235},
    {"igrave", 236},
    {"iacute", 237},
    {"icirc", 238},
    {"iuml", 239},
    {"eth", 240},
    {"ntilde", 241},
    {"ograve", 242},
    {"oacute", 243},
    {"ocirc", 244},
    {"otilde", 245},
    {"ouml", 246},
    {"divide", 247},
    {"oslash", 248},
    {"ugrave", 249},
    {"uacute", 250},
    {"ucirc", 251},
    {"uuml", 252},
    {"yacute", 253},
    {"thorn", 254},
    {"yuml", 255},
    // Mark-up characters.
    {"quot", 0x22},
    {"amp", 0x26},
    {"lt", 0x3C},
    {"gt", 0x3E},
    // The characters Windows-1252 places in 0x80 to 0x9F.
    {"OElig", 0x152},
    {"oelig", 0x153},
    {"Scaron", 0x160},
    {"scaron", 0x161},
    {"Yuml", 0x178},
    {"fnof", 0x192},
    {"circ", 0x2C6},
    {"tilde", 0x2DC},
    {"ndash", 0x2013},
    {"mdash", 0x2014},
    {"lsquo", 0x2018},
    {"rsquo", 0x2019},
    {"sbquo", 0x201A},
    {"ldquo", 0x201C},
    {"rdquo", 0x201D},
    {"bdquo", 0x201E},
    {"dagger", 0x2020},
    {"Dagger", 0x2021},
    {"bull", 0x2022},
    {"hellip", 0x2026},
    {"permil", 0x2030},
    {"lsaquo", 0x2039},
    {"rsaquo", 0x203A},
    {"euro", 0x20AC},
    {"trade", 0x2122},
};

}  // namespace

bool LookupEntity(const char* name, std::size_t length, unsigned char& byte) {
    if (length == 0 || length > kLongestName) return false;
    for (const NamedCharacter& e : kEntities) {
        if (std::strlen(e.name) == length && std::memcmp(e.name, name, length) == 0) {
            return cp1252::FromUnicode(e.codePoint, byte);
        }
    }
    return false;
}

}  // namespace tn::html
