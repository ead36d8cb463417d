"""Counts the instructions of the kernels for each pixel, for `./dev bench instructions`.

On this machine's processor a program steps through itself. What another machine would execute is
counted by QEMU, which logs each instruction.
"""
import subprocess
import sys

# As in bench/instructions/main.cpp.
COLUMNS, FEW_ROWS, MANY_ROWS = 1304, 12, 24
PIXELS = COLUMNS * (MANY_ROWS - FEW_ROWS)
MARK = b" orvik_instructions_mark\n"  # as QEMU names the function at the end of a line


class Failure(Exception):
    """The program or QEMU could not count."""


def output_of(*command):
    try:
        done = subprocess.run(command, capture_output=True, text=True, check=False)
    except OSError as error:
        raise Failure(f"{command[0]}: {error.strerror}") from error
    if done.returncode != 0:
        raise Failure(f"{' '.join(map(str, command))} ended with {done.returncode}: "
                      f"{done.stderr.strip()}")
    return done.stdout


def counted_here(program, target):
    """@return kernel -> instructions per pixel with these vectors"""
    lines = output_of(program, "count", target).splitlines()
    return {kernel: float(count) for kernel, count in (line.split("\t") for line in lines)}


def counted_by_qemu(emulator, program):
    """The same for a program of another machine.

    Three marks surround a run of a kernel over few rows, and one over many: their difference leaves
    out what does not depend on the rows.
    """
    marks = []
    command = [*emulator, "-singlestep", "-d", "exec,nochain", program, "run"]
    with subprocess.Popen(command, stderr=subprocess.PIPE) as process:
        for number, line in enumerate(process.stderr):
            if line.endswith(MARK):
                marks.append(number)
    kernels = output_of(*emulator, program, "kernels").splitlines()
    if process.returncode != 0 or len(marks) != 3 * len(kernels):
        raise Failure(f"{' '.join(map(str, command))} ended with {process.returncode}, and logged "
                      f"{len(marks)} marks")
    return {kernel: ((marks[3 * n + 2] - marks[3 * n + 1]) - (marks[3 * n + 1] - marks[3 * n])) /
            PIXELS for n, kernel in enumerate(kernels)}


def shown(name):
    return {"SCALAR": "portable", "EMU128": "portable", "AVX3": "AVX-512",
            "AVX3_DL": "AVX-512 VBMI"}.get(name, name)


def table(columns):
    """@param columns (name, kernel -> count) of each set of instructions"""
    lines = ["| Work | " + " | ".join(shown(name) for name, _ in columns) + " |",
             "|---|" + "---|" * len(columns)]
    for kernel in columns[0][1]:
        counts = " | ".join(f"{counts[kernel]:.2f}" for _, counts in columns)
        lines.append(f"| {kernel} | {counts} |")
    return "\n".join(lines) + "\n"


def count(program, targets, other=None):
    """@param targets vectors of this processor, all if none are named
    @param other emulator and program of another machine"""
    known = output_of(program, "targets").split()
    for target in targets:
        if target not in known:
            raise Failure(f"no vectors '{target}' here, only {', '.join(known)}")
    columns = []
    for target in targets or reversed(known):
        print(f"counting {target}", file=sys.stderr)
        columns.append((target, counted_here(program, target)))
    if other:
        print("counting NEON", file=sys.stderr)
        columns.append(("NEON", counted_by_qemu(*other)))
    return table(columns)
