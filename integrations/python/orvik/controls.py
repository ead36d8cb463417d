# SPDX-License-Identifier: MIT
"""The controls of a camera: numbers with limits, in natural units."""
from __future__ import annotations

from collections.abc import Callable
from enum import Enum
from operator import index
from typing import Any, Final, Generic, NamedTuple, TypeVar

from ._orvik import CameraBase
from .records import Flip

T = TypeVar("T")


class Auto(Enum):
    """The type of AUTO, the value that starts a control's automatic mode."""

    AUTO = "auto"


AUTO: Final = Auto.AUTO


class _Unit(NamedTuple):
    type: Callable[[Any], Any] = int
    steps: int = 1  # the library's steps in one unit
    name: str = ""


_PERCENT = _Unit(name="%")
_SWITCH = _Unit(bool)
# By the library's numbers of the controls. All others are plain numbers.
_UNITS = {1: _Unit(float, 1_000_000, "s"), 6: _PERCENT, 7: _PERCENT, 8: _Unit(float, 10, "°C"),
          9: _Unit(Flip), 11: _Unit(name="s"), 13: _SWITCH, 14: _SWITCH, 15: _PERCENT,
          16: _Unit(name="°C"), 17: _SWITCH}


class Control:
    """A control that a camera offers. Values are in the units of Camera's attributes: seconds for an
    exposure, degrees Celsius for a temperature.

    `name` and `description` are the library's. `min`, `max` and `default` are values; `unit` is "s",
    "%", "°C" or "". `has_auto` tells whether there is an automatic mode, `writable` whether it can
    be set.
    """

    __slots__ = ("_camera", "_number", "_unit", "_limits", "name", "description", "unit", "default",
                 "min", "max", "has_auto", "writable")

    def __init__(self, camera: CameraBase,
                 caps: tuple[int, str, str, int, int, int, bool, bool]) -> None:
        self._camera = camera
        (self._number, self.name, self.description, low, high, default, self.has_auto,
         self.writable) = caps
        self._unit = _UNITS.get(self._number, _Unit())
        self._limits = (low, high)
        self.unit = self._unit.name
        self.min, self.max, self.default = map(self._natural, (low, high, default))

    def _natural(self, steps: int) -> Any:
        return self._unit.type(steps / self._unit.steps)

    @property
    def value(self) -> Any:
        """The present value. Setting it ends the automatic mode, AUTO starts it. A value outside the
        limits is a ValueError."""
        return self._natural(self._camera._read(self._number)[0])

    @value.setter
    def value(self, value: Any) -> None:
        if not self.writable:
            raise AttributeError(f"{self.name} can only be read")
        if value is AUTO:
            self.auto = True
            return
        low, high = self._limits
        scaled = float(value) * self._unit.steps if self._unit.type is float else index(value)
        if not low - 0.5 <= scaled <= high + 0.5:  # not a number fails as well
            limits = f"{self.min} to {self.max} {self.unit}".rstrip()
            raise ValueError(f"{self.name}: {value} is not within {limits}")
        self._camera._write(self._number, min(max(round(scaled), low), high), False)

    @property
    def auto(self) -> bool:
        """Whether it is automatic. The automatic mode starts from the present value."""
        return self._camera._read(self._number)[1]

    @auto.setter
    def auto(self, on: bool) -> None:
        if on and not self.has_auto:
            raise ValueError(f"{self.name} has no automatic mode")
        self._camera._write(self._number, self._camera._read(self._number)[0], bool(on))

    def __repr__(self) -> str:
        return f"<Control {self.name}: {self.min} to {self.max} {self.unit}".rstrip() + ">"


class Attribute(Generic[T]):
    """An attribute of a camera that is one of its controls. A camera that does not offer the control
    does not have the attribute."""

    def __init__(self, number: int, doc: str) -> None:
        self._number = number
        self.__doc__ = doc

    def __set_name__(self, owner: type, name: str) -> None:
        self._name = name

    def _of(self, camera: CameraBase) -> Control:
        found = [caps for caps in camera._controls() if caps[0] == self._number]
        if not found:
            raise AttributeError(f"{camera.label} has no {self._name}")
        return Control(camera, found[0])

    def __get__(self, camera: CameraBase | None, owner: type) -> T:
        if camera is None:  # read from the class, by documentation tools
            return self  # type: ignore[return-value]
        value: T = self._of(camera).value
        return value

    def __set__(self, camera: CameraBase, value: T | Auto) -> None:
        self._of(camera).value = value
