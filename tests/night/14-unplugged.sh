#!/usr/bin/env bash
# The cable comes out in the middle of a series and of a recording.
source "$(dirname "$0")/night.sh"

gone="T15C,scene=moon,fault=any unplug at 300"
back="T15C,scene=moon,fault=any replug 1500 at 300"
run_to 5 orvikctl video --sim "$gone" --roi 320x240 --exposure 10ms --duration 30s -o gone.ser
run orvikctl view gone.ser --frame 3 --size 40x10
run orvikctl video --sim "$back" --roi 320x240 --exposure 10ms --duration 6s --resume -o back.ser
ls -l back*.ser
[ -e back-2.ser ] || fail "no second part"
run_to 5 orvikctl snap --sim "$gone" --exposure 300ms --count 60 -o gone-%02d.fits
run orvikctl snap --sim "$back" --exposure 100ms --count 30 --resume -q -o back-%02d.fits
[ "$(ls back-*.fits | wc -l)" -eq 30 ] || fail "images are missing"
