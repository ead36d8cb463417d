"""orvik-server with virtual cameras, and a client that sees the answers as they are."""
import array
import http.client
import json
import os
import shutil
import struct
import subprocess
import tempfile
import time
import urllib.parse

NOT_IMPLEMENTED, INVALID_VALUE, NOT_CONNECTED, INVALID_OPERATION, DRIVER = (
    0x400, 0x401, 0x407, 0x40B, 0x500)


class Server:
    def __init__(self, program, *cameras):
        self.folder = tempfile.mkdtemp()
        arguments = [word for camera in cameras for word in ("--sim", camera)]
        self.process = subprocess.Popen(
            [program, *arguments, "--listen", "127.0.0.1:0", "--no-discovery", "--folder",
             self.folder], stdout=subprocess.PIPE, text=True,
            env={**os.environ, "HOME": self.folder, "XDG_CONFIG_HOME": self.folder})
        line = self.process.stdout.readline()
        self.port = int(line.strip().rstrip("/").rsplit(":", 1)[1])
        self.clients = []

    def close(self):
        for client in self.clients:
            client.connection.close()
        self.process.terminate()
        code = self.process.wait(20)
        self.process.stdout.close()
        shutil.rmtree(self.folder, ignore_errors=True)
        assert code == 0, f"the server has ended with {code}"

    def client(self):
        self.clients.append(Client(self.port))
        return self.clients[-1]

    def camera(self, name, client=None):
        """The camera whose device name begins so."""
        client = client or self.client()
        for device in client.value("/management/v1/configureddevices"):
            if device["DeviceName"].startswith(name):
                return Camera(client, device["DeviceNumber"])
        raise LookupError(name)


class AlpacaError(Exception):
    def __init__(self, number, message):
        super().__init__(f"{number:#x}: {message}")
        self.number = number


class Client:
    def __init__(self, port):
        self.connection = http.client.HTTPConnection("127.0.0.1", port, timeout=20)

    def request(self, method, path, parameters=None, headers=None):
        """Status, content type and body. Parameters are a dictionary, or text as it is sent."""
        text = parameters or ""
        if not isinstance(text, str):
            text = urllib.parse.urlencode(text)
        headers = dict(headers or {})
        if method == "PUT":
            headers.setdefault("Content-Type", "application/x-www-form-urlencoded")
            self.connection.request(method, path, text, headers)
        else:
            self.connection.request(method, path + ("?" + text if text else ""), headers=headers)
        answer = self.connection.getresponse()
        return answer.status, answer.getheader("Content-Type"), answer.read()

    def json(self, method, path, parameters=None):
        status, kind, body = self.request(method, path, parameters)
        assert status == 200, f"{method} {path} {parameters}: {status} {body}"
        assert kind.split(";")[0] == "application/json", kind
        return json.loads(body)

    def value(self, path):
        return self.json("GET", path)["Value"]


class Camera:
    def __init__(self, client, number):
        self.client = client
        self.number = number

    def path(self, member):
        return f"/api/v1/camera/{self.number}/{member}"

    def answer(self, method, member, **parameters):
        return self.client.json(method, self.path(member), parameters)

    def status(self, method, member, parameters=None):
        return self.client.request(method, self.path(member), parameters)[0]

    def get(self, member):
        answer = self.answer("GET", member)
        self.check(answer)
        return answer["Value"]

    def put(self, member, **parameters):
        self.check(self.answer("PUT", member, **parameters))

    @staticmethod
    def check(answer):
        if answer["ErrorNumber"]:
            raise AlpacaError(answer["ErrorNumber"], answer["ErrorMessage"])

    def error(self, method, member, **parameters):
        """The error number, 0 on success."""
        answer = self.answer(method, member, **parameters)
        assert bool(answer["ErrorNumber"]) == bool(answer["ErrorMessage"]), answer
        return answer["ErrorNumber"]

    def wait(self, member, wanted, seconds=20):
        deadline = time.monotonic() + seconds
        while self.get(member) != wanted:
            if time.monotonic() > deadline:
                raise AssertionError(f"{member} does not become {wanted}")
            time.sleep(0.005)

    def connect(self):
        self.put("connected", Connected="true")
        return self

    def frame(self, bin=1, x=0, y=0, width=None, height=None):
        self.put("binx", BinX=bin)
        self.put("startx", StartX=x)
        self.put("starty", StartY=y)
        self.put("numx", NumX=self.get("cameraxsize") // bin if width is None else width)
        self.put("numy", NumY=self.get("cameraysize") // bin if height is None else height)

    def expose(self, seconds=0.01):
        self.put("startexposure", Duration=seconds, Light="true")
        self.wait("imageready", True, seconds + 20)

    def image(self):
        status, kind, body = self.client.request("GET", self.path("imagearray"), headers={
            "Accept": "application/imagebytes"})
        assert (status, kind) == (200, "application/imagebytes"), (status, kind, body[:200])
        return Image(body)

    def take(self, seconds=0.01, **frame):
        if frame:
            self.frame(**frame)
        self.expose(seconds)
        return self.image()


class Image:
    """An image in the binary form; its samples by column."""

    def __init__(self, body):
        (self.version, self.error, self.client, self.server, start, self.type, self.wire_type,
         self.rank, self.width, self.height, self.planes) = struct.unpack("<iiIIiiiiiii", body[:44])
        assert start == 44
        self.samples = array.array({8: "H", 6: "B"}[self.wire_type])
        self.samples.frombytes(body[start:])
        assert len(self.samples) == self.width * self.height

    def at(self, x, y):
        return self.samples[x * self.height + y]

    def columns(self):
        samples = self.samples.tolist()
        return [samples[x * self.height:(x + 1) * self.height] for x in range(self.width)]
