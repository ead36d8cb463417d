# SPDX-License-Identifier: MIT
"""What the package raises when the library reports an error."""
from __future__ import annotations


class Error(Exception):
    """The library, or the camera, could not do something.

    The text names the camera and what was attempted, and explains the code.
    """

    code: int
    """The code of the library, as in its header orvik.h."""

    def __init__(self, message: str, code: int) -> None:
        super().__init__(message, code)
        self.code = code

    def __str__(self) -> str:
        return str(self.args[0])


class NoDevice(Error):
    """No camera is plugged in, or none with this serial number or port."""


class SeveralDevices(Error):
    """Several cameras are plugged in: name one by its serial number or port."""


class OpenFailed(Error):
    """The camera is not permitted, or open already, here or in another program."""


class Closed(Error):
    """The program has closed the camera."""


class Unplugged(Error):
    """The camera was unplugged. Close it; when it is back, open it again."""


class NoFrame(Error):
    """The exposure failed, or was aborted from another thread."""


class Timeout(NoFrame, TimeoutError):
    """Nothing arrived in time."""


_BY_CODE = {5: OpenFailed, 11: NoFrame, 40: NoDevice, 41: SeveralDevices, 42: Timeout}
_BY_NAME = {"Closed": Closed, "Unplugged": Unplugged}


def make(message: str, code: int, name: str) -> Error:
    """Makes the exception of a name, else the one for a code. The extension module calls it."""
    return _BY_NAME.get(name, _BY_CODE.get(code, Error))(message, code)
