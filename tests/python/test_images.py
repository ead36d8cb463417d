# SPDX-License-Identifier: MIT
"""Images as arrays: layout, colours, facts and memory."""
import gc
import resource
import time
from datetime import datetime, timezone

import numpy as np
import pytest
from conftest import opened

import orvik


@pytest.mark.parametrize("kind, shape, dtype", [
    ("RAW8", (976, 1304), "uint8"), ("Y8", (976, 1304), "uint8"), ("RAW16", (976, 1304), "uint16"),
    ("RGB24", (976, 1304, 3), "uint8")])
def test_layout(cam, kind, shape, dtype):
    cam.type = kind
    image = cam.snap()
    assert image.info.type is orvik.ImageType[kind]
    assert image.array.shape == shape and image.array.dtype == dtype
    assert np.shares_memory(np.asarray(image), image.array)
    assert np.asarray(image, dtype=float).mean() == pytest.approx(image.array.mean())
    # The Moon is bright in the middle, and the sky dark in the corners.
    assert image.array[460:500, 620:660].mean() > 2 * image.array[:40, :40].mean()


def test_colours_are_where_they_are_said_to_be():
    with opened(scene="grey", colour="red", light=1) as cam:
        for flip, start in [("NONE", (400, 300)), ("NONE", (402, 301)), ("HORIZONTAL", (401, 300)),
                            ("VERTICAL", (400, 301)), ("BOTH", (401, 301))]:
            cam.flip = orvik.Flip[flip]
            cam.roi = (*start, 320, 240)
            image = cam.snap()
            assert image.info.region == (*cam.start, 320, 240)
            cell = [image.array[y::2, x::2].mean() for y in (0, 1) for x in (0, 1)]
            assert np.argmax(cell) == image.info.bayer.index("R"), (flip, start)
        cam.type = "RGB24"
        image = cam.snap()
        red, _, blue = image.array.mean(axis=(0, 1))
        assert red > 1.3 * blue and image.info.bayer is None
        assert image.array[..., ::-1].flags.c_contiguous, "blue, green, red without a copy"
    with opened("T08M") as cam:
        assert cam.info.bayer is None and cam.snap().info.bayer is None


def test_facts(cam):
    cam.gain = 123
    before = datetime.now(timezone.utc)
    info = cam.snap().info
    after = datetime.now(timezone.utc)
    assert before <= info.start < info.arrived <= after
    assert (info.arrived - info.start).total_seconds() >= info.exposure == 0.02
    assert (info.gain, info.snapshot, info.settled, info.bin) == (123, True, True, 1)
    assert 10 < cam.temperature < 40

    last = None
    cam.roi = (0, 0, 320, 240)
    with cam.video() as video:
        for info in (frame.info for frame in video):
            if last is not None:
                assert info.number == last.number + 1 + info.lost_before
                assert info.start > last.start and not info.snapshot
            last = info
            if video.lost > 0:
                break
            time.sleep(0.15)  # slower than the camera: frames are lost, and counted


def test_memory_belongs_to_the_images():
    with opened(scene="stars", pace="free") as cam:
        cam.roi = (0, 0, 320, 240)
        images = [cam.snap()] + list(cam.video(12))
        contents = [image.array.copy() for image in images]
        for _ in cam.video(12):
            pass
        rows = images[0].array[10:12]
        expected = rows.copy()
    del cam
    kept = [image.array for image in images]
    del images
    gc.collect()
    assert all((array == content).all() for array, content in zip(kept, contents))
    del kept
    gc.collect()
    assert (rows == expected).all(), "a view keeps the memory"
    assert len({content.tobytes() for content in contents}) > 2, "they differ"


def test_video_needs_no_more_memory_with_time():
    def largest():
        return resource.getrusage(resource.RUSAGE_SELF).ru_maxrss * 1024

    with opened(pace="free") as cam:
        places = set()
        for number, frame in enumerate(cam.video(230)):
            places.add(frame.array.ctypes.data)
            if number == 30:
                begun = largest()
        assert number == 229
        assert len(places) <= 3, "memory is used again"
        assert largest() - begun < 4 * frame.array.nbytes
