#!/usr/bin/env bash
# A series of lights that moves between the images, so that their flaws do not add up; stopped in
# the middle, and gone on with.
source "$(dirname "$0")/night.sh"

cat >night.toml <<TOML
object = "M 42"
folder = "{object}"
name = "{filter}_%03d.fits"
dither = { pulse = "1s", every = 1, settle = "1s" }
[[step]]
kind = "light"
exposure = "$(full_or_quick 5s 500ms)"
count = 4
filter = "Ha"
TOML
run orvikctl sequence night.toml --dry-run
sim="T15C,scene=stars,guide-rate=12,seeing=1.5"
orvikctl sequence night.toml --sim "$sim" &
wait_until test -e "M_42/Ha_002.fits"
kill -INT $!
wait $! || [ $? -eq 130 ] || fail "Ctrl-C"
ls -l M_42
before=$(stat -c %y "M_42/Ha_001.fits")
run orvikctl sequence night.toml --sim "$sim"
[ "$before" = "$(stat -c %y "M_42/Ha_001.fits")" ] || fail "an image was taken again"
measure header M_42/Ha_00{1,2,3,4}.fits FILTER=Ha "OBJECT=M 42"
measure shift M_42/*.fits 4 26
verify M_42/*.fits
