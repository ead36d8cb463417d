#!/usr/bin/env bash
# Flats: the exposure at which half of the range is reached is found by trials.
source "$(dirname "$0")/night.sh"

for light in 0.3 3; do
  run orvikctl snap --sim "T10C_C,scene=grey,light=$light" --target-adu 50% --count 3 --kind flat \
    -o "flat-$light-%03d.fits"
  measure level flat-"$light"-*.fits 45 55
done
run_to 2 orvikctl snap --sim T10C_C,scene=grey --target-adu 200% --kind flat -o no.fits
run_to 5 orvikctl snap --sim T10C_C,scene=dark --target-adu 50% --max-exposure 1s --kind flat -o no.fits
