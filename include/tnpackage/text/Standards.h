// Text helpers shared by the flight-file and file-name code: base-36 digits, the IGC short file
// name, number formatting, padding, trimming and path macros.
#pragma once

#include <tnpackage/Export.h>
#include <tnpackage/text/TPString.h>
#include <tnpackage/util/zkFloat.h>

namespace tn {

// ---- base-36 digits and IGC short file names ----------------------------------------------------

/// "0".."9" for 0..9, "A".."Z" for 10..35, "_" for anything else.
TN_EXPORT char Mod36Char(char value);
/// "0" + value, without a range check: 10 gives ":", the character after "9".
TN_EXPORT char TimeChar(char value);
/// Base-36 value of the whole text; lower case counts as upper case, no character is rejected.
TN_EXPORT int Mod36ToInt(TPString text);
/// Base-36 text of `value`, at most five digits, padded on the left with "0" to `width`.
TN_EXPORT TPString IntToMod36(int value, int width);
/// Today's IGC short file name: date (3), manufacturer (1), serial (3), flight (1), ".IGC".
TN_EXPORT TPString IGCName(int serial, int flight);
/// A digit's value, a letter's base-36 value (either case, "A" = 10), anything else 0.
TN_EXPORT int IGCToInt(char c);
/// Base-36 value of the first three characters; 0 for an empty text.
TN_EXPORT int IGCToInt(TPString text);

// ---- numbers as text ----------------------------------------------------------------------------

/// Decimal text.
TN_EXPORT TPString zkIntToStr(int value);
/// Upper-case hexadecimal text of at least `digits` digits (at most 255); a negative value is
/// written as its 32-bit two's complement, so zkIntToHex(-28, 2) is "FFFFFFE4".
TN_EXPORT TPString zkIntToHex(int value, int digits);

/// Formats a number by a format text:
///  - "0" is a digit that is always written, "#" one that is written only when significant;
///  - the first "." starts the decimal places: as many as there are "0" and "#" after it, the
///    "#" ones dropped again when they are trailing zeros; the decimal point written is
///    zkDecimalSeparator;
///  - a "," among the integer placeholders groups the integer digits by three, with "," (or
///    "." while zkDecimalSeparator is ",");
///  - text in front of the first and behind the last placeholder is copied as it is (a "."
///    right in front of the first placeholder is the point, as in ".00"); a format without
///    any placeholder is all such text, followed by the significant integer digits.
/// The value is taken to 15 significant digits (what a double holds reliably) and rounded half
/// away from zero; a result that rounds to zero carries no minus sign. An empty format gives the
/// value with up to 15 significant digits; NaN and infinities give "NAN", "INF" and "-INF".
/// Examples: "0" -> "3" for 2.5; "#,##0.00" -> "1,234,567.89"; "0.0#" -> "1.5" for 1.5.
TN_EXPORT TPString zkFormatFloat(TPString format, zkFloat value);
/// The same format language for a double.
TN_EXPORT TPString MeinFormat(TPString format, double value);

// ---- padding, trimming, characters --------------------------------------------------------------

/// `n` copies of `c` (nothing for n below 1).
TN_EXPORT TPString StringOfChar(char c, int n);
/// `s` in a left-aligned field of `n` characters (see TPString::Left).
TN_EXPORT TPString LeftString(TPString s, int n);
/// `s` in a right-aligned field of `n` characters (see TPString::Right).
TN_EXPORT TPString RightString(TPString s, int n);
/// As TPString::Trim.
TN_EXPORT TPString Trim(TPString s);
/// `s` with every `from` replaced by `to`.
TN_EXPORT TPString ChangeChar(TPString s, char from, char to);

// ---- user messages, files and paths -------------------------------------------------------------

/// Shows a message to the user. The host that has set OnWarning takes over every user message,
/// so the text goes to that hook as it is; otherwise an information box shows it. WrnEnabled is
/// not consulted: this is a message the program asked for, not a warning.
TN_EXPORT void zkShowMessage(TPString text);
/// Whether a file (not a folder) of that name exists on the PC.
TN_EXPORT bool zkFileExists(TPString name);
/// Expands the path macros:
///  - "$(ZKS)" (with its following "\" or "/") becomes ProgramDir, with a path separator added
///    when ProgramDir does not end in one;
///  - "%NAME%" becomes the value of the environment variable NAME (letters, digits, "_", "(" and
///    ")" make a name);
///  - an unknown "$(...)" macro or an unset variable is left as it is and reported through
///    Warning; any other text, a lone "%" included, stays unchanged.
/// On POSIX every "\" of the result becomes "/".
TN_EXPORT TPString PfadErweiterung(TPString path);

}  // namespace tn
