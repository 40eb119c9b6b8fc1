// Free functions of the character-set and mark-up conversions; the member forms are part of
// TPString (Ansi2OEM, OEM2Ansi, Ansi2Uml, UmlautCodierung, Ansi2HTML, HTMLCodierung,
// HTMLDecodierung2, UTF8toAscii, UTF8toHTML).
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
