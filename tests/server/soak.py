#!/usr/bin/env python3
"""Clients come and go at an orvik-server whose cameras have faults, for as long as one likes.

Browsers watch, change settings, capture, guide and vanish; Alpaca clients expose, download, break
off and disconnect; others send garbage or half a request. It fails when the server ends, does not
answer in time, answers with an error of its own (HTTP 500), or keeps growing.
"""
import argparse
import http.client
import os
import random
import re
import socket
import subprocess
import sys
import tempfile
import threading
import time

from load_client import Browser, memory, processor_seconds, serve

CAMERAS = [
    "T15C,scene=moon,fault=bulk short chance 0.002; bulk flip 2 chance 0.001; "
    "control fail chance 0.0005; any replug 800 chance 0.00003",
    "T10C_C,scene=stars,fault=bulk timeout chance 0.0005; control stall chance 0.0005; "
    "any replug 1500 chance 0.00005",
    "T02C,scene=planet,fault=bulk empty chance 0.002; control timeout chance 0.0002",
]
ANSWER_SECONDS = 20
GROWTH_MIB = 40  # of the last third above the second, which has seen all there is


class Failed(Exception):
    pass


class Visitor(threading.Thread):
    """Visits the server in one way again and again, until it is told to end or finds a fault."""

    def __init__(self, soak, number, visit):
        super().__init__(daemon=True)
        self.soak, self.visit = soak, visit
        self.random = random.Random(soak.seed * 1000 + number)
        self.visits = 0
        self.images = 0  # pictures that a browser has got, or images that a client has

    def run(self):
        while not self.soak.ends.is_set() and not self.soak.fault:
            try:
                self.visit(self)
                self.visits += 1
            except Exception as fault:  # whatever it is, the soak has found it
                self.soak.fault = f"{self.visit.__name__}: {type(fault).__name__}: {fault}"

    def camera(self):
        return self.random.randrange(len(CAMERAS))

    def pause(self, longest):
        self.soak.ends.wait(self.random.uniform(0, longest))


def browse(visitor):
    """Someone opens a page, plays with it, and leaves without a word."""
    choose = visitor.random
    browser = Browser(visitor.soak.port, visitor.camera())
    try:
        size = choose.choice([[1304, 976], [390, 300], [1920, 1080]])
        browser.say({"do": "view", "window": None, "size": size, "shown": True})
        for _ in range(choose.randrange(1, 12)):
            serve([browser], choose.uniform(0, 2))
            browser.say({"id": 1, **choose.choice(COMMANDS)(choose)})
            if choose.random() < 0.1:
                visitor.pause(4)  # and does not read what comes meanwhile
    except RuntimeError:
        pass  # the server may close a page that lets everything wait
    finally:
        visitor.images += browser.pictures
        browser.socket.close()


COMMANDS = [
    lambda r: {"do": "control", "control": r.randrange(-1, 20), "value": r.randrange(-10, 100000),
               "auto": r.random() < 0.3},
    lambda r: {"do": "control", "control": 1, "value": r.randrange(1000, 300000), "auto": False},
    lambda r: {"do": "format", "region": [r.randrange(0, 900), r.randrange(0, 700),
                                          r.randrange(1, 1400), r.randrange(1, 1000)],
               "bin": r.choice([1, 1, 2, 3]), "imageType": r.choice(["raw8", "raw16", "rgb24"])},
    lambda r: {"do": "cool", "target": r.randrange(-20, 15), "rate": r.choice([1, 100])},
    lambda r: {"do": "warm", "rate": 100},
    lambda r: {"do": "cooler-off"},
    lambda r: {"do": "guide", "line": r.randrange(4), "on": True},
    lambda r: {"do": "pulse", "line": r.randrange(4), "ms": r.randrange(1, 3000)},
    lambda r: {"do": "stretch", "mode": r.choice(["linear", "auto", "asinh"]), "black": 0,
               "white": r.uniform(0.1, 1), "strength": 50},
    lambda r: {"do": "focus", "on": r.random() < 0.5},
    lambda r: {"do": "view", "window": [r.randrange(0, 600), r.randrange(0, 500),
                                        r.randrange(1, 400), r.randrange(1, 300)],
               "size": [800, 600], "shown": r.random() < 0.8},
    lambda r: {"do": "pointer", "x": r.randrange(2000), "y": r.randrange(2000)},
    lambda r: {"do": "dark", "use": r.random() < 0.5},
    lambda r: {"do": "hot-pixels", "use": r.random() < 0.5},
    lambda r: {"do": "capture", "kind": "images", "format": r.choice(["fits", "png"]),
               "count": r.randrange(1, 5), "seconds": None, "interval": 0,
               "exposure": r.choice([None, 0.01, 0.2]), "name": "soak"},
    lambda r: {"do": "capture", "kind": "video", "format": "ser", "count": r.randrange(1, 60),
               "seconds": None, "interval": 0, "exposure": None, "name": "soak"},
    lambda r: {"do": "stop-capture"},
    lambda r: {"do": r.choice(["", "view", "cool", "format"]), "window": 7},
]


def observe(visitor):
    """An Alpaca client connects, exposes, and takes the image, or only half of it."""
    choose = visitor.random
    link = http.client.HTTPConnection("127.0.0.1", visitor.soak.port, timeout=ANSWER_SECONDS)
    base = f"/api/v1/camera/{visitor.camera()}/"

    def ask(method, member, body=None, headers=None):
        link.request(method, base + member, body, {
            "Content-Type": "application/x-www-form-urlencoded", **(headers or {})})
        answer = link.getresponse()
        if answer.status >= 500:
            raise Failed(f"{method} {member}: HTTP {answer.status}")
        return answer

    try:
        ask("PUT", "connected", "Connected=true").read()
        for _ in range(choose.randrange(1, 6)):
            bin_factor = choose.choice([1, 1, 2])
            for text in (f"bin{choose.choice('xy')}&BinX={bin_factor}&BinY={bin_factor}",
                         f"numx&NumX={choose.randrange(1, 700)}",
                         f"numy&NumY={choose.randrange(1, 500)}", f"gain&Gain={choose.randrange(99)}"):
                member, values = text.split("&", 1)
                ask("PUT", member, values).read()
            ask("PUT", "startexposure", f"Duration={choose.uniform(0.001, 0.5)}&Light=true").read()
            if choose.random() < 0.2:
                ask("PUT", "abortexposure", "").read()
            for _ in range(30):
                if b'"Value":false' not in ask("GET", "imageready").read():
                    break
                visitor.pause(0.1)
            accept = {"Accept": "application/imagebytes"} if choose.random() < 0.6 else {}
            image = ask("GET", "imagearray", headers=accept)
            if choose.random() < 0.2:
                image.read(1000)
                return
            visitor.images += len(image.read()) > 1000
            ask("GET", "devicestate").read()
        if choose.random() < 0.3:
            ask("PUT", "connected", "Connected=false").read()
    finally:
        link.close()


def disturb(visitor):
    """A client that sends garbage, half a request, or nothing, and stays for a while."""
    choose = visitor.random
    with socket.create_connection(("127.0.0.1", visitor.soak.port)) as link:
        try:
            link.sendall(choose.choice([
                b"", b"GET ", b"GET / HTTP/1.1\r\nHost: localhost\r\nX: ", choose.randbytes(500),
                b"PUT /api/v1/camera/0/connected HTTP/1.1\r\nHost: localhost\r\n"
                b"Content-Length: 99999999\r\n\r\nConnected=",
                b"GET /camera/0/live HTTP/1.1\r\nHost: localhost\r\nUpgrade: websocket\r\n\r\n",
                b"GET /management/apiversions HTTP/1.1\r\nHost: localhost\r\n\r\n" * 200]))
            visitor.pause(5)
        except ConnectionError:
            pass  # the server may close it


class Soak:
    def __init__(self, program, seed):
        self.seed = seed
        self.fault = None
        self.ends = threading.Event()
        self.folder = tempfile.TemporaryDirectory()
        cameras = [text for camera in CAMERAS for text in ("--sim", f"{camera}; seed {seed}")]
        self.server = subprocess.Popen(
            [program, *cameras, "--listen", "127.0.0.1:0", "--no-discovery", "--folder",
             self.folder.name], stdout=subprocess.PIPE, text=True)
        self.port = int(re.search(r":(\d+)/", self.server.stdout.readline()).group(1))

    def check(self):
        """Raises what is wrong. The server has to answer, and its process to stay small."""
        if self.fault:
            raise Failed(self.fault)
        if self.server.poll() is not None:
            raise Failed(f"the server has ended with {self.server.returncode}")
        link = http.client.HTTPConnection("127.0.0.1", self.port, timeout=ANSWER_SECONDS)
        begun = time.monotonic()
        link.request("GET", "/cameras")
        link.getresponse().read()
        link.close()
        return time.monotonic() - begun

    def empty_folder(self):
        for entry in os.scandir(self.folder.name):
            if time.time() - entry.stat().st_mtime > 30:
                os.remove(entry)

    def run(self, minutes):
        visits = [browse] * 4 + [observe] * 3 + [disturb] * 3
        visitors = [Visitor(self, number, visit) for number, visit in enumerate(visits)]
        for visitor in visitors:
            visitor.start()
        begun, slowest, sizes = time.monotonic(), 0, []
        while time.monotonic() - begun < minutes * 60:
            time.sleep(2)
            slowest = max(slowest, self.check())
            sizes.append(memory(self.server.pid))
            self.empty_folder()
            if len(sizes) % 150 == 0:
                print(f"{(time.monotonic() - begun) / 60:.0f} min: {sizes[-1]:.0f} MiB", flush=True)
        self.ends.set()
        for visitor in visitors:
            visitor.join(3 * ANSWER_SECONDS)
            if visitor.is_alive():
                raise Failed(f"{visitor.visit.__name__} has no answer")
        self.check()
        used = processor_seconds(self.server.pid) / (time.monotonic() - begun)
        self.server.terminate()
        status = self.server.wait(ANSWER_SECONDS)
        third = len(sizes) // 3
        middle, last = max(sizes[third:2 * third]), max(sizes[2 * third:])
        for visit in (browse, observe, disturb):
            mine = [visitor for visitor in visitors if visitor.visit is visit]
            print(f"{visit.__name__}: {sum(one.visits for one in mine)} visits, "
                  f"{sum(one.images for one in mine)} images")
        print(f"slowest answer {slowest:.2f} s, {used:.2f} cores, memory at most {middle:.0f} MiB in "
              f"the second third, {last:.0f} MiB in the last")
        if status != 0:
            raise Failed(f"the server has ended with {status}")
        if minutes >= 3 and last > middle + GROWTH_MIB:
            raise Failed("the server keeps growing")


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("server", help="the program orvik-server")
    parser.add_argument("minutes", type=float)
    parser.add_argument("seed", type=int, nargs="?", default=random.randrange(1 << 16))
    options = parser.parse_args()
    print(f"seed {options.seed}", flush=True)
    soak = Soak(options.server, options.seed)
    try:
        soak.run(options.minutes)
    except (Failed, OSError, http.client.HTTPException, subprocess.TimeoutExpired) as fault:
        print(f"{type(fault).__name__}: {fault}")
        return 1
    finally:
        soak.server.kill()
        soak.folder.cleanup()
    return 0


if __name__ == "__main__":
    sys.exit(main())
