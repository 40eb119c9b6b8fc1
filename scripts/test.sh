#!/usr/bin/env bash
# Builds and runs the whole test suite twice: a normal build (with the benchmarks compiled and
# the installed-package consumer test) and a build under AddressSanitizer and
# UndefinedBehaviorSanitizer. First, the library and the tool are cross-compiled for Windows, so
# that the Windows platform layer keeps building.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/deps.sh
jobs=$(nproc)

run() {  # run <build dir> <cmake options...>
  local dir=$1; shift
  cmake -S . -B "$dir" -G Ninja "$@" >/dev/null
  cmake --build "$dir" -j "$jobs"
  ctest --test-dir "$dir" -j "$jobs" --output-on-failure --timeout 300
}

cmake -S . -B build/mingw -G Ninja -DCMAKE_TOOLCHAIN_FILE=cmake/mingw-w64.cmake \
  -DCMAKE_BUILD_TYPE=Release -DTN_BUILD_TESTS=OFF >/dev/null
cmake --build build/mingw -j "$jobs"
echo "Windows cross-build: ok"

run build/test -DCMAKE_BUILD_TYPE=RelWithDebInfo -DTN_BUILD_BENCH=ON
ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
  run build/sanitize -DCMAKE_BUILD_TYPE=Debug -DTN_SANITIZE=ON

# Fuzz targets: a few seconds each under AddressSanitizer and UndefinedBehaviorSanitizer
# (scripts/fuzz.sh runs them for longer).
bash scripts/fuzz.sh --smoke
