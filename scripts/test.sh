#!/usr/bin/env bash
# Builds and runs the test suite. By default: the source checks (clang-format, the layer order
# of docs/design.md), then the whole suite on Linux in RelWithDebInfo (with the benchmarks and
# the installed-package consumer tests) and in Debug under AddressSanitizer and
# UndefinedBehaviorSanitizer. `--all` adds Release (-O3, where the optimiser's warnings show),
# Windows: the 64-bit DLL, tool and tests cross-compiled with MinGW-w64 and run under Wine, and
# the 32-bit DLL (the form existing host programs load) with its exports checked, and a short
# run of every fuzz target. Warnings are errors here (TN_WERROR).
set -euo pipefail
trap 'echo "test.sh: failed at line $LINENO" >&2' ERR
cd "$(dirname "$0")/.."
all=0
case "${1:-}" in
  --all) all=1 ;;
  "") ;;
  *) echo "usage: bash scripts/test.sh [--all]" >&2; exit 2 ;;
esac
bash scripts/deps.sh
jobs=$(nproc)
# A compiler cache, where the machine has one, makes a repeated run cheap; paths relative to the
# checkout let two clones share it. A machine without ccache builds from scratch.
launcher=()
if command -v ccache >/dev/null; then
  export CCACHE_BASEDIR=$PWD
  launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
fi
wine=/usr/lib/wine/wine64  # Debian's wine64 loader; not on PATH
wineserver=/usr/lib/wine/wineserver

# configure <build dir> <cmake options...>
configure() {
  local dir=$1
  shift
  cmake -S . -B "$dir" -G Ninja -DTN_WERROR=ON "${launcher[@]}" "$@" >/dev/null
}

# run_tests <build dir>: every test, in parallel, with the output of failures.
run_tests() {
  ctest --test-dir "$1" -j "$jobs" --output-on-failure --timeout 300
}

# A native build: configure, build everything, test.
native() {  # native <build dir> <cmake options...>
  configure "$@"
  cmake --build "$1" -j "$jobs"
  run_tests "$1"
}

# Windows, 64 bit: the test programs run under Wine in a prefix of their own below the build
# folder (created on first use, about half a minute). A persistent wineserver keeps the ~120
# short test processes from starting one each.
windows64() {
  local dir=build/windows64
  local prefix=$PWD/$dir/wine
  configure "$dir" -DCMAKE_TOOLCHAIN_FILE=cmake/mingw-w64.cmake -DCMAKE_BUILD_TYPE=Release \
    "-DCMAKE_CROSSCOMPILING_EMULATOR=env;WINEDEBUG=-all;WINEPREFIX=$prefix;$wine"
  cmake --build "$dir" -j "$jobs"
  bash scripts/check-exports.sh "$dir/bin/libtnpackage.dll"
  export WINEDEBUG=-all WINEPREFIX=$prefix WINEDLLOVERRIDES="mscoree,mshtml="
  if [ ! -f "$prefix/system.reg" ]; then
    "$wine" wineboot --init >/dev/null 2>&1 || true
  fi
  # Replace the server wineboot left behind (it would refuse a second one) by a persistent one.
  "$wineserver" -k 2>/dev/null || true
  "$wineserver" -w
  "$wineserver" -p
  trap '"$wineserver" -k 2>/dev/null || true' EXIT
  # Wine's helper processes (services, devices) live as long as the server; started here, they
  # do not hold on to the output pipe of the first test program, which ctest waits to close.
  "$wine" cmd /c exit </dev/null >/dev/null 2>&1 || true
  run_tests "$dir"
  "$wineserver" -k 2>/dev/null || true
  trap - EXIT
  unset WINEDEBUG WINEPREFIX WINEDLLOVERRIDES
}

# Windows, 32 bit: 32-bit Wine is not available here, so the DLL and the tool are built and the
# DLL's export table is checked.
windows32() {
  local dir=build/windows32
  configure "$dir" -DCMAKE_TOOLCHAIN_FILE=cmake/mingw-w64-i686.cmake -DCMAKE_BUILD_TYPE=Release \
    -DTN_BUILD_TESTS=OFF
  cmake --build "$dir" -j "$jobs"
  bash scripts/check-exports.sh "$dir/bin/libtnpackage.dll"
}

ran=()
step() {
  echo "== $* ($(date +%T))"
  ran+=("$*")
}

# The sources as committed: formatted, and no include against the layer order.
checks() {
  if git rev-parse --is-inside-work-tree >/dev/null 2>&1; then
    git ls-files -z '*.cpp' '*.h'
  else
    find src include tools tests bench fuzz \( -name '*.cpp' -o -name '*.h' \) -print0
  fi | xargs -0 clang-format --dry-run --Werror
  python3 scripts/check-layers.py
}

step "Source checks: clang-format, layer order"
checks
step "Linux, RelWithDebInfo, with benchmarks"
native build/test -DCMAKE_BUILD_TYPE=RelWithDebInfo -DTN_BUILD_BENCH=ON
# The CRCs once more with the portable path chosen at start-up, as on a processor without
# carry-less multiplication.
step "Linux, RelWithDebInfo, CRCs on the portable path"
TN_CRC_PORTABLE=1 ctest --test-dir build/test -j "$jobs" --output-on-failure -R 'CRC|Crc'
step "Linux, Debug, AddressSanitizer and UndefinedBehaviorSanitizer"
# Every tool process runs instrumented here: the random editing session takes fewer steps (its
# full length runs in the first stage).
ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
  TN_EDIT_SESSION_STEPS=12 native build/sanitize -DCMAKE_BUILD_TYPE=Debug -DTN_SANITIZE=ON
if ((all)); then
  step "Linux, Release"
  native build/release-check -DCMAKE_BUILD_TYPE=Release
  step "Windows, 64 bit, tests under Wine"
  windows64
  step "Windows, 32 bit, DLL and exports"
  windows32
  # A few seconds each under AddressSanitizer and UndefinedBehaviorSanitizer (scripts/fuzz.sh
  # runs them for longer).
  step "Fuzz targets, smoke run"
  bash scripts/fuzz.sh --smoke
fi
echo "all green; stages run:"
printf '  %s\n' "${ran[@]}"
if ((!all)); then
  echo "  (bash scripts/test.sh --all adds Release, Windows 64 and 32 bit, and the fuzz smoke run)"
fi
