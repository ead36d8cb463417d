#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""A single exposure with 16 bits, written as FITS with Astropy.

fits_with_astropy.py image.fits 2.5        with the only camera that is plugged in
fits_with_astropy.py image.fits 2.5 T15C   with a virtual camera
"""
import contextlib
import sys

from astropy.io import fits

import orvik


def header_of(cam, image):
    """What programs for astronomy look for in a header."""
    info = image.info
    binned = cam.info.pixel_size * info.bin
    left, top, _, _ = info.region
    cards = [
        ("INSTRUME", info.camera, "camera"),
        ("DATE-OBS", info.start.strftime("%Y-%m-%dT%H:%M:%S.%f"), "start of exposure, UTC"),
        ("TIMESYS", "UTC", "time system of DATE-OBS"),
        ("EXPTIME", info.exposure, "[s] exposure time"),
        ("IMAGETYP", "Light Frame", "kind of frame"),
        ("GAIN", info.gain, "gain in steps of the sensor"),
        ("OFFSET", info.black_level, "black level in steps of the sensor"),
        ("XBINNING", info.bin, "horizontal bin factor"),
        ("YBINNING", info.bin, "vertical bin factor"),
        ("XPIXSZ", binned, "[um] pixel width after binning"),
        ("YPIXSZ", binned, "[um] pixel height after binning"),
        ("PIXSIZE1", cam.info.pixel_size, "[um] pixel width of the sensor"),
        ("PIXSIZE2", cam.info.pixel_size, "[um] pixel height of the sensor"),
        ("XORGSUBF", left // info.bin, "left edge on the sensor, binned pixels"),
        ("YORGSUBF", top // info.bin, "top edge on the sensor, binned pixels"),
        ("ROWORDER", "TOP-DOWN", "the first row is the top one"),
        ("SWCREATE", f"orvik {orvik.__version__}", "program that wrote this file"),
    ]
    if info.temperature is not None:
        cards.append(("CCD-TEMP", info.temperature, "[degC] sensor temperature"))
    if hasattr(cam, "target_temperature"):
        cards.append(("SET-TEMP", cam.target_temperature, "[degC] what the cooler holds"))
    if info.bayer is not None:  # true after a flip and in a region, too
        cards.append(("BAYERPAT", info.bayer, "colours of the top left 2 x 2"))
        cards.append(("XBAYROFF", 0, "BAYERPAT starts at the first column"))
        cards.append(("YBAYROFF", 0, "BAYERPAT starts at the first row"))
    return fits.Header(cards)


def take(path, seconds, model):
    with contextlib.ExitStack() as stack:
        if model:
            import orvik.sim
            stack.enter_context(orvik.sim.camera(model, scene="moon"))
        cam = stack.enter_context(orvik.open())
        cam.type = "RAW16"
        cam.exposure = seconds
        image = cam.snap()
        # Unsigned 16 bits become BITPIX 16 with BZERO 32768.
        fits.PrimaryHDU(image.array, header_of(cam, image)).writeto(path, overwrite=True,
                                                                    checksum=True)
        print(f"{path}: {image}")


if __name__ == "__main__":
    if len(sys.argv) < 3:
        sys.exit(__doc__)
    try:
        take(sys.argv[1], float(sys.argv[2]), sys.argv[3] if len(sys.argv) > 3 else None)
    except (orvik.Error, ValueError, OSError) as error:
        sys.exit(str(error))
