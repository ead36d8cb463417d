# SPDX-License-Identifier: MIT
"""Finding cameras, plugging and unplugging, and the end of a video."""
import pytest
from conftest import Later, opened

import orvik
import orvik.sim


def test_list_and_open():
    with orvik.sim.camera("T15C", serial="0012ABCD") as virtual:
        device, = orvik.devices()
        assert (device.name, device.serial, device.is_open) == ("Vek T15C", "0012ABCD", False)
        for identity in ("0012abcd", device.port, device.identity, ""):
            with orvik.open(identity) as cam:
                assert cam.label == "Vek T15C 0012ABCD" and orvik.devices()[0].is_open
        with orvik.open(), pytest.raises(orvik.OpenFailed) as raised:
            orvik.open(virtual.serial)
        assert raised.value.code == 5
        with pytest.raises(orvik.NoDevice, match="FFFFFFFF"):
            orvik.open("FFFFFFFF")
    with pytest.raises(orvik.NoDevice):
        orvik.open()


def test_virtual_cameras():
    assert {"T15C", "T13C_C"} <= set(orvik.sim.models())
    for arguments in [("T99X", {}), ("T15C", {"scene": "sea"}), ("T15C", {"colour_": 1})]:
        with pytest.raises(ValueError, match="T99X|scene|colour-"):
            orvik.sim.camera(arguments[0], **arguments[1])
    with orvik.sim.camera("T15C", mode_change="cut", port="usb2"):
        with orvik.open() as cam:
            assert not cam.info.usb3_host


def test_watch():
    with orvik.sim.camera("T15C") as first:
        seen = []
        for change in orvik.watch(timeout=10):
            seen.append((change.arrived, change.device.serial))
            if len(seen) == 1:
                cam = orvik.open(first.serial)  # is no change
                second = orvik.sim.camera("T13C")
            elif len(seen) == 2:
                second.unplug()
            else:
                break
        cam.close()
        assert seen == [(True, first.serial), (True, second.serial), (False, second.serial)]
        assert [change.arrived for change in orvik.watch(timeout=0)] == [True]


@pytest.mark.parametrize("capture, exposure", [
    (lambda cam: list(cam.video()), 0.02), (lambda cam: cam.snap(), 20)], ids=["video", "snap"])
def test_unplugged_during_capture(capture, exposure):
    with orvik.sim.camera("T15C") as virtual:
        cam = orvik.open(virtual.serial)
        cam.exposure = exposure
        with Later(0.5, virtual.unplug), pytest.raises(orvik.Unplugged, match="was unplugged"):
            capture(cam)
        with pytest.raises(orvik.Unplugged):
            cam.gain = 5
        cam.close()
        with orvik.sim.camera("T15C", serial=virtual.serial), orvik.open(virtual.serial) as cam:
            cam.exposure = 0.02
            assert cam.snap().array.any()


def test_the_end_of_a_loop_stops_the_video(cam):
    def fail():
        for _ in cam.video():
            raise KeyError

    def leave():
        for frame in cam.video():
            return frame

    for end in (leave, lambda: list(cam.video(3)), lambda: pytest.raises(KeyError, fail)):
        end()
        cam.snap()  # would be refused during a video
    with cam.video(count=0) as video:
        assert list(video) == []
    old = cam.video(1)
    assert len(list(old)) == 1 and list(old) == []
    with cam.video() as video:
        with pytest.raises(orvik.Error) as raised:
            cam.snap()
        assert raised.value.code == 14
        del old
        assert next(video).array.any(), "an ended video does not stop its successor"
        cam.roi = (0, 0, 320, 240)
        for frame in video:  # the format may change meanwhile
            if frame.array.shape == (240, 320):
                break


def test_timeout_and_damaged_exposures(cam):
    cam.exposure = 20
    video = cam.video(timeout=0.3)
    with pytest.raises(orvik.Timeout) as raised:
        list(video)
    assert isinstance(raised.value, TimeoutError) and raised.value.code == 42
    cam.exposure = 0.02
    assert cam.snap().array.any(), "the video has been stopped, although there is a name for it"
    with opened("T13C", fault="bulk short") as broken:
        broken.bandwidth = 100  # not automatic: damaged frames count from the first one
        broken.exposure = 0.4
        with pytest.raises(orvik.NoFrame, match="the exposure failed"):
            broken.snap()
