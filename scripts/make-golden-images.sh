#!/bin/bash
# Makes the FAT images the storage tests read where mkfs.fat and mtools cannot run (Windows):
# each is formatted by mkfs.fat, filled by mtools, checked by fsck.fat -n, and stored in
# tests/data/fat/ as NAME.img.txt (the non-zero 512-byte blocks as hex) with NAME.list (every
# folder and file as mdir and mcopy see them: size and CRC-32).
#
# The volume id and every time stamp are fixed, so a rerun gives the same bytes:
#   bash scripts/make-golden-images.sh && git diff --stat tests/data/fat
set -euo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
out=$root/tests/data/fat
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

export SOURCE_DATE_EPOCH=1262347200  # 2010-01-01 12:00:00 UTC, for mkfs.fat and mtools
export MTOOLS_SKIP_CHECK=1 LC_ALL=C.UTF-8 TZ=UTC
volume_id=7E57DA7A

for tool in mkfs.fat fsck.fat mcopy mmd mdel mdir python3; do
  command -v "$tool" >/dev/null || { echo "missing: $tool" >&2; exit 1; }
done

# Writes a host tree with deterministic content. Arguments: folder, then "path size seed"
# lines on standard input ("path/" for an empty folder, size "marks:CLUSTER" for a file of
# zeros carrying its cluster index at the start of every cluster).
make_tree() {
  python3 -c "$(
    cat <<'PY'
import os, sys
base = sys.argv[1]
def pattern(size, seed):
    x = (seed * 2654435761 + 1) & 0xFFFFFFFF
    out = bytearray(size)
    for i in range(size):
        x = (x * 1103515245 + 12345) & 0xFFFFFFFF
        out[i] = (x >> 23) & 0xFF
    return bytes(out)
for line in sys.stdin:
    line = line.rstrip("\n")
    if not line:
        continue
    path, size, seed = line.rsplit(" ", 2)
    host = os.path.join(base, path.lstrip("/"))
    if path.endswith("/"):
        os.makedirs(host, exist_ok=True)
        continue
    os.makedirs(os.path.dirname(host), exist_ok=True)
    if size.startswith("marks:"):
        cluster = int(size.split(":")[1])
        count = int(seed)
        data = bytearray(cluster * count)
        for i in range(count):
            data[i * cluster:i * cluster + 8] = b"C%06d\n" % i
        data = bytes(data)
    else:
        data = pattern(int(size), int(seed))
    with open(host, "wb") as f:
        f.write(data)
PY
  )" "$1"
  find "$1" -exec touch -h -d "@$SOURCE_DATE_EPOCH" {} +
}

# Copies a host tree into the image root.
put_tree() {
  (cd "$2" && mcopy -s -m -o -i "$1" ./* ::/)
}

# The common tree: nested folders, long, lower-case and umlaut names, empty files, sizes around
# sector and cluster bounds, a folder of more than one cluster, and a hole a deleted file left.
fill_common() {
  local image=$1 cluster=$2 stage=$work/stage.$(basename "$1") i
  {
    echo "/readme.txt 21 0"
    echo "/EMPTY.DAT 0 0"
    echo "/ONE.BIN 1 1"
    echo "/Thirteen.abc 511 1"
    echo "/Fourteen.abcd 512 2"
    echo "/Ordner/Größe Übersicht.txt 513 3"
    echo "/Ordner/gone.txt 700 8"
    echo "/Ordner/cluster.bin $cluster 4"
    echo "/Ordner/cluster+1.bin $((cluster + 1)) 5"
    echo "/Ordner/Unterordner mit langem Namen/TIEF/many clusters.bin $((cluster * 2 + 17)) 6"
    echo "/Ordner/Leerer Ordner/ 0 0"
    for i in $(seq 0 39); do echo "/LEER/file number $i.txt $((i * 7)) $i"; done
  } | make_tree "$stage"
  put_tree "$image" "$stage"
  mdel -i "$image" "::/Ordner/gone.txt"
  make_tree "$stage.2" <<<"/after delete.txt 100 7"
  mcopy -m -i "$image" "$stage.2/after delete.txt" "::/Ordner/"
}

# FAT12 at 4,084 data clusters: FILL.BIN up to cluster 0xFE0, a hole (deleted GAP.BIN) up to
# 0xFEF, TAIL.BIN in 0xFF0 and 0xFF1 and the second cluster of folder F in 0xFF2.
fill_near_limit() {
  local image=$1 cluster=$2 stage=$work/near name i
  mmd -i "$image" ::/F
  {
    echo "/FILL.BIN marks:$cluster $((0xFE1 - 3))"
    echo "/GAP.BIN marks:$cluster $((0xFF0 - 0xFE1))"
    echo "/TAIL.BIN $((cluster + cluster / 2)) 3"
  } | make_tree "$stage"
  for name in FILL.BIN GAP.BIN TAIL.BIN; do mcopy -m -i "$image" "$stage/$name" ::/; done
  mkdir -p "$stage/F"
  for i in $(seq 100 $((100 + cluster / 32 - 2))); do : >"$stage/F/E$i"; done
  touch -d "@$SOURCE_DATE_EPOCH" "$stage"/F/*
  (cd "$stage/F" && mcopy -m -i "$image" ./* ::/F/)
  mdel -i "$image" ::/GAP.BIN
}

# NAME.list from mdir and mcopy: "D<TAB>/path/" or "F<TAB>size<TAB>crc32<TAB>/path".
write_listing() {
  local image=$1 list=$2 extract=$work/extract
  rm -rf "$extract" && mkdir -p "$extract"
  # An empty volume has nothing to copy; a file missing here fails the listing below.
  mcopy -s -n -i "$image" '::*' "$extract/" 2>/dev/null || true
  { mdir -/ -b -i "$image" :: 2>/dev/null || true; } | sed -n 's/^:://p' | LC_ALL=C sort |
    python3 -c '
import sys, zlib
extract, out = sys.argv[1], sys.argv[2]
with open(out, "w", encoding="utf-8", newline="\n") as o:
    o.write("# kind, size, CRC-32, path (UTF-8), as mdir and mcopy read the image\n")
    for path in sys.stdin.read().splitlines():
        if path.endswith("/"):
            o.write("D\t" + path + "\n")
        else:
            data = open(extract + path, "rb").read()
            o.write("F\t%d\t%08x\t%s\n" % (len(data), zlib.crc32(data), path))
' "$extract" "$list"
}

# NAME.img.txt: "size BYTES", then one line per 512-byte block holding anything but zeros:
# its offset and its bytes as hex up to the last non-zero one.
write_sparse() {
  python3 - "$1" "$2" "$3" <<'PY'
import sys
image, out, how = sys.argv[1], sys.argv[2], sys.argv[3]
data = open(image, "rb").read()
with open(out, "w", newline="\n") as o:
    o.write("# " + how + "\n")
    o.write("size %d\n" % len(data))
    for at in range(0, len(data), 512):
        block = data[at:at + 512].rstrip(b"\0")
        if block:
            o.write("%d %s\n" % (at, block.hex()))
PY
}

# name, mkfs.fat options, KiB, filler
images=(
  "fat12-floppy|-F 12 -S 512 -s 1|1440|common"
  "fat12-2048|-F 12 -S 2048 -s 4|8192|common"
  "fat12-near-limit|-a -F 12 -S 1024 -s 1|4113|near"
  "fat16-512|-F 16 -S 512 -s 4|16384|common"
  "fat16-2048|-F 16 -S 2048 -s 1|10240|common"
)

# Fresh volumes as mkfs.fat makes them, for the tests that need nothing else
# (tests/support/FatImages.h, BlankGoldenName): KiB, mkfs.fat options.
blanks=(
  "256|-F 12 -S 512 -s 1"
  "1440|-F 12 -S 512 -s 1"
  "2048|-F 12 -S 1024 -s 1"
  "16384|-F 16 -S 512 -s 4"
  "10240|-F 16 -S 2048 -s 1"
  "8192|-F 12 -S 512 -s 4"
)
for tree in "${blanks[@]}"; do
  IFS='|' read -r kib options <<<"$tree"
  images+=("blank-${kib}_${options// /_}|$options|$kib|none")
done

mkdir -p "$out"
for tree in "${images[@]}"; do
  IFS='|' read -r name options kib filler <<<"$tree"
  image=$work/$name.img
  # shellcheck disable=SC2086  # the options are words
  mkfs.fat -C -i "$volume_id" $options "$image" "$kib" >/dev/null
  cluster=$(python3 -c 'import sys; b=open(sys.argv[1],"rb").read(14); print((b[11]|b[12]<<8)*b[13])' "$image")
  case $filler in
    common) fill_common "$image" "$cluster" ;;
    near) fill_near_limit "$image" "$cluster" ;;
  esac
  fsck.fat -n "$image" >/dev/null
  write_sparse "$image" "$out/$name.img.txt" "mkfs.fat $options ($kib KiB), filled by mtools"
  write_listing "$image" "$out/$name.list"
  echo "$name: $(wc -c <"$out/$name.img.txt") bytes, $(($(wc -l <"$out/$name.list") - 1)) entries"
done
