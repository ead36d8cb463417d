"""An indiserver with the driver, in a folder of its own."""
import os
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import time

DRIVER, ORVIKCTL, SIMULATOR = (os.path.abspath(name) for name in sys.argv[1:4])
del sys.argv[1:4]


class Server:
    def __init__(self, cameras):
        self.folder = tempfile.mkdtemp()
        self.environment = {**os.environ, "HOME": self.folder, "XDG_CONFIG_HOME": self.folder,
                            "ORVIK_SIM": cameras, "LD_LIBRARY_PATH": os.path.dirname(SIMULATOR)}
        with socket.socket() as free:
            free.bind(("localhost", 0))
            self.port = free.getsockname()[1]
        self.log = open(os.path.join(self.folder, "log"), "w+")
        self.process = subprocess.Popen(
            ["indiserver", "-p", str(self.port), "-u", os.path.join(self.folder, "socket"), DRIVER],
            env=self.environment, stdout=self.log, stderr=self.log, start_new_session=True)
        self.wait_until_listening()

    def wait_until_listening(self):
        deadline = time.monotonic() + 20
        while time.monotonic() < deadline:
            try:
                socket.create_connection(("localhost", self.port), 1).close()
                return
            except OSError:
                time.sleep(0.05)
        raise AssertionError("the server does not listen: " + self.output())

    def output(self):
        self.log.flush()
        with open(self.log.name) as log:
            return log.read()

    def driver(self):
        """The process number of the driver that is running, or None."""
        children = f"/proc/{self.process.pid}/task/{self.process.pid}/children"
        with open(children) as file:
            pids = file.read().split()
        return int(pids[-1]) if pids else None

    @staticmethod
    def is_running(pid):
        try:
            with open(f"/proc/{pid}/stat") as file:
                return file.read().rsplit(")", 1)[1].split()[0] != "Z"
        except OSError:
            return False

    def close(self):
        driver = self.driver()
        os.killpg(self.process.pid, signal.SIGTERM)
        try:
            self.process.wait(20)
        except subprocess.TimeoutExpired:
            os.killpg(self.process.pid, signal.SIGKILL)
        deadline = time.monotonic() + 20
        while self.is_running(driver) and time.monotonic() < deadline:
            time.sleep(0.05)
        assert not self.is_running(driver), "the driver does not end"
        self.log.close()
        shutil.rmtree(self.folder, ignore_errors=True)

    def tool(self, name, *arguments):
        """Runs indi_getprop or indi_setprop and returns what it writes."""
        done = subprocess.run([name, "-p", str(self.port), *arguments], capture_output=True,
                              text=True, timeout=30, env=self.environment)
        return done.stdout

    def snap(self, camera, name, *arguments):
        """What orvikctl takes with the same virtual camera."""
        path = os.path.join(self.folder, name)
        settings = tempfile.mkdtemp(dir=self.folder)
        subprocess.run([ORVIKCTL, "snap", "--quiet", "--sim", camera, *arguments, "-o", path],
                       check=True, timeout=60, stdout=subprocess.DEVNULL,
                       env={**os.environ, "XDG_CONFIG_HOME": settings})
        with open(path, "rb") as file:
            return Fits(file.read())


class Fits:
    """The cards of a header, in order, and the bytes of the image."""

    def __init__(self, data):
        self.cards = []
        position = 0
        while not (self.cards and self.cards[-1][0] == "END"):
            card = data[position:position + 80].decode()
            self.cards.append((card[:8].strip(), self.value(card[10:])))
            position += 80
        begin = (position + 2879) // 2880 * 2880
        count = abs(self["BITPIX"]) // 8
        for axis in range(self["NAXIS"]):
            count *= self[f"NAXIS{axis + 1}"]
        self.pixels = data[begin:begin + count]

    @staticmethod
    def value(text):
        text = text.strip()
        if text.startswith("'"):
            return text[1:text.index("'", 1)].strip()
        text = text.split("/")[0].strip()
        try:
            return float(text) if "." in text else int(text)
        except ValueError:
            return text

    def __getitem__(self, key):
        return dict(self.cards)[key]

    def get(self, key):
        return dict(self.cards).get(key)
