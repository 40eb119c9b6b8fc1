#!/usr/bin/env bash
# Installs what the build and the tests need, from Debian's packages, when it is missing.
set -euo pipefail

packages=(cmake ninja-build g++ pkg-config libgtest-dev libbenchmark-dev
          python3 geographiclib-tools libboost-dev mtools dosfstools
          fdisk g++-mingw-w64-x86-64-posix g++-mingw-w64-i686-posix googletest wine64)
packages+=(clang libclang-rt-dev)  # the fuzz targets (scripts/fuzz.sh)
packages+=(ccache clang-format)  # repeated builds reuse their objects; the format check
missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if ((${#missing[@]})); then
  echo "installing: ${missing[*]}" >&2
  SUDO=""
  [ "$(id -u)" -ne 0 ] && SUDO="sudo"
  $SUDO apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
fi
