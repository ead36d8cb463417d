#!/usr/bin/env python3
"""Measures how much memory a camera needs, for each model and state, and prints the tables.

usage: bench_memory.py BUILD [MODEL...]

Each measurement runs in a process of its own (bench/memory_states.h says what is counted).
"""
import os
import subprocess
import sys
import tempfile
from pathlib import Path

STATES = ["query", "open", "video8", "video16", "late", "snapshot", "stopped"]
VIRTUAL_STATES = ["video16", "snapshot"]
MEGA = 1e6


def measure(program, model, *state):
    """@return bytes and bytes of a frame, or None if the model does not have the state"""
    with tempfile.TemporaryDirectory() as folder:
        done = subprocess.run([program, model, *state], capture_output=True, text=True, check=False,
                              env={**os.environ, "XDG_CONFIG_HOME": folder})
    if done.returncode != 0:
        return None
    return tuple(int(word) for word in done.stdout.split())


def cell(measured):
    if measured is None:
        return "-"
    used, frame = measured
    return f"{used / MEGA:.1f} ({used / frame:.2f})"


def print_table(title, states, rows):
    print(f"{title}\n")
    print("| Model | frame, MB | " + " | ".join(states) + " |")
    print("|---" * (len(states) + 2) + "|")
    for model, measured in rows:
        largest = max((each[1] for each in measured if each), default=0)
        cells = " | ".join(cell(each) for each in measured)
        print(f"| {model} | {largest / MEGA:.1f} | {cells} |")
    print()


def main():
    if len(sys.argv) < 2:
        print(__doc__, file=sys.stderr)
        return 2
    build = Path(sys.argv[1]).resolve()
    program = build / "bench" / "orvik_memory"
    known = subprocess.run([program, "models"], capture_output=True, text=True,
                           check=True).stdout.split()
    models = sys.argv[2:] or known
    strangers = [model for model in models if model not in known]
    if strangers:
        print(f"bench: no such model: {', '.join(strangers)}; there are {', '.join(known)}",
              file=sys.stderr)
        return 2
    alone = [(model, [measure(program, model, state) for state in STATES]) for model in models]
    print_table("The library, MB (frames of the state):", STATES, alone)
    both = [(model, [measure(program, model, state, "virtual") for state in VIRTUAL_STATES])
            for model in models]
    print_table("The library and a virtual camera under the stars:", VIRTUAL_STATES, both)
    failed = [model for model, measured in alone if None in (measured[0], measured[1], measured[2])]
    for model in failed:
        print(f"bench: {model} could not be measured", file=sys.stderr)
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
