#!/usr/bin/env python3
"""The repository's own rules, as far as a program can see them."""
import re
import subprocess
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
MAX_LINES = 500
CODE = {".c", ".h", ".cpp"}
# Inputs of the fuzzers: bytes, not text.
BYTES = "fuzz/corpus/"


def listed_files():
    listed = subprocess.run(["git", "ls-files", "--cached", "--others", "--exclude-standard"],
                            cwd=ROOT, check=True, capture_output=True, text=True)
    return [Path(line) for line in listed.stdout.splitlines()
            if (ROOT / line).is_file() and not line.startswith(BYTES)]


def faults_of(path):
    data = (ROOT / path).read_bytes()
    if b"\0" in data:
        return
    text = data.decode("utf-8", errors="replace")
    lines = text.splitlines()
    if text and not text.endswith("\n"):
        yield f"{path}: the last line has no end"
    for number, line in enumerate(lines, 1):
        if line.rstrip() != line:
            yield f"{path}:{number}: space at the end of the line"
        if "\t" in line and path.suffix != ".png" and path.name != "rules":
            yield f"{path}:{number}: a tab"
        if re.search(r"\b(TODO|FIXME|XXX)\b", line) and path.name != "check_repository.py":
            yield f"{path}:{number}: unfinished work belongs in an issue"
    if path.suffix in CODE:
        if len(lines) > MAX_LINES and path.name != "orvik.h":
            yield f"{path}: {len(lines)} lines; more than {MAX_LINES} want a second file"
        if not lines or "SPDX-License-Identifier: MIT" not in lines[0]:
            yield f"{path}: the first line does not name the licence"
        if path.suffix == ".h" and path.parts[0] != "include" and "#pragma once" not in text:
            yield f"{path}: no #pragma once"


def main():
    faults = [fault for path in listed_files() for fault in faults_of(path)]
    print("\n".join(faults), file=sys.stderr, end="\n" if faults else "")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
