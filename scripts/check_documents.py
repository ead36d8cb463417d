#!/usr/bin/env python3
"""Checks that the files and functions which docs/architecture.md names exist.

In its tables a file is a path in backquotes. A function is a name in backquotes in the same row;
one of the row's files has to contain it.
"""
import re
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
DOCUMENT = Path("docs/architecture.md")
QUOTED = re.compile(r"`([^`]+)`")


def is_path(name):
    return "/" in name and " " not in name and (ROOT / name.split("/")[0]).is_dir()


def faults_of(number, line):
    names = QUOTED.findall(line)
    paths = [name for name in names if is_path(name)]
    missing = [name for name in paths if not (ROOT / name).exists()]
    for name in missing:
        yield f"{DOCUMENT}:{number}: no such file: {name}"
    files = [ROOT / name for name in paths if (ROOT / name).is_file()]
    if not line.startswith("|") or not files:
        return
    text = "\n".join(file.read_text() for file in files)
    for name in names:
        function = name.split("::")[-1]
        if not is_path(name) and re.fullmatch(r"[A-Za-z_]\w+", function):
            if not re.search(rf"\b{function}\b", text):
                yield f"{DOCUMENT}:{number}: {name} is in none of this row's files"


def main():
    lines = (ROOT / DOCUMENT).read_text().splitlines()
    faults = [fault for number, line in enumerate(lines, 1) for fault in faults_of(number, line)]
    print("\n".join(faults), file=sys.stderr, end="\n" if faults else "")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
