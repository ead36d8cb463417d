# SPDX-License-Identifier: MIT
"""What the package tells about cameras and images. The extension module fills in the fields."""
from __future__ import annotations

from dataclasses import dataclass
from datetime import datetime, timezone
from enum import IntEnum, IntFlag
from typing import Any

import numpy as np

EPOCH = datetime(1970, 1, 1, tzinfo=timezone.utc)


class ImageType(IntEnum):
    """The pixels of an image."""

    RAW8 = 0  # raw sensor data (the mosaic on a colour camera), 8 bits
    RGB24 = 1  # red, green, blue, 8 bits each
    RAW16 = 2  # raw sensor data, 16 bits, of which the converter's are the upper ones
    Y8 = 3  # luminance, 8 bits


class Flip(IntFlag):
    """How an image is mirrored."""

    NONE = 0
    HORIZONTAL = 1
    VERTICAL = 2
    BOTH = 3


class CoolerFault(IntEnum):
    """Why a cooler has no power although regulation is on."""

    NONE = 0
    NO_READING = 1  # the thermistor has not answered for 30 s
    OUT_OF_RANGE = 2  # for 30 s all its readings were outside -20 to 113 degrees Celsius


@dataclass(frozen=True)
class Device:
    """A camera that is plugged in, open or not."""

    name: str  # display name of the model; "" for one that the library does not know
    serial: str  # serial number; "" if there is none
    port: str  # that it is plugged into, such as "2-1.4"
    identity: str  # text for open(): the serial number if it is unique, else the port
    vendor_id: int
    product_id: int
    is_open: bool  # in this process


@dataclass(frozen=True)
class DeviceChange:
    """A camera was plugged in or unplugged."""

    arrived: bool  # False when it was unplugged
    device: Device


@dataclass(frozen=True)
class CameraInfo:
    """The properties of a camera."""

    name: str
    width: int  # of the sensor, pixels
    height: int  # of the sensor, pixels
    colour: bool
    bayer: str | None  # of the sensor's top left 2 x 2 pixels, "RGGB" or so; None if monochrome
    bins: tuple[int, ...]
    types: tuple[ImageType, ...]
    pixel_size: float  # micrometres
    has_guide_port: bool
    has_cooler: bool
    usb3_host: bool  # whether it is at a USB 3 port
    usb3_camera: bool  # whether the model is built for USB 3


@dataclass(frozen=True)
class FrameInfo:
    """The facts about one image, as they were when it was exposed."""

    capture: int  # number of its capture, counted from 1 since the opening
    number: int  # of the frame in its capture, from 0 on; lost frames are counted
    lost_before: int  # frames lost between the previous frame that was kept and this one
    start: datetime  # of the exposure, UTC
    arrived: datetime  # when the frame was complete, UTC
    uncertainty: float  # seconds by which the times may be late
    exposure: float  # seconds
    gain: int  # in the sensor's steps
    black_level: int  # in the sensor's steps
    temperature: float | None  # of the sensor, degrees Celsius; None without a recent reading
    type: ImageType
    bin: int
    region: tuple[int, int, int, int]  # left, top, width, height on the sensor, unbinned pixels
    flip: Flip
    bayer: str | None  # of the image's top left 2 x 2 pixels as they are; None if not a mosaic
    snapshot: bool  # False for a frame of a video
    settled: bool  # whether the settings were in effect for the whole exposure
    camera: str  # display name of the model


@dataclass(frozen=True, eq=False)
class Frame:
    """An image with its facts. NumPy's functions take it as they take its array.

    The array is height x width, of uint8, or uint16 for RAW16. RGB24 has a third axis, red, green,
    blue: a view of memory in the order blue, green, red, which `array[..., ::-1]` gives without a
    copy. The memory belongs to the image; it stays valid and unchanged after the video has gone on
    and the camera has been closed.
    """

    array: np.ndarray[Any, Any]
    info: FrameInfo

    def __array__(self, dtype: Any = None) -> np.ndarray[Any, Any]:
        return self.array if dtype is None else self.array.astype(dtype, copy=False)

    def __repr__(self) -> str:
        height, width = self.array.shape[:2]
        return f"<Frame {width} x {height} {self.info.type.name}, {self.info.exposure} s>"


@dataclass(frozen=True)
class Readout:
    """How a camera reads out at present."""

    converter_bits: int  # 10 or 12; 0 if unknown
    frame_bytes: int  # of an image in the present format
    frame_rate: float  # expected frames per second of a video; 0 if unknown


@dataclass(frozen=True)
class CoolerStatus:
    """The status of a cooler."""

    regulating: bool
    target: int  # degrees Celsius, at least -19: colder ones cannot be measured reliably
    power: int  # percent
    temperature: float  # last valid reading, degrees Celsius
    valid: bool  # whether the last reading was valid
    age: int | None  # of the last valid reading, seconds; None when there was none yet
    fault: CoolerFault


@dataclass(frozen=True)
class DarkInfo:
    """A camera's dark frame."""

    exists: bool
    enabled: bool  # whether it is subtracted from 8-bit images
    mean: int  # of its pixels, 0 to 255
    hot_pixels: int  # pixels that are 31 or more above the mean
    path: str  # of the file last loaded or saved, or ""


@dataclass(frozen=True)
class HotPixelInfo:
    """A camera's table of hot pixels."""

    exists: bool
    enabled: bool  # whether images are corrected
    on_sensor: int
    in_region: int  # hot samples in images of the present region; 0 if correction is off


@dataclass(frozen=True)
class FirmwareVersion:
    """The versions of a camera."""

    firmware: int  # of the USB bridge's firmware
    fpga_major: int
    fpga_minor: int  # displayed as four hexadecimal digits
