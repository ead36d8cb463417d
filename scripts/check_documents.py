#!/usr/bin/env python3
"""Checks that the files and functions which the documents name exist.

A file is a path in backquotes, in any document, unless it begins with a slash: that would be one of
the machine, or of a web server. A function is a name in backquotes in a table of
docs/architecture.md; one of the files that its row names has to contain it.
"""
import re
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
DOCUMENTS = [Path("README.md"),
             *sorted(path.relative_to(ROOT) for path in (ROOT / "docs").glob("*.md"))]
WITH_FUNCTIONS = Path("docs/architecture.md")
QUOTED = re.compile(r"`([^`]+)`")


def is_path(name):
    top = name.split("/")[0]
    return "/" in name and " " not in name and top not in ("", "build") and (ROOT / top).is_dir()


def faults_of(document, number, line):
    names = QUOTED.findall(line)
    paths = [name for name in names if is_path(name)]
    missing = [name for name in paths if not list(ROOT.glob(name))]
    for name in missing:
        yield f"{document}:{number}: no such file: {name}"
    files = [ROOT / name for name in paths if (ROOT / name).is_file()]
    if document != WITH_FUNCTIONS or not line.startswith("|") or not files:
        return
    text = "\n".join(file.read_text() for file in files)
    for name in names:
        function = name.split("::")[-1]
        if not is_path(name) and re.fullmatch(r"[A-Za-z_]\w+", function):
            if not re.search(rf"\b{function}\b", text):
                yield f"{document}:{number}: {name} is in none of this row's files"


def main():
    faults = []
    for document in DOCUMENTS:
        for number, line in enumerate((ROOT / document).read_text().splitlines(), 1):
            faults += faults_of(document, number, line)
    print("\n".join(faults), file=sys.stderr, end="\n" if faults else "")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
