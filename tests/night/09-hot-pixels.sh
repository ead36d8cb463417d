#!/usr/bin/env bash
# A map of the hot pixels, kept in the camera's flash; images without them; the map erased.
source "$(dirname "$0")/night.sh"

sim="T15C,scene=dark,flash=$place/flash.bin"
run orvikctl dark record --sim "$sim" --exposure 1s -o dark.bmp
run orvikctl hotpixels save --sim "$sim" --dark dark.bmp --yes -o hot.csv
head -n 3 hot.csv
run orvikctl snap --sim "$sim" --exposure 1s -o mended.fits
run orvikctl snap --sim "$sim" --exposure 1s --hot-pixels off -o left.fits
run "$python" - <<'PYTHON'
import csv
from astropy.io import fits
pixels = [(int(row["x"]), int(row["y"])) for row in csv.DictReader(open("hot.csv"))]
mended, left = (fits.open(name)[0] for name in ("mended.fits", "left.fits"))
print("HOTPIX", mended.header["HOTPIX"], "and", left.header["HOTPIX"])
assert mended.header["HOTPIX"] == len(pixels) and left.header["HOTPIX"] == 0
mean = lambda image: sum(int(image.data[y, x]) for x, y in pixels) / len(pixels)
print(f"mean of these pixels: {mean(mended):.0f} mended, {mean(left):.0f} left")
assert mean(mended) < mean(left) / 2
PYTHON
run orvikctl hotpixels erase --sim "$sim" --yes
run orvikctl hotpixels show --sim "$sim"
