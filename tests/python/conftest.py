# SPDX-License-Identifier: MIT
"""Virtual cameras for the tests."""
import os
import signal
import threading
import time
from contextlib import contextmanager

import pytest

import orvik
import orvik.sim


@pytest.fixture(autouse=True)
def alone(tmp_path, monkeypatch):
    """Each test begins without cameras and settings."""
    monkeypatch.setenv("XDG_CONFIG_HOME", str(tmp_path))
    yield
    orvik.sim.unplug_all()


@contextmanager
def opened(model="T15C", **options):
    """An open virtual camera with short exposures of 8 bits."""
    with orvik.sim.camera(model, **options) as virtual, orvik.open(virtual.serial) as camera:
        camera.exposure = 0.02
        camera.type = "RAW8"
        yield camera


@pytest.fixture
def cam():
    with opened(scene="moon") as camera:
        yield camera


class Later(threading.Thread):
    """Calls a function after a delay, in a thread; the end of its `with` block waits for it, and
    raises what the function has raised."""

    def __init__(self, delay, function, *arguments):
        super().__init__()
        self.delay, self.call = delay, lambda: function(*arguments)
        self.result = self.error = None

    def run(self):
        time.sleep(self.delay)
        try:
            self.result = self.call()
        except Exception as error:
            self.error = error

    def __enter__(self):
        self.start()
        return self

    def __exit__(self, kind, *_):
        self.join(60)
        assert not self.is_alive()
        if self.error and kind is None:
            raise self.error


def interrupt_later(delay=0.3):
    return Later(delay, os.kill, os.getpid(), signal.SIGINT)
