# SPDX-License-Identifier: MIT
"""A running orvik-server with virtual cameras, in a folder of its own."""
import os
import re
import shutil
import subprocess
import tempfile
import threading
import time

DEADLINE = 60


class Served:
    """Listens on a free port of the loopback interface."""

    def __init__(self, program, *cameras, token=None):
        self.folder = tempfile.mkdtemp()
        self.files = os.path.join(self.folder, "files")
        self.arguments = [program, "--no-discovery", "--folder", self.files]
        for camera in cameras:
            self.arguments += ["--sim", camera]
        if token:
            path = os.path.join(self.folder, "token")
            with open(path, "w", encoding="ascii") as file:
                file.write(token + "\n")
            os.chmod(path, 0o600)
            self.arguments += ["--token-file", path]
        self.port = 0
        self.start()

    def start(self):
        """Starts it, again on the same port if it has had one, and waits until it listens."""
        environment = {**os.environ, "HOME": self.folder, "XDG_CONFIG_HOME": self.folder}
        self.lines = []
        self.process = subprocess.Popen(
            [*self.arguments, "--listen", f"127.0.0.1:{self.port}"], env=environment, text=True,
            stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        self.reader = threading.Thread(target=self.read, args=(self.process.stdout,), daemon=True)
        self.reader.start()
        deadline = time.monotonic() + DEADLINE
        while time.monotonic() < deadline:
            found = re.search(r"http://127\.0\.0\.1:(\d+)/", "".join(self.lines))
            if found:
                self.port = int(found[1])
                return
            if self.process.poll() is not None:
                break
            time.sleep(0.02)
        raise AssertionError("orvik-server does not listen: " + "".join(self.lines))

    def read(self, output):
        for line in output:
            self.lines.append(line)

    def url(self, path="/"):
        return f"http://127.0.0.1:{self.port}{path}"

    def kill(self):
        self.process.kill()
        self.process.wait()
        self.release()

    def release(self):
        self.reader.join()
        self.process.stdout.close()

    def close(self):
        """Ends it as a user would, and tells whether it has ended well."""
        self.process.terminate()
        try:
            code = self.process.wait(DEADLINE)
        except subprocess.TimeoutExpired:
            self.kill()
            raise AssertionError("orvik-server does not end") from None
        finally:
            if not self.process.stdout.closed:
                self.release()
            shutil.rmtree(self.folder, ignore_errors=True)
        assert code == 0, f"orvik-server ended with {code}: " + "".join(self.lines)
