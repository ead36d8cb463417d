#!/usr/bin/env python3
"""Prints Google Benchmark results as ratios to a peer and to memcpy from the same run.

usage: bench_report.py RESULT.json...

Cases are named kernel/variant/size. The variant "orvik" is set against each other variant of its
kernel and size, and against memcpy of as many bytes as it reads. A ratio above 1 means that ours
is faster. All times are medians of the CPU time of the repetitions. Other cases are listed with
their time.
"""
import json
import statistics
import sys

UNITS = {"ns": 1e-9, "us": 1e-6, "ms": 1e-3, "s": 1.0}
OURS, COPY = "orvik", "memcpy"


def read(path):
    """Case name -> (median seconds per call, one of its entries), in the order of registration."""
    times, entries = {}, {}
    with open(path, encoding="utf-8") as file:
        listed = json.load(file).get("benchmarks", [])
    # The repetitions ran, and stand in the file, in random order.
    listed.sort(key=lambda entry: (entry.get("family_index", 0),
                                   entry.get("per_family_instance_index", 0)))
    for entry in listed:
        if entry.get("run_type") != "iteration" or entry.get("error_occurred"):
            continue
        name = entry["run_name"]
        times.setdefault(name, []).append(entry["cpu_time"] * UNITS[entry["time_unit"]])
        entries[name] = entry
    return {name: (statistics.median(values), entries[name]) for name, values in times.items()}


def gigapixels_per_second(seconds, entry):
    """From the median time; the pixels of a call follow from what one repetition says."""
    if "items_per_second" not in entry:
        return ""
    items = entry["items_per_second"] * entry["cpu_time"] * UNITS[entry["time_unit"]]
    return f"{items / seconds / 1e9:.2f}"


def copy_times(cases):
    """(bytes per pixel, size) -> seconds of a memcpy."""
    found = {}
    for name, (seconds, entry) in cases.items():
        kernel, *rest = name.split("/")
        if kernel == COPY and len(rest) == 2:
            found[entry["bytesPerPixel"], rest[1]] = seconds
    return found


def kernel_rows(cases):
    copies = copy_times(cases)
    for name, (seconds, entry) in cases.items():
        parts = name.split("/")
        if len(parts) != 3 or parts[1] != OURS:
            continue
        kernel, _, size = parts
        copy = copies.get((entry.get("bytesPerPixel"), size))
        peers = [f"{other.split('/')[1]} x{cases[other][0] / seconds:.2f}" for other in cases
                 if other.startswith(kernel + "/") and other.endswith("/" + size)
                 and other != name]
        yield (kernel, size, gigapixels_per_second(seconds, entry),
               f"x{copy / seconds:.2f}" if copy else "", ", ".join(peers))


def other_rows(cases):
    for name, (seconds, _) in cases.items():
        parts = name.split("/")
        if len(parts) == 3 and parts[0] != COPY and f"{parts[0]}/{OURS}/{parts[2]}" in cases:
            continue
        yield name, f"{seconds * 1e6:.2f}"


def print_table(heads, rows):
    rows = [heads, *rows]
    if len(rows) == 1:
        return
    widths = [max(len(row[column]) for row in rows) for column in range(len(heads))]
    for row in rows:
        print("  ".join(cell.ljust(width) for cell, width in zip(row, widths)).rstrip())
    print()


def main():
    cases = {}
    for path in sys.argv[1:]:
        cases.update(read(path))
    print_table(("kernel", "size", "Gpx/s", "to memcpy", "to peer"), list(kernel_rows(cases)))
    print_table(("other", "microseconds"), list(other_rows(cases)))


if __name__ == "__main__":
    main()
