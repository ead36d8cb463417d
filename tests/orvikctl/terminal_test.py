#!/usr/bin/env python3
"""What orvikctl shows and asks at a terminal. Usage: terminal_test.py ORVIKCTL"""
import fcntl
import os
import pty
import re
import select
import signal
import struct
import subprocess
import termios
import time
import unittest

from program import LIMIT, PROGRAM, InOwnFolder, contents, run

try:
    import pyte
except ImportError:
    pyte = None

KEPT = "T15C,flash=flash.bin"
SCREENS = os.path.join(os.path.dirname(os.path.abspath(__file__)), "screens")
COLUMNS, ROWS = 80, 24
REQUEST = b"\x1b[c"  # for the terminal's device attributes


def at_terminal(*arguments, sim="T15C", say="", on_request=None, **environment):
    """Runs the program with a terminal of its own; returns (exit code, all that it showed). At a
    request for its attributes the terminal does on_request(descriptor, process)."""
    ours, theirs = pty.openpty()
    fcntl.ioctl(theirs, termios.TIOCSWINSZ, struct.pack("HHHH", ROWS, COLUMNS, 0, 0))
    before = termios.tcgetattr(theirs)
    command = [PROGRAM, *arguments] + (["--sim", sim] if sim else [])
    process = subprocess.Popen(command, stdin=theirs, stdout=theirs, stderr=theirs,
                               env={**os.environ, "TERM": "dumb", **environment})
    os.write(ours, say.encode())
    shown = b""
    end = time.monotonic() + LIMIT
    while time.monotonic() < end:
        if select.select([ours], [], [], 0.05)[0]:
            shown += os.read(ours, 65536)
        elif process.poll() is not None:  # nothing more comes
            break
        if on_request and REQUEST in shown:
            on_request(ours, process)
            on_request = None
    assert termios.tcgetattr(theirs) == before, "the terminal's settings are others now"
    os.close(theirs)
    os.close(ours)
    return process.wait(timeout=LIMIT), shown.decode()


def brightness(colour):
    """0 to 1, of a colour as the terminal emulator tells it."""
    if colour == "default":
        return 0
    return sum(int(colour[i:i + 2], 16) for i in (0, 2, 4)) / 3 / 255


def picture_of(screen, row, columns):
    """Two lines of characters for a row of half blocks, brighter ones being denser."""
    ramp = " .:-=+*#%@"
    lines = ["", ""]
    for column in range(columns):
        cell = screen.buffer[row][column]
        fore, back = (cell.bg, cell.fg) if cell.reverse else (cell.fg, cell.bg)
        halves = {" ": (back, back), "█": (fore, fore), "▀": (fore, back), "▄": (back, fore)}
        for half, colour in enumerate(halves[cell.data]):
            lines[half] += ramp[min(9, int(10 * brightness(colour)))]
    return lines


def differences(name, lines):
    """Compares with the screen kept as text, which somebody has looked at; ORVIK_WRITE_FILES writes
    it anew. Returns the share of characters that differ."""
    file = os.path.join(SCREENS, name)
    if os.environ.get("ORVIK_WRITE_FILES"):
        with open(file, "w", encoding="utf-8") as out:
            out.write("\n".join(line.rstrip() for line in lines) + "\n")
    with open(file, encoding="utf-8") as kept:
        wanted = [line.rstrip("\n").ljust(COLUMNS) for line in kept]
    lines = [line.ljust(COLUMNS) for line in lines]
    if len(wanted) != len(lines):
        return 1
    pairs = [pair for one, other in zip(wanted, lines) for pair in zip(one, other)]
    return sum(one != other for one, other in pairs) / len(pairs)


class TerminalTest(InOwnFolder):
    def test_asks_before_it_writes_into_the_flash(self):
        run("id", "set", "before", "--yes", sim=KEPT)
        for answer, code, kept in (("n", 2, "before"), ("", 2, "before"), ("Yes", 0, "after")):
            ended, shown = at_terminal("id", "set", "after", sim=KEPT, say=answer + "\n")
            self.assertEqual(ended, code, shown)
            self.assertIn("Go on? [y/N]", shown)
            self.assertIn(kept, run("id", "get", sim=KEPT)[0])

    def test_draws_the_cooling(self):
        ended, shown = at_terminal("cool", "--target", "18", "--rate", "60", "--duration", "4s",
                                   "--no-warm-up", sim="T13C_C")
        self.assertEqual(ended, 0, shown)
        frames = re.split(r"\x1b\[\d+A", shown)  # each is drawn over the one before
        self.assertGreater(len(frames), 2)
        for frame in frames:
            self.assertIn("(* sensor, - target)", frame)
            self.assertEqual(frame.count("\n"), frames[0].count("\n"))
        self.assertIn("*", frames[-1].split("(*")[0])

    def test_a_sequence_waits_for_enter(self):
        with open("plan.toml", "w", encoding="ascii") as file:
            file.write('[[step]]\npause = "Change the filter."\nexposure = "400ms"\ncount = 2\n')
        ended, shown = at_terminal("sequence", "plan.toml", "-o", "a_%d.fits", say="\n")
        self.assertEqual(ended, 0, shown)
        self.assertRegex(shown, r"Change the filter\.\s+Enter goes on[^$]*"
                                r"light 400 ms, image 1/2, 0:01 of it and 0:01 of all left\x1b\[K")
        ended, shown = at_terminal("sequence", "plan.toml", "-o", "b_%d.fits", say="\x04")
        self.assertEqual(ended, 2, "nobody answers: " + shown)
        self.assertEqual([name for name in os.listdir() if name.startswith("b_")], [])

    def test_shows_how_far_it_has_come(self):
        ended, shown = at_terminal("video", "--roi", "320x240", "--exposure", "20ms", "--duration",
                                   "2s", "-o", "a.ser")
        self.assertEqual(ended, 0, shown)
        self.assertRegex(shown, r"\r.*frames.*\x1b\[K")
        self.assertGreater(len(contents("a.ser")), 320 * 240)

    def test_tells_in_words(self):
        info = run("info", sim="T13C_C")[0]
        for pattern in (r"(?m)^name +Vek T13C COOL$", r"(?m)^cooler +yes$", r"1304x976 .*GRBG"):
            self.assertRegex(info, pattern)
        controls = run("controls", sim="T13C_C")[0].splitlines()
        self.assertTrue(controls[0].startswith("NAME"))
        self.assertRegex("\n".join(controls), r"(?m)^TargetTemp .* degC ")
        self.assertRegex("\n".join(controls), r"(?m)^Temperature .*\(read only\)$")


TRUE_COLOUR = {"TERM": "xterm-256color", "COLORTERM": "truecolor"}


class PictureTest(InOwnFolder):
    def test_asks_the_terminal_whether_it_draws_graphics(self):
        run("snap", "--roi", "320x240", "--exposure", "2ms", "-o", "a.fits",
            sim="T15C,scene=moon,pace=free")
        answers = {b"\x1b[?62;4;22c": "\x1bP", b"\x1b[?62;22c": "▄", b"\x1b[?6": "▄"}
        for answer, drawn in answers.items():
            ended, shown = at_terminal("view", "a.fits", sim=None, **TRUE_COLOUR,
                                       on_request=lambda screen, _: os.write(screen, answer))
            self.assertEqual(ended, 0, shown)
            self.assertEqual(drawn in shown, True, answer)
            self.assertEqual("\x1bP" in shown, drawn == "\x1bP")
        # Where the environment tells enough, nothing is asked.
        for environment, drawn in ((dict(TERM="xterm-kitty"), "\x1b_G"), (dict(TERM="dumb"), "▚")):
            ended, shown = at_terminal("view", "a.fits", sim=None, **environment)
            self.assertNotIn(REQUEST.decode(), shown)
            self.assertIn(drawn, shown)

    def test_leaves_the_terminal_as_it_was_at_a_signal(self):
        run("snap", "--roi", "320x240", "-o", "a.fits")
        ended, _ = at_terminal("view", "a.fits", sim=None, **TRUE_COLOUR,
                               on_request=lambda _, process: process.send_signal(signal.SIGQUIT))
        self.assertEqual(ended, -signal.SIGQUIT)
        at_terminal("view", "--live", **TRUE_COLOUR,
                    on_request=lambda _, process: process.send_signal(signal.SIGTERM))

    @unittest.skipUnless(pyte, "no terminal emulator")
    def test_draws_the_moon(self):
        run("snap", "--type", "raw8", "--exposure", "1ms", "--gain", "0", "-o", "a.fits",
            sim="T15C,scene=moon,pace=free,seed=1")
        _, shown = at_terminal("view", "a.fits", sim=None, **TRUE_COLOUR)
        screen = pyte.Screen(COLUMNS, ROWS)
        pyte.Stream(screen).feed(shown.replace(REQUEST.decode(), ""))
        lines = [line for row in range(ROWS - 2) for line in picture_of(screen, row, 60)]
        self.assertLess(differences("moon.txt", lines), 0.03)
        self.assertIn("1304x976  FITS, 8 bits  min 0", screen.display[ROWS - 2])

    @unittest.skipUnless(pyte, "no terminal emulator")
    def test_draws_the_focus(self):
        ended, shown = at_terminal("focus", "--exposure", "100ms", "--gain", "50", "-n", "1",
                                   sim="T15C,scene=stars,pace=free,seed=1", TERM="xterm-256color")
        self.assertEqual(ended, 0, shown)
        screen = pyte.Screen(COLUMNS, ROWS)
        pyte.Stream(screen).feed(shown.replace(REQUEST.decode(), ""))
        lines = [re.sub(r"\b\d+:\d\d\b", "0:00", line) for line in screen.display]
        self.assertLess(differences("focus.txt", lines), 0.03)

    def test_draws_the_focus_in_place(self):
        ended, shown = at_terminal("focus", "--exposure", "20ms", "--duration", "2s",
                                   sim="T15C,scene=stars", TERM="xterm-256color")
        self.assertEqual(ended, 0, shown)
        frames = re.split(r"\x1b\[14A", shown)
        self.assertGreater(len(frames), 2)
        for frame in frames:
            self.assertEqual(frame.split("best HFR")[0].count("\n"), 14)


if __name__ == "__main__":
    unittest.main(verbosity=1)
