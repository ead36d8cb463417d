#!/usr/bin/env python3
"""clang-tidy over the sources of the library, the virtual camera and the tools.

usage: tidy.py BUILD_FOLDER [FILE...]

Without files, all. A file that passed is looked at again once it, a header of ours that it includes,
or .clang-tidy has changed; BUILD_FOLDER/tidy-passed remembers.
"""
import hashlib
import json
import os
import re
import subprocess
import sys
import time
from concurrent.futures import ThreadPoolExecutor, as_completed
from functools import lru_cache
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
CHECKED = ("src/", "sim/", "imaging/", "tools/", "integrations/")
INCLUDE = re.compile(rb'^\s*#\s*include\s*"([^"]+)"', re.MULTILINE)


@lru_cache(maxsize=None)
def included_by(path):
    """The file itself and all of ours that it includes, however deep."""
    found, waiting = set(), [path]
    while waiting:
        current = waiting.pop()
        if current in found:
            continue
        found.add(current)
        for name in INCLUDE.findall(current.read_bytes()):
            name = name.decode()
            for base in (current.parent, ROOT / "src", ROOT / "include", ROOT):
                if (base / name).is_file():
                    waiting.append((base / name).resolve())
                    break
    return sorted(found)


def key_of(path, command):
    key = hashlib.sha256((ROOT / ".clang-tidy").read_bytes() + command.encode())
    for file in included_by(path):
        key.update(str(file.relative_to(ROOT)).encode() + b"\0" + file.read_bytes())
    return key.hexdigest()


def check(build, path):
    """The findings, or an empty text."""
    run = subprocess.run(["clang-tidy-14", "--quiet", "--warnings-as-errors=*", "-p", build, path],
                         cwd=ROOT, capture_output=True, text=True, check=False)
    return run.stdout + run.stderr if run.returncode else ""


def main():
    build = Path(sys.argv[1]).resolve()
    only = {Path(name).resolve() for name in sys.argv[2:]}
    commands = {}
    for entry in json.loads((build / "compile_commands.json").read_text()):
        path = Path(entry["file"]).resolve()
        if path.is_relative_to(ROOT) and str(path.relative_to(ROOT)).startswith(CHECKED):
            commands[path] = entry["command"]
    keys = {path: key_of(path, command) for path, command in commands.items()
            if path.suffix == ".cpp" and (not only or path in only)}

    memory = build / "tidy-passed"
    passed = set(memory.read_text().split()) if memory.exists() else set()
    waiting = [path for path, key in keys.items() if key not in passed]
    start, failed = time.monotonic(), 0
    with ThreadPoolExecutor(os.cpu_count()) as pool, memory.open("a", encoding="utf-8") as notes:
        jobs = {pool.submit(check, build, path): path for path in waiting}
        for job in as_completed(jobs):
            if job.result():
                failed += 1
                print(job.result(), end="", flush=True)
            else:
                print(keys[jobs[job]], file=notes, flush=True)
    print(f"clang-tidy: {len(waiting)} of {len(keys)} files looked at in "
          f"{time.monotonic() - start:.0f} s, {failed} with findings")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
