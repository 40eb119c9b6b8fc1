#!/usr/bin/env bash
# Builds the libFuzzer targets (fuzz/*Fuzz.cpp, with clang, AddressSanitizer and
# UndefinedBehaviorSanitizer) and runs each one after the other on its seed corpus.
#
#   scripts/fuzz.sh                  each target for an hour (FUZZ_SECONDS to change it)
#   scripts/fuzz.sh --smoke          each target for a few seconds (the test run uses this)
#   scripts/fuzz.sh --runs N         each target for N executions (at most the time above)
#   scripts/fuzz.sh --seconds N      each target for N seconds
#   scripts/fuzz.sh --max-len N      inputs of at most N bytes (libFuzzer's default otherwise)
#   scripts/fuzz.sh --timeout N      an input that runs longer than N seconds is a finding
#   scripts/fuzz.sh ... NAME...      only these targets (DateTime, Markup, ...)
#
# New inputs go to build/fuzz/corpus/<Name>/ (the seeds in fuzz/corpus/ are not touched); a
# finding is written to build/fuzz/findings/ and the script fails.
set -euo pipefail
cd "$(dirname "$0")/.."

seconds=${FUZZ_SECONDS:-3600}
runs=""
max_len=""
timeout=""
names=()
while (($#)); do
  case $1 in
    --smoke) seconds=5 ;;
    --seconds) seconds=$2; shift ;;
    --runs) runs=$2; shift ;;
    --max-len) max_len=$2; shift ;;
    --timeout) timeout=$2; shift ;;
    -h|--help) sed -n '2,14p' "$0"; exit 0 ;;
    *) names+=("$1") ;;
  esac
  shift
done

if ! command -v clang++ >/dev/null; then
  echo "fuzz.sh: clang++ is missing (scripts/deps.sh installs it)" >&2
  exit 1
fi

dir=build/fuzz
launcher=()
if command -v ccache >/dev/null; then
  export CCACHE_BASEDIR=$PWD
  launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
fi
cmake -S . -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_CXX_COMPILER=clang++ "${launcher[@]}" \
  -DTN_BUILD_FUZZERS=ON -DTN_BUILD_TESTS=OFF -DTN_BUILD_TOOLS=OFF >/dev/null
cmake --build "$dir" -j "$(nproc)"

if ((${#names[@]} == 0)); then
  for source in fuzz/*Fuzz.cpp; do
    name=$(basename "$source" Fuzz.cpp)
    names+=("$name")
  done
fi

mkdir -p "$dir/findings"
export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1:abort_on_error=1}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}
for name in "${names[@]}"; do
  corpus="$dir/corpus/$name"
  mkdir -p "$corpus"
  seeds=()
  [ -d "fuzz/corpus/$name" ] && seeds=("fuzz/corpus/$name")
  limit=(-max_total_time="$seconds")
  [ -n "$runs" ] && limit+=(-runs="$runs")
  [ -n "$max_len" ] && limit+=(-max_len="$max_len")
  [ -n "$timeout" ] && limit+=(-timeout="$timeout")
  echo "== $name"
  log="$dir/$name.log"
  if ! nice -n 19 "$dir/fuzz/${name}Fuzz" "${limit[@]}" -print_final_stats=1 \
      -artifact_prefix="$dir/findings/$name-" "$corpus" "${seeds[@]}" >"$log" 2>&1; then
    tail -n 40 "$log" >&2
    echo "fuzz.sh: $name found a fault (input in $dir/findings/)" >&2
    exit 1
  fi
  grep -E "stat::number_of_executed_units" "$log" | sed "s/^/   /"
done
