// Free functions of the character-set and mark-up conversions; the member forms are part of
// TPString (Ansi2OEM, OEM2Ansi, Ansi2Uml, UmlautCodierung, Ansi2HTML, HTMLCodierung,
// HTMLDecodierung2, UTF8toAscii, UTF8toHTML).
//
// The UTF-8 members read strictly: an ill-formed piece (a stray continuation byte, a sequence
// cut short, an overlong form, a surrogate, a value above U+10FFFF) becomes one "?" per
// maximal piece, as the Unicode standard recommends, and nothing past the text's end is read.
//  - UTF8toAscii(): every character Windows-1252 has becomes its byte, any other one "?".
//  - UTF8toHTML(mode): `mode` is a set of flags. Without flag 2 the German letters and the
//    degree sign become the references of Ansi2HTML ("&#228;"), other characters
//    Windows-1252 has their byte, the rest decimal references ("&#8594;"); with flag 2 every
//    character beyond ASCII is a decimal reference (pure ASCII). Flag 1 also escapes "&", "<"
//    and ">" as Ansi2HTML(true) does. Other flags are ignored. So 0 suits text for a
//    Windows-1252 page, 3 text for a page of any encoding.
#pragma once

#include <tnpackage/Export.h>
#include <tnpackage/text/TPString.h>

namespace tn {

/// The German letters spelled in ASCII ("Ae", "oe", "ss" ...), like TPString::Ansi2Uml but
/// without its 1024-byte work buffer, so any length is converted.
TN_EXPORT TPString KeinUmlaut(TPString text);

/// TPString::Ansi2HTML of `text`.
TN_EXPORT TPString Ansi2HTML(TPString text, bool markup);

/// Copies `source` to `target`, replacing each character reference by its Windows-1252
/// character:
///  - every named reference of HTML 4 whose character Windows-1252 has ("&auml;", "&szlig;",
///    "&eacute;", "&euro;", "&amp;" ...), names being case-sensitive; "&nbsp;" becomes a blank;
///  - decimal "&#228;" and hexadecimal "&#xE4;" references; 128 to 159 are read as the
///    Windows-1252 bytes of that value, as browsers do;
///  - a reference without its ";", with an unknown name, or to a character that Windows-1252
///    lacks (or to NUL) is copied unchanged.
/// The result is never longer than the source, so `target` needs the source's length plus one
/// byte, and it may be `source` itself.
TN_EXPORT void HTMLDecodierung2(const char* source, char* target);

}  // namespace tn
