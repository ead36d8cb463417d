#!/usr/bin/env python3
"""Measures how fast files are written, beside dd, and prints a table in Markdown.

usage: bench_files.py BUILD [--rounds N] [--megabytes N] [--place disk|memory] [--disk FOLDER]
                      [--memory FOLDER] [--json FILE]

For each folder, a disk (build/bench-files) and a file system in memory (/dev/shm), the cases and
dd take turns, and change their order: dd writes as many bytes as the files of the case have. A
ratio is that of one round, "best to best" that of the fastest ones; above 1 means that ours is
faster. "synced" times end when the disk has the bytes (dd: conv=fdatasync). Files are removed after
each step, outside of the time. Whatever writes, does so twice, and the second time counts: a virtual
machine may have returned memory that was free to its host, and getting it back takes longer than
writing files into it. "by libpng": with zlib at level 1, for comparison.
"""
import argparse
import json
import os
import re
import statistics
import subprocess
import sys
import tempfile
import time
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
LARGE_BYTES = 7380 * 4928  # of an 8-bit image of a T05C
SMALL_BYTES = 1304 * 976   # of a T15C


class Failure(Exception):
    """Something that the user can understand went wrong."""


class Case:
    """Images of one kind, written into files of one kind."""

    def __init__(self, name, model, image_type, pattern, megabytes, *, is_video=False,
                 is_peer=False):
        self.name = name
        self.model = model
        self.image_type = image_type
        self.pattern = pattern
        self.is_video = is_video
        self.is_peer = is_peer
        size = LARGE_BYTES if model == "T05C" else SMALL_BYTES
        if image_type == "raw16":
            size *= 2
        self.image_bytes = size
        self.count = max(2, round(megabytes * 1e6 / size))


def cases_of(megabytes):
    """The cases; those of PNG take longer, and get fewer bytes."""
    made = []
    for model in ("T15C", "T05C"):
        for kind in ("raw8", "raw16"):
            made.append(Case(f"SER, {model} {kind}", model, kind, "a.ser", megabytes))
    for kind in ("raw8", "raw16"):
        made.append(Case(f"FITS, T05C {kind}", "T05C", kind, "a%03d.fits", megabytes))
    for kind in ("raw8", "raw16"):
        made.append(Case(f"PNG, T05C {kind}", "T05C", kind, "a%03d.png", megabytes / 2))
        made.append(Case(f"PNG, T05C {kind}, by libpng", "T05C", kind, "a%03d.png", megabytes / 2,
                         is_peer=True))
    for kind in ("raw8", "raw16"):
        made.append(Case(f"`orvikctl video` to SER, T15C {kind}", "T15C", kind, "a.ser",
                         2 * megabytes, is_video=True))
    return made


def call(command, environment=None):
    done = subprocess.run([str(word) for word in command], capture_output=True, text=True,
                          check=False, env=environment)
    if done.returncode != 0:
        raise Failure(f"{' '.join(str(word) for word in command)} failed:\n{done.stderr.strip()}")
    return done


def clear(folder):
    for file in folder.iterdir():
        file.unlink()


def write_with_dd(folder, size, is_synced):
    """@return seconds that dd says it took for at least `size` bytes, for each byte of `size`"""
    blocks = max(1, round(size / (4 << 20)))
    command = ["dd", "if=/dev/zero", f"of={folder / 'dd'}", "bs=4M", f"count={blocks}"]
    if is_synced:
        command.append("conv=fdatasync")
    done = call(command, dict(os.environ, LC_ALL="C"))
    seconds = float(re.search(r"copied, ([0-9.e+-]+) s", done.stderr).group(1))
    clear(folder)
    return seconds * size / (blocks * (4 << 20))


def write_ours(build, folder, case, is_synced):
    command = [build / "bench" / "orvik_write_files", case.model, case.image_type, case.count,
               folder / case.pattern]
    if is_synced:
        command.append("sync")
    if case.is_peer:
        command.append("libpng")
    result = json.loads(call(command).stdout)
    clear(folder)
    return result


def record_ours(build, folder, case, is_synced):
    """A video of a virtual camera that delivers as fast as frames are taken. The time is that
    between the first and the last frame, and of syncing."""
    file = folder / case.pattern
    command = [build / "orvikctl", "video", "--sim", f"{case.model},pace=free,scene=grey",
               "--defaults", "--type", case.image_type, "--exposure", "100us", "--count",
               case.count, "-o", file, "--json", "--quiet"]
    with tempfile.TemporaryDirectory() as settings:
        for _ in range(2):
            clear(folder)
            report = json.loads(call(command, dict(os.environ, XDG_CONFIG_HOME=settings)).stdout)
    seconds = report["seconds"]
    if is_synced:
        start = time.monotonic()
        with open(file, "rb") as written:
            os.fdatasync(written.fileno())
        seconds += time.monotonic() - start
    result = {"imageBytes": case.count * case.image_bytes, "fileBytes": file.stat().st_size,
              "seconds": seconds, "lost": report["lost"]}
    clear(folder)
    return result


def measure_round(build, folder, case, is_synced, file_bytes, is_dd_first):
    """@return our result, with the seconds of dd in it"""
    def by_dd():
        write_with_dd(folder, file_bytes, False)
        return write_with_dd(folder, file_bytes, is_synced)
    write = record_ours if case.is_video else write_ours
    before = by_dd() if is_dd_first else None
    ours = write(build, folder, case, is_synced)
    ours["ddSeconds"] = (before or by_dd()) * ours["fileBytes"] / file_bytes
    return ours


def quartiles(values):
    if len(values) < 2:
        return values[0], values[0], values[0]
    low, middle, high = statistics.quantiles(values, n=4, method="inclusive")
    return low, middle, high


def line_of(name, rounds):
    """A line of the table: medians, the quartiles of the ratio, and that of the best rounds."""
    rates = [one["imageBytes"] / one["seconds"] / 1e6 for one in rounds]
    by_dd = [one["fileBytes"] / one["ddSeconds"] / 1e6 for one in rounds]
    ratios = [one["ddSeconds"] / one["seconds"] for one in rounds]
    low, middle, high = quartiles(ratios)
    best = min(one["ddSeconds"] / one["fileBytes"] for one in rounds) / min(
        one["seconds"] / one["fileBytes"] for one in rounds)
    share = statistics.median(one["fileBytes"] / one["imageBytes"] for one in rounds)
    work = [one["processorSeconds"] / one["imageBytes"] * 1e9 for one in rounds
            if "processorSeconds" in one]
    work_text = f"{statistics.median(work):.2f}" if work else ""
    return (f"| {name} | {statistics.median(rates):.0f} | {share:.2f} "
            f"| {statistics.median(by_dd):.0f} | {middle:.2f} ({low:.2f} to {high:.2f}) "
            f"| {best:.2f} | {work_text} |")


def measure(options):
    build = Path(options.build).resolve()
    folders = {"disk": Path(options.disk), "memory": Path(options.memory)}
    if options.place:
        folders = {options.place: folders[options.place]}
    record = []
    for place, parent in folders.items():
        parent.mkdir(parents=True, exist_ok=True)
        for is_synced in ((False, True) if place == "disk" else (False,)):
            title = place + (", synced" if is_synced else "")
            print(f"\n### {title}\n\n| Files | MB/s of images | file to image | dd, MB/s | to dd "
                  "| best to best | processor time, ns per byte |\n"
                  "|---|---|---|---|---|---|---|", flush=True)
            with tempfile.TemporaryDirectory(dir=parent) as name:
                folder = Path(name)
                for case in cases_of(options.megabytes):
                    file_bytes = case.count * case.image_bytes
                    rounds = []
                    for number in range(options.rounds + 1):
                        one = measure_round(build, folder, case, is_synced, file_bytes,
                                            number % 2 == 0)
                        # The first round tells how many bytes the files have, and warms up.
                        if number > 0:
                            rounds.append(one)
                        file_bytes = one["fileBytes"]
                    print(line_of(case.name, rounds), flush=True)
                    record.append({"place": title, "case": case.name, "rounds": rounds})
    if options.json:
        Path(options.json).write_text(json.dumps(record, indent=1) + "\n", encoding="utf-8")


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("build")
    parser.add_argument("--rounds", type=int, default=5)
    parser.add_argument("--megabytes", type=float, default=400, help="bytes of each case")
    parser.add_argument("--place", choices=("disk", "memory"), help="one of the two")
    parser.add_argument("--disk", default=str(ROOT / "build" / "bench-files"))
    parser.add_argument("--memory", default="/dev/shm")
    parser.add_argument("--json")
    options = parser.parse_args()
    try:
        measure(options)
    except Failure as failure:
        print(f"bench files: {failure}", file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
