"""The INDI driver in a real server, with virtual cameras. Arguments: driver, orvikctl, liborvik_sim."""
import datetime
import glob
import os
import signal
import struct
import time
import unittest

from indi_client import Client
from server import Fits, Server

ONE = "T15C,serial=00000001,scene=moon"
DEVICE = "Orvik Vek T15C 00000001"
COOLED = "T13C_C,serial=0000ABCD"
COOLED_DEVICE = "Orvik Vek T13C COOL 0000ABCD"


def on(property):
    return property.state == "Ok"


class Driver(unittest.TestCase):
    def serve(self, cameras):
        self.server = Server(cameras)
        self.addCleanup(self.server.close)
        return self.client()

    def client(self):
        client = Client(self.server.port)
        self.addCleanup(client.close)
        return client

    def connect(self, client, device):
        client.get(device, "CONNECTION")
        client.want_blobs(device)
        client.put(device, "CONNECTION", CONNECT="On")
        client.get(device, "CAMERA_INFO")  # the last one that is defined
        return device

    def end_driver(self, client, signal_number, device):
        """The server deletes the driver's devices and starts it again."""
        before = client.devices[device]
        os.kill(self.server.driver(), signal_number)
        client.wait(lambda: client.devices.get(device, before) is not before and
                    client.has(device, "CONNECTION"), "started again")

    def expose(self, client, device, seconds=0.02):
        client.blobs.clear()
        client.set(device, "CCD_EXPOSURE", CCD_EXPOSURE_VALUE=seconds)
        name, kind, data = client.next_blob()
        self.assertEqual((device, ".fits"), (name, kind))
        return Fits(data)

    def stream(self, client, device, count=2):
        """The sizes of frames of a stream, the last ones first."""
        client.blobs.clear()
        sizes = []
        for _ in range(count):
            _, kind, data = client.next_blob("a frame")
            self.assertEqual(".stream", kind)
            sizes.insert(0, len(data))
        return sizes


class Images(Driver):
    def test_same_pixels_as_orvikctl(self):
        cameras = [f"T15C,serial=0000000{n},scene=moon,light=0.3" for n in (1, 2, 3)]
        client = self.serve(";".join(cameras))
        snap = self.server.snap
        # The first image of each, because the noise goes on with each frame.
        for camera in (1, 2, 3):
            self.connect(client, f"Orvik Vek T15C 0000000{camera}")

        device = "Orvik Vek T15C 00000001"
        client.put(device, "CCD_CONTROLS", Gain=150, Brightness=7)
        image = self.expose(client, device)
        same = snap(cameras[0], "1.fits", "--exposure", "20ms", "--gain", "150",
                    "--brightness", "7", "--wb", "52,95")
        self.assertEqual((1304, 976, 16), (image["NAXIS1"], image["NAXIS2"], image["BITPIX"]))
        self.assertEqual(same.pixels, image.pixels)
        self.assertEqual((150, 7), (image["GAIN"], image["OFFSET"]))
        for card in ("GAMMA", "WB_RED", "WB_BLUE", "HOTPIX"):
            self.assertEqual(same[card], image[card])

        device = "Orvik Vek T15C 00000002"
        client.put(device, "CCD_CAPTURE_FORMAT", INDI_RGB="On")
        image = self.expose(client, device)
        same = snap(cameras[1], "2.fits", "--exposure", "20ms", "--type", "rgb24")
        self.assertEqual((3, 3, 8), (image["NAXIS"], image["NAXIS3"], image["BITPIX"]))
        self.assertEqual(same.pixels, image.pixels)
        self.assertIsNone(image.get("BAYERPAT"))

        device = "Orvik Vek T15C 00000003"
        client.put(device, "CCD_CAPTURE_FORMAT", INDI_RAW8="On")
        client.put(device, "CCD_CONTROLS", Flip=1)
        client.put(device, "CCD_FRAME", X=101, Y=51, WIDTH=335, HEIGHT=223)
        client.wait_for(device, "CCD_FRAME", lambda frame: frame.members ==
                        {"X": 100, "Y": 50, "WIDTH": 332, "HEIGHT": 222}, "as it was rounded")
        image = self.expose(client, device)
        same = snap(cameras[2], "3.fits", "--exposure", "20ms", "--type", "raw8", "--wb", "52,95",
                    "--roi", "332x222+101+51", "--flip", "h")
        self.assertEqual(same.pixels, image.pixels)
        self.assertEqual(("GRBG", "GRBG"), (same["BAYERPAT"], image["BAYERPAT"]))
        client.wait_for(device, "CCD_CFA", lambda cfa: cfa.members["CFA_TYPE"] == "GRBG")
        # The whole sensor again, binned: 1304 / 3 is no multiple of 4.
        client.set(device, "CCD_FRAME_RESET", RESET="On")
        client.put(device, "CCD_BINNING", HOR_BIN=3, VER_BIN=3)
        client.wait_for(device, "CCD_FRAME", lambda frame: frame.members["WIDTH"] == 1296)
        image = self.expose(client, device)
        self.assertEqual((432, 324, 3), (image["NAXIS1"], image["NAXIS2"], image["XBINNING"]))
        client.put(device, "CCD_BINNING", state="Alert", HOR_BIN=1, VER_BIN=2)
        client.put(device, "CCD_BINNING", HOR_BIN=1, VER_BIN=1)
        self.assertEqual(1304, self.expose(client, device)["NAXIS1"])

    def test_header(self):
        client = self.serve(ONE)
        device = self.connect(client, DEVICE)
        low, high = client.get(device, "CCD_EXPOSURE").limits["CCD_EXPOSURE_VALUE"]
        self.assertEqual((0.000032, 1000), (low, high))
        client.put(device, "CCD_FRAME_TYPE", FRAME_DARK="On")
        client.put(device, "CCD_BINNING", HOR_BIN=2, VER_BIN=2)
        self.expose(client, device, low)
        before = datetime.datetime.utcnow()
        image = self.expose(client, device, 0.3)
        names = [key for key, _ in image.cards if key not in ("", "COMMENT", "HISTORY")]
        self.assertEqual(len(names), len(set(names)))
        wanted = {"ROWORDER": "TOP-DOWN", "INSTRUME": "Vek T15C", "EXPTIME": 0.3, "PIXSIZE1": 3.75,
                  "PIXSIZE2": 3.75, "XPIXSZ": 7.5, "YPIXSZ": 7.5, "XBINNING": 2, "YBINNING": 2,
                  "IMAGETYP": "Dark Frame", "BAYERPAT": "RGGB", "XBAYROFF": 0, "YBAYROFF": 0,
                  "BZERO": 32768}
        self.assertEqual(wanted, {key: image.get(key) for key in wanted})
        self.assertIn("Orvik", image["SWCREATE"])
        start = datetime.datetime.fromisoformat(image["DATE-OBS"])
        self.assertGreaterEqual(start, before)
        self.assertLess(start, datetime.datetime.utcnow() - datetime.timedelta(seconds=0.3))


class Changes(Driver):
    def test_during_an_exposure(self):
        client = self.serve(ONE)
        device = self.connect(client, DEVICE)
        client.put(device, "CCD_EXPOSURE", state="Busy", CCD_EXPOSURE_VALUE=500)
        client.wait_for(device, "CCD_EXPOSURE",
                        lambda one: one.members["CCD_EXPOSURE_VALUE"] < 499.5, "counts down")
        for name, members in {"CCD_FRAME": {"X": 0, "Y": 0, "WIDTH": 400, "HEIGHT": 400},
                              "CCD_BINNING": {"HOR_BIN": 2, "VER_BIN": 2},
                              "CCD_CAPTURE_FORMAT": {"INDI_RAW8": "On"},
                              "CCD_FRAME_TYPE": {"FRAME_DARK": "On"},
                              "CCD_VIDEO_STREAM": {"STREAM_ON": "On"}}.items():
            client.put(device, name, state="Alert", **members)
        client.put(device, "CCD_GAIN", state="Busy", GAIN=150)
        client.wait_message("takes effect after the exposure")
        # A new exposure replaces the one that is running, and has the new gain.
        self.assertEqual(150, self.expose(client, device, 0.1)["GAIN"])
        client.wait_for(device, "CCD_GAIN", on)

        client.put(device, "CCD_EXPOSURE", state="Busy", CCD_EXPOSURE_VALUE=500)
        client.put(device, "CCD_ABORT_EXPOSURE", ABORT="On")
        client.wait_for(device, "CCD_EXPOSURE", lambda one: one.state == "Idle")
        image = self.expose(client, device)
        self.assertEqual((1304, 16), (image["NAXIS1"], image["BITPIX"]))
        client.put(device, "CCD_EXPOSURE", state="Busy", CCD_EXPOSURE_VALUE=500)
        client.put(device, "CONNECTION", state="Idle", DISCONNECT="On")
        self.connect(client, device)
        self.expose(client, device)

    def test_during_a_stream(self):
        client = self.serve(ONE)
        device = self.connect(client, DEVICE)
        client.put(device, "STREAMING_EXPOSURE", STREAMING_EXPOSURE_VALUE=0.01,
                   STREAMING_DIVISOR_VALUE=1)
        client.set(device, "CCD_VIDEO_STREAM", STREAM_ON="On")
        whole = 1304 * 976
        self.assertEqual([whole] * 2, self.stream(client, device))  # 16 bits are shown as 8
        client.put(device, "CCD_EXPOSURE", state="Alert", CCD_EXPOSURE_VALUE=0.01)
        client.put(device, "CCD_CONTROLS", Gain=50)
        client.put(device, "CCD_CONTROLS_AUTO", Gain="On")
        client.wait_for(device, "CCD_GAIN", lambda gain: gain.members["GAIN"] != 50, "automatic")
        client.put(device, "CCD_CONTROLS_AUTO", Gain="Off")

        def becomes(size):
            client.wait(lambda: self.stream(client, device, 1)[0] == size, f"frames of {size}")
        client.put(device, "CCD_FRAME", X=0, Y=0, WIDTH=640, HEIGHT=480)
        becomes(640 * 480)
        client.put(device, "CCD_BINNING", HOR_BIN=2, VER_BIN=2)
        becomes(320 * 240)
        client.put(device, "CCD_CAPTURE_FORMAT", INDI_RGB="On")
        becomes(320 * 240 * 3)
        client.put(device, "STREAMING_EXPOSURE", STREAMING_EXPOSURE_VALUE=0.1,
                   STREAMING_DIVISOR_VALUE=1)
        client.wait_for(device, "CAMERA_READOUT", lambda one: 9 < one.members["FRAME_RATE"] < 11)
        client.set(device, "CCD_VIDEO_STREAM", STREAM_OFF="On")
        client.wait_for(device, "CCD_VIDEO_STREAM", lambda one: one.members["STREAM_OFF"] == "On")
        self.assertEqual((320, 240, 3), tuple(
            self.expose(client, device)[f"NAXIS{n}"] for n in (1, 2, 3)))

    def test_recording(self):
        client = self.serve(ONE)
        device = self.connect(client, DEVICE)
        client.put(device, "CCD_FRAME", X=1, Y=0, WIDTH=644, HEIGHT=480)
        client.put(device, "STREAMING_EXPOSURE", STREAMING_EXPOSURE_VALUE=0.01,
                   STREAMING_DIVISOR_VALUE=1)
        client.put(device, "RECORD_OPTIONS", RECORD_FRAME_TOTAL=20)
        for name, colour, bits, size in (("INDI_RAW16", 8, 16, 2), ("INDI_RGB", 100, 8, 3),
                                         ("INDI_MONO", 0, 8, 1)):
            client.put(device, "CCD_CAPTURE_FORMAT", **{name: "On"})
            client.set(device, "RECORD_FILE", RECORD_FILE_DIR=self.server.folder,
                       RECORD_FILE_NAME=name)
            client.messages.clear()
            client.set(device, "RECORD_STREAM", RECORD_FRAME_ON="On")
            client.wait_message("20 frames")
            client.wait_for(device, "RECORD_STREAM", lambda one: one.members["RECORD_OFF"] == "On")
            file, = glob.glob(f"{self.server.folder}/{name}*.ser")
            with open(file, "rb") as recording:
                data = recording.read()
            _, identifier, _, width, height, depth, count = struct.unpack("<7i", data[14:42])
            self.assertEqual((colour, 644, 480, bits, 20),
                             (identifier, width, height, depth, count))
            self.assertEqual(178 + 20 * (644 * 480 * size + 8), len(data))
            pixels = [data[178 + n * 644 * 480 * size:][:644 * 480 * size] for n in range(20)]
            self.assertEqual(20, len(set(pixels)), "a frame was recorded twice")


class CoolingAndGuiding(Driver):
    def test_cooler(self):
        client = self.serve(COOLED)
        device = self.connect(client, COOLED_DEVICE)
        self.assertEqual(20, client.value(device, "CCD_TEMPERATURE", "CCD_TEMPERATURE_VALUE"))
        client.put(device, "CCD_TEMP_RAMP", RAMP_SLOPE=1, RAMP_THRESHOLD=0.5)
        # The cooler does not wait for the end of an exposure.
        client.put(device, "CCD_EXPOSURE", state="Busy", CCD_EXPOSURE_VALUE=500)
        client.put(device, "CCD_TEMPERATURE", state="Busy", CCD_TEMPERATURE_VALUE=-10)
        client.wait_for(device, "CCD_COOLER", lambda one: one.members["COOLER_ON"] == "On")
        client.wait_for(device, "CCD_COOLER_POWER",
                        lambda one: one.members["CCD_COOLER_VALUE"] > 0 and one.state == "Busy")
        image = self.expose(client, device)
        self.assertEqual(-10, image["SET-TEMP"])
        self.assertTrue(19 < image["CCD-TEMP"] < 21)
        # Without a ramp, to a target that is reached soon.
        client.put(device, "CCD_TEMP_RAMP", RAMP_SLOPE=0, RAMP_THRESHOLD=0.8)
        client.put(device, "CCD_TEMPERATURE", state="Busy", CCD_TEMPERATURE_VALUE=19)
        client.wait_for(device, "CCD_TEMPERATURE", on, "reached")
        client.put(device, "CCD_COOLER", state="Idle", COOLER_OFF="On", COOLER_ON="Off")
        client.wait_for(device, "CCD_COOLER_POWER", lambda one: one.members["CCD_COOLER_VALUE"] == 0)
        client.put(device, "CCD_TEMPERATURE", state="Alert", CCD_TEMPERATURE_VALUE=-70)

    def test_guide_port(self):
        client = self.serve(ONE)
        device = self.connect(client, DEVICE)
        north_south, west_east = "TELESCOPE_TIMED_GUIDE_NS", "TELESCOPE_TIMED_GUIDE_WE"

        def pulse(**lengths):
            name = north_south if "TIMED_GUIDE_N" in lengths else west_east
            client.put(device, name, state="Busy", **lengths)
            return time.monotonic()

        def end(name):
            client.wait_for(device, name, lambda one: one.state != "Busy")
            self.assertEqual("Idle", client.get(device, name).state)
            return time.monotonic()
        first = pulse(TIMED_GUIDE_N=3000, TIMED_GUIDE_S=0)
        pulse(TIMED_GUIDE_W=0, TIMED_GUIDE_E=500)
        end(west_east)
        self.assertEqual("Busy", client.get(device, north_south).state)
        self.assertGreater(end(north_south) - first, 2.9)
        # A shorter pulse replaces a long one; 0 ends it.
        pulse(TIMED_GUIDE_N=60000, TIMED_GUIDE_S=0)
        second = pulse(TIMED_GUIDE_N=0, TIMED_GUIDE_S=300)
        self.assertGreater(end(north_south) - second, 0.25)
        pulse(TIMED_GUIDE_W=60000, TIMED_GUIDE_E=0)
        client.set(device, west_east, TIMED_GUIDE_W=0, TIMED_GUIDE_E=0)
        end(west_east)
        client.put(device, "GUIDE_LINES", state="Alert", NORTH=1)
        client.put(device, "GUIDE_LINES", NORTH=1, SOUTH=0)


class Cameras(Driver):
    def test_they_do_not_wait_for_each_other(self):
        # The second one is slow to open: each of its first requests takes 100 ms.
        client = self.serve(f"{ONE};T13C_C,serial=00000002,fault=control delay 100 to 80")
        device = self.connect(client, DEVICE)
        slow = "Orvik Vek T13C COOL 00000002"
        client.set(slow, "CONNECTION", CONNECT="On")
        client.wait_for(slow, "CONNECTION", lambda one: one.state == "Busy")
        self.expose(client, device)
        self.assertEqual("Busy", client.get(slow, "CONNECTION").state)
        client.wait_for(slow, "CONNECTION", on)
        client.want_blobs(slow)
        client.put(device, "CCD_EXPOSURE", state="Busy", CCD_EXPOSURE_VALUE=500)
        self.expose(client, slow)

        # A client that vanishes stops nothing, and others see what each one does.
        other = self.client()
        self.assertEqual("Busy", other.get(device, "CCD_EXPOSURE").state)
        client.close()
        other.want_blobs(device)
        other.want_blobs(slow)
        self.expose(other, slow)
        self.expose(other, device)
        self.assertIn("CONNECT=On", self.server.tool("indi_getprop", "-t", "5",
                                                     f"{slow}.CONNECTION.CONNECT"))

    def test_unplugged_and_back(self):
        client = self.serve(f"{ONE},fault=bulk replug 1500 at 40")
        device = self.connect(client, DEVICE)
        client.put(device, "CCD_CONTROLS", Gain=77)
        client.put(device, "CCD_BINNING", HOR_BIN=2, VER_BIN=2)
        client.set(device, "RECORD_FILE", RECORD_FILE_DIR=self.server.folder,
                   RECORD_FILE_NAME="cut")
        client.set(device, "RECORD_STREAM", RECORD_ON="On")
        client.wait_for(device, "CONNECTION", lambda one: one.state == "Alert", "unplugged")
        client.wait_message("was unplugged")
        client.wait_message(" frames")  # the recording is closed
        file, = glob.glob(f"{self.server.folder}/cut*.ser")
        with open(file, "rb") as recording:
            data = recording.read()
        count, = struct.unpack("<i", data[38:42])
        self.assertGreater(count, 10)
        self.assertEqual(178 + count * (652 * 488 * 2 + 8), len(data))
        client.wait(lambda: not client.has(device, "CCD_EXPOSURE"), "it has no properties")
        client.wait_for(device, "CONNECTION", on, "back")
        client.wait_for(device, "CCD_CONTROLS", lambda one: one.members["Gain"] == 77)
        image = self.expose(client, device)
        self.assertEqual((77, 2), (image["GAIN"], image["XBINNING"]))

    def test_gone_for_good(self):
        client = self.serve(f"{ONE},fault=bulk unplug at 4;{COOLED}")
        device = self.connect(client, DEVICE)
        client.put(device, "CCD_EXPOSURE", state="Busy", CCD_EXPOSURE_VALUE=0.2)
        client.wait(lambda: client.get(device, "CONNECTION").state == "Alert" or
                    client.get(device, "CCD_EXPOSURE").state == "Ok", "first exposure")
        while client.get(device, "CONNECTION").state == "Ok":
            client.set(device, "CCD_EXPOSURE", CCD_EXPOSURE_VALUE=0.05)
            client.pump(0.3)
        client.put(device, "CONNECTION", state="Idle", DISCONNECT="On")
        client.put(device, "CONNECTION", state="Alert", CONNECT="On")
        client.wait_message("code 40")
        self.expose(client, self.connect(client, COOLED_DEVICE))

    def test_driver_killed_and_ended(self):
        client = self.serve(COOLED)
        for signal_number in (signal.SIGKILL, signal.SIGTERM):
            device = self.connect(client, COOLED_DEVICE)
            client.put(device, "CCD_TEMPERATURE", state="Busy", CCD_TEMPERATURE_VALUE=0)
            client.put(device, "TELESCOPE_TIMED_GUIDE_NS", state="Busy", TIMED_GUIDE_N=60000,
                       TIMED_GUIDE_S=0)
            self.end_driver(client, signal_number, device)
        self.expose(client, self.connect(client, COOLED_DEVICE))

    def test_ended_during_a_recording(self):
        client = self.serve(ONE)
        device = self.connect(client, DEVICE)
        client.put(device, "CCD_FRAME", X=0, Y=0, WIDTH=640, HEIGHT=480)
        client.set(device, "RECORD_FILE", RECORD_FILE_DIR=self.server.folder,
                   RECORD_FILE_NAME="cut")
        client.set(device, "RECORD_STREAM", RECORD_ON="On")

        def size():
            return sum(map(os.path.getsize, glob.glob(f"{self.server.folder}/cut*.ser")))
        client.wait(lambda: size() > 5 * 640 * 480 * 2, "some frames")
        self.end_driver(client, signal.SIGTERM, device)
        file, = glob.glob(f"{self.server.folder}/cut*.ser")
        with open(file, "rb") as recording:
            data = recording.read()
        count, = struct.unpack("<i", data[38:42])
        self.assertEqual(178 + count * (640 * 480 * 2 + 8), len(data))

    def test_saved_settings(self):
        client = self.serve(ONE)
        device = self.connect(client, DEVICE)
        client.put(device, "CCD_CONTROLS", Gain=33, Gamma=44)
        client.put(device, "GUIDE_LINES", NORTH=3, WEST=0)
        client.put(device, "CONFIG_PROCESS", CONFIG_SAVE="On")
        client.put(device, "CCD_CONTROLS", Gain=55, Gamma=50)
        self.server.tool("indi_setprop", f"{device}.CONNECTION.DISCONNECT=On")
        client.wait_for(device, "CONNECTION", lambda one: one.state == "Idle")
        self.end_driver(client, signal.SIGKILL, device)
        self.connect(client, DEVICE)
        client.wait_for(device, "CCD_CONTROLS", lambda one: (one.members["Gain"],
                                                             one.members["Gamma"]) == (33, 44))
        client.wait_for(device, "GUIDE_LINES", lambda one: one.members["NORTH"] == 3)


if __name__ == "__main__":
    unittest.main()
