# SPDX-License-Identifier: MIT
"""Cooling along ramps."""
import time

import pytest
from conftest import Later, interrupt_later, opened

import orvik


@pytest.fixture
def cooled():
    with opened("T13C_C", ambient=20) as camera:
        yield camera


def test_a_ramp_in_the_background(cooled):
    begun = time.monotonic()
    cooled.cool(0, rate=60, background=True)
    while not cooled.cooler_on or cooled.target_temperature > 18:
        time.sleep(0.05)
    assert 1.5 <= time.monotonic() - begun < 10, "a degree a second"
    assert cooled.cooler.target == cooled.target_temperature
    assert cooled.snap().array.any(), "cameras capture while they cool"
    cooled.stop_cooling()
    assert not cooled.cooler_on


def test_waiting_for_a_ramp(cooled):
    samples = []
    cooled.cool(18.6, rate=30, progress=samples.append)
    last = samples[-1]
    assert last.target == 19 and abs(last.temperature - 19) <= 1 and cooled.cooler_on
    cooled.warm_up(rate=60, progress=samples.append)
    assert cooled.target_temperature == 20 and not cooled.cooler_on and samples[-1] is not last


@pytest.mark.parametrize("end, raised", [
    (lambda camera: interrupt_later(), KeyboardInterrupt),
    (lambda camera: Later(0.3, camera.close), orvik.Closed)], ids=["ctrl-c", "close"])
def test_the_wait_for_a_ramp_ends(cooled, end, raised):
    begun = time.monotonic()
    with end(cooled), pytest.raises(raised):
        cooled.cool(-10, rate=1)
    assert time.monotonic() - begun < 3
    if raised is KeyboardInterrupt:
        assert not cooled.cooler_on
        assert cooled.snap().array.any()


def test_what_is_refused(cooled, cam):
    for to, rate in [(-36, 3), (31, 3), (0, 0), (0, -1), (float("nan"), 3)]:
        with pytest.raises(ValueError):
            cooled.cool(to, rate, background=True)
    assert not cooled.cooler_on
    with pytest.raises(orvik.Error, match="cooler"):
        cam.cool(0)
