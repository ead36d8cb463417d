#!/usr/bin/env python3
"""Runs the examples on virtual cameras. Usage: examples_test.py FOLDER"""
import os
import re
import subprocess
import sys
import tempfile
import unittest

FOLDER = os.path.abspath(sys.argv.pop(1))
LIMIT = 120  # timeout of a run in seconds


def run(program, *arguments, good=True):
    """Runs an example and returns what it wrote to standard output and to standard error."""
    done = subprocess.run([os.path.join(FOLDER, program), *arguments], capture_output=True,
                          text=True, timeout=LIMIT, stdin=subprocess.DEVNULL)
    if (done.returncode == 0) != good:
        raise AssertionError(f"{program} {arguments}: {done.returncode}\n{done.stderr}")
    return done.stdout, done.stderr


def samples(name, largest):
    """The pixels of a PGM file, after its header."""
    with open(name, "rb") as file:
        data = file.read()
    header = f"P5\n1304 976\n{largest}\n".encode()
    if not data.startswith(header):
        raise AssertionError(f"{name}: {data[:20]}")
    return data[len(header):]


class ExamplesTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        os.chdir(folder.name)
        os.environ["XDG_CONFIG_HOME"] = folder.name

    def test_first_frame(self):
        output, _ = run("first_frame", "T15C")
        self.assertEqual(output, "Vek T15C: 1304 x 976 pixels\n")
        pixels = samples("first_frame.pgm", 255)
        self.assertEqual(len(pixels), 1304 * 976)
        self.assertGreater(len(set(pixels)), 20, "the Moon")

    def test_long_exposure(self):
        output, _ = run("long_exposure", "1.5", "T15C")
        self.assertEqual(output, "Vek T15C: 1.5 s\n")
        data = samples("long_exposure.pgm", 65535)
        self.assertEqual(len(data), 2 * 1304 * 976)
        # The converter gives 12 bits, which are the upper ones of 16: the low bits are zero.
        low = sum(byte & 0x0F for byte in data[1::2])
        self.assertEqual(low, 0)
        run("long_exposure", "0", "T15C", good=False)

    def test_video(self):
        output, _ = run("video", "1", "T15C")
        frames = int(re.match(r"Vek T15C: (\d+) frames, \d+ lost", output).group(1))
        self.assertGreater(frames, 0)
        self.assertEqual(os.path.getsize("video.raw"), frames * 320 * 240)

    def test_an_unplugged_camera_is_told(self):
        os.environ["ORVIK_SIM"] = "T15C,fault=bulk unplug at 30"
        self.addCleanup(os.environ.pop, "ORVIK_SIM")
        output, message = run("video", "30", good=False)
        frames = int(re.match(r"Vek T15C: (\d+) frames", output).group(1))
        self.assertIn(frames, range(1, 30))
        self.assertIn("unplugged", message)
        self.assertEqual(os.path.getsize("video.raw"), frames * 320 * 240)
        os.environ["ORVIK_SIM"] = "T15C,fault=bulk unplug at 1"
        _, message = run("long_exposure", "1.5", good=False)
        self.assertIn("unplugged", message)
        self.assertFalse(os.path.exists("long_exposure.pgm"))

    def test_cooling(self):
        # The sensor starts at the ambient temperature of 20, so the target is reached at once.
        output, _ = run("cooling", "20", "T13C_C")
        last = re.findall(r"([-\d.]+) degC", output)[-1]
        self.assertLessEqual(abs(float(last) - 20), 0.5)
        _, message = run("cooling", "0", "T15C", good=False)
        self.assertIn("no cooler", message)

    def test_guiding(self):
        output, _ = run("guiding", "4", "T15C")
        moves = re.findall(r"line (\d) moves the star by ([-+.\d]+), ([-+.\d]+) pixels", output)
        self.assertEqual([line for line, _, _ in moves], ["0", "2"])
        # 8 pixels a second along axes that are turned by 30 degrees.
        for (_, x, y), (right_x, right_y) in zip(moves, ((-4, 6.93), (6.93, 4))):
            self.assertLess(abs(float(x) - right_x) + abs(float(y) - right_y), 2)
        without, guided = (float(error) for error in re.findall(r"RMS error ([.\d]+)", output))
        self.assertLess(guided, without / 2, "the guider keeps the star in its place")
        run("guiding", "0", "T15C", good=False)

    def test_class_interface(self):
        output, _ = run("class_interface", "T13C_C")
        self.assertRegex(output, r"cameras: 1\nVek T13C COOL: 1304 x 976 pixels\n"
                                 r"region: 640 x 480, brightest pixel \d+\n"
                                 r"dark: 5 frames, hot pixels: \d+\n"
                                 r"sensor: [-\d.]+ degC, cooler at \d+ %\n")
        _, message = run("class_interface", "T15C", good=False)
        self.assertIn("opening the first T13C COOL", message)

    def test_tell_what_is_wrong(self):
        for program in ("first_frame", "long_exposure", "video", "cooling", "guiding",
                        "class_interface"):
            arguments = [] if program in ("first_frame", "class_interface") else ["1"]
            _, message = run(program, *arguments, "T99X", good=False)
            self.assertIn("T99X", message)


if __name__ == "__main__":
    unittest.main(verbosity=1)
