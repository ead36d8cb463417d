#!/usr/bin/env bash
# A planet that drifts through a small region, which follows it.
source "$(dirname "$0")/night.sh"

seconds=$(full_or_quick 60 6)
run orvikctl video --sim "T15C,scene=planet,drift=4:-2,seeing=1.5,light=0.5" --roi 560x480 --exposure 8ms \
  --track --duration "${seconds}s" -o jupiter.ser
cat jupiter.txt
holds 'Lost' jupiter.txt || holds 'lost' jupiter.txt || fail "no lost frames in the notes"
tail -n 2 jupiter.track.csv
run "$python" - <<'PYTHON'
import csv
rows = list(csv.DictReader(open("jupiter.track.csv")))
first, last = rows[0], rows[-1]
print("the region went from", first["startX"], first["startY"], "to", last["startX"], last["startY"])
assert int(last["startX"]) > int(first["startX"]) and int(last["startY"]) < int(first["startY"])
PYTHON
if command -v ffprobe >/dev/null; then
  run ffmpeg -hide_banner -loglevel error -f lavfi -i nullsrc -frames:v 1 -f null - || true
fi
