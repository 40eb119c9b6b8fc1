#!/usr/bin/env bash
# Builds the libFuzzer programs (fuzz/*Fuzz.cpp) with clang, AddressSanitizer and
# UndefinedBehaviorSanitizer, and runs each for a while on a working copy of its seed corpus.
# Usage: fuzz.sh [SECONDS per target, default 60] [NAME...]  (NAME as in fuzz/<NAME>Fuzz.cpp)
# Runs at the lowest priority: the machine is shared. Crashes land in build/fuzz/findings/.
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-60}
shift || true
dir=build/fuzz
cmake -S . -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_CXX_COMPILER=clang++ \
  -DTN_BUILD_FUZZERS=ON -DTN_BUILD_TESTS=OFF -DTN_BUILD_TOOLS=OFF >/dev/null
cmake --build "$dir" -j "$(nproc)"

names=("$@")
if ((${#names[@]} == 0)); then
  for f in fuzz/*Fuzz.cpp; do
    [ -e "$f" ] || continue
    n=$(basename "$f" .cpp)
    names+=("${n%Fuzz}")
  done
fi
if ((${#names[@]} == 0)); then
  echo "no fuzz targets (fuzz/*Fuzz.cpp)"
  exit 0
fi
mkdir -p "$dir/findings"
for name in "${names[@]}"; do
  work="$dir/corpus/$name"
  mkdir -p "$work"
  seeds=()
  [ -d "fuzz/corpus/$name" ] && seeds=("fuzz/corpus/$name")
  echo "== $name: $seconds s"
  log="$dir/findings/$name.log"
  # The first corpus folder receives new inputs; the seeds stay untouched.
  status=0
  nice -n 19 "$dir/fuzz/${name}Fuzz" -max_total_time="$seconds" -print_final_stats=1 \
    -artifact_prefix="$dir/findings/$name-" "$work" "${seeds[@]}" >"$log" 2>&1 || status=$?
  grep -E "^stat::(number_of_executed_units|peak_rss_mb)" "$log" || true
  if ((status)); then
    grep -E "ERROR|SUMMARY|artifact" "$log" >&2 || true
    echo "$name: failed (exit $status); log and input in $dir/findings/" >&2
    exit 1
  fi
done
