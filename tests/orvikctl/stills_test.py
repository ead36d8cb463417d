#!/usr/bin/env python3
"""Cooled captures, series and flats, as an observer takes them. Usage: stills_test.py ORVIKCTL"""
import os
import shutil
import signal
import subprocess
import time
import unittest

from program import LIMIT, PROGRAM, InOwnFolder, header, result, run

SMALL = ["--roi", "320x240", "--exposure", "20ms"]
COLD = "T10C_C,ambient=-9.8"  # within a degree of -10 from the beginning
DARKS = ["--cool", "-10", "--ramp", "60", "--kind", "dark"]


class StillsTest(InOwnFolder):
    def files(self, beginning):
        return sorted(name for name in os.listdir() if name.startswith(beginning))

    def test_takes_cooled_darks(self):
        report, told = run("snap", *SMALL, *DARKS, "--count", "3", "--filter", "none", "-o",
                           "dark-%03d.fits", sim=COLD)
        self.assertIn("3 frames in", report)
        self.assertRegex(told, r"cooling from .* to -10 degC[^$]*holds -(9|10|11)\.\d degC"
                               r"[^$]*warming up")
        self.assertEqual(self.files("dark"), ["dark-001.fits", "dark-002.fits", "dark-003.fits"])
        cards = header("dark-003.fits")
        self.assertEqual((cards["IMAGETYP"], cards["SET-TEMP"], cards["FILTER"]),
                         ("Dark Frame", -10, "none"))
        self.assertLessEqual(abs(cards["CCD-TEMP"] + 10), 1.5)
        self.assertEqual(cards["EXPTIME"], 0.02)
        if shutil.which("fitsverify"):
            checked = subprocess.run(["fitsverify", "-q", *self.files("dark")],
                                     capture_output=True, text=True, timeout=LIMIT)
            self.assertEqual(checked.returncode, 0, checked.stdout)

    def test_refuses_what_cannot_be_cooled(self):
        for sim, options in (("T15C", ["--cool", "-10"]), (COLD, ["--cool", "-99"]),
                             (COLD, ["--cool", "-10", "--settle-time", "long"]),
                             (COLD, ["--settle"]), (COLD, ["--interval", "5"])):
            _, told = run("snap", *SMALL, *options, "-o", "a.fits", sim=sim, code=2)
            self.assertNotIn("cooling from", told)
        with open("a.fits", "w", encoding="ascii") as file:
            file.write("mine")
        _, told = run("snap", *SMALL, *DARKS, "-o", "a.fits", sim=COLD, code=6)
        self.assertNotIn("cooling from", told, "a file that exists is found before the cooling")

    def test_warms_up_whatever_ends_it(self):
        begun = ["snap", *SMALL, "--cool", "15", "--ramp", "60", "-o", "a-%d.fits", "-n", "9999"]
        started = subprocess.Popen([PROGRAM, *begun, "--sim", "T10C_C,ambient=20"],
                                   stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
        self.addCleanup(started.kill)
        self.assertIn("cooling from", started.stderr.readline())
        started.send_signal(signal.SIGINT)
        self.assertIn("warming up", started.stderr.readline())
        started.send_signal(signal.SIGINT)  # ends that as well
        started.communicate(timeout=LIMIT)
        self.assertEqual(started.returncode, 130)
        limited = subprocess.run(
            ["bash", "-c", 'ulimit -f 400; exec "$@"', "-", PROGRAM, "snap", *DARKS, "--type",
             "raw8", "-o", "big.fits", "--sim", COLD], capture_output=True, text=True,
            timeout=LIMIT)
        self.assertEqual(limited.returncode, 6, limited.stderr)
        self.assertRegex(limited.stderr, "Make room[^$]*warming up")

    def test_tells_the_brightness(self):
        grey = "T15C,scene=grey,light=2"
        series = result("snap", *SMALL, "-n", "2", "-o", "a%d.fits", sim=grey)["brightness"]
        self.assertLess(series["min"], series["median"])
        self.assertEqual(series["series"]["images"], 2)
        text, told = run("snap", *SMALL[:2], "--exposure", "2s", "-o", "b.fits", sim=grey)
        self.assertIn("saturated 100 %", text)
        self.assertIn("warning: 100.0 % of the samples are saturated", told)
        _, told = run("snap", *SMALL, "--kind", "dark", "-o", "c.fits", sim=grey)
        self.assertIn("does light reach the sensor", told)

    def test_takes_flats_of_a_brightness(self):
        for target, wide in (("50%", 0.5), ("15000", 15000 / 65535)):
            text, told = run("snap", "--target-adu", target, "-n", "2", "-o", "flat-%d.fits",
                             "--overwrite", sim="T15C,scene=grey")
            self.assertIn("trial: ", told)
            with self.subTest(text):
                from_text = int(text.split("median ")[1].split(",")[0])
                self.assertLess(abs(from_text / 65535 / wide - 1), 0.15)
        self.assertEqual(header("flat-2.fits")["IMAGETYP"], "Flat Frame")
        for light, words in (("0.001", "too weak"), ("1000", "too strong")):
            _, told = run("snap", "--target-adu", "50%", "--max-exposure", "200ms", "-o",
                          "none.fits", sim=f"T15C,scene=grey,light={light}", code=5)
            self.assertIn(words, told)
        for bad in (["99%"], ["1"], ["50%", "--exposure", "1s"], ["50%", "--max-exposure", "5"]):
            run("snap", "--target-adu", *bad, "-o", "none.fits", code=2)
        self.assertFalse(os.path.exists("none.fits"))

    def test_keeps_what_it_has_when_the_camera_is_unplugged(self):
        report, told = run("snap", *SMALL, "-n", "50", "-o", "a-%03d.fits", code=5,
                           sim="T15C,fault=any unplug at 300")
        kept = len(self.files("a-"))
        self.assertIn(f"{kept} frames in", report)
        self.assertIn("was unplugged", told)
        report, told = run("snap", *SMALL, "-n", "50", "--resume", "--continue", "-o",
                           "a-%03d.fits", sim="T15C,fault=any replug 300 at 300")
        self.assertIn("is back", told)
        self.assertIn("50 frames in", report)
        self.assertEqual(self.files("a-")[-1], f"a-{kept + 50:03d}.fits")

    def test_keeps_the_interval(self):
        begun = time.monotonic()
        run("snap", *SMALL, "-n", "4", "--interval", "400ms", "-o", "a-%d.fits")
        self.assertGreater(time.monotonic() - begun, 1.2)
        starts = [float(header(name)["DATE-OBS"].split(":")[-1]) for name in self.files("a-")]
        for one, next_one in zip(starts, starts[1:]):
            self.assertLess(abs((next_one - one) % 60 - 0.4), 0.15)


if __name__ == "__main__":
    unittest.main(verbosity=1)
