"""The tables of ./dev bench: one run, and the comparison of two."""
from bench_results import COPY, OURS, ratios

# Differences below this are not told as real, however steady the runs are: two builds of the same
# source differ by as much, because their code lies elsewhere in memory.
SMALLEST_DIFFERENCE = 0.03


def percent(part):
    return f"{100 * part:.0f} %" if part < 1 else "> 100 %"


def kernel_rows(cases):
    for name, peers in ratios(cases).items():
        case = cases[name]
        kernel, _, size = name.split("/")
        rate = f"{case.items / case.median / 1e9:.2f}" if case.items else ""
        copy = f"x{peers[COPY]:.2f}" if COPY in peers else ""
        others = ", ".join(f"{peer} x{ratio:.2f}" for peer, ratio in peers.items()
                           if peer != COPY)
        yield (kernel, size, f"{case.median * 1e6:.1f}", percent(case.spread), case.clock, rate,
               copy, others)


def counter_text(case):
    """Counters of roads and latencies; those of kernels serve the report itself."""
    shown = []
    for key, text in (("cpuPerFrame", "{:.0f} us of all cores a frame"),
                      ("corePercent", "{:.1f} % of a core for each camera"),
                      ("switchesPerFrame", "{:.1f} switches a frame"),
                      ("lostPerFrame", "{:.2f} frames lost for each"),
                      ("p99", "99 % below {:.0f} us"), ("worst", "worst {:.0f} us"),
                      ("worstWithoutCore", "{:.0f} of them waiting for a core")):
        if key in case.counters:
            shown.append(text.format(case.counters[key]))
    return ", ".join(shown)


def other_rows(cases):
    shown = ratios(cases)
    for name, case in cases.items():
        parts = name.split("/")
        is_peer = len(parts) == 3 and f"{parts[0]}/{OURS}/{parts[2]}" in shown
        if name in shown or (is_peer and parts[0] != COPY):
            continue
        yield name, f"{case.median * 1e6:.2f}", percent(case.spread), case.clock


def table(heads, rows):
    rows = list(rows)
    if not rows:
        return ""
    rows = [heads, *rows]
    widths = [max(len(row[column]) for row in rows) for column in range(len(heads))]
    return "\n".join("  ".join(cell.ljust(width) for cell, width in zip(row, widths)).rstrip()
                     for row in rows) + "\n\n"


def report(cases):
    """The text of one run. A ratio above 1 means that ours is faster."""
    unchecked = sorted({name.split("/")[0] for name, case in cases.items()
                        if case.counters.get("checkedBytes") == 0})
    text = table(("kernel", "size", "us", "noise", "clock", "Gpx/s", "to memcpy", "to peer"),
                 kernel_rows(cases))
    text += table(("work of several threads", ""),
                  ((name, counter_text(case)) for name, case in cases.items()
                   if counter_text(case)))
    text += table(("other", "us", "noise", "clock"), other_rows(cases))
    if unchecked:
        text += "Write no buffer that could be checked: " + ", ".join(unchecked) + ".\n"
    return text


def markdown(cases):
    """Our cases as a table for a document, the sizes of a kernel side by side."""
    found, kernels = ratios(cases), {}
    for name in found:
        kernel, _, size = name.split("/")
        kernels.setdefault(kernel, []).append((size, name))
    lines = ["| Work | Sizes | us | Gpx/s | to memcpy | to peers |", "|---|---|---|---|---|---|"]
    for kernel, sized in kernels.items():
        names = [name for _, name in sized]
        # Peers in the order of their first mention, which every size shares.
        peers = list(dict.fromkeys(peer for name in names for peer in found[name]))
        rates = [f"{cases[name].items / cases[name].median / 1e9:.1f}" for name in names
                 if cases[name].items]
        times = {peer: "/".join(f"{found[name][peer]:.2f}" for name in names if peer in found[name])
                 for peer in peers}
        others = ", ".join(f"{peer} {times[peer]}" for peer in peers if peer != COPY)
        lines.append("| " + " | ".join((
            kernel, "/".join(size for size, _ in sized),
            "/".join(f"{cases[name].median * 1e6:.3g}" if cases[name].median < 1e-3
                     else f"{cases[name].median * 1e6:.0f}" for name in names),
            "/".join(rates), times.get(COPY, ""), others)) + " |")
    return "\n".join(lines) + "\n"


def difference(one, other):
    """How far two medians are apart, as a part of the smaller one."""
    return max(one.median, other.median) / min(one.median, other.median) - 1


def is_real(one, other, smallest=SMALLEST_DIFFERENCE):
    """Whether two cases differ beyond the noise of both, and by more than `smallest`."""
    apart = one.low > other.high or other.low > one.high
    return apart and difference(one, other) > smallest


def is_peer(name):
    parts = name.split("/")
    return len(parts) == 3 and parts[1] not in (OURS, "plain")


def moved_peer(before, after):
    """The peer that differs most beyond its noise: its code is the same, so the machine changed.

    @return its name and the difference; None if no peer differs
    """
    moved = [(difference(case, after[name]), name) for name, case in before.items()
             if name in after and is_peer(name) and is_real(case, after[name])]
    return max(moved)[::-1] if moved else None


def compare(before, after):
    """Compares two runs.

    @return (name, ratio of the times, whether the difference is real) of each case that both have
    """
    moved = moved_peer(before, after)
    smallest = moved[1] if moved else SMALLEST_DIFFERENCE
    return [(name, case.median / after[name].median, is_real(case, after[name], smallest))
            for name, case in before.items() if name in after]


def comparison(before, after):
    """The text of a comparison. A ratio above 1 means that the second run is faster."""
    compared = compare(before, after)
    real = [each for each in compared if each[2]]

    def row(name, ratio, _):
        one, other = before[name], after[name]
        return (name, f"{one.median * 1e6:.2f}", f"{other.median * 1e6:.2f}", f"x{ratio:.2f}",
                f"{percent(one.spread)}, {percent(other.spread)}")

    text = table(("differs", "us before", "us after", "faster by", "noise"),
                 (row(*each) for each in sorted(real, key=lambda each: each[1])))
    same = len(compared) - len(real)
    text += f"{len(real)} of {len(compared)} cases differ beyond their noise; {same} do not.\n"
    moved = moved_peer(before, after)
    if moved:
        text += (f"{moved[0]} differs by {percent(moved[1])}, although a peer's code is the same in "
                 "both: the machine changed meanwhile, and smaller differences count as none.\n")
    for cases, others, which in ((before, after, "first"), (after, before, "second")):
        alone = [name for name in cases if name not in others]
        if alone:
            text += f"Only in the {which}: {len(alone)} cases, such as {alone[0]}.\n"
    return text
