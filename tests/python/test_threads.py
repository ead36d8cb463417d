# SPDX-License-Identifier: MIT
"""Several threads, and Ctrl-C."""
import threading
import time

import pytest
from conftest import Later, interrupt_later, opened

import orvik


def test_controls_change_while_another_thread_exposes(cam):
    cam.exposure = 1
    steps = 0
    with Later(0, cam.snap) as exposing:
        while exposing.is_alive():
            cam.gain = steps % 600
            assert cam.gain == steps % 600 and cam.temperature > -50
            steps += 1
            time.sleep(0.01)
    assert exposing.result.info.exposure == 1
    assert steps > 10, "the wait leaves the interpreter to others"


def test_two_cameras_in_two_threads():
    def capture(camera, frames):
        for frame in camera.video(20):
            frames.append((frame.info.camera, frame.array.shape))

    with opened() as first, opened("T13C") as second:
        first.roi = (0, 0, 320, 240)
        second.roi = (0, 0, 640, 480)
        with pytest.raises(orvik.SeveralDevices):
            orvik.open()
        mine, other = [], []
        with Later(0, capture, second, other):
            capture(first, mine)
    assert mine == [("Vek T15C", (240, 320))] * 20 and other == [("Vek T13C", (480, 640))] * 20


def test_pulses_overlap(cam):
    begun = time.monotonic()
    with Later(0, cam.pulse, 0, 1.5), Later(0, cam.pulse, 1, 1.5):
        pass
    assert 1.5 <= time.monotonic() - begun < 2.8
    for line, seconds in [(4, 1), (-1, 1), (0, 61), (0, -1), (0, float("nan"))]:
        with pytest.raises(ValueError):
            cam.pulse(line, seconds)


@pytest.mark.parametrize("wait", [
    lambda cam: cam.snap(),
    lambda cam: next(cam.video()),
    lambda cam: list(cam.video(timeout=30)),
    lambda cam: cam.pulse(0, 30),
    lambda cam: cam.dark.record(),
    lambda cam: list(orvik.watch()),
], ids=["snap", "next", "video", "pulse", "dark", "watch"])
def test_ctrl_c_ends_a_wait_and_leaves_a_usable_camera(cam, wait):
    cam.exposure = 30
    begun = time.monotonic()
    with interrupt_later(0.3), pytest.raises(KeyboardInterrupt):
        wait(cam)
    assert time.monotonic() - begun < 2
    cam.exposure = 0.02
    assert cam.snap().array.any()
    assert len(list(cam.video(2))) == 2


@pytest.mark.parametrize("wait, expected", [
    (lambda cam: cam.snap(), orvik.Closed), (lambda cam: list(cam.video()), orvik.Closed),
    (lambda cam: cam.pulse(2, 30), orvik.Closed)], ids=["snap", "video", "pulse"])
def test_closing_ends_a_wait_of_another_thread(cam, wait, expected):
    cam.exposure = 30
    with Later(0.3, cam.close), pytest.raises(expected, match="closed"):
        wait(cam)
    with pytest.raises(orvik.Closed):
        cam.snap()
    assert cam.info.name == "Vek T15C", "what was known stays known"


def test_another_thread_ends_a_capture(cam):
    cam.exposure = 30
    with Later(0.3, cam.abort), pytest.raises(orvik.NoFrame) as raised:
        cam.snap()
    assert not isinstance(raised.value, orvik.Timeout)
    video = cam.video()
    with Later(0.3, video.stop):
        assert list(video) == []


def test_images_are_for_one_thread_at_a_time(cam):
    cam.exposure = 1
    with Later(0, cam.snap) as exposing:
        time.sleep(0.3)
        with pytest.raises(orvik.Error, match="another thread"):
            cam.snap()
    assert exposing.result.array.any()
    video = cam.video()
    with Later(0, next, video) as reading:
        time.sleep(0.3)
        with pytest.raises(orvik.Error, match="another thread"):
            next(video)
    assert reading.result.info.number == 0 and next(video).info.number == 1, "it has gone on"


def test_opening_from_many_threads():
    with orvik.sim.camera("T15C") as virtual:
        results = []

        def attempt():
            try:
                results.append(orvik.open(virtual.serial))
            except orvik.OpenFailed as error:
                results.append(error)

        threads = [threading.Thread(target=attempt) for _ in range(4)]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
        cameras = [result for result in results if isinstance(result, orvik.Camera)]
        assert len(cameras) == 1 and len(results) == 4
        del cameras, results
        orvik.open(virtual.serial).close()  # one that is not used any more is closed
