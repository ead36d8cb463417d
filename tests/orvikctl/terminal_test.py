#!/usr/bin/env python3
"""What orvikctl shows and asks at a terminal. Usage: terminal_test.py ORVIKCTL"""
import os
import pty
import re
import select
import subprocess
import time
import unittest

from program import LIMIT, PROGRAM, InOwnFolder, contents, run

KEPT = "T15C,flash=flash.bin"


def at_terminal(*arguments, sim="T15C", say=""):
    """Runs the program with a terminal of its own; returns (exit code, all that it showed)."""
    ours, theirs = pty.openpty()
    process = subprocess.Popen([PROGRAM, *arguments, "--sim", sim], stdin=theirs, stdout=theirs,
                               stderr=theirs)
    os.close(theirs)
    os.write(ours, say.encode())
    shown = b""
    end = time.monotonic() + LIMIT
    while time.monotonic() < end:
        if not select.select([ours], [], [], 1)[0]:
            continue
        try:
            shown += os.read(ours, 65536)
        except OSError:  # the program has ended and left the terminal
            break
    os.close(ours)
    return process.wait(timeout=LIMIT), shown.decode()


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


if __name__ == "__main__":
    unittest.main(verbosity=1)
