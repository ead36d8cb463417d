"""Reads what Google Benchmark wrote, and makes a compact record of it.

A case is named kernel/variant/size. Its time is that of the clock that the benchmark chose: the
processor time of the calling thread, or real time for work of several threads.
"""
import json
import re
import statistics
from dataclasses import dataclass, field

UNITS = {"ns": 1e-9, "us": 1e-6, "ms": 1e-3, "s": 1.0}
OURS, COPY = "orvik", "memcpy"
# What Google Benchmark appends to the names of cases that do not use the thread's processor time.
REAL_CLOCK = re.compile(
    r"(/iterations:\d+)?(/repeats:\d+)?(/process_time)?/(real_time|manual_time)$")
COUNTERS = ("bytesPerPixel", "checkedBytes", "switchesPerFrame", "cpuPerFrame",
            "lostPerFrame", "corePercent", "p99", "worst",
            "worstWithoutCore")


class BadResults(Exception):
    """A file is not what this program reads."""


@dataclass
class Case:
    """The runs of one case: their median and quartiles, in seconds per call."""
    median: float
    low: float
    high: float
    runs: int
    clock: str = "cpu"
    items: float = 0.0  # pixels of a call; 0 if unknown
    counters: dict = field(default_factory=dict)

    @property
    def spread(self):
        """The larger distance of a quartile from the median, as a part of it."""
        return max(self.median - self.low, self.high - self.median) / self.median


def quartiles(values):
    """First quartile, median and third quartile; of one value, three times the same."""
    if len(values) == 1:
        return values * 3
    return statistics.quantiles(values, n=4, method="inclusive")


def shorter(name):
    """The name of a case without what tells its clock, and that clock."""
    short = REAL_CLOCK.sub("", name)
    return short, "cpu" if short == name else "real"


def read(paths):
    """Reads the files of one build.

    @return cases by name in the order of registration, a list of (name, message) of those that
            failed, and what the programs say about machine and build
    """
    entries, order, failures, context = {}, {}, {}, {}
    for program, path in enumerate(paths):
        try:
            with open(path, encoding="utf-8") as file:
                content = json.load(file)
            listed, context = content["benchmarks"], content["context"]
        except (OSError, ValueError, KeyError, TypeError) as error:
            raise BadResults(f"{path}: not a result of a benchmark: {error}") from error
        for entry in listed:
            if entry.get("run_type") != "iteration":
                continue
            name, clock = shorter(entry["run_name"])
            if entry.get("error_occurred"):
                failures[name] = entry.get("error_message", "failed")
                continue
            # The repetitions ran, and stand in the file, in random order.
            order.setdefault(name, (program, entry.get("family_index", 0),
                                    entry.get("per_family_instance_index", 0)))
            entries.setdefault(name, (clock, []))[1].append(entry)
    cases = {name: case_of(*entries[name]) for name in sorted(entries, key=order.get)
             if name not in failures}
    return cases, sorted(failures.items()), context


def case_of(clock, entries):
    field_name = "real_time" if clock == "real" else "cpu_time"
    low, median, high = quartiles([each[field_name] * UNITS[each["time_unit"]]
                                   for each in entries])
    last = entries[-1]
    if all(key in last for key in ("low", "median", "high")):
        # A distribution of single frames, microseconds, instead of the mean of them all.
        low, median, high = (1e-6 * last[key] for key in ("low", "median", "high"))
    # A rate is that of its own repetition, by its own clock.
    items = (last.get("items_per_second", 0.0) * last[field_name] * UNITS[last["time_unit"]])
    counters = {key: statistics.median(each[key] for each in entries)
                for key in COUNTERS if all(key in each for each in entries)}
    return Case(median, low, high, len(entries), clock, items, counters)


def copy_time(cases, name):
    """Seconds of a memcpy of what a case reads; None if it was not measured."""
    bytes_read = cases[name].counters.get("bytesPerPixel")
    if not bytes_read:
        return None
    copy = cases.get(f"{COPY}/{8 * int(bytes_read)} bit/{name.split('/')[-1]}")
    return copy.median if copy else None


def ratios(cases):
    """Name of each of our cases -> peer -> how many times as long the peer takes."""
    found = {}
    for name, case in cases.items():
        parts = name.split("/")
        if len(parts) != 3 or parts[1] != OURS:
            continue
        peers = found.setdefault(name, {})
        copy = copy_time(cases, name)
        if copy:
            peers[COPY] = copy / case.median
        for other, peer in cases.items():
            kernel, *rest = other.split("/")
            if other != name and kernel == parts[0] and rest[1:] == [parts[2]]:
                peers[rest[0]] = peer.median / case.median
    return found


def record_of(cases, context, build):
    """What --json writes. @param build "commit", "date" and "cpu" of this run."""
    return {
        "format": 1,
        "machine": {"cpu": build["cpu"], "cores": context.get("num_cpus"),
                    "megahertz": context.get("mhz_per_cpu"),
                    "load": context.get("load_avg", [])[:1]},
        "compiler": context.get("compiler", "unknown"),
        "commit": build["commit"],
        "date": build["date"],
        "cases": {name: {"median": case.median, "low": case.low, "high": case.high,
                         "runs": case.runs, "clock": case.clock, "items": case.items,
                         "counters": case.counters}
                  for name, case in cases.items()},
        "ratios": ratios(cases),
    }


def read_record(path):
    """Reads what --json wrote. @return cases by name, and the whole record"""
    try:
        with open(path, encoding="utf-8") as file:
            record = json.load(file)
        if record["format"] != 1:
            raise BadResults(f"{path}: the record has another format; make it anew")
        cases = {name: Case(case["median"], case["low"], case["high"], case["runs"], case["clock"],
                            case["items"], case["counters"]) for name, case in record["cases"].items()}
    except (OSError, ValueError, KeyError, TypeError, AttributeError) as error:
        raise BadResults(f"{path}: not a record of ./dev bench --json: {error}") from error
    return cases, record
