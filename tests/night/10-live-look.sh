#!/usr/bin/env bash
# A look at the camera's image in the terminal, and at files.
source "$(dirname "$0")/night.sh"

run orvikctl view --live --sim T15C,scene=moon --exposure 8ms --count 1 --size 60x20 >live.txt
cat live.txt
[ "$(wc -l <live.txt)" -ge 15 ] || fail "no picture"
run orvikctl snap --sim T15C,scene=stars --exposure 2s -o stars.fits
run orvikctl view stars.fits --size 60x16
run orvikctl view stars.fits --output stars.png
file stars.png 2>/dev/null || head -c 8 stars.png | od -c | head -n 1
