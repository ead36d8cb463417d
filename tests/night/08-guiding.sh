#!/usr/bin/env bash
# A guide pulse moves the stars; the opposite one brings them back.
source "$(dirname "$0")/night.sh"

# The sky of a virtual camera is that of its process: one program has to pulse and to look.
cat >pulses.toml <<'TOML'
name = "star_%03d.fits"
dither = { pulse = "2s", every = 1, settle = "1s" }
[[step]]
kind = "light"
exposure = "500ms"
count = 3
TOML
run orvikctl sequence pulses.toml --sim T15C,scene=stars,guide-rate=10
measure shift star_*.fits 4 44
run orvikctl guide 0 300ms --sim T15C
run_to 2 orvikctl guide 0 300 --sim T15C
