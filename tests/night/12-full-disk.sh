#!/usr/bin/env bash
# A disk that becomes full: told, kept what fits, no half of a file.
source "$(dirname "$0")/night.sh"

mkdir small
if mount -t tmpfs -o size=12m none small 2>/dev/null; then
  trap 'kill $(jobs -p) 2>/dev/null || true; wait; umount "$place/small"; rm -rf "$place"' EXIT
  echo "a disk of 12 MB"
else
  echo "no disk can be mounted here: files are limited to 12 MB instead"
  ulimit -f 12000
fi
run_to 6 orvikctl video --sim T15C,scene=moon --roi 640x480 --exposure 5ms --duration 20s -o small/moon.ser
run orvikctl view small/moon.ser --frame 5 --size 40x10
if mountpoint -q small; then
  rm small/*
  run_to 6 orvikctl snap --sim T15C --exposure 20ms --count 9 -o small/light-%02d.fits
  ls -l small
  verify small/light-*.fits
fi
