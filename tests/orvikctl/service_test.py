#!/usr/bin/env python3
"""Runs orvikctl's service commands on virtual cameras. Usage: service_test.py ORVIKCTL"""
import os
import signal
import struct
import subprocess
import time
import unittest

from program import LIMIT, PROGRAM, InOwnFolder, contents, result, run

# A virtual camera that keeps its flash from run to run, in the dark.
KEPT = "T15C,flash=flash.bin,scene=dark,pace=free"
COOLED = "T13C_C,ambient=20"


def firmware(data, entry=0x1000):
    return (b"CY\0\xb0" + struct.pack("<II", len(data) // 4, entry) + data
            + struct.pack("<II", 0, entry))


def write(name, data):
    with open(name, "wb") as file:
        file.write(data)


class ServiceTest(InOwnFolder):
    def test_keeps_a_mark(self):
        run("id", "get", sim=KEPT, code=5)
        _, message = run("id", "set", "guide scope", sim=KEPT, code=2)
        self.assertIn("--yes", message)
        run("id", "get", sim=KEPT, code=5)
        self.assertEqual(run("id", "set", "guide scope", "--yes", sim=KEPT)[0], "guide scope\n")
        self.assertEqual(run("id", "get", sim=KEPT)[0], "guide scope\n")
        self.assertEqual(result("id", "get", sim=KEPT)["hex"], b"guide scope".hex().ljust(64, "0"))
        run("id", "set", "00ff", "--hex", "--yes", sim=KEPT)
        self.assertIsNone(result("id", "get", sim=KEPT)["text"])
        for bad in (["x" * 33], ["0", "--hex"], ["0g", "--hex"]):
            run("id", "set", *bad, "--yes", sim=KEPT, code=2)
        self.assertEqual(run("id", "get", sim=KEPT)[0], "00ff".ljust(64, "0") + "\n")
        # The library has verified its writing by then: what it read back last is compared as well.
        _, message = run("id", "set", "x", "--yes", sim=KEPT + ",fault=control C3 flip 4 from 3",
                         code=5)
        self.assertIn("instead of the mark that was written", message)

    def test_takes_a_dark_and_keeps_it_in_use(self):
        self.assertFalse(result("dark", "info", sim=KEPT)["inUse"])
        taken = result("dark", "record", "--exposure", "500ms", "-o", "dark.bmp", sim=KEPT)
        self.assertFalse(taken["inUse"])
        self.assertGreater(taken["hotPixels"], 0)
        self.assertEqual(os.path.getsize("dark.bmp"), 1078 + 1304 * 976)
        run("dark", "record", "-o", "dark.bmp", sim=KEPT, code=6)
        used = result("dark", "use", "dark.bmp", sim=KEPT)
        self.assertEqual((used["inUse"], used["file"]), (True, os.path.realpath("dark.bmp")))
        self.assertEqual(result("dark", "info", sim=KEPT), used, "another run finds it in use")
        self.assertEqual(os.listdir(os.path.join(self.settings.name, "orvik")), ["virtual"],
                         "the settings of real cameras are left alone")
        os.environ["XDG_CONFIG_HOME"] = os.path.realpath("dark.bmp")  # no folder
        run("dark", "use", "dark.bmp", sim=KEPT, code=6)
        run("set", "gain=1", sim=KEPT, code=6)
        os.environ["XDG_CONFIG_HOME"] = self.settings.name
        run("dark", "off", sim=KEPT)
        self.assertFalse(result("dark", "info", sim=KEPT)["inUse"])
        write("other.bmp", contents("dark.bmp")[:2000])
        for bad, code in (("other.bmp", 6), ("none.bmp", 6), ("d" * 300, 2)):
            run("dark", "use", bad, sim=KEPT, code=code)

    def test_finds_hot_pixels_and_has_the_camera_keep_them(self):
        run("hotpixels", "show", sim=KEPT, code=5)
        run("hotpixels", "detect", sim=KEPT, code=2)
        run("dark", "record", "--exposure", "500ms", "-o", "dark.bmp", sim=KEPT)
        found = result("hotpixels", "detect", "--dark", "dark.bmp", "-o", "hot.csv", sim=KEPT)
        lines = contents("hot.csv").decode().splitlines()
        self.assertEqual(lines[0], "x,y")
        self.assertEqual(len(lines) - 1, found["hotPixels"])
        x, y = map(int, lines[1].split(","))
        self.assertGreaterEqual(contents("dark.bmp")[1078 + y * 1304 + x], 31)
        run("hotpixels", "save", "--dark", "dark.bmp", sim=KEPT, code=2)
        run("hotpixels", "show", sim=KEPT, code=5)
        run("hotpixels", "save", "--dark", "dark.bmp", "--yes", sim=KEPT)
        self.assertEqual(result("hotpixels", "show", "-o", "kept.csv", sim=KEPT)["hotPixels"],
                         found["hotPixels"])
        self.assertEqual(contents("kept.csv"), contents("hot.csv"))

    def test_serves_firmware_and_flash(self):
        image = firmware(bytes(range(256)) * 300)
        write("fw.img", image)
        self.assertEqual(result("firmware", "info")["firmware"], 18)
        told = result("firmware", "info", "fw.img", sim=None)
        self.assertEqual((told["format"], told["dataBytes"], told["fitsFlash"]),
                         ("sections", 76800, True))
        run("firmware", "flash", "fw.img", sim=KEPT, code=2)
        run("firmware", "verify", "fw.img", sim=KEPT, code=5)
        run("firmware", "flash", "fw.img", "--yes", sim=KEPT)
        run("firmware", "verify", "fw.img", sim=KEPT)
        run("firmware", "load", "fw.img", "--yes", sim=KEPT)
        self.assertEqual(result("flash", "dump", "-o", "dump.bin", sim=KEPT)["bytes"], 0x80000)
        self.assertEqual(contents("dump.bin"), contents("flash.bin")[:0x80000])
        self.assertEqual(contents("dump.bin")[:len(image)], image)
        run("flash", "dump", "-o", "dump.bin", sim=KEPT, code=6)
        run("flash", "dump", "-o", "part.bin", "--address", "0x100", "--size", "300", sim=KEPT)
        self.assertEqual(contents("part.bin"), image[256:556])

        before = contents("flash.bin")
        write("cut.img", image[:-100])
        write("long.img", firmware(bytes(0x40000)))
        for bad in ("cut.img", "long.img", "none.img"):
            code = 6 if bad == "none.img" else 2
            run("firmware", "flash", bad, "--yes", sim=KEPT, code=code)
        self.assertEqual(contents("flash.bin"), before)
        for command in ("load", "flash"):
            told = run("firmware", command, "fw.img", "--yes", sim="T06C", code=2)[1]
            self.assertIn("USB 3 cameras", told)

    def test_guides(self):
        begun = time.monotonic()
        self.assertEqual(result("guide", "3", "300ms"),
                         {"line": 3, "milliseconds": 300, "complete": True})
        self.assertGreater(time.monotonic() - begun, 0.3)
        for bad in (["4", "100ms"], ["-1", "100ms"], ["0", "61s"], ["0", "100"], ["0", "long"], ["0"]):
            run("guide", *bad, code=2)
        # The longest pulse, cut short.
        self.interrupt(["guide", "0", "60s", "--sim", "T15C"])

    def interrupt(self, arguments, after=1.0):
        """Sends Ctrl-C. Returns what the program wrote."""
        started = subprocess.Popen([PROGRAM, *arguments], stdout=subprocess.PIPE,
                                   stderr=subprocess.PIPE, text=True)
        self.addCleanup(started.kill)
        time.sleep(after)
        started.send_signal(signal.SIGINT)
        output, _ = started.communicate(timeout=LIMIT / 2)
        self.assertEqual(started.returncode, 130)
        return output

    def test_cools_along_a_ramp(self):
        lines = run("cool", "--target", "15", "--rate", "60", "--duration", "6s", "--every", "1s",
                    "--no-warm-up", sim=COOLED)[0].splitlines()
        targets = [int(line.split("target ")[1].split()[0]) for line in lines]
        self.assertEqual(targets, sorted(targets, reverse=True))
        self.assertEqual((targets[0], targets[-1]), (20, 15))
        told = result("cool", "--target", "19", "--rate", "60", "--duration", "1s", sim=COOLED)
        self.assertEqual((told["start"], told["target"]), (20, 19))
        lines = self.interrupt(["cool", "--target", "15", "--rate", "60", "--every", "100ms", "--sim",
                                COOLED], after=3.0).splitlines()
        targets = [int(line.split("target ")[1].split()[0]) for line in lines]
        self.assertGreater(targets[-1], min(targets), "the first Ctrl-C begins the warm-up")
        for bad in (["--target", "-99"], ["--target", "0", "--rate", "0"],
                    ["--target", "0", "--duration", "soon"], []):
            run("cool", *bad, sim=COOLED, code=2)
        run("cool", "--target", "0", code=2)


if __name__ == "__main__":
    unittest.main(verbosity=1)
