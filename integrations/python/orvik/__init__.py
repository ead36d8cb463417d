# SPDX-License-Identifier: MIT
"""USB astronomical cameras.

    import orvik

    with orvik.open() as cam:
        cam.exposure = 2.5
        image = cam.snap()
        print(image.info.start, image.array.mean())

- `devices()` lists what is plugged in, `watch()` follows what changes, `open()` opens a camera.
- `Camera` has its controls as attributes, in seconds and degrees Celsius, and takes images as
  `Frame`: a NumPy array with its facts.
- Errors are exceptions derived from `Error`.
- `orvik.sim` has virtual cameras.
"""
from __future__ import annotations

import time
from collections.abc import Iterator

from . import _orvik
from ._orvik import Dark, HotPixels, Video, devices
from .camera import Camera
from .controls import AUTO, Control
from .errors import Closed, Error, NoDevice, NoFrame, OpenFailed, SeveralDevices, Timeout, Unplugged
from .records import (CameraInfo, CoolerFault, CoolerStatus, DarkInfo, Device, DeviceChange,
                      FirmwareVersion, Flip, Frame, FrameInfo, HotPixelInfo, ImageType, Readout)

__all__ = [
    "AUTO", "Camera", "CameraInfo", "Closed", "Control", "CoolerFault", "CoolerStatus",
    "Dark", "DarkInfo", "Device", "DeviceChange", "Error", "FirmwareVersion", "Flip", "Frame",
    "FrameInfo", "HotPixelInfo", "HotPixels", "ImageType", "NoDevice", "NoFrame", "OpenFailed",
    "Readout", "SeveralDevices", "Timeout", "Unplugged", "Video", "devices", "open", "watch",
]

__version__: str = _orvik.version()


def open(identity: str = "") -> Camera:
    """Opens a camera by its serial number or port; without either, the only one that is plugged in.

    Raises NoDevice, SeveralDevices or OpenFailed.
    """
    return Camera(identity)


def watch(timeout: float | None = None) -> Iterator[DeviceChange]:
    """Follows what is plugged in and unplugged: `for change in orvik.watch(): ...`

    Cameras that are plugged in already come first. The iteration ends when nothing has changed for
    `timeout` seconds; without it, never.
    """
    known: dict[tuple[str, str], Device] = {}
    count = 0
    last = time.monotonic()
    while True:
        count = _orvik.wait_for_change(count, 1 if timeout is None else min(timeout, 1))
        # An opened camera is still the same one.
        now = {(device.identity, device.port): device for device in devices()}
        gone = [DeviceChange(False, known[name]) for name in known if name not in now]
        come = [DeviceChange(True, now[name]) for name in now if name not in known]
        known = now
        for change in gone + come:
            yield change
            last = time.monotonic()
        if timeout is not None and time.monotonic() - last >= timeout:
            return
