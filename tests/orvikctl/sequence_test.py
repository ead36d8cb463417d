#!/usr/bin/env python3
"""A sequence as an observer plans and runs it. Usage: sequence_test.py ORVIKCTL"""
import os
import pathlib
import signal
import subprocess
import time
import unittest

from program import LIMIT, PROGRAM, InOwnFolder, header, picture, result, run

EXAMPLE = pathlib.Path(__file__).parents[2] / "examples" / "night.toml"
COLD = "T10C_C,ambient=-9.8"  # within a degree of -10 from the beginning
PLAN = """
object = "M 42"
folder = "out/{kind}"
name = "{object}_{filter}_%02d.fits"
cool = { to = -10, ramp = 60 }
dither = { pulse = "50ms", every = 2, settle = "50ms" }
command = "echo {file} >> done.txt"
[[step]]
filter = "Ha"
exposure = "150ms"
count = 12
gain = 90
roi = "320x240"
[[step]]
pause = "Cover the telescope."
kind = "dark"
exposure = "100ms"
count = 2
type = "raw8"
"""


def moved(one, other):
    """By how many whole pixels, down and right, the second picture shows the first one's stars."""
    import numpy
    spectrum = numpy.fft.rfft2(other) * numpy.conj(numpy.fft.rfft2(one))
    match = numpy.fft.irfft2(spectrum, s=one.shape)
    shift = numpy.unravel_index(numpy.argmax(match), match.shape)
    return tuple(int(n) if n < size / 2 else int(n) - size for n, size in zip(shift, one.shape))


class SequenceTest(InOwnFolder):
    def setUp(self):
        super().setUp()
        self.plan(PLAN)

    def plan(self, text):
        pathlib.Path("plan.toml").write_text(text, encoding="utf-8")

    def images(self):
        return sorted(str(path) for path in pathlib.Path(".").rglob("*.fits"))

    def test_tells_what_a_plan_takes(self):
        table, _ = run("sequence", str(EXAMPLE), "--dry-run", sim="T10C_C")
        self.assertIn("M_42/light/M_42_Ha_300s_001.fits ... M_42/light/M_42_Ha_300s_020.fits",
                      table)
        self.assertRegex(table, r"in all \d+:\d\d:\d\d, of which 21:00 for the cooling ramps")
        told = result("sequence", "plan.toml", "--dry-run", sim="T10C_C")
        bytes_of_image = 2880 * 2 + -(-320 * 240 * 2 // 2880) * 2880
        self.assertEqual(told["steps"][0]["bytes"], 12 * bytes_of_image)
        self.assertGreater(told["free"], 0)
        self.assertEqual(self.images(), [], "a dry run leaves nothing")
        self.assertFalse(os.path.exists("out"))
        _, message = run("sequence", "plan.toml", sim=COLD, code=2)
        self.assertIn("the plan has pauses", message)

    def test_goes_on_after_it_was_killed(self):
        command = ["sequence", "plan.toml", "--yes", "--sim", COLD + ",scene=stars"]
        started = subprocess.Popen([PROGRAM, *command], stdout=subprocess.DEVNULL,
                                   stderr=subprocess.DEVNULL)
        self.addCleanup(started.kill)
        deadline = time.monotonic() + LIMIT
        while len(self.images()) < 4 and time.monotonic() < deadline:
            time.sleep(0.01)
        started.send_signal(signal.SIGKILL)
        started.wait(timeout=LIMIT)
        before = {name: os.stat(name).st_mtime_ns for name in self.images()}
        self.assertLess(len(before), 12)
        report, told = run(*command[:-2], sim=command[-1])
        self.assertIn(f"{len(before)} of 14 images exist", told)
        self.assertIn("Cover the telescope.", told)
        self.assertIn(f"{14 - len(before)} of {14 - len(before)} images in", report)
        self.assertEqual({name: os.stat(name).st_mtime_ns for name in before}, before)
        self.assertEqual(len(self.images()), 14)
        cards = header("out/light/M_42_Ha_12.fits")
        self.assertEqual([cards[key] for key in ("OBJECT", "FILTER", "IMAGETYP", "GAIN", "SET-TEMP",
                                                 "NAXIS1", "EXPTIME")],
                         ["M 42", "Ha", "Light Frame", 90, -10, 320, 0.15])
        cards = header("out/dark/M_42_01.fits")
        self.assertEqual((cards["IMAGETYP"], cards["BITPIX"]), ("Dark Frame", 8))
        self.assertNotEqual(cards["GAIN"], 90, "a step does not inherit from the one before")
        lines = pathlib.Path("done.txt").read_text(encoding="utf-8").split()
        self.assertLessEqual(set(self.images()) - set(lines), set(before))
        _, told = run(*command[:-2], sim=command[-1])
        self.assertIn("14 of 14 images exist", told)

    def test_is_stopped_and_waits_for_its_camera(self):
        steps = ["light:30x40ms:L", "--roi", "320x240", "-o", "a_%02d.fits"]
        report, told = run("sequence", *steps, sim="T15C,fault=any unplug at 400", code=5)
        self.assertIn("was unplugged", told)
        kept = len(self.images())
        self.assertIn(f"{kept} of 30 images", report)
        self.assertGreater(kept, 0)
        _, told = run("sequence", *steps, "--resume", sim="T15C,fault=any replug 300 at 400")
        self.assertIn("is back", told)
        self.assertEqual(len(self.images()), 30)
        started = subprocess.Popen(
            [PROGRAM, "sequence", *steps, "--restart", "--sim", "T15C"], stdout=subprocess.PIPE,
            stderr=subprocess.PIPE, text=True)
        self.addCleanup(started.kill)
        time.sleep(0.3)
        started.send_signal(signal.SIGINT)
        told = started.communicate(timeout=LIMIT)[1]
        self.assertEqual(started.returncode, 130, told)

    def test_a_failed_command_is_told(self):
        self.plan('command = "exit 4 #"\n[[step]]\nexposure = "10ms"\ncount = 3\n')
        _, told = run("sequence", "plan.toml", "-o", "a_%d.fits")
        self.assertEqual(told.count("failed: exit code 4"), 3)
        self.plan('command = "exit 4 #"\ncommand_must_succeed = true\n'
                  '[[step]]\nexposure = "10ms"\ncount = 3\n')
        run("sequence", "plan.toml", "-o", "b_%d.fits", code=1)
        self.assertEqual(len(self.images()), 4)

    def test_dithers_between_light_images(self):
        self.plan('dither = { pixels = 60, pixels_per_second = 100, every = 2, settle = "300ms" }\n'
                  '[[step]]\nexposure = "100ms"\ncount = 4\nroi = "640x480"\n'
                  '[[step]]\nkind = "dark"\nexposure = "100ms"\ncount = 3\nroi = "640x480"\n')
        run("sequence", "plan.toml", "-o", "{kind}_%d.fits",
            sim="T15C,scene=stars,light=5,guide-rate=100")
        pictures = {name: picture(name) for name in self.images()}
        shift = {pair: moved(pictures[f"{pair[0]}.fits"], pictures[f"{pair[1]}.fits"])
                 for pair in (("light_1", "light_2"), ("light_2", "light_3"),
                              ("light_3", "light_4"), ("dark_1", "dark_3"))}
        self.assertNotEqual(shift["light_2", "light_3"], (0, 0), shift)
        self.assertLessEqual(max(map(abs, shift["light_2", "light_3"])), 63)
        for still in (("light_1", "light_2"), ("light_3", "light_4"), ("dark_1", "dark_3")):
            self.assertEqual(shift[still], (0, 0), shift)

    def test_leaves_the_settings_as_they_were(self):
        run("set", "gain=77", "exposure=30ms")
        self.plan('[[step]]\nexposure = "10ms"\ngain = 200\n[[step]]\nkind = "dark"\n'
                  'exposure = "11ms"\n')
        run("sequence", "plan.toml", "-o", "{kind}.fits")
        self.assertEqual(header("dark.fits")["GAIN"], 77)
        self.assertEqual(run("get", "gain", "exposure")[0], "Gain=77\nExposure=30000us\n")

    def test_refuses_what_the_camera_cannot_do_before_it_begins(self):
        for step in ('exposure = "10ms"\ngain = 9999', 'exposure = "10ms"\nbin = 7',
                     'exposure = "10ms"\ntype = "rgb99"', 'exposure = "10h"',
                     'exposure = "10ms"\nroi = "333x240"'):
            self.plan('[[step]]\nexposure = "10ms"\n[[step]]\n' + step)
            _, told = run("sequence", "plan.toml", "-o", "x/a_%d.fits", code=2)
            self.assertNotEqual(told, "")
        self.assertFalse(os.path.exists("x"), "no folder, no image")
        run("sequence", "missing.toml", code=6)
        run("sequence", "light:1x1s", code=2)
        run("sequence", "light:1x1s", "--gain", "100:auto", "-o", "a.fits", code=2)


if __name__ == "__main__":
    unittest.main(verbosity=1)
