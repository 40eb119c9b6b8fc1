// A strict UTF-8 decoder over NUL-terminated text. Malformed input (a stray continuation byte, a
// sequence cut short, an overlong form, a surrogate, a value above U+10FFFF) yields one
// replacement for each maximal ill-formed piece, as the Unicode standard recommends, and the
// decoder never reads past the terminating NUL.
#pragma once

namespace tn::utf8 {

/// Decodes the next character at `p` and advances `p` past it. Returns false for an ill-formed
/// piece (skipped as a whole); `codePoint` is then unset. Must not be called at the NUL.
bool Next(const char*& p, char32_t& codePoint);

}  // namespace tn::utf8
