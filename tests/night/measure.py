"""Measures FITS files with astropy, and checks what the measures should be.

usage: measure.py header FILE... KEY=VALUE...   cards of all files
       measure.py shift FILE... LOW HIGH        largest distance between the stars of two images
       measure.py level FILE... LOW HIGH        median, percent of the range
       measure.py mosaic FILE...                overlaps of regions of one sensor
"""
import itertools
import sys

import numpy
from astropy.io import fits


def header(*arguments):
    wanted = dict(each.split("=", 1) for each in arguments if "=" in each)
    for name in (each for each in arguments if "=" not in each):
        cards = fits.getheader(name)
        found = {key: str(cards.get(key)) for key in wanted}
        assert found == wanted, f"{name}: {found}"
    print("cards:", wanted)


def image(name):
    return fits.getdata(name).astype(float)


def shift(*arguments):
    """By the peak of the correlation of two images, in which all stars count alike."""
    *names, low, high = arguments
    spectra = []
    for name in names:
        pixels = image(name)
        # Cells of a mosaic are added up; the background is taken away.
        pixels = pixels[0::2, 0::2] + pixels[1::2, 0::2] + pixels[0::2, 1::2] + pixels[1::2, 1::2]
        above = pixels - numpy.median(pixels)
        stars = numpy.clip(above - 5 * 1.48 * numpy.median(abs(above)), 0, None)
        spectra.append(numpy.fft.rfft2(numpy.sqrt(stars)))
    distances = []
    for one, other in itertools.combinations(spectra, 2):
        correlation = numpy.fft.irfft2(other * one.conj())
        peak = numpy.unravel_index(correlation.argmax(), correlation.shape)
        down, right = (2 * (at - size if at > size // 2 else at)
                       for at, size in zip(peak, correlation.shape))
        print(f"moved by {right:+d} {down:+d} pixels")
        distances.append((right ** 2 + down ** 2) ** 0.5)
    assert float(low) <= max(distances) <= float(high), distances


def level(*arguments):
    *names, low, high = arguments
    for name in names:
        data = fits.getdata(name)
        part = 100 * numpy.median(data) / numpy.iinfo(data.dtype).max
        print(f"{name}: median {part:.1f} % of the range")
        assert float(low) <= part <= float(high), part


def mosaic(*names):
    """Puts regions into one picture; where they overlap they have to show the same."""
    placed = {}
    for name in names:
        cards = fits.getheader(name)
        placed[name] = (cards["XORGSUBF"], cards["YORGSUBF"], image(name))
    width = max(x + data.shape[1] for x, _, data in placed.values())
    height = max(y + data.shape[0] for _, y, data in placed.values())
    total = numpy.full((height, width), numpy.nan)
    for name, (x, y, data) in placed.items():
        part = total[y:y + data.shape[0], x:x + data.shape[1]]
        both = ~numpy.isnan(part)
        if both.any():
            likeness = numpy.corrcoef(part[both], data[both])[0, 1]
            print(f"{name}: {both.sum()} pixels overlap, correlation {likeness:.3f}")
            assert likeness > 0.9, likeness
        part[:] = data
    print(f"mosaic of {width} x {height} pixels, {numpy.isnan(total).mean():.1%} empty")
    fits.writeto("mosaic.fits", total.astype("float32"))


if __name__ == "__main__":
    globals()[sys.argv[1]](*sys.argv[2:])
