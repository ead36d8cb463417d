#!/usr/bin/env python3
"""Records video as an observer would, and opens it with ffmpeg. Usage: recording_test.py ORVIKCTL"""
import csv
import json
import os
import shutil
import signal
import struct
import subprocess
import time
import unittest

from program import LIMIT, PROGRAM, InOwnFolder, contents, result, run

SMALL = ["video", "--roi", "320x240", "--exposure", "2ms"]
FFMPEG = ["ffmpeg", "-hide_banner", "-loglevel", "error", "-nostdin", "-y"]


def frames_of(name):
    """Frames of a SER file, by its header; checks that the file has as much."""
    data = contents(name)
    count = struct.unpack("<i", data[38:42])[0]
    if len(data) < 178 + count * 320 * 240:
        raise AssertionError(f"{name}: {count} frames in {len(data)} bytes")
    return count


def decoded(name):
    """Frames that ffprobe can decode."""
    probe = ["ffprobe", "-v", "error", "-count_frames", "-show_entries", "stream=nb_read_frames",
             "-of", "csv=p=0", name]
    return int(subprocess.run(probe, capture_output=True, text=True, timeout=LIMIT).stdout)


def piped(arguments, reader, sim="T15C"):
    """Runs the program into another one; returns its exit code and messages."""
    with subprocess.Popen([PROGRAM, *SMALL, *arguments, "--sim", sim], stdout=subprocess.PIPE,
                          stderr=subprocess.PIPE, text=True) as camera:
        subprocess.run(reader, stdin=camera.stdout, stdout=subprocess.DEVNULL, timeout=LIMIT,
                       check=True)
        camera.stdout.close()
        messages = camera.stderr.read()
        return camera.wait(timeout=LIMIT), messages


class RecordingTest(InOwnFolder):
    def test_an_unplugged_camera_is_no_success(self):
        for output, first in (("a.ser", "a.ser"), ("b-%03d.fits", "b-001.fits")):
            report, message = run(*SMALL, "--duration", "60s", "--json", "-o", output, code=5,
                                  sim="T15C,serial=AAAA0001,fault=bulk unplug at 50")
            self.assertIn("Vek T15C AAAA0001 was unplugged", message)
            report = json.loads(report)
            self.assertIn(report["frames"], range(1, 50))  # a busy computer loses some
            self.assertTrue(os.path.exists(first))
            if first == "a.ser":
                self.assertEqual(os.path.getsize(first),
                                 178 + report["frames"] * (320 * 240 + 8))
            else:
                self.assertEqual(len(report["files"]), report["frames"])
        _, message = run(*SMALL, "--duration", "3s", "-o", "c.ser", code=5,
                         sim="T15C,fault=bulk stall from 20")
        self.assertIn("no frame for", message)
        _, message = run("video", "--exposure", "5s", "--duration", "500ms", "-o", "d.ser", code=5)
        self.assertIn("An exposure takes 5 s", message)
        self.assertFalse(os.path.exists("d.ser"))

    def test_goes_on_after_a_replug(self):
        sim = "T15C,fault=bulk replug 300 at 50"
        with open("a-2.ser", "w", encoding="ascii") as other:
            other.write("mine")
        report = result(*SMALL, "--count", "120", "--resume", "-o", "a.ser", sim=sim)
        self.assertEqual([part["path"] for part in report["parts"]], ["a.ser", "a-3.ser"])
        frames = [part["frames"] for part in report["parts"]]
        self.assertEqual([frames_of(part["path"]) for part in report["parts"]], frames)
        self.assertEqual(sum(frames), 120)
        self.assertIn(frames[0], range(1, 50))
        self.assertEqual(contents("a-2.ser"), b"mine")
        report = result(*SMALL, "--count", "60", "--resume", "-o", "b%02d.fits", sim=sim)
        self.assertEqual((len(report["parts"]), len(report["files"])), (2, 60))
        self.assertTrue(os.path.exists("b60.fits"))
        # The duration does not count the absence.
        report = result(*SMALL, "--duration", "1s", "--resume", "-o", "c.raw",
                        sim="T15C,fault=bulk replug 2000 at 50")
        self.assertEqual(len(report["parts"]), 2)

    def test_killed_it_leaves_what_can_be_read(self):
        started = subprocess.Popen([PROGRAM, *SMALL, "--sim", "T15C", "-o", "a.ser"],
                                   stderr=subprocess.DEVNULL, stdout=subprocess.DEVNULL)
        deadline = time.monotonic() + LIMIT
        while time.monotonic() < deadline and not (
                os.path.exists("a.ser") and os.path.getsize("a.ser") > 20 * 320 * 240):
            time.sleep(0.01)
        started.kill()
        started.wait(timeout=LIMIT)
        self.assertGreaterEqual(frames_of("a.ser"), 19)

    def test_a_reader_may_come_late_rest_and_leave(self):
        os.mkfifo("pipe")
        code, message = piped(["-o", "-", "--format", "raw"], ["head", "-c", "100000"])
        self.assertEqual(code, 0, "a recording without an end of its own")
        self.assertIn("has ended", message)
        self.assertIn("-pixel_format bayer_rggb8 -video_size 320x240", message)
        code, _ = piped(["--count", "500", "-o", "-", "--format", "ser"], ["head", "-c", "100000"])
        self.assertEqual(code, 6)
        started = subprocess.Popen([PROGRAM, *SMALL, "--sim", "T15C", "-o", "pipe", "--format",
                                    "ser", "--buffer", "1"], stderr=subprocess.PIPE, text=True,
                                   stdout=subprocess.DEVNULL)
        self.addCleanup(started.kill)
        with open("pipe", "rb") as reader:
            reader.read(178)  # the rest fills the pipe and the buffer
            begun = time.monotonic()
            started.send_signal(signal.SIGINT)
            started.communicate(timeout=LIMIT)
            self.assertLess(time.monotonic() - begun, 5)
        self.assertEqual(started.returncode, 130)
        waiting = subprocess.Popen([PROGRAM, *SMALL, "--sim", "T15C", "-o", "pipe", "--format",
                                    "raw"], stderr=subprocess.PIPE, text=True)
        self.assertIn("is a FIFO", waiting.stderr.readline())
        waiting.send_signal(signal.SIGINT)
        waiting.communicate(timeout=LIMIT)
        self.assertEqual(waiting.returncode, 130)
        _, message = run(*SMALL, "-o", "-", code=2)
        self.assertIn("--format", message)

    def test_a_reader_that_rests_costs_no_frame_that_the_buffer_holds(self):
        os.mkfifo("pipe")
        size, count = 1304 * 976, 30
        memory = {}
        for megabytes in (64, 2):
            with subprocess.Popen([PROGRAM, "video", "--sim", "T15C", "--exposure", "100ms",
                                   "--type", "raw8", "--count", str(count), "-o", "pipe",
                                   "--format", "ser", "--buffer", str(megabytes), "--json"],
                                  stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                                  text=True) as camera, open("pipe", "rb") as reader:
                self.addCleanup(camera.kill)
                data = reader.read(178 + size)
                time.sleep(2)  # some twenty frames
                status = contents(f"/proc/{camera.pid}/status").decode("ascii")
                memory[megabytes] = int(status.split("VmRSS:")[1].split()[0]) * 1024
                data += reader.read()
                report = json.loads(camera.stdout.read())
            self.assertEqual(len(data), 178 + count * (size + 8))
            ticks = struct.unpack(f"<{count}q", data[-8 * count:])
            gaps = (ticks[-1] - ticks[0]) / 1e6 - (count - 1)  # in frames of 100 ms
            has_lost = "did not keep up" in " ".join(report["notes"])
            if megabytes == 64:
                self.assertEqual((report["lost"], has_lost), (0, False))
                self.assertLess(gaps, 0.9)
                self.assertEqual(report["buffer"]["frames"], 64_000_000 // size)
                self.assertIn(report["buffer"]["mostUsed"], range(15, count + 1))
            else:
                self.assertEqual(report["buffer"], {"frames": 2, "mostUsed": 2})
                self.assertGreater(report["lost"], 5)
                self.assertTrue(has_lost)
                self.assertGreater(gaps, 4.5)
        grown = memory[64] - memory[2]
        self.assertGreater(grown, 10e6, "frames wait in memory")
        self.assertLess(grown, 64e6)

    def test_a_drifting_object_stays_centred(self):
        sim = "T15C,scene=stars,seed=3,drift=40:-25"
        arguments = ["video", "--roi", "320x240", "--exposure", "5ms", "--duration", "4s"]
        result(*arguments, "--track", "-o", "a.ser", sim=sim)
        with open("a.track.csv", encoding="ascii", newline="") as file:
            rows = list(csv.DictReader(file))
        self.assertEqual(len(rows), frames_of("a.ser"))
        travelled = [int(rows[-1][f"start_{axis}"]) + float(rows[-1][axis])
                     - int(rows[0][f"start_{axis}"]) - float(rows[0][axis]) for axis in "xy"]
        self.assertGreater(travelled[0], 100)
        self.assertLess(travelled[1], -60)
        # The first frames show where it was found. A region that stayed would lose it by 160 pixels.
        for row in rows[100:]:
            self.assertLess(abs(float(row["x"]) - 160), 320 / 8 + 25, row)
            self.assertLess(abs(float(row["y"]) - 120), 240 / 8 + 25, row)
            self.assertEqual((int(row["start_x"]) - int(rows[0]["start_x"])) % 2, 0)
        self.assertEqual(run("video", "--track", "-o", "b.ser", code=2)[0], "")

    def test_says_why_the_rate_is_what_it_is(self):
        cases = ((["--roi", "320x240", "--exposure", "50ms"], "T15C", "exposure"),
                 (["--roi", "320x240", "--exposure", "1ms"], "T15C", "readout"),
                 (["--exposure", "1ms"], "T15C,port=usb2", "bandwidth"))
        for number, (options, sim, cause) in enumerate(cases):
            report = result("video", *options, "--duration", "1s", "-o", f"{number}.ser", sim=sim)
            limit = report["rateLimit"]
            self.assertEqual(limit["by"], cause)
            if report["lost"] == 0:
                ratio = report["framesPerSecond"] / limit["framesPerSecond"]
                self.assertAlmostEqual(ratio, 1, delta=0.05)
            self.assertIn(limit["text"], contents(f"{number}.txt").decode("ascii"))
        # What was tried to find out is as before.
        controls = {one["name"]: one for one in result("controls")}
        self.assertEqual((controls["BandWidth"]["value"], controls["BandWidth"]["auto"],
                          controls["HighSpeedMode"]["value"]), (100, True, 0))
        report, _ = run("video", "--exposure", "1ms:auto", "--roi", "320x240", "--duration", "500ms",
                        "-o", "auto.ser", "--no-sidecar")
        self.assertRegex(report, r"automatic exposure: [\d.]+ m?u?s")
        self.assertFalse(os.path.exists("auto.txt"))

    def test_a_text_beside_the_video_tells_its_facts(self):
        run(*SMALL, "--count", "60", "--object", "Mars", "--gain", "77", "--resume", "-o", "a.ser",
            sim="T15C,fault=bulk replug 300 at 40")
        texts = {name: contents(name).decode("ascii").splitlines() for name in ("a.txt", "a-2.txt")}
        for name, text in texts.items():
            self.assertEqual(text[0], "[Vek T15C]")
            self.assertIn(f"FrameCount={frames_of(name.replace('txt', 'ser'))}", text)
            for line in ("Object=Mars", "Gain=77", "Exposure=2.000ms", "BayerPattern=RGGB",
                         "ROIOffset=492,368", "USB=3"):
                self.assertIn(line, text)
        os.remove("a.ser")
        _, message = run(*SMALL, "--count", "5", "-o", "a.ser", code=6)
        self.assertIn("a.txt exists", message)
        self.assertFalse(os.path.exists("a.ser"))

    @unittest.skipUnless(shutil.which("ffmpeg"), "there is no ffmpeg")
    def test_other_programs_read_the_streams(self):
        inputs = {"raw": ["-f", "rawvideo", "-pixel_format", "bayer_rggb8", "-video_size",
                          "320x240"], "ser": ["-f", "ser"], "fits": ["-f", "fits"],
                  "png": ["-f", "image2pipe", "-c:v", "png"]}
        for format_, options in inputs.items():
            for limit in (["--count", "40"], ["--duration", "300ms"]):
                code, message = piped([*limit, "--json", "-o", "-", "--format", format_],
                                      [*FFMPEG, *options, "-i", "-", "-c:v", "ffv1", "a.mkv"])
                self.assertEqual(code, 0, message)
                frames = int(message.split('"frames": ')[1].split(",")[0])
                self.assertEqual(decoded("a.mkv"), frames, (format_, limit))
        run(*SMALL, "--count", "30", "-o", "a.ser")
        self.assertEqual(decoded("a.ser"), 30)


if __name__ == "__main__":
    unittest.main(verbosity=1)
