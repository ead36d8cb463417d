#!/usr/bin/env bash
# Ctrl-C and a kill in the middle of a recording: what there is can be read.
source "$(dirname "$0")/night.sh"

for signal in INT HUP KILL; do
  orvikctl video --sim T15C,scene=moon --roi 320x240 --exposure 5ms -o "$signal.ser" &
  wait_until test -s "$signal.ser"
  sleep 1
  run kill -"$signal" $!
  ended=0
  wait $! 2>/dev/null || ended=$?
  echo "ended with $ended"
  run "$python" - "$signal.ser" <<'PYTHON'
import os, sys
frames = int.from_bytes(open(sys.argv[1], "rb").read(42)[38:], "little")
print(sys.argv[1], "holds", frames, "frames,", os.path.getsize(sys.argv[1]), "bytes")
assert frames > 10 and os.path.getsize(sys.argv[1]) >= 178 + frames * 320 * 240
PYTHON
  run orvikctl view "$signal.ser" --frame 10 --size 40x10
done
# The camera can be used at once, and nothing half-written lies about.
run orvikctl snap --sim T15C --exposure 20ms -o next.fits
[ -z "$(find . -name '*.tmp' -o -name '*.part' -o -name '.*.new')" ] || fail "left behind: $(ls -a)"
