# SPDX-License-Identifier: MIT
"""Virtual cameras, for programs and tests without a real one.

    with orvik.sim.camera("T15C", scene="moon") as virtual, orvik.open(virtual.serial) as cam:
        image = cam.snap()

From the first one on, the process sees virtual cameras instead of the USB bus; unplug_all() brings
the bus back.
"""
from __future__ import annotations

from ._sim import models, plug, unplug, unplug_all

__all__ = ["VirtualCamera", "camera", "models", "unplug_all"]


class VirtualCamera:
    """A virtual camera that is plugged in, made by camera(); `with` unplugs it at the end of its
    block. `model` is its code, `serial` its serial number."""

    __slots__ = ("model", "serial", "_id")

    def __init__(self, model: str, options: str) -> None:
        self._id, self.serial = plug(model, options)
        self.model = model

    def unplug(self) -> None:
        """Unplugs it, whatever it is doing. Does nothing when it is unplugged."""
        unplug(self._id)

    def __enter__(self) -> VirtualCamera:
        return self

    def __exit__(self, *_: object) -> None:
        self.unplug()


def camera(model: str, **options: str | float) -> VirtualCamera:
    """Plugs in a virtual camera of a model, such as "T15C". A wrong model or option is a ValueError.

    Frequent options: `scene` ("stars", "moon", "planet", "grey", "dark", "gradient"), `serial`
    (eight hexadecimal digits), `port` ("usb3", "usb2"), `seed`, `pace` ("real", "free"), `ambient`
    (degrees Celsius), `fault` (rules of docs/faults.md), `flash` (a file that keeps the camera's
    flash). All are described in the header orvik_sim.h; write `_` for `-`.
    """
    return VirtualCamera(model, ",".join(f"{key.replace('_', '-')}={value}"
                                         for key, value in options.items()))
