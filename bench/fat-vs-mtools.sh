#!/usr/bin/env bash
# Side by side, tnpkg fat and mtools on the same images:
#   - extracting every file of a full 4 MiB FAT12 image and of a 64 MiB FAT16 image with
#     10,000 files in nested folders (tnpkg fat get --to vs mcopy -s),
#   - listing them (tnpkg fat ls -R vs mdir -/),
#   - checking the FAT16 one (tnpkg fat check vs fsck.fat -n),
#   - writing a folder of 500 small files (tnpkg fat put vs mcopy -s),
#   - removing a folder of 1,000 files (tnpkg fat rm -r vs mdeltree),
#   - writing one file of 1,000 and one of 4,000 clusters (their time ratio should stay below 5),
#   - putting one 1 KiB file into a 1 MiB FAT12 image and into a 1 GiB sparse FAT16 image: a
#     journaled write costs what it changes, so the two times stay within 1.5x of each other and
#     each within 2x of mcopy on the same image.
# It starts with one line per speed target: both times, the ratio and the target, where
#   - listing the 10,000 files (ls -R) takes at most a third of mdir -/'s time, with at most
#     twice its peak memory (resident set, /usr/bin/time),
#   - start-up (tnpkg --version, 100 runs in a row) takes no longer than mdir -V's,
#   - extracting either volume takes at most 1.15x the time tar -x takes to create the same
#     tree in the same file system (the floor of creating that many files), and no longer than
#     mcopy -s.
# Each timing is the best of three runs. Needs mkfs.fat, mtools and python3; builds tnpkg
# (RelWithDebInfo) in build/bench-fat unless TNPKG names a built one.
set -euo pipefail
cd "$(dirname "$0")/.."
export MTOOLS_SKIP_CHECK=1 LC_ALL=C.UTF-8 PATH="$PATH:/usr/sbin:/sbin"

if [[ -z "${TNPKG:-}" ]]; then
  cmake -S . -B build/bench-fat -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
        -DTN_BUILD_TESTS=OFF >/dev/null
  cmake --build build/bench-fat --target tnpkg >/dev/null
  TNPKG=build/bench-fat/tools/tnpkg/tnpkg
fi
WORK=$(mktemp -d)
trap 'rm -rf "$WORK"' EXIT

# Best wall-clock time of three runs of a command, in seconds; `prepare` runs before each.
best() {
  local prepare=$1; shift
  local best=""
  for _ in 1 2 3; do
    eval "$prepare"
    local start end
    start=$(date +%s.%N)
    "$@" >/dev/null 2>&1
    end=$(date +%s.%N)
    best=$(python3 -c "t=$end-$start; b='$best'; print(min(t, float(b)) if b else t)")
  done
  printf '%.6f' "$best"
}

# Peak resident memory of a command in KiB.
peak() {
  /usr/bin/time -f '%M' -o "$WORK/peak" "$@" >/dev/null 2>&1 || true
  tail -n 1 "$WORK/peak"
}

# A command run `n` times in a row, for times too short to measure one at a time.
repeat() {
  local n=$1; shift
  for ((i = 0; i < n; i++)); do "$@"; done
}

# One target: label, tnpkg value, other value, the other's name, the target as text and as a
# condition on r = other / tnpkg (for times: how many times faster tnpkg is).
target() {
  python3 -c "
t, o = $2, $3
r = o / t
met = $6
print(f'{\"$1\":<40} tnpkg {t:9.4f}  $4 {o:9.4f}  ratio {r:5.2f}  target $5: ' +
      ('met' if met else 'MISSED'))"
}

row() {  # label, tnpkg seconds, mtools seconds
  python3 -c "print(f'{\"$1\":<44} {$2:>8.3f} s {$3:>8.3f} s   x{$3/$2:5.1f}')"
}

python3 - "$WORK" <<'EOF'
import os, random, sys
work = sys.argv[1]
random.seed(11)
def tree(root, folders, per_folder, sizes):
    n = 0
    for a in range(folders[0]):
        for b in range(folders[1]):
            d = os.path.join(root, f"Ordner {a:02d}", f"Unterordner {b}")
            os.makedirs(d, exist_ok=True)
            for _ in range(per_folder):
                n += 1
                size = random.choice(sizes)
                with open(os.path.join(d, f"Datei mit langem Namen {n:05d}.txt"), "wb") as f:
                    f.write(bytes((i * 7 + n) % 256 for i in range(size)))
tree(os.path.join(work, "tree10k"), (20, 10), 50, [0, 1, 100, 511, 512, 513, 2000, 4096, 9000])
tree(os.path.join(work, "full"), (4, 4), 40, [3000, 7000, 12000, 20000])
many = os.path.join(work, "rm1000", "Tausend Dateien")
os.makedirs(many)
for i in range(1000):
    with open(os.path.join(many, f"Flug mit langem Namen {i:04d}.igc"), "wb") as f:
        f.write(bytes(random.randrange(256) for _ in range(random.randrange(1, 5000))))
small = os.path.join(work, "small500")
os.makedirs(small)
for i in range(500):
    with open(os.path.join(small, f"klein {i:03d}.txt"), "wb") as f:
        f.write(bytes(random.randrange(256) for _ in range(random.randrange(1, 3000))))
EOF

# A 4 MiB FAT12 filled until it has no room left, and a 64 MiB FAT16 with 10,000 files.
mkfs.fat -C -F 12 "$WORK/full12.img" 4096 >/dev/null
mcopy -s -i "$WORK/full12.img" "$WORK/full"/* ::/ >/dev/null 2>&1 || true
mkfs.fat -C -F 16 "$WORK/big16.img" 65536 >/dev/null
mcopy -s -i "$WORK/big16.img" "$WORK/tree10k"/* ::/

echo "Targets (times in seconds, memory in KiB; ratio = other / tnpkg)"
for image in big16 full12; do
  t=$(best "rm -rf '$WORK/out'" "$TNPKG" fat get "$WORK/$image.img" / --to "$WORK/out" --quiet)
  rm -f "$WORK/tree.tar"
  tar -cf "$WORK/tree.tar" -C "$WORK/out" .
  x=$(best "rm -rf '$WORK/tarout'; mkdir '$WORK/tarout'" tar -xf "$WORK/tree.tar" -C "$WORK/tarout")
  m=$(best "rm -rf '$WORK/out'; mkdir '$WORK/out'" mcopy -s -n -i "$WORK/$image.img" '::/*' "$WORK/out")
  target "get $image / tar -x" "$t" "$x" "tar -x" ">= 0.87 (1.15x)" "r >= 1 / 1.15"
  target "get $image / mcopy -s" "$t" "$m" "mcopy" ">= 1" "r >= 1"
done
rm -rf "$WORK/out" "$WORK/tarout" "$WORK/tree.tar"
t=$(best ":" "$TNPKG" fat ls -R "$WORK/big16.img")
m=$(best ":" mdir -/ -i "$WORK/big16.img" ::/)
target "ls -R big16 / mdir -/" "$t" "$m" "mdir  " ">= 3" "r >= 3"
t=$(peak "$TNPKG" fat ls -R "$WORK/big16.img")
m=$(peak mdir -/ -i "$WORK/big16.img" ::/)
target "ls -R big16 peak memory / mdir -/" "$t" "$m" "mdir  " ">= 0.5 (2x)" "r >= 0.5"
t=$(best ":" repeat 100 "$TNPKG" --version)
m=$(best ":" repeat 100 mdir -V)
target "start-up x100 (--version / mdir -V)" "$t" "$m" "mdir  " ">= 1" "r >= 1"
echo

echo "                                               tnpkg      mtools    tnpkg faster"
for image in full12 big16; do
  t=$(best "rm -rf '$WORK/out'" "$TNPKG" fat get "$WORK/$image.img" / --to "$WORK/out" --quiet)
  m=$(best "rm -rf '$WORK/out'; mkdir '$WORK/out'" mcopy -s -n -i "$WORK/$image.img" '::/*' "$WORK/out")
  row "extract all files of $image (get / mcopy -s)" "$t" "$m"
  t=$(best ":" "$TNPKG" fat ls -R "$WORK/$image.img")
  m=$(best ":" mdir -/ -i "$WORK/$image.img" ::/)
  row "list all of $image (ls -R / mdir -/)" "$t" "$m"
done
# Both only read the image; `best` ignores their exit status.
t=$(best ":" "$TNPKG" fat check "$WORK/big16.img")
m=$(best ":" fsck.fat -n "$WORK/big16.img")
row "check big16 (check / fsck.fat -n)" "$t" "$m"

t=$(best "mkfs.fat -C -F 12 '$WORK/put.img' 4096 >/dev/null 2>&1 || { rm -f '$WORK/put.img'; mkfs.fat -C -F 12 '$WORK/put.img' 4096 >/dev/null; }" \
    "$TNPKG" fat put "$WORK/put.img" "$WORK/small500" --quiet)
m=$(best "rm -f '$WORK/put.img'; mkfs.fat -C -F 12 '$WORK/put.img' 4096 >/dev/null" \
    mcopy -s -i "$WORK/put.img" "$WORK/small500" ::/)
row "write 500 small files (put / mcopy -s)" "$t" "$m"

# A folder of 1,000 files removed with everything in it; each run starts from a fresh copy.
mkfs.fat -C -F 16 "$WORK/rm.pristine" 16384 >/dev/null
mcopy -s -i "$WORK/rm.pristine" "$WORK/rm1000"/* ::/
fresh="cp '$WORK/rm.pristine' '$WORK/rm.img'"
t=$(best "$fresh" "$TNPKG" fat rm -r "$WORK/rm.img" "/Tausend Dateien")
m=$(best "$fresh" mdeltree -i "$WORK/rm.img" "::/Tausend Dateien")
row "remove a folder of 1,000 files (rm -r / mdeltree)" "$t" "$m"

# One sector per cluster: 1,000 and 4,000 clusters of 512 bytes in a 2 MiB FAT12.
head -c $((1000 * 512)) /dev/urandom >"$WORK/c1000.bin"
head -c $((4000 * 512)) /dev/urandom >"$WORK/c4000.bin"
for n in 1000 4000; do
  t=$(best "rm -f '$WORK/w.img'; mkfs.fat -C -F 12 -s 1 '$WORK/w.img' 2060 >/dev/null" \
      "$TNPKG" fat put "$WORK/w.img" "$WORK/c$n.bin")
  eval "w$n=$t"
  echo "write one file of $n clusters (tnpkg fat put): $t s"
done
python3 -c "print(f'ratio 4,000 / 1,000 clusters: {$w4000/$w1000:.2f} (must stay below 5)')"

# One 1 KiB file into a small and a large image; each run starts from a fresh copy of the image.
# tnpkg makes its change durable (the journal, its folder and the image are flushed to the disk)
# and mcopy does not, so the rows run on the disk and again in memory (/dev/shm), where a flush
# costs nothing: the difference between the two is the price of the flushes.
head -c 1024 /dev/urandom >"$WORK/one.bin"
mkfs.fat -C -F 12 "$WORK/small12.pristine" 1024 >/dev/null
truncate -s 1G "$WORK/sparse16.pristine"
mkfs.fat -F 16 "$WORK/sparse16.pristine" >/dev/null
SHM=$(mktemp -d /dev/shm/tnpkg-bench.XXXXXX)
trap 'rm -rf "$WORK" "$SHM"' EXIT
for place in disk memory; do
  folder=$WORK
  [[ $place == memory ]] && folder=$SHM
  for image in small12 sparse16; do
    fresh="cp --sparse=always '$WORK/$image.pristine' '$folder/$image.img'"
    t=$(best "$fresh" "$TNPKG" fat put "$folder/$image.img" "$WORK/one.bin" --quiet)
    m=$(best "$fresh" mcopy -i "$folder/$image.img" "$WORK/one.bin" ::/)
    eval "put_${place}_$image=$t"
    row "put 1 KiB into $image on $place (put / mcopy)" "$t" "$m"
    python3 -c "print(f'  target: tnpkg within 2x of mcopy: tnpkg takes {$t/$m:.2f}x its time')"
  done
  eval "small=\$put_${place}_small12 large=\$put_${place}_sparse16"
  python3 -c "print(f'put 1 KiB on $place, 1 GiB FAT16 against 1 MiB FAT12: {max($large,$small)/min($large,$small):.2f}x (target within 1.5x)')"
  rm -f "$SHM"/*.img
done
