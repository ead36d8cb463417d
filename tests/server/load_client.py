#!/usr/bin/env python3
"""Watches an orvik-server under load, and tells what it took.

Starts the server with a virtual camera, eight browsers' worth of live views, a recording and two
Alpaca clients, and reports after some seconds: pictures per viewer, frames that the recording lost,
processor time and memory of the server.
"""
import argparse
import base64
import http.client
import json
import os
import re
import selectors
import socket
import struct
import subprocess
import tempfile
import threading
import time

VIEWERS = 8
# What they show: the same for some, another zoom or window for others, as people do.
VIEWS = [
    {"window": None, "size": [1304, 976]},
    {"window": None, "size": [1304, 976]},
    {"window": None, "size": [1304, 976]},
    {"window": None, "size": [700, 520]},
    {"window": None, "size": [700, 520]},
    {"window": None, "size": [390, 300]},
    {"window": [500, 300, 320, 240], "size": [1280, 960]},
    {"window": [100, 100, 64, 48], "size": [1280, 960]},
]


class Browser:
    """One WebSocket: acknowledges each picture, counts what comes."""

    def __init__(self, port, camera, address="127.0.0.1"):
        self.socket = socket.create_connection((address, port))
        key = base64.b64encode(os.urandom(16)).decode()
        self.socket.sendall(
            f"GET /camera/{camera}/live HTTP/1.1\r\nHost: {address}:{port}\r\n"
            "Upgrade: websocket\r\nConnection: Upgrade\r\nSec-WebSocket-Version: 13\r\n"
            f"Sec-WebSocket-Key: {key}\r\n\r\n".encode())
        self.buffer = b""
        while b"\r\n\r\n" not in self.buffer:
            self.take(block=True)
        head, self.buffer = self.buffer.split(b"\r\n\r\n", 1)
        if b" 101 " not in head.split(b"\r\n")[0]:
            raise RuntimeError(head.decode(errors="replace"))
        self.socket.setblocking(False)
        self.pictures = 0
        self.bytes = 0
        self.texts = {}

    def take(self, block=False):
        data = self.socket.recv(1 << 20)
        if not data:
            raise RuntimeError("the server has closed the connection")
        self.buffer += data
        if not block:
            self.parse()

    def parse(self):
        while True:
            message = self.next_message()
            if message is None:
                return
            kind, payload = message
            if kind == 2:
                number, part = struct.unpack_from("<I16xH", payload)
                self.pictures += part == 0
                self.bytes += len(payload)
                self.say({"do": "seen", "message": number})
            elif kind == 1:
                text = json.loads(payload)
                self.texts[text["type"]] = text
            elif kind == 9:
                self.send(0x8A, payload)

    def next_message(self):
        if len(self.buffer) < 2:
            return None
        length, start = self.buffer[1] & 0x7F, 2
        if length >= 126:
            size = 2 if length == 126 else 8
            if len(self.buffer) < 2 + size:
                return None
            length, start = int.from_bytes(self.buffer[2:2 + size], "big"), 2 + size
        if len(self.buffer) < start + length:
            return None
        message = self.buffer[0] & 0x0F, self.buffer[start:start + length]
        self.buffer = self.buffer[start + length:]
        return message

    def send(self, kind, payload):
        size = bytes([0x80 | len(payload)]) if len(payload) < 126 else b"\xfe" + struct.pack(
            ">H", len(payload))
        self.socket.setblocking(True)
        self.socket.sendall(bytes([kind]) + size + bytes(4) + payload)
        self.socket.setblocking(False)

    def say(self, command):
        self.send(0x81, json.dumps(command).encode())


class Alpaca(threading.Thread):
    """Polls as a client does between exposures, ten times a second."""

    MEMBERS = ["camerastate", "ccdtemperature", "imageready", "gain", "ispulseguiding",
               "percentcompleted"]

    def __init__(self, port, number):
        super().__init__(daemon=True)
        self.port, self.number, self.answers, self.failed = port, number, 0, 0
        self.ends = threading.Event()

    def run(self):
        link = http.client.HTTPConnection("127.0.0.1", self.port, timeout=10)
        who = f"ClientID={self.number}&ClientTransactionID=1"
        link.request("PUT", "/api/v1/camera/0/connected", "Connected=true&" + who,
                     {"Content-Type": "application/x-www-form-urlencoded"})
        link.getresponse().read()
        while not self.ends.wait(0.1):
            for member in self.MEMBERS:
                link.request("GET", f"/api/v1/camera/0/{member}?{who}")
                answer = link.getresponse()
                answer.read()
                self.answers += 1
                self.failed += answer.status != 200


def processor_seconds(pid):
    with open(f"/proc/{pid}/stat") as file:
        fields = file.read().rsplit(")", 1)[1].split()
    return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")


def threads_seconds(pid):
    """Processor time of each thread, which helps to see where it goes."""
    times = {}
    for task in os.listdir(f"/proc/{pid}/task"):
        try:
            with open(f"/proc/{pid}/task/{task}/stat") as file:
                fields = file.read().rsplit(")", 1)[1].split()
            times[task] = (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")
        except FileNotFoundError:
            pass
    return times


def memory(pid):
    with open(f"/proc/{pid}/status") as file:
        return int(re.search(r"VmRSS:\s+(\d+)", file.read()).group(1)) / 1024


def serve(browsers, seconds):
    """Reads what the server sends for so long."""
    selector = selectors.DefaultSelector()
    for browser in browsers:
        selector.register(browser.socket, selectors.EVENT_READ, browser)
    end = time.monotonic() + seconds
    while time.monotonic() < end:
        for key, _ in selector.select(0.1):
            key.data.take()
    selector.close()


def ask(browser, browsers, command):
    browser.texts.pop("done", None)
    browser.texts.pop("failed", None)
    browser.say({**command, "id": 1})
    for _ in range(200):
        serve(browsers, 0.05)
        if "failed" in browser.texts:
            raise RuntimeError(browser.texts["failed"]["message"])
        if "done" in browser.texts:
            return
    raise RuntimeError("no answer")


def measure(port, pid, seconds, viewers, clients, record):
    browsers = [Browser(port, 0) for _ in range(viewers)]
    first = browsers[0]
    while first.texts.get("status", {}).get("link") != "open":
        serve(browsers, 0.1)
    ask(first, browsers, {"do": "control", "control": 1, "value": 10000, "auto": False})
    for number, browser in enumerate(browsers):
        browser.say({"do": "view", "shown": True, **VIEWS[number % len(VIEWS)]})
        browser.say({"do": "focus", "on": number == 0})
    pollers = [Alpaca(port, number + 1) for number in range(clients)]
    for poller in pollers:
        poller.start()
    if record:
        ask(first, browsers, {"do": "capture", "kind": "video", "format": "ser", "count": None,
                              "seconds": None, "interval": 0, "exposure": None, "name": "load"})
    serve(browsers, 5)  # until everything has its memory

    pictures = [browser.pictures for browser in browsers]
    begun, used, memory_begun = time.monotonic(), processor_seconds(pid), memory(pid)
    threads = threads_seconds(pid)
    frames = first.texts["captures"]["running"]["done"] if record else 0
    serve(browsers, seconds)
    took = time.monotonic() - begun
    cores = (processor_seconds(pid) - used) / took
    print(f"viewers     {viewers}, {clients} Alpaca clients, {took:.0f} s")
    print(f"camera      {first.texts['status']['frameRate']:.1f} frames/s, "
          f"{first.texts['status']['lost']} lost")
    print("pictures/s  " + " ".join(f"{(browser.pictures - before) / took:.1f}"
                                    for browser, before in zip(browsers, pictures)))
    print(f"server      {cores:.2f} cores")
    busiest = sorted(((now - threads.get(task, 0)) / took
                      for task, now in threads_seconds(pid).items()), reverse=True)
    print("threads     " + " ".join(f"{share:.2f}" for share in busiest[:8]))
    print(f"memory      {memory_begun:.0f} MiB at the start, {memory(pid):.0f} MiB at the end")
    if record:
        running = first.texts["captures"]["running"]
        print(f"recording   {(running['done'] - frames) / took:.1f} frames/s, {running['lost']} lost")
        ask(first, browsers, {"do": "stop-capture"})
        while first.texts["captures"]["running"]:
            serve(browsers, 0.1)
        last = first.texts["captures"]["last"]
        if last["message"]:
            raise RuntimeError(last["message"])
    for poller in pollers:
        poller.ends.set()
        poller.join()
        print(f"Alpaca      {poller.answers / (took + 5):.0f} answers/s, {poller.failed} failed")
    print(f"load        {os.getloadavg()[0]:.1f} processes want the {os.cpu_count()} processors")


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("server", help="the program orvik-server")
    parser.add_argument("seconds", type=float)
    parser.add_argument("--viewers", type=int, default=VIEWERS)
    parser.add_argument("--clients", type=int, default=2)
    parser.add_argument("--sim", default="T15C,scene=moon")
    parser.add_argument("--no-recording", action="store_true")
    options = parser.parse_args()
    with tempfile.TemporaryDirectory() as folder:
        server = subprocess.Popen(
            [options.server, "--sim", options.sim, "--listen", "127.0.0.1:0", "--no-discovery",
             "--folder", folder], stdout=subprocess.PIPE, text=True)
        try:
            port = int(re.search(r":(\d+)/", server.stdout.readline()).group(1))
            measure(port, server.pid, options.seconds, options.viewers, options.clients,
                    not options.no_recording)
        finally:
            server.terminate()
            server.wait(30)


if __name__ == "__main__":
    main()
