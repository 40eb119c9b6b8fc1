#!/usr/bin/env python3
"""Fails when an include in the library runs against its layer order (docs/design.md).

Each folder of src/ (and its public headers under include/tnpackage/) is a layer; a file may
include its own layer and the layers below. The edges the original's units already ran against
that order are listed by file and stay allowed; any other upward edge is reported.
"""
import pathlib
import re
import sys

ORDER = ["platform", "frame", "text", "time", "util", "crc", "persist", "geo", "storage", "flash"]

# The seams inside storage, in the same sense: a medium's sectors, the FAT volume on it, the PC's
# drives, files by drive letter.
STORAGE_ORDER = ["media", "fat", "drives", "vfile"]

# file (relative to the checkout) -> layers above its own that it may include
ALLOWED = {
    # The PC's volume labels come from udev in UTF-8 and leave the platform in Windows-1252.
    "src/platform/PlatformPosixDrives.cpp": {"text"},
    # The frame's globals, messages and language tables are TPString values.
    "include/tnpackage/frame/Globals.h": {"text"},
    "include/tnpackage/frame/Messages.h": {"text"},
    "include/tnpackage/frame/LanguageTables.h": {"text"},
    # String lists and tables are persistent objects, and strings save themselves as records.
    "include/tnpackage/text/TPStringList.h": {"persist"},
    "include/tnpackage/text/TPStringArray.h": {"persist"},
    "include/tnpackage/text/TPStringTable.h": {"persist"},
    "src/text/TPStringPersistence.cpp": {"persist"},
    # The standards unit's number texts and flight-file names use the float type and the clock.
    "include/tnpackage/text/Standards.h": {"util"},
    "src/text/StandardsMod36.cpp": {"time"},
    # Day counts use the package's time constants, which live with the other constants.
    "src/time/Clock.cpp": {"geo"},
    "src/time/TPDateTime.cpp": {"geo"},
    "src/time/TPDateTimeReaders.cpp": {"geo"},
    # The CRC check of a file on a volume, and the file manager's program copy into flash.
    "src/crc/TPCRCCheck.cpp": {"storage"},
    "src/storage/vfile/TPDateiManager.cpp": {"flash"},
}

INCLUDE = re.compile(r'^\s*#\s*include\s*[<"](?:tnpackage/)?([a-z]+)/')
STORAGE_INCLUDE = re.compile(r'^\s*#\s*include\s*"storage/([a-z]+)/')


def layer_of(path: pathlib.Path) -> str | None:
    parts = path.parts
    if parts[0] == "src" and len(parts) > 2:
        return parts[1]
    if parts[:2] == ("include", "tnpackage") and len(parts) > 3:
        return parts[2]
    return None


def storage_seam_of(path: pathlib.Path) -> str | None:
    parts = path.parts
    if parts[:2] == ("src", "storage") and len(parts) > 3:
        return parts[2]
    return None


def storage_problems(rel: pathlib.Path, lines: list[str]) -> list[str]:
    own = storage_seam_of(rel)
    if own not in STORAGE_ORDER:
        return []
    problems = []
    for number, line in enumerate(lines, 1):
        match = STORAGE_INCLUDE.match(line)
        if match and match.group(1) in STORAGE_ORDER:
            if STORAGE_ORDER.index(match.group(1)) > STORAGE_ORDER.index(own):
                problems.append(f"{rel}:{number}: storage/{own} includes storage/{match.group(1)}, a seam above it")
    return problems


def main() -> int:
    root = pathlib.Path(__file__).resolve().parent.parent
    problems = []
    files = [p for d in ("src", "include") for p in (root / d).rglob("*") if p.suffix in (".h", ".cpp")]
    for path in sorted(files):
        rel = path.relative_to(root)
        own = layer_of(rel)
        if own not in ORDER:
            continue
        allowed = ALLOWED.get(rel.as_posix(), set())
        lines = path.read_text(encoding="latin-1").splitlines()
        problems += storage_problems(rel, lines)
        for number, line in enumerate(lines, 1):
            match = INCLUDE.match(line)
            if not match or match.group(1) not in ORDER:
                continue
            target = match.group(1)
            if ORDER.index(target) > ORDER.index(own) and target not in allowed:
                problems.append(f"{rel}:{number}: {own} includes {target}, a layer above it")
    for problem in problems:
        print(problem, file=sys.stderr)
    if problems:
        print("check-layers: see docs/design.md for the order", file=sys.stderr)
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
