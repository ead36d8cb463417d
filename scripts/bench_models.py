#!/usr/bin/env python3
"""Measures every model of camera, and prints the tables of docs/resources.md.

usage: bench_models.py memory BUILD [MODEL...]    how much memory a camera needs in each state
       bench_models.py startup BUILD [MODEL...]   the steps from the plug to the first frame

Each measurement runs in a process of its own, without stored settings. What is counted is written in
bench/memory_states.h and bench/startup.cpp.
"""
import os
import re
import subprocess
import sys
import tempfile
from pathlib import Path

STATES = ["query", "open", "video8", "video16", "late", "snapshot", "stopped"]
VIRTUAL_STATES = ["video16", "snapshot"]
MEGA = 1e6

# A control request takes 0.1 to 0.25 ms on a real bus.
REQUEST_MICROSECONDS = "200"
RUNS = 5


def run(program, *args):
    """@return what the program prints, in words, line by line; None if it fails"""
    with tempfile.TemporaryDirectory() as folder:
        done = subprocess.run([program, *args], capture_output=True, text=True, check=False,
                              env={**os.environ, "XDG_CONFIG_HOME": folder})
    if done.returncode != 0:
        return None
    return [line.split() for line in done.stdout.splitlines()]


def print_row(cells):
    print("| " + " | ".join(cells) + " |")


def print_head(names):
    print_row(names)
    print("|---" * len(names) + "|")


def memory_of(program, model, *state):
    """@return bytes and bytes of a frame, or None if the model does not have the state"""
    lines = run(program, model, *state)
    return lines and [int(word) for word in lines[0]]


def memory_cell(measured):
    if measured is None:
        return "-"
    used, frame = measured
    return f"{used / MEGA:.1f} ({used / frame:.2f})"


def print_memory(title, states, rows):
    print(f"{title}, MB (and frames of the state):\n")
    print_head(["Model", "frame, MB", *states])
    for model, measured in rows:
        largest = max((each[1] for each in measured if each), default=0)
        print_row([model, f"{largest / MEGA:.1f}", *map(memory_cell, measured)])
    print()


def memory(program, models):
    alone = [(model, [memory_of(program, model, state) for state in STATES]) for model in models]
    print_memory("The library", STATES, alone)
    both = [(model, [memory_of(program, model, state, "virtual") for state in VIRTUAL_STATES])
            for model in models]
    print_memory("The library and a virtual camera under the stars", VIRTUAL_STATES, both)
    # Only 16-bit video is something that a model may not have.
    return [model for model, measured in alone
            if any(each is None for state, each in zip(STATES, measured) if state != "video16")]


def startup(program, models):
    failed = []
    print(f"Milliseconds (control requests; the library's waits, ms), median of {RUNS} runs by their "
          f"sum, {REQUEST_MICROSECONDS} us for a request:\n")
    for model in models:
        runs = [run(program, model, REQUEST_MICROSECONDS) for _ in range(RUNS)]
        if any(each is None for each in runs):
            failed.append(model)
            continue
        by_sum = sorted((sum(float(step[1]) for step in steps), steps) for steps in runs)
        total, steps = by_sum[RUNS // 2]
        if model == models[0]:
            print_head(["Model", *(step[0] for step in steps), "sum", "waits"])
        cells = [f"{ms} ({requests}{'' if waits == '-' else '; ' + waits})"
                 for _, ms, requests, waits in steps]
        waited = sum(waits_of(step[3]) for step in steps)
        print_row([model, *cells, f"{total:.0f}", str(waited)])
    return failed


def waits_of(text):
    """The sum of waits such as "2x20+1"."""
    total = 0
    for part in text.split("+"):
        count, _, each = part.rpartition("x")
        total += int(count or 1) * int(each) if part != "-" else 0
    return total


def main():
    kinds = {"memory": memory, "startup": startup}
    if len(sys.argv) < 3 or sys.argv[1] not in kinds:
        print(__doc__, file=sys.stderr)
        return 2
    program = Path(sys.argv[2]).resolve() / "bench" / f"orvik_{sys.argv[1]}"
    known = [line[0] for line in run(program, "models") or []]
    # Further products of a model differ in their names only.
    models = sys.argv[3:] or [model for model in known if not re.search(r"_(A|B|SC)$", model)]
    strangers = [model for model in models if model not in known]
    if strangers:
        print(f"bench: no such model: {', '.join(strangers)}; there are {', '.join(known)}",
              file=sys.stderr)
        return 2
    failed = kinds[sys.argv[1]](program, models)
    for model in failed:
        print(f"bench: {model} could not be measured", file=sys.stderr)
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
