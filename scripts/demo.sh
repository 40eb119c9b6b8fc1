#!/usr/bin/env bash
# Builds the tool and runs it on its built-in example.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/deps.sh
cmake -S . -B build/release -G Ninja -DCMAKE_BUILD_TYPE=Release -DTN_BUILD_TESTS=OFF >/dev/null
cmake --build build/release --target tnpkg >/dev/null
./build/release/tools/tnpkg/tnpkg demo "$@"
