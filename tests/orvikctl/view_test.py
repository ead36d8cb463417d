#!/usr/bin/env python3
"""Looking at files and at the running camera. Usage: view_test.py ORVIKCTL"""
import json
import signal
import subprocess
import unittest

from program import LIMIT, PROGRAM, InOwnFolder, contents, result, run

try:
    import numpy
    from astropy.io import fits
except ImportError:
    fits = None

STARS = "T15C,scene=stars,pace=free"
MOON = "T15C,scene=moon,pace=free"


def measures(name, *options):
    return result("view", name, *options, sim=None)


class ViewTest(InOwnFolder):
    def test_measures_what_was_captured(self):
        for name in ("a.fits", "a.png"):
            run("snap", "--type", "raw16", "--exposure", "2ms", "-o", name, sim=MOON)
            told = measures(name)
            self.assertEqual((told["width"], told["height"], told["bits"], told["mosaic"]),
                             (1304, 976, 16, "RGGB"))
            self.assertLess(told["median"], told["max"])
            self.assertEqual(told["header"]["exposure"], "2 ms")
        run("video", "--roi", "320x240", "--type", "rgb24", "-n", "3", "-o", "a.ser", sim=MOON)
        told = measures("a.ser", "--frame", "3")
        self.assertEqual((told["frame"], told["frames"], told["channels"]), (3, 3, 3))
        self.assertIn("1 to 3", run("view", "a.ser", "--frame", "4", sim=None, code=6)[1])

    @unittest.skipUnless(fits, "no astropy")
    def test_reads_files_of_other_programs(self):
        ramp = numpy.arange(1200).reshape(30, 40)
        for name, data, told in (
                ("float", (ramp / 1199).astype("f4"), (16, 1, 0, 65535)),
                ("counts", ramp.astype("f8"), (16, 1, 0, 1199)),
                ("bytes", (ramp % 251).astype("u1"), (8, 1, 0, 250)),
                ("words", (ramp * 50).astype("u2"), (16, 1, 0, 59950)),
                ("signed", (ramp - 600).astype("i2"), (16, 1, 0, 65535)),
                ("large", (ramp * 1000).astype("i4"), (16, 1, 0, 65535)),
                ("cube", numpy.stack([ramp, ramp + 7, ramp * 2]).astype("u2"), (16, 3, 0, 2398))):
            with self.subTest(name):
                fits.PrimaryHDU(data).writeto("a.fits", overwrite=True)
                seen = measures("a.fits")
                self.assertEqual((seen["width"], seen["height"]), (40, 30))
                self.assertEqual((seen["bits"], seen["channels"], seen["min"], seen["max"]), told)
        fits.HDUList([fits.PrimaryHDU(), fits.CompImageHDU(ramp.astype("i4"))]).writeto(
            "packed.fits")
        self.assertIn("funpack", run("view", "packed.fits", sim=None, code=6)[1])
        # The last row of a file is the top one, unless it says otherwise.
        fits.PrimaryHDU(numpy.repeat([[0], [255]], 40, axis=1).repeat(15, axis=0)
                        .astype("u1")).writeto("b.fits")
        text = run("view", "b.fits", "--stretch", "linear", "--size", "40x16", sim=None)[0]
        self.assertIn("████", text.splitlines()[0])
        self.assertNotIn("█", text.splitlines()[14])

    def test_shows_text_where_there_is_no_terminal(self):
        run("snap", "--exposure", "2ms", "-o", "a.fits", sim=MOON)
        plain = run("view", "a.fits", "--size", "60x20", sim=None)[0]
        lines = plain.splitlines()
        self.assertEqual(len(lines), 20)
        self.assertTrue(all(len(line) <= 60 for line in lines[:-1]))
        self.assertNotIn("\x1b", plain)
        self.assertIn("saturated", lines[-1])
        piped = subprocess.run([PROGRAM, "view", "-", "--size", "60x20"], input=contents("a.fits"),
                               capture_output=True, timeout=LIMIT, check=True)
        self.assertEqual(piped.stdout.decode(), plain)
        for mode, begin in (("sixel", "\x1bP"), ("kitty", "\x1b_G"), ("half", "\x1b[")):
            coloured = run("view", "a.fits", "--mode", mode, "--colours", "true", sim=None)[0]
            self.assertIn(begin, coloured)

    def test_writes_the_stretched_picture(self):
        run("snap", "--exposure", "1ms", "--gain", "0", "-o", "a.fits", sim=STARS)
        run("view", "a.fits", "--crop", "200x100+8+8", "-o", "a.png", sim=None)
        self.assertIn("a.png", run("view", "a.fits", "-o", "a.png", sim=None, code=6)[1])
        picture = measures("a.png")
        self.assertEqual((picture["width"], picture["height"], picture["bits"]), (200, 100, 8))
        raw = measures("a.fits")
        self.assertGreater(picture["median"] / 255, 2 * raw["median"] / 65535)
        piped = subprocess.run([PROGRAM, "view", "a.fits", "-o", "-"], stdout=subprocess.PIPE,
                               timeout=LIMIT, check=True)
        self.assertTrue(piped.stdout.startswith(b"\x89PNG"))
        run("view", "--live", "-o", "live.png", sim=STARS)
        self.assertEqual(measures("live.png")["width"], 1304)

    def test_says_what_is_wrong(self):
        with open("text.fits", "w") as file:
            file.write("no image")
        for arguments, code, message in (
                ([], 2, "--live"), (["a", "--live"], 2, "--live"), (["missing.fits"], 6, "missing"),
                (["text.fits"], 6, "no FITS, PNG or SER"), (["/"], 6, "directory"),
                (["text.fits", "--crop", "9"], 2, "--crop"),
                (["--live", "--duration", "5"], 2, "--duration")):
            self.assertIn(message, run("view", *arguments, code=code)[1], arguments)

    def test_looks_at_the_running_camera(self):
        text = run("view", "--live", "--exposure", "10ms", "-n", "2", "--size", "40x10",
                   sim=STARS)[0]
        self.assertIn("10 ms", text.splitlines()[9])
        lines = run("view", "--live", "--exposure", "10ms", "--json", "-n", "3", sim=STARS)[0]
        self.assertEqual(json.loads(lines.splitlines()[-1])["exposureUs"], 10000)
        run("view", "--live", "--duration", "300ms", "--json", sim=STARS)
        run("view", "--live", "--json", sim="T15C,fault=bulk unplug at 5", code=5)


class FocusTest(InOwnFolder):
    def lines(self, *options, sim=STARS, **more):
        text, errors = run("focus", "--json", *options, sim=sim, **more)
        return [json.loads(line) for line in text.splitlines()], errors

    def test_measures_stars(self):
        frames, told = self.lines("--exposure", "50ms", "--gain", "100", "-n", "5")
        self.assertEqual([frame["frame"] for frame in frames], [1, 2, 3, 4, 5])
        for frame in frames:
            self.assertGreater(frame["stars"], 3)
            self.assertTrue(0.8 < frame["hfr"] < 4, frame)
            self.assertLess(frame["hfr"], frame["fwhm"])
            self.assertLessEqual(frame["best"], frame["hfr"])
        self.assertIn("best HFR %.2f" % frames[-1]["best"], told)

    def test_tells_where_the_focus_is(self):
        # The telescope goes through the focus in the middle of the time.
        frames, _ = self.lines("--exposure", "50ms", "--gain", "100", "--duration", "6s",
                               sim="T15C,scene=stars,focus=5:-5:6")
        radii = [frame["hfr"] for frame in frames if frame["hfr"]]
        best = radii.index(min(radii))
        self.assertEqual(frames[-1]["best"], radii[best])
        self.assertTrue(0.15 < best / len(radii) < 0.7, radii)
        self.assertGreater(radii[0], 1.5 * radii[best])
        self.assertGreater(radii[-1], 1.5 * radii[best])

    def test_follows_the_brightest_star(self):
        frames, _ = self.lines("--exposure", "50ms", "--gain", "100", "-n", "4", "--follow")
        self.assertLess(frames[-1]["stars"], frames[0]["stars"])
        for axis in ("x", "y"):  # as before, although the region begins elsewhere
            self.assertAlmostEqual(frames[-1][axis], frames[0][axis], delta=1)

    def test_takes_long_exposures_as_snapshots(self):
        frames, _ = self.lines("--exposure", "1s", "-n", "2")
        self.assertEqual(len(frames), 2)
        self.assertGreater(frames[0]["peak"], 255)  # of 16 bits

    def test_goes_on_without_stars(self):
        frames, told = self.lines("--exposure", "5ms", "-n", "3", sim="T15C,scene=grey,pace=free")
        self.assertEqual([frame["hfr"] for frame in frames], [None] * 3)
        self.assertIn("no star was found", told)
        self.assertIn("no star found", run("focus", "--exposure", "5ms", "-n", "1",
                                           sim="T15C,scene=grey,pace=free")[0])

    def test_ends_with_its_camera_and_with_its_user(self):
        frames, told = self.lines("--exposure", "20ms", code=5,
                                  sim=STARS + ",fault=bulk unplug at 9")
        self.assertTrue(frames)
        self.assertIn("unplugged", told)
        for interrupt in (True, False):  # or its reader goes away
            process = subprocess.Popen([PROGRAM, "focus", "--json", "--exposure", "20ms", "--sim",
                                        "T15C,scene=stars"], stdout=subprocess.PIPE,
                                       stderr=subprocess.DEVNULL)
            json.loads(process.stdout.readline())  # each line is there at once
            if interrupt:
                process.send_signal(signal.SIGINT)
                process.stdout.read()
            process.stdout.close()
            self.assertEqual(process.wait(timeout=LIMIT), 0)


if __name__ == "__main__":
    unittest.main(verbosity=1)
