#!/usr/bin/env bash
# Checks that a Windows DLL exports the package's public interface: every line of the list
# (default scripts/windows-exports.txt) must be a substring of at least one demangled name in
# the DLL's export table. Usage: check-exports.sh DLL [LIST]
# The binutils of the DLL's own target read it (x86_64-w64-mingw32-objdump for 64 bit,
# i686-w64-mingw32-objdump for 32 bit), chosen from the file's format.
set -euo pipefail
dll=$1
list=${2:-"$(dirname "$0")/windows-exports.txt"}

# The machine field of the PE header (at the offset stored at 0x3C, plus 4).
u32() { od -An -t u4 -j "$2" -N 4 "$1" | tr -d ' '; }
u16() { od -An -t x2 -j "$2" -N 2 "$1" | tr -d ' '; }
case "$(u16 "$dll" $(($(u32 "$dll" 60) + 4)))" in
  8664) triplet=x86_64-w64-mingw32 ;;
  014c) triplet=i686-w64-mingw32 ;;
  *) echo "check-exports: $dll is not a Windows DLL for x86" >&2; exit 2 ;;
esac

# The export table's names ("[ n] name" lines after "[Ordinal/Name Pointer] Table"), demangled.
# The i686 c++filt would strip a leading underscore (that target's C symbol prefix) and then
# fail to demangle, so it is told not to; a doubled underscore is reduced to one.
exports=$("$triplet-objdump" -p "$dll" |
  sed -n '/\[Ordinal\/Name Pointer\] Table/,/^$/p' |
  sed -n 's/^[[:space:]]*\[[[:space:]]*[0-9]*\][[:space:]]*//p' |
  sed "s/^__Z/_Z/" | "$triplet-c++filt" --no-strip-underscore)

count=$(grep -c . <<<"$exports" || true)
missing=0
while IFS= read -r name; do
  [[ -z "$name" || "$name" == \#* ]] && continue
  if ! grep -qF -- "$name" <<<"$exports"; then
    echo "check-exports: $dll does not export $name" >&2
    missing=$((missing + 1))
  fi
done <"$list"
if ((missing)); then
  exit 1
fi
echo "$(basename "$dll") ($triplet): $count exports, all $(grep -vc '^\(#\|$\)' "$list") expected names present"
