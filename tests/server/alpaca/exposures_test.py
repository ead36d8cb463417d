"""Exposures, images and connections from the wire. Arguments: orvik-server, name of a test class."""
import json
import math
import os
import signal
import socket
import sys
import threading
import time
import unittest

from alpaca import DRIVER, INVALID_OPERATION, INVALID_VALUE, NOT_CONNECTED, Server

PROGRAM = os.path.abspath(sys.argv.pop(1))

COOLED = "T13C_C,serial=00000001"
COLOUR = "T15C,serial=00000002,scene=gradient"
MONO = "T08M,serial=00000003,scene=gradient"
EIGHT_BITS = "T01C,serial=00000004,scene=gradient"


class Wire(unittest.TestCase):
    def serve(self, *cameras):
        self.server = Server(PROGRAM, *cameras)
        self.addCleanup(self.server.close)
        self.client = self.server.client()

    def camera(self, name="Vek"):
        return self.server.camera(name, self.client).connect()

    def assert_error(self, number, method, camera, member, **parameters):
        self.assertEqual(number, camera.error(method, member, **parameters), (member, parameters))


class Life(Wire):
    def test_states(self):
        self.serve(COOLED)
        camera = self.camera()
        camera.put("startexposure", Duration=0.6, Light="true")
        seen = [camera.get("camerastate")]
        percents = []
        while True:
            state = {one["Name"]: one["Value"] for one in camera.get("devicestate")}
            self.assertEqual(state["ImageReady"], state["CameraState"] == 0, state)
            percents.append(state["PercentCompleted"])
            if state["CameraState"] != seen[-1]:
                seen.append(state["CameraState"])
            if state["ImageReady"]:
                break
            # What an exposure needs is refused, and settings are for the next one.
            self.assert_error(INVALID_OPERATION, "PUT", camera, "startexposure", Duration=0.1,
                              Light="true")
            self.assert_error(INVALID_OPERATION, "GET", camera, "imagearray")
            camera.put("numx", NumX=100)
            time.sleep(0.01)
        self.assertEqual(2, seen[0])
        self.assertEqual(sorted(seen[:-1]) + [0], seen)
        self.assertEqual(sorted(percents), percents)
        self.assertTrue(percents[0] < 30 and any(40 < percent < 60 for percent in percents))
        self.assertEqual(1304, camera.image().width)
        self.assertAlmostEqual(0.6, camera.get("lastexposureduration"), delta=0.012)
        start = camera.get("lastexposurestarttime")
        self.assertRegex(start, r"^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}$")
        age = time.time() - time.mktime(time.strptime(start[:19], "%Y-%m-%dT%H:%M:%S")) + time.timezone
        self.assertTrue(0.5 < age < 30, start)
        self.assertEqual(100, camera.take(0.01).width)

    def test_refused(self):
        self.serve(COOLED)
        camera = self.camera()
        camera.frame(width=16, height=16)
        camera.expose()
        before = camera.image().samples
        for seconds in ("-1", "0", "1e300", "-1e300", "2000", "1e-9"):
            self.assert_error(INVALID_VALUE, "PUT", camera, "startexposure", Duration=seconds,
                              Light="true")
        cases = [(1, 1, 0, 1304, 8), (1, -1, 0, 8, 8), (1, 0, 0, 0, 8), (1, 0, 0, 8, -8),
                 (1, 2147483647, 0, 2147483647, 8), (1, 0, 0, 8, 977), (3, 0, 0, 435, 325),
                 (3, 0, 0, 434, 326), (4, 0, 243, 326, 2)]
        for bin, x, y, width, height in cases:
            camera.frame(bin, x, y, width, height)
            self.assert_error(INVALID_VALUE, "PUT", camera, "startexposure", Duration=0.1,
                              Light="true")
        # A refused call changes nothing.
        self.assertEqual((True, 0), (camera.get("imageready"), camera.get("camerastate")))
        self.assertEqual(before, camera.image().samples)
        camera.frame(width=16, height=16)
        camera.put("startexposure", Duration=0, Light="false")
        camera.wait("imageready", True)
        self.assertEqual(camera.get("exposuremin"), camera.get("lastexposureduration"))

    def test_abort(self):
        self.serve(COOLED)
        camera = self.camera()
        camera.put("abortexposure")
        camera.frame(width=16, height=16)
        camera.expose()
        camera.put("abortexposure")
        self.assertTrue(camera.get("imageready"))
        for wait in (0, 0.2):
            camera.put("startexposure", Duration=500, Light="false")
            time.sleep(wait)
            camera.put("abortexposure")
            camera.wait("camerastate", 0, 2)
            self.assertFalse(camera.get("imageready"))
            self.assert_error(INVALID_OPERATION, "GET", camera, "imagearray")
        camera.expose()
        camera.put("startexposure", Duration=500, Light="true")
        camera.put("connected", Connected="false")
        camera.connect()
        self.assertEqual((False, 0), (camera.get("imageready"), camera.get("camerastate")))
        self.assert_error(INVALID_OPERATION, "GET", camera, "lastexposureduration")
        camera.expose()

    def test_failure(self):
        # The first exposure's reads never end.
        self.serve("T08M,serial=00000001,fault=bulk fail to 400")
        camera = self.camera()
        camera.frame(width=16, height=16)
        camera.put("startexposure", Duration=0.01, Light="true")
        camera.wait("camerastate", 5, 60)
        answer = camera.answer("GET", "imageready")
        self.assertEqual((DRIVER, False), (answer["ErrorNumber"], answer["Value"]))
        self.assertRegex(answer["ErrorMessage"], r"\(code \d+\)")
        self.assert_error(INVALID_OPERATION, "GET", camera, "imagearray")


def binned(columns, bin, is_colour, is_16, x, y):
    """The rule, for one pixel: of a mosaic the samples of its colour, 2 apart."""
    width, height = len(columns), len(columns[0])

    def places(at, size):
        if not is_colour:
            return [at * bin + n for n in range(bin)]
        first = at // 2 * 2 * bin + at % 2
        return [place if place < size else size - 2 + (place - size) % 2
                for place in (first + 2 * n for n in range(bin))]
    samples = [columns[i][j] for i in places(x, width) for j in places(y, height)]
    if not is_16:
        return min(sum(samples), 255)
    return sum(value // bin ** 2 for value in samples) if is_colour else sum(samples) // bin ** 2


class Images(Wire):
    def test_json_is_the_same(self):
        self.serve(COLOUR)
        camera = self.camera()
        for mode, frame in ((0, {}), (0, {"bin": 3, "x": 7, "y": 5, "width": 5, "height": 131}),
                            (1, {"x": 3, "y": 1, "width": 101, "height": 33})):
            camera.put("readoutmode", ReadoutMode=mode)
            image = camera.take(**frame)
            self.assertEqual((1, 0, 2, 2, 0), (image.version, image.error, image.type, image.rank,
                                               image.planes))
            self.assertEqual(6 if mode else 8, image.wire_type)
            for member in ("imagearray", "imagearrayvariant"):
                status, kind, body = self.client.request(
                    "GET", camera.path(member), "ClientTransactionID=12", {"Accept": "*/*"})
                self.assertEqual((200, "application/json"), (status, kind.split(";")[0]))
                self.assertTrue(body.startswith(b'{"Type":2,"Rank":2,"Value":[['), body[:40])
                self.assertNotIn(b" ", body)
                answer = json.loads(body)
                self.assertEqual(image.columns(), answer["Value"])
                self.assertEqual([12, 0, ""], [answer[key] for key in (
                    "ClientTransactionID", "ErrorNumber", "ErrorMessage")])
        for accept, kind in (("text/html, APPLICATION/ImageBytes;q=0.8", "application/imagebytes"),
                             ("application/imagebytes;q=0, */*", "application/json")):
            answer = self.client.request("GET", camera.path("imagearray"),
                                         "ClientTransactionID=4294967295", {"Accept": accept})
            self.assertEqual(kind, answer[1].split(";")[0])
        # Other members have no binary form, nor has an error.
        camera.put("startexposure", Duration=1, Light="true")
        for member in ("imagearray", "camerastate"):
            kind = self.client.request("GET", camera.path(member), headers={
                "Accept": "application/imagebytes"})[1]
            self.assertEqual("application/json", kind.split(";")[0])

    def test_whole_sensor_at_each_bin(self):
        """Virtual cameras of the same serial number begin with the same image."""
        for camera, is_colour, bins, modes in (("T15C", True, (1, 2, 3, 4), (0, 1)),
                                               ("T08M", False, (1, 2), (0,))):
            options = f"{camera},serial=00000007,scene=gradient,light=0.2"
            for mode in modes:
                self.serve(*[options] * len(bins))
                images = {}
                for number, bin in enumerate(bins):
                    one = self.server.camera("Vek", self.client)
                    one.number = number
                    one.connect().put("readoutmode", ReadoutMode=mode)
                    images[bin] = one.take(bin=bin)
                columns = images[1].columns()
                self.assertGreater(len(set(images[1].samples)), 30)
                for bin, image in images.items():
                    size = (len(columns) // bin, len(columns[0]) // bin)
                    self.assertEqual(size, (image.width, image.height))
                    for x in [*range(0, image.width, 37), image.width - 2, image.width - 1]:
                        wanted = [binned(columns, bin, is_colour, mode == 0, x, y)
                                  for y in range(image.height)]
                        found = [image.at(x, y) for y in range(image.height)]
                        self.assertEqual(wanted, found, f"{camera} mode {mode} bin {bin} x {x}")

    def test_subframes_are_cuts(self):
        """The scene is the same each time, but the noise is not: means are compared."""
        self.serve(COLOUR, MONO, EIGHT_BITS)
        for name, bins in (("Vek T15C", (1, 2, 3, 4)), ("Vek T08M", (1, 2)), ("Vek T01C", (2,))):
            camera = self.camera(name)
            for bin in bins:
                whole, other = camera.take(0.002, bin=bin), camera.take()
                for x, y, width, height in ((1, 1, 97, 75), (6, 3, 64, 50), (16, 8, 64, 64),
                                            (31, 62, 41, 38), (whole.width - 33,
                                                               whole.height - 45, 33, 45)):
                    part = camera.take(0.002, bin=bin, x=x, y=y, width=width, height=height)
                    self.assertEqual((width, height), (part.width, part.height))
                    for phase in ((0, 0), (1, 0), (0, 1), (1, 1)):  # of a mosaic
                        places = [(i, j) for i in range(phase[0], width, 2)
                                  for j in range(phase[1], height, 2)]
                        noise = [whole.at(x + i, y + j) - other.at(x + i, y + j)
                                 for i, j in places]
                        error = [part.at(i, j) - whole.at(x + i, y + j) for i, j in places]
                        spread = math.sqrt(sum(n * n for n in noise) / len(noise))
                        self.assertLess(abs(sum(error)) / len(error),
                                        6 * spread / math.sqrt(len(error)) + 0.01,
                                        f"{name} bin {bin} {x},{y} {width}x{height} {phase}")
            # The speed test of a client.
            self.assertEqual(4, len(camera.take(bin=1, width=2, height=2).samples))


class Sharing(Wire):
    def test_two_clients(self):
        self.serve(COOLED)
        one = self.camera()
        other = self.server.camera("Vek", self.server.client())
        self.assertTrue(other.get("connected"))
        results = []
        clients = [self.server.camera("Vek", self.server.client()) for _ in range(6)]
        ready = threading.Barrier(len(clients))

        def start(camera):
            ready.wait()
            results.append(camera.error("PUT", "startexposure", Duration=0.3, Light="true"))
        threads = [threading.Thread(target=start, args=(camera,)) for camera in clients]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
        self.assertEqual([0] + [INVALID_OPERATION] * 5, sorted(results))
        other.wait("imageready", True)
        self.assertEqual(one.image().samples, other.image().samples)
        other.put("connected", Connected="false")
        self.assert_error(NOT_CONNECTED, "GET", one, "imagearray")

    def test_slow_download(self):
        """A client that does not take its image delays the next one only for a while."""
        self.serve("T11C,serial=00000001")
        camera = self.camera()
        camera.expose()
        with socket.socket() as slow:
            slow.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, 4096)
            slow.connect(("127.0.0.1", self.server.port))
            slow.sendall(f"GET {camera.path('imagearray')} HTTP/1.1\r\nHost: localhost\r\n"
                         "Accept: application/imagebytes\r\n\r\n".encode())
            self.assertTrue(slow.recv(100))
            camera.put("startexposure", Duration=0.01, Light="true")
            camera.wait("camerastate", 4)
            self.assertFalse(camera.get("imageready"))
            camera.wait("imageready", True, 30)
            whole = 2 * 3096 * 2080
            self.assertEqual(whole, 2 * len(camera.image().samples))
            slow.settimeout(20)
            taken = 0
            try:
                while data := slow.recv(1 << 20):
                    taken += len(data)
            except ConnectionError:
                pass
            self.assertLess(taken, whole)


class Connections(Wire):
    def test_connect_and_disconnect(self):
        self.serve(COOLED)
        camera = self.server.camera("Vek", self.client)
        for _ in range(2):
            for member, wanted in (("connect", True), ("connect", True), ("disconnect", False),
                                   ("disconnect", False)):
                camera.put(member)
                camera.wait("connecting", False)
                self.assertEqual(wanted, camera.get("connected"))
            camera.put("connected", Connected="true")
            camera.put("connected", Connected="true")
            self.assertTrue(camera.get("connected"))
            camera.put("connect")
            camera.put("connected", Connected="false")
            self.assertFalse(camera.get("connected"))
        for _ in range(20):  # faster than the camera can be opened
            camera.put("connect")
            camera.put("disconnect")
        camera.put("connect")
        camera.wait("connecting", False)
        self.assertTrue(camera.get("connected"))
        camera.expose()

    def test_cannot_be_opened(self):
        self.serve("T15C,serial=00000001,fault=open refuse from 1 to 200")
        camera = self.server.camera("Vek", self.client)
        self.assert_error(DRIVER, "PUT", camera, "connected", Connected="true")
        self.assertFalse(camera.get("connected"))
        camera.put("connect")
        deadline = time.monotonic() + 20
        while not camera.error("GET", "connecting"):
            self.assertLess(time.monotonic(), deadline)
            time.sleep(0.01)
        self.assertFalse(camera.get("connected"))

    def test_replugged(self):
        self.serve("T15C,serial=00000001,fault=bulk replug 300 at 2", COOLED)
        devices = self.client.value("/management/v1/configureddevices")
        camera = self.camera("Vek T15C")
        other = self.camera("Vek T13C")
        camera.put("startexposure", Duration=0.5, Light="true")
        camera.wait("connected", False)
        for member in ("camerastate", "imageready", "devicestate", "imagearray"):
            self.assert_error(NOT_CONNECTED, "GET", camera, member)
        self.assert_error(NOT_CONNECTED, "PUT", camera, "startexposure", Duration=1, Light="true")
        self.assertEqual("Vek T15C", camera.get("name"))
        other.expose()
        self.assertEqual(devices, self.client.value("/management/v1/configureddevices"))
        deadline = time.monotonic() + 20
        while camera.error("PUT", "connected", Connected="true"):
            self.assertLess(time.monotonic(), deadline)
            time.sleep(0.05)
        camera.expose()
        self.assertEqual(devices, self.client.value("/management/v1/configureddevices"))

    def test_ends_while_busy(self):
        self.serve(COOLED)
        camera = self.camera()
        camera.put("startexposure", Duration=500, Light="true")
        camera.put("pulseguide", Direction=0, Duration=60000)
        begun = time.monotonic()
        self.server.process.send_signal(signal.SIGTERM)
        self.assertEqual(0, self.server.process.wait(20))
        self.assertLess(time.monotonic() - begun, 15)


class CoolerAndGuidePort(Wire):
    def test_cooler(self):
        self.serve(COOLED)
        camera = self.camera()
        for celsius, held in ((-5.4, -5), (-5.6, -6), (3, 3)):
            camera.put("setccdtemperature", SetCCDTemperature=celsius)
            self.assertEqual(held, camera.get("setccdtemperature"))
        limits = []
        for step in (-5, 5):
            celsius = 0
            while camera.error("PUT", "setccdtemperature", SetCCDTemperature=celsius) == 0:
                self.assertLess(abs(celsius), 300)
                celsius += step
            self.assert_error(INVALID_VALUE, "PUT", camera, "setccdtemperature",
                              SetCCDTemperature=celsius)
            limits.append(camera.get("setccdtemperature"))
        self.assertTrue(-273 < limits[0] < 0 < limits[1] < 100, limits)
        camera.put("setccdtemperature", SetCCDTemperature=-10)
        camera.put("cooleron", CoolerOn="true")
        self.assertTrue(camera.get("cooleron"))
        deadline = time.monotonic() + 30
        while camera.get("coolerpower") == 0 or camera.get("ccdtemperature") == 20:
            self.assertLess(time.monotonic(), deadline)
            time.sleep(0.05)
        camera.expose()  # does not disturb it
        self.assertTrue(camera.get("cooleron"))
        camera.put("cooleron", CoolerOn="false")
        self.assertFalse(camera.get("cooleron"))

    def test_guide_port(self):
        self.serve(COOLED)
        camera = self.camera()
        for direction, duration in ((-1, 100), (4, 100), (0, -1), (0, 60001)):
            self.assert_error(INVALID_VALUE, "PUT", camera, "pulseguide", Direction=direction,
                              Duration=duration)
        self.assertFalse(camera.get("ispulseguiding"))
        camera.put("startexposure", Duration=0.2, Light="true")
        begun = time.monotonic()
        camera.put("pulseguide", Direction=0, Duration=300)
        camera.put("pulseguide", Direction=2, Duration=600)
        self.assertTrue(camera.get("ispulseguiding"))
        camera.wait("ispulseguiding", False)
        self.assertGreater(time.monotonic() - begun, 0.59)
        camera.wait("imageready", True)
        camera.put("pulseguide", Direction=1, Duration=60000)
        camera.put("connected", Connected="false")
        camera.connect()
        camera.wait("ispulseguiding", False, 2)


if __name__ == "__main__":
    unittest.main()
