# SPDX-License-Identifier: MIT
"""Controls, formats, and what a camera stores."""
import numpy as np
import pytest
from conftest import opened

import orvik


def test_values_have_natural_units(cam):
    cam.exposure = 2.5
    assert cam.exposure == 2.5 == cam.controls["Exposure"].value
    assert cam._read(1) == (2_500_000, False)
    cam.exposure = np.float32(0.5)
    cam.gain = np.int64(17)
    cam.flip = orvik.Flip.BOTH
    cam.high_speed = True
    assert (cam.exposure, cam.gain, cam.flip, cam.high_speed) == (0.5, 17, orvik.Flip.BOTH, True)
    assert 10 < cam.temperature < 40, "not tenths of a degree"
    assert cam.controls["AutoExpMaxExp"].unit == "s"


def test_limits(cam):
    exposure = cam.controls["Exposure"]
    assert (exposure.min, exposure.max, exposure.unit) == (32e-6, 1000, "s")
    for value in (exposure.min, exposure.max):
        cam.exposure = value
        assert cam.exposure == value
    for value in (0, -1, 1000.1, float("nan"), float("inf")):
        with pytest.raises(ValueError, match="Exposure: .* is not within 3.2e-05 to 1000.0 s"):
            cam.exposure = value
    with pytest.raises(ValueError):
        cam.gain = 601
    with pytest.raises(TypeError):
        cam.gain = 1.5
    assert cam.exposure == exposure.max, "what is refused changes nothing"


def test_every_control_is_listed_and_has_an_attribute():
    attributes = [name for name, value in vars(orvik.Camera).items()
                  if type(value).__name__ == "Attribute"]
    with opened("T13C_C") as cam:
        assert len(cam.controls) == len(list(cam.controls)) == 17 and "Gain" in cam.controls
        for control in cam.controls.values():
            assert control.description and control.min <= control.default <= control.max
        assert {"exposure", "cooler_on"} <= {name for name in attributes if hasattr(cam, name)}
        # All but over-clocking, which another model has.
        assert sum(hasattr(cam, name) for name in attributes) == len(attributes) - 1
    with opened("T06C_S") as cam:
        assert cam.overclock == 0


def test_automatic_mode(cam):
    cam.gain = 100
    assert not cam.controls["Gain"].auto
    cam.gain = orvik.AUTO
    assert cam.controls["Gain"].auto and cam.gain == 100
    cam.gain = 50
    assert not cam.controls["Gain"].auto
    with pytest.raises(ValueError, match="no automatic mode"):
        cam.gamma = orvik.AUTO


def test_no_silent_mistakes(cam):
    with pytest.raises(AttributeError):
        cam.exposur = 1
    with pytest.raises(AttributeError, match="can only be read"):
        cam.temperature = 5
    with pytest.raises(AttributeError, match="T15C .* has no cooler_on"):
        cam.cooler_on = True
    with pytest.raises(orvik.Error, match="cooler") as raised:
        _ = cam.cooler
    assert raised.value.code == 16
    for value in (5, "RAW9"):
        with pytest.raises((ValueError, orvik.Error)):
            cam.type = value


def test_formats(cam):
    cam.roi = (100, 50, 640, 480)
    assert cam.roi == (100, 50, 640, 480)
    cam.type = "RAW16"
    assert cam.roi == (100, 50, 640, 480) and cam.type is orvik.ImageType.RAW16
    cam.start = (0, 0)
    assert cam.snap().array.shape == (480, 640)
    cam.bin = 2
    assert cam.roi[2:] == (652, 488)
    cam.set_format(320, 200)
    assert (cam.bin, cam.type, cam.roi) == (2, orvik.ImageType.RAW16, (166, 144, 320, 200))
    assert cam.readout.frame_bytes == 320 * 200 * 2
    with pytest.raises(orvik.Error, match="setting 321x200 bin 2") as raised:
        cam.set_format(321)
    assert raised.value.code == 8
    with pytest.raises(ValueError, match="bin 9"):
        cam.bin = 9
    assert cam.roi == (166, 144, 320, 200)


def test_what_a_camera_stores(tmp_path):
    with opened(flash=tmp_path / "flash") as cam:
        cam.gain = 77
        cam.save_settings()
        cam.id = b"finder"
        assert cam.id == b"finder".ljust(32, b"\0")
        with pytest.raises(ValueError):
            cam.id = bytes(33)
        assert cam.firmware.firmware > 0
        cam.hot_pixels.mark(7, 9)
        cam.hot_pixels.mark(1303, 975)
        cam.hot_pixels.mark(8, 9)
        cam.hot_pixels.mark(8, 9, hot=False)
        cam.hot_pixels.save()
    with opened(flash=tmp_path / "flash") as cam:
        assert cam.gain == 77 and cam.id.startswith(b"finder\0")
        assert cam.hot_pixels.enabled and cam.hot_pixels.load() == 2
        assert cam.hot_pixels.array.tolist() == [[7, 9], [1303, 975]]


def test_darks(tmp_path):
    with opened(scene="dark", ambient=35) as cam:
        assert not cam.dark.info.exists
        with pytest.raises(orvik.Error, match="dark"):
            cam.dark.enabled = True
        cam.exposure = 0.5
        cam.gain = 600
        cam.dark.record()
        info = cam.dark.info
        assert info.exists and info.hot_pixels > 0
        assert cam.hot_pixels.detect() == info.hot_pixels == len(cam.hot_pixels.array)
        cam.dark.save(str(tmp_path / "dark.bmp"))
        noisy = cam.snap().array.std()
        cam.dark.enabled = True
        assert cam.snap().array.std() < noisy
        cam.dark.disable()
        assert not cam.dark.enabled
        cam.dark.load(str(tmp_path / "dark.bmp"))
        assert cam.dark.enabled and cam.dark.info.path == str(tmp_path / "dark.bmp")
        cam.bin = 2
        with pytest.raises(orvik.Error):
            cam.dark.record()
