"""What changes images without an option: settings kept from before, hot pixels; and who tells it."""
import json
import os
import re
import signal
import subprocess
import time
import unittest

from program import InOwnFolder, PROGRAM, contents, result, run


def cards(name):
    """The cards of a FITS header as texts."""
    header = contents(name)[:2880 * 4].decode("latin-1")
    found = re.findall(r"([A-Z_-]{2,8}) *= +('[^']*'|[^ /]+)", header)
    return {key: value.strip("'").strip() for key, value in found}


class SettingsTest(InOwnFolder):
    def test_raw_images_are_those_of_the_sensor_and_headers_tell_what_is_not(self):
        told = run("snap", "--gamma", "70", "--wb", "60,70", "--flip", "h", "--type", "rgb24",
                   "-o", "colour.fits")[1]
        self.assertNotIn("kept", told)
        changed = {"GAMMA": "70", "WB_RED": "60", "WB_BLUE": "70", "FLIP": "h", "DARKSUB": "F"}
        self.assertLessEqual(changed.items(), cards("colour.fits").items())
        run("snap", "-o", "raw.fits")
        neutral = {"GAMMA": "50", "WB_RED": "50", "WB_BLUE": "50", "FLIP": "none", "HOTPIX": "0"}
        self.assertLessEqual(neutral.items(), cards("raw.fits").items())
        # The raw image has not changed what is kept, and that is told when it acts.
        told = run("snap", "--type", "rgb24", "-o", "again.fits")[1]
        self.assertIn("kept from before: Gamma=70, Flip=1", told)
        self.assertLessEqual(changed.items(), cards("again.fits").items())
        told = run("snap", "--type", "rgb24", "--defaults", "-o", "new.fits")[1]
        self.assertNotIn("kept", told)
        self.assertEqual("50", cards("new.fits")["GAMMA"])

    def test_shows_resets_and_forgets(self):
        run("set", "Gain=321", "Exposure=20ms:auto")
        shown = result("settings", "show")
        self.assertEqual(["Gain", "Exposure"], [control["name"] for control in shown["changed"]])
        # Virtual cameras have their own file.
        self.assertTrue(shown["file"].endswith("/orvik/virtual/settings.json"), shown["file"])
        self.assertTrue(os.path.isfile(shown["file"]))
        run("settings", "reset")
        self.assertEqual([], result("settings", "show")["changed"])
        run("set", "Gain=321")
        run("settings", "forget")
        self.assertEqual([], result("settings", "show")["changed"])

    def test_hot_pixels_are_mended_left_or_erased(self):
        sim = "T15C,scene=dark,flash=flash.bin"
        run("dark", "record", "-o", "dark.bmp", "--exposure", "400ms", sim=sim)
        count = result("hotpixels", "save", "--dark", "dark.bmp", "--yes", sim=sim)["hotPixels"]
        self.assertGreater(count, 10)
        run("snap", "-o", "mended.fits", sim=sim)
        self.assertEqual(str(count), cards("mended.fits")["HOTPIX"])
        run("snap", "--hot-pixels", "off", "-o", "left.fits", sim=sim)
        self.assertEqual("0", cards("left.fits")["HOTPIX"])
        run("hotpixels", "erase", sim=sim, code=2)  # nobody has consented
        self.assertEqual(0, result("hotpixels", "erase", "--yes", sim=sim)["hotPixels"])
        self.assertEqual(0, result("hotpixels", "show", sim=sim)["hotPixels"])

    def test_refuses_what_would_not_mean_what_it_says(self):
        for arguments, word in ((["--exposure", "60"], "time such as"),
                                (["--exposure", "1s:auto"], "in videos only"),
                                (["--gain", "auto"], "in videos only")):
            told = run("snap", *arguments, "-o", "x.fits", code=2)[1]
            self.assertIn(word, told)
        self.assertIn("time such as", run("video", "--duration", "5", "-o", "x.ser", code=2)[1])
        self.assertEqual([], os.listdir())

    def test_virtual_cameras_stand_in_the_order_of_the_command_line(self):
        listed = json.loads(run("list", "--json", "--sim", "T15C", "--sim", "T01C", "--sim",
                                "T10C_C", sim=None)[0])
        self.assertEqual([(0, "Vek T15C"), (1, "Vek T01C"), (2, "Vek T10C COOL")],
                         [(camera["index"], camera["name"]) for camera in listed])

    def test_a_lost_connection_ends_a_recording_as_ctrl_c_does(self):
        recording = subprocess.Popen([PROGRAM, "video", "--sim", "T15C", "--exposure", "5ms",
                                      "--roi", "320x240", "-o", "night.ser"],
                                     stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        limit = time.monotonic() + 30
        while not os.path.exists("night.ser") or os.path.getsize("night.ser") < 10 * 320 * 240:
            self.assertLess(time.monotonic(), limit)
            time.sleep(0.02)
        recording.send_signal(signal.SIGHUP)
        recording.communicate(timeout=30)
        self.assertEqual(130, recording.returncode)
        recorded = contents("night.ser")
        frames = int.from_bytes(recorded[38:42], "little")
        self.assertEqual(178 + frames * (320 * 240 + 8), len(recorded))


if __name__ == "__main__":
    unittest.main()
