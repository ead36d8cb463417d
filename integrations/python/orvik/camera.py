# SPDX-License-Identifier: MIT
"""An open camera."""
from __future__ import annotations

import itertools
import time
from collections.abc import Callable
from typing import TypeAlias

from ._orvik import CameraBase
from .controls import Attribute, Control
from .records import CoolerStatus, Flip, ImageType

Progress: TypeAlias = Callable[[CoolerStatus], None]


class Camera(CameraBase):
    """An open camera; `with` closes it at the end of its block.

    Every function can be called from any thread, also while another one waits for an image; images
    are for one thread at a time. Waits let the other threads of the program run, and Ctrl-C ends
    them with KeyboardInterrupt: the camera is then stopped, and can be used again.
    """

    __slots__ = ()

    exposure = Attribute[float](1, "Exposure time, seconds.")
    gain = Attribute[int](0, "Gain in the sensor's own steps.")
    gamma = Attribute[int](2, "1 to 100; 50 is linear.")
    white_balance_red = Attribute[int](3, "1 to 99; 50 is neutral.")
    white_balance_blue = Attribute[int](4, "1 to 99; 50 is neutral.")
    brightness = Attribute[int](5, "Black level in the sensor's own steps.")
    bandwidth = Attribute[int](6, "Share of the USB bandwidth that the camera may use, percent.")
    overclock = Attribute[int](7, "Percent above the normal clock.")
    temperature = Attribute[float](8, "Of the sensor, degrees Celsius. Read only.")
    flip = Attribute[Flip](9, "How images are mirrored.")
    auto_max_gain = Attribute[int](10, "Highest gain that automatic exposure may set.")
    auto_max_exposure = Attribute[int](11, "Longest automatic exposure, seconds.")
    auto_brightness = Attribute[int](12, "Mean brightness that automatic exposure aims at, 0 to 255.")
    hardware_bin = Attribute[bool](13, "Whether the camera bins, instead of the host.")
    high_speed = Attribute[bool](14, "Whether 8-bit frames are read out faster, with fewer bits.")
    cooler_power = Attribute[int](15, "Percent. Read only.")
    target_temperature = Attribute[int](16, "What the cooler holds, degrees Celsius.")
    cooler_on = Attribute[bool](17, "Whether the temperature is regulated.")

    def __enter__(self) -> Camera:
        return self

    def __exit__(self, *_: object) -> None:
        self.close()

    def __repr__(self) -> str:
        return f"<Camera {self.label}>"

    @property
    def controls(self) -> dict[str, Control]:
        """The controls that the camera offers, with their limits, by the library's names."""
        return {caps[1]: Control(self, caps) for caps in self._controls()}

    @property
    def roi(self) -> tuple[int, int, int, int]:
        """Left, top, width and height of the images on the sensor, in pixels after binning.

        The width must be a multiple of 4, the height even; left and top are rounded down to what the
        sensor supports.
        """
        width, height, _, _, x, y = self._format()
        return x, y, width, height

    @roi.setter
    def roi(self, roi: tuple[int, int, int, int]) -> None:
        x, y, width, height = roi
        if (width, height) != self.roi[2:]:  # a new size restarts a video
            self.set_format(width, height)
        self._set_start(x, y)

    @property
    def start(self) -> tuple[int, int]:
        """Left and top of the region, in pixels after binning."""
        return self.roi[:2]

    @start.setter
    def start(self, start: tuple[int, int]) -> None:
        self._set_start(*start)

    @property
    def bin(self) -> int:
        """Bin factor. Another one selects the whole sensor."""
        return self._format()[2]

    @bin.setter
    def bin(self, bin: int) -> None:
        self.set_format(bin=bin)

    @property
    def type(self) -> ImageType:
        """Pixels of the images: an ImageType or its name, such as "RAW16"."""
        return ImageType(self._format()[3])

    @type.setter
    def type(self, type: ImageType | str) -> None:
        start = self.start
        self.set_format(type=type)
        self.start = start

    def set_format(self, width: int | None = None, height: int | None = None,
                   bin: int | None = None, type: ImageType | str | None = None) -> None:
        """Sets the format of images, and centres the region on the sensor.

        What is not given stays, except that another bin selects the whole sensor. The width must be
        a multiple of 4, the height even. A running video goes on in the new format.
        """
        now_width, now_height, now_bin, now_type, _, _ = self._format()
        if bin is not None and bin != now_bin:
            if bin not in self.info.bins:
                raise ValueError(f"bin {bin} is none of {self.info.bins}")
            now_bin = bin
            now_width = self.info.width // bin // 4 * 4
            now_height = self.info.height // bin // 2 * 2
        if type is not None:
            if isinstance(type, str) and type not in ImageType.__members__:
                raise ValueError(f"{type} is none of {', '.join(ImageType.__members__)}")
            now_type = ImageType[type] if isinstance(type, str) else type
        self._set_format(now_width if width is None else width,
                         now_height if height is None else height, now_bin, now_type)

    def cool(self, to: float, rate: float = 3, background: bool = False,
             progress: Progress | None = None) -> None:
        """Moves the sensor's temperature to `to` whole degrees Celsius, `rate` degrees a minute, and
        holds it until stop_cooling(), or until the camera is closed.

        Waits until it has arrived, within a degree, and calls `progress` about once a second; an
        exception meanwhile, such as Ctrl-C, switches the cooler off. With `background` it returns at
        once. Called again, it goes on from the present temperature.
        """
        to = round(to)
        limits = self.controls.get("TargetTemp")  # without a cooler, the library says so
        if limits and not limits.min <= to <= limits.max:
            raise ValueError(f"the cooler takes {limits.min} to {limits.max} °C, not {to}")
        self._follow_ramp(to, rate, background, progress)

    def warm_up(self, rate: float = 3, background: bool = False,
                progress: Progress | None = None) -> None:
        """Moves the temperature back to where it was before cool(), and waits for the end of the
        ramp. Then the cooler is switched off; with `background`, by stop_cooling() or close()."""
        self._follow_ramp(None, rate, background, progress)
        if not background:
            self.stop_cooling()

    def _follow_ramp(self, to: int | None, rate: float, background: bool,
                     progress: Progress | None) -> None:
        if not rate > 0:
            raise ValueError("a ramp needs a rate above 0")
        self._begin_cooling(to, rate)
        if background:
            return
        try:
            for tick in itertools.count():
                over = self._is_cooling_over()
                if progress is not None and (over or tick % 10 == 0):
                    progress(self.cooler)
                if over:
                    return
                time.sleep(0.1)
        except BaseException:
            self.stop_cooling()
            raise
