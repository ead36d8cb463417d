#!/usr/bin/env python3
"""Runs the benchmark programs of a build and tells their results in ratios, or compares two runs.

usage: bench.py run BUILD [--json FILE] [--vectors NAME] [ARGS...]
       bench.py table FILE.json
       bench.py compare BEFORE.json AFTER.json
       bench.py compare COMMIT COMMIT [--rounds N] [ARGS...]
       bench.py instructions BUILD [--arm64 BUILD] [VECTORS...]

ARGS go to Google Benchmark, for example --benchmark_filter=demosaic.
"""
import argparse
import json
import os
import re
import subprocess
import sys
import tempfile
from datetime import datetime, timezone
from pathlib import Path

import bench_instructions
import bench_report
import bench_results

ROOT = Path(__file__).resolve().parent.parent
RESULTS = ROOT / "bench-results"
COMPARED = ROOT / "build" / "bench-compared"

# Short and often, in random order: what disturbs the machine then disturbs all cases alike.
DEFAULTS = ["--benchmark_min_time=0.03", "--benchmark_repetitions=9",
            "--benchmark_enable_random_interleaving=true"]
# In a comparison each build gets its turn in every round instead.
DEFAULTS_OF_A_ROUND = ["--benchmark_min_time=0.03", "--benchmark_repetitions=3",
                       "--benchmark_enable_random_interleaving=true"]


class Failure(Exception):
    """Something that the user can understand went wrong."""


def git(*args):
    done = subprocess.run(["git", *args], cwd=ROOT, capture_output=True, text=True, check=False)
    if done.returncode != 0:
        raise Failure(f"git {' '.join(args)}: {done.stderr.strip()}")
    return done.stdout.strip()


def processor():
    try:
        text = Path("/proc/cpuinfo").read_text(encoding="utf-8")
    except OSError:
        return "unknown"
    found = re.search(r"^model name\s*:\s*(.*)$", text, re.MULTILINE)
    return found.group(1) if found else "unknown"


def programs_of(build):
    found = sorted(path for path in (build / "bench").glob("orvik_bench_*")
                   if path.is_file() and os.access(path, os.X_OK))
    if not found:
        raise Failure(f"no benchmark programs in {build / 'bench'}; build the preset 'bench'")
    return found


def run_programs(build, args, defaults, suffix, vectors=None):
    """Runs every program of a build, without stored settings of cameras.

    @param vectors limits the kernels to these instructions; other programs are left out then
    @return the files of the results
    """
    RESULTS.mkdir(exist_ok=True)
    files = []
    environment = dict(os.environ)
    programs = programs_of(build)
    if vectors:
        environment["ORVIK_BENCH_VECTORS"] = vectors
        programs = [each for each in programs if each.name == "orvik_bench_kernels"]
    for program in programs:
        result = RESULTS / f"{program.name}{suffix}.json"
        result.unlink(missing_ok=True)
        print(f"running {program.name}{suffix}", file=sys.stderr)
        with tempfile.TemporaryDirectory() as folder:
            environment["XDG_CONFIG_HOME"] = folder
            done = subprocess.run([program, *defaults, *args, f"--benchmark_out={result}",
                                   "--benchmark_out_format=json"],
                                  stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True,
                                  env=environment, check=False)
        if done.returncode != 0:
            raise Failure(f"{program.name} ended with {done.returncode}: {done.stderr.strip()}")
        # A filter that fits no case of a program leaves an empty file.
        if result.is_file() and result.stat().st_size > 0:
            files.append(result)
    return files


def read(files):
    """Reads results and tells which cases failed. @return cases, context, whether all are good"""
    cases, failures, context = bench_results.read(files)
    for name, message in failures:
        print(f"bench: {name}: {message}", file=sys.stderr)
    if not cases and not failures:
        raise Failure("no case was measured; does --benchmark_filter fit one?")
    return cases, context, not failures


def run(options, args):
    commit = git("describe", "--always", "--dirty", "--abbrev=12")
    files = run_programs(Path(options.build).resolve(), args, DEFAULTS, "", options.vectors)
    cases, context, is_good = read(files)
    print(bench_report.report(cases), end="")
    if options.json:
        build = {"commit": commit,
                 "date": datetime.now(timezone.utc).isoformat(timespec="seconds"),
                 "cpu": processor()}
        record = bench_results.record_of(cases, context, build)
        Path(options.json).write_text(json.dumps(record, indent=1) + "\n", encoding="utf-8")
    return 0 if is_good else 1


def call(commit, folder, *command):
    """Runs a step of building a commit. @return what it prints"""
    done = subprocess.run(command, cwd=folder, capture_output=True, text=True, check=False)
    if done.returncode != 0:
        raise Failure(f"{commit}: {' '.join(command)} failed:\n"
                      f"{done.stdout[-2000:]}{done.stderr[-2000:]}")
    return done.stdout


def build_commit(commit):
    """Builds the benchmarks of a commit in a worktree of its own. @return its build folder"""
    whole = git("rev-parse", "--verify", "--end-of-options", f"{commit}^{{commit}}")
    tree = COMPARED / whole[:12]
    if not tree.is_dir():
        git("worktree", "prune")
        git("worktree", "add", "--detach", str(tree), whole)
    print(f"building {commit} in {tree}", file=sys.stderr)
    build = tree / "build" / "bench"
    call(commit, tree, "cmake", "--preset", "bench")
    listed = call(commit, tree, "cmake", "--build", "--preset", "bench", "--target", "help")
    targets = re.findall(r"^(orvik_bench_\w+)", listed, re.MULTILINE)
    call(commit, tree, "cmake", "--build", "--preset", "bench", "--target", *targets)
    return build


def compare_commits(commits, rounds, args):
    builds = [build_commit(commit) for commit in commits]
    files = ([], [])
    for number in range(rounds):
        # The order alternates, so that neither build always runs on the warmer machine.
        for side in ((0, 1) if number % 2 == 0 else (1, 0)):
            files[side].extend(run_programs(builds[side], args, DEFAULTS_OF_A_ROUND,
                                            f".{'ab'[side]}{number}"))
    sides = [read(each) for each in files]
    print(bench_report.comparison(sides[0][0], sides[1][0]), end="")
    return 0 if sides[0][2] and sides[1][2] else 1


def compare(options, args):
    sides = (options.before, options.after)
    are_files = [side.endswith(".json") or Path(side).is_file() for side in sides]
    if not any(are_files):
        return compare_commits(sides, options.rounds, args)
    if not all(are_files):
        raise Failure("compare two files of --json or two commits, not one of each")
    if args:
        raise Failure(f"nothing is run, so nothing can be done with {args[0]}")
    (before, first), (after, second) = (bench_results.read_record(side) for side in sides)
    for key in ("machine", "compiler"):
        one, other = first.get(key), second.get(key)
        if key == "machine":
            one, other = ({each: part.get(each) for each in ("cpu", "cores")}
                          for part in (one, other))
        if one != other:
            print(f"bench: the runs are of another {key} each; their difference says nothing "
                  "about the commits", file=sys.stderr)
    print(bench_report.comparison(before, after), end="")
    return 0


def count_instructions(options, args):
    if args:
        raise Failure(f"nothing is timed, so nothing can be done with {args[0]}")
    program, other = (Path(build).resolve() / "bench" / "orvik_instructions" if build else None
                      for build in (options.build, options.arm64))
    print(bench_instructions.count(program, options.vectors,
                                   (["qemu-aarch64"], other) if other else None), end="")
    return 0


def print_table(options, args):
    if args:
        raise Failure(f"nothing is run, so nothing can be done with {args[0]}")
    print(bench_report.markdown(bench_results.read_record(options.record)[0]), end="")
    return 0


def parse(argv):
    parser = argparse.ArgumentParser(prog="./dev bench", add_help=True)
    commands = parser.add_subparsers(dest="command", required=True)
    runner = commands.add_parser("run", help="run the benchmarks of a build")
    runner.add_argument("build")
    runner.add_argument("--json", metavar="FILE", help="also write a compact record")
    runner.add_argument("--vectors", metavar="NAME",
                        help="only the kernels, limited to these instructions, as SSE4")
    counter = commands.add_parser("instructions", help="count those of the kernels")
    counter.add_argument("build")
    counter.add_argument("vectors", nargs="*", help="as AVX2; all of this processor by default")
    counter.add_argument("--arm64", metavar="BUILD", help="also count for 64-bit ARM, in QEMU")
    tabler = commands.add_parser("table", help="a record as a table in Markdown")
    tabler.add_argument("record")
    comparer = commands.add_parser("compare", help="two records, or two commits")
    comparer.add_argument("before")
    comparer.add_argument("after")
    comparer.add_argument("--rounds", type=int, default=5, metavar="N",
                          help="turns of each build when commits are compared (5)")
    options, args = parser.parse_known_args(argv)
    for arg in args:
        if not arg.startswith("--benchmark_"):
            parser.error(f"'{arg}' is no option of Google Benchmark")
    if options.command == "compare" and options.rounds < 1:
        parser.error("--rounds must be 1 or more")
    return options, args


def main():
    options, args = parse(sys.argv[1:])
    try:
        commands = {"run": run, "table": print_table, "compare": compare,
                    "instructions": count_instructions}
        return commands[options.command](options, args)
    except (Failure, bench_instructions.Failure, bench_results.BadResults, OSError) as error:
        print(f"bench: {error}", file=sys.stderr)
        return 2


if __name__ == "__main__":
    sys.exit(main())
