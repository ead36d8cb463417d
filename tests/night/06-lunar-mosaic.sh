#!/usr/bin/env bash
# The Moon in four regions that overlap, put together again by their places in the headers.
source "$(dirname "$0")/night.sh"

for place in 0+0 600+0 0+456 600+456; do
  run orvikctl snap --sim T15C,scene=moon --roi "704x520+$place" --exposure 10ms -q \
    -o "moon-$place.fits"
done
measure mosaic moon-*.fits
verify moon-*.fits
run orvikctl view mosaic.fits --size 60x20 >moon.txt
cat moon.txt
