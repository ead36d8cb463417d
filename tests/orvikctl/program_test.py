#!/usr/bin/env python3
"""Runs orvikctl as a user would, on virtual cameras. Usage: program_test.py ORVIKCTL"""
import json
import os
import signal
import struct
import subprocess
import time
import unittest

from program import LIMIT, PROGRAM, InOwnFolder, contents, offered_models, result, run

SMALL = ["--roi", "320x240", "--exposure", "2ms"]


def has(model):
    """Whether a model can be plugged, and the library drives it."""
    return (model in offered_models()
            and result("list", sim=model)[0]["name"] == f"Vek {model}")


class ProgramTest(InOwnFolder):
    def test_chooses_among_cameras(self):
        plugged = {"AAAA0001": "T15C", "BBBB0002": "T15C", "CCCC0003": "T15C"}
        if has("T10M"):
            plugged["BBBB0002"] = "T10M"  # listed before the others, whatever was plugged first
        sims = [part for serial, model in plugged.items()
                for part in ("--sim", f"{model},serial={serial}")]
        cameras = json.loads(run("list", "--json", *sims, sim=None)[0])
        self.assertEqual([camera["index"] for camera in cameras], [0, 1, 2])
        names = {camera["serial"].upper(): camera["name"] for camera in cameras}
        self.assertEqual(names, {serial: f"Vek {model}" for serial, model in plugged.items()})
        index = [camera["serial"].upper() for camera in cameras].index("BBBB0002")
        for key in ("bbbb0002", str(index), cameras[index]["port"]):
            chosen = json.loads(run("info", "--json", "--camera", key, *sims, sim=None)[0])
            self.assertEqual(chosen["serial"].upper(), "BBBB0002")
        _, message = run("info", *sims, sim=None, code=3)
        self.assertIn("CCCC0003", message.upper())
        run("info", "--camera", "7", *sims, sim=None, code=3)

    def test_names_the_camera_that_is_meant(self):
        twins = ["--sim", "T15C,serial=AAAA0001", "--sim", "T14C,serial=AAAA0001"]
        _, message = run("info", "--camera", "aaaa0001", *twins, sim=None, code=3)
        self.assertIn("by its port", message)
        self.assertIn("2-2", message)
        self.assertEqual(json.loads(run("info", "--json", "--camera", "2-2", *twins,
                                        sim=None)[0])["name"], "Vek T14C")
        busy = "T15C,serial=BBBB0002,fault=open refuse from 2"
        self.assertIn("opening Vek T15C BBBB0002", run("info", sim=busy, code=4)[1])
        gone = "T15C,serial=BBBB0002,fault=bulk unplug at 3"
        self.assertIn("Vek T15C BBBB0002 was unplugged",
                      run("video", *SMALL, "--duration", "60s", "-o", "a.ser", sim=gone,
                          code=5)[1])

    def test_knows_a_monochrome_camera(self):
        if not has("T10M"):
            self.skipTest("no monochrome camera is driven")
        info = result("info", sim="T10M")
        self.assertEqual((info["colour"], info["bayer"]), (False, None))
        for bad in (["--type", "rgb24"], ["--wb", "50,50"]):
            run("snap", *bad, "-o", "a.png", sim="T10M", code=2)
        run("snap", *SMALL, "-o", "a.fits", sim="T10M")
        self.assertNotIn("BAYERPAT", contents("a.fits")[:5760].decode("ascii", "replace"))

    def test_tells_what_a_camera_is(self):
        info = result("info")
        self.assertEqual((info["width"], info["height"], info["bayer"]), (1304, 976, "RGGB"))
        self.assertEqual(info["imageTypes"], ["raw8", "rgb24", "y8", "raw16"])
        self.assertEqual(info["bins"], [1, 2, 3, 4])
        self.assertEqual(info["usbPort"], 3)
        self.assertIn("1304x976", run("list")[0])

    def test_reads_and_sets_controls(self):
        controls = {control["name"]: control for control in result("controls")}
        self.assertEqual((controls["Gain"]["min"], controls["Gain"]["max"]), (0, 600))
        self.assertEqual(controls["Exposure"]["unit"], "us")
        self.assertFalse(controls["Temperature"]["writable"])
        self.assertEqual(run("set", "gain=123", "EXPOSURE=20ms")[0], "Gain=123\nExposure=20000us\n")
        self.assertRegex(run("get", "auto-exp-max-gain")[0], r"^AutoExpMaxGain=\d+\n$")
        for bad in ("gain=601", "gain=x", "gain", "nothing=1", "temperature=1", "gamma=50:auto",
                    "exposure=1us", "exposure=2000s"):
            output, message = run("set", "flip=1", bad, code=2)
            self.assertEqual(output, "", "nothing is set when one of the values is wrong")
            self.assertTrue(message.startswith("orvikctl: "), message)

    def test_replays_a_recording(self):
        os.environ["ORVIK_RECORD_WHOLE"] = "1"
        self.addCleanup(os.environ.pop, "ORVIK_RECORD_WHOLE")
        snap = ["snap", *SMALL, "--type", "raw8"]
        run("set", "gain=77")
        settings = os.path.join(self.settings.name, "orvik", "virtual", "settings.json")
        begun_with = contents(settings)
        run(*snap, "--record", "night.txt", "-o", "seen.fits")
        changed = contents(settings)
        with open("settings.json", "wb") as file:
            file.write(begun_with)

        replay = ["--replay", "night.txt", "--replay-settings", "settings.json"]
        for image in ("first.fits", "second.fits"):
            _, told = run(*snap, *replay, "-o", image, sim=None)
            self.assertNotIn("replay", told)
            self.assertEqual(contents(image)[-77760:], contents("seen.fits")[-77760:], "pixels")
        self.assertEqual(contents(settings), changed, "a replay keeps no settings")

        _, told = run(*snap, "--gain", "300", *replay, "-o", "other.png", sim=None, code=None)
        self.assertIn("not recorded: request", told)
        _, told = run(*snap, "--replay", "nothing.txt", "-o", "none.png", sim=None, code=3)
        self.assertIn("nothing.txt: it cannot be read.", told)
        run(*snap, *replay, "-o", "both.png", code=2)
        run(*snap, *replay[:2], "--replay-settings", "no.json", "-o", "no.png", sim=None, code=6)

    def test_takes_snapshots(self):
        report = result("snap", *SMALL, "--gain", "50", "-o", "a.fits")
        self.assertEqual((report["frames"], report["type"]), (1, "raw16"))
        header = contents("a.fits")[:2880].decode("ascii")
        for card in ("BITPIX  =                   16", "GAIN    =                   50",
                     "EXPTIME =                0.002", "BAYERPAT= 'RGGB", "DATE-OBS= '20"):
            self.assertIn(card, header)
        run("snap", *SMALL, "-o", "a.fits", code=6)
        run("snap", *SMALL, "-o", "a.fits", "--overwrite", "--type", "raw8", "--flip", "both")
        self.assertIn("BAYERPAT= 'BGGR", contents("a.fits")[:2880].decode("ascii"))
        result("snap", *SMALL, "--type", "rgb24", "-n", "3", "-o", "b-%02d.png")
        self.assertEqual(sorted(os.listdir()), ["a.fits", "b-01.png", "b-02.png", "b-03.png"])
        for depth_and_colour, kind in ((b"\x08\x02", "rgb24"), (b"\x10\x00", "raw16"),
                                       (b"\x08\x00", "y8")):
            run("snap", *SMALL, "--type", kind, "-o", f"{kind}.png")
            self.assertEqual(contents(f"{kind}.png")[24:26], depth_and_colour)

    def test_keeps_region_and_bin(self):
        for options, size in ((["--bin", "1"], (1304, 976)), (["--bin", "2"], (652, 488)),
                              (["--bin", "3"], (432, 324)), (["--roi", "64x48+100+50"], (64, 48))):
            report = result("snap", "--exposure", "1ms", *options, "-o", "a.png", "--overwrite")
            self.assertEqual((report["width"], report["height"]), size)
            self.assertEqual(struct.unpack(">2I", contents("a.png")[16:24]), size)

    def test_refuses_what_the_camera_cannot_do(self):
        for bad in (["--bin", "5"], ["--roi", "333x240"], ["--roi", "4000x240"], ["--roi", "big"],
                    ["--exposure", "1h"], ["--gain", "9999"], ["--type", "jpeg"], ["--count", "0"],
                    ["--wb", "50"], ["--count", "2"]):
            run("snap", *bad, "-o", "a.png", code=2)
        run("snap", "-o", "no/such/folder/a.png", code=6)
        run("snap", "-o", "a.tiff", code=2)
        run("snap", code=2)
        run("video", "--duration", "long", "-o", "a.ser", code=2)
        run("info", sim="T99X", code=2)
        self.assertEqual(os.listdir(), [])

    def check_ser(self, name, frames):
        data = contents(name)
        colour, endian, width, height, bits, count = struct.unpack("<6i", data[18:42])
        self.assertEqual((colour, endian, width, height), (8, 0, 320, 240))
        self.assertEqual(count, frames)
        self.assertEqual(len(data), 178 + frames * (width * height * bits // 8 + 8))
        times = struct.unpack(f"<{frames}q", data[len(data) - 8 * frames:])
        self.assertEqual(list(times), sorted(times))
        unix = times[-1] / 1e7 - 62135596800
        self.assertLess(abs(time.time() - unix), LIMIT, "the last frame was taken just now")

    def test_records_video(self):
        report = result("video", *SMALL, "--count", "20", "--buffer", "1", "-o", "a.ser")
        self.assertEqual(report["frames"], 20)
        self.assertGreater(report["framesPerSecond"], 0)
        self.assertGreaterEqual(report["lost"], 0)
        self.check_ser("a.ser", 20)
        report = result("video", *SMALL, "--type", "raw16", "--duration", "500ms", "-o", "b.ser")
        self.assertGreater(report["frames"], 0)
        self.check_ser("b.ser", report["frames"])
        run("video", *SMALL, "--count", "4", "-o", "c%03d.fits")
        self.assertEqual(len([name for name in os.listdir() if name.startswith("c00")]), 4)

    def interrupt(self, arguments, is_running, number):
        started = subprocess.Popen([PROGRAM, *arguments, "--sim", "T15C"], stdout=subprocess.PIPE,
                                   stderr=subprocess.PIPE)
        self.addCleanup(started.kill)
        deadline = time.monotonic() + LIMIT
        while not is_running() and started.poll() is None and time.monotonic() < deadline:
            time.sleep(0.01)
        started.send_signal(number)
        started.communicate(timeout=10)  # far less than the exposure
        self.assertEqual(started.returncode, 130)

    def test_an_interrupted_video_can_be_read(self):
        def has_frames():
            return os.path.exists("a.ser") and os.path.getsize("a.ser") > 178 + 5 * 320 * 240
        self.interrupt(["video", *SMALL, "-o", "a.ser"], has_frames, signal.SIGINT)
        frames = struct.unpack("<i", contents("a.ser")[38:42])[0]
        self.assertGreaterEqual(frames, 5)
        self.check_ser("a.ser", frames)

    def test_an_interrupted_exposure_leaves_nothing(self):
        begun = time.monotonic()
        self.interrupt(["snap", "--exposure", "300s", "-o", "a.fits"],
                       lambda: time.monotonic() - begun > 1, signal.SIGTERM)
        self.interrupt(["video", "--exposure", "300s", "-o", "a.ser"],
                       lambda: os.path.exists("a.ser"), signal.SIGINT)
        self.assertEqual(os.listdir(), [])

    def test_a_full_disk_ends_a_recording_with_what_fits(self):
        os.symlink("/dev/full", "full.ser")
        _, message = run("video", *SMALL, "--count", "5", "-o", "full.ser", "--overwrite", code=6)
        self.assertIn("No space left on device", message)
        # Three frames and a half fit.
        limited = subprocess.run(
            ["bash", "-c", 'ulimit -f 263; exec "$@"', "-", PROGRAM, "video", *SMALL, "--sim",
             "T15C", "--count", "9", "-o", "a.ser"], capture_output=True, text=True, timeout=LIMIT)
        self.assertEqual(limited.returncode, 6, limited.stderr)
        self.check_ser("a.ser", 3)

    def test_explains_itself(self):
        usage, _ = run("--help", sim=None)
        for command in ("list", "info", "controls", "get", "set", "snap", "video"):
            self.assertIn(command, usage)
            self.assertIn("--sim", run(command, "--help", sim=None)[0])
        _, message = run("snap", "--type", "raw8", code=2)
        self.assertIn("orvikctl snap --help", message)
        run(sim=None, code=2)


if __name__ == "__main__":
    unittest.main(verbosity=1)
