#!/usr/bin/env bash
# A planet that drifts through a small region, which follows it.
source "$(dirname "$0")/night.sh"

seconds=$(full_or_quick 60 6) drift=$(full_or_quick 4:-2 24:-12)
sim="T15C,scene=planet,drift=$drift,seeing=1.5,light=0.5"
run orvikctl video --sim "$sim" --roi 560x480 --exposure 8ms --track --duration "${seconds}s" \
  -o jupiter.ser
cat jupiter.txt
holds 'LostFrames=' jupiter.txt || fail "no lost frames in the notes"
head -n 2 jupiter.track.csv
tail -n 1 jupiter.track.csv
run "$python" - <<'PYTHON'
import csv
rows = list(csv.DictReader(open("jupiter.track.csv")))
x, y, across, down = list(rows[0])[2:]
print("the region went from", rows[0][x], rows[0][y], "to", rows[-1][x], rows[-1][y])
assert int(rows[-1][x]) > int(rows[0][x]) + 50 and int(rows[-1][y]) < int(rows[0][y]) - 20
off = max(max(abs(float(row[across]) - 280), abs(float(row[down]) - 240)) for row in rows)
print(f"at most {off:.0f} pixels off the centre")
assert off < 80
PYTHON

# The video as a stream of pixels, for a program that makes a film of it.
if command -v ffmpeg >/dev/null; then
  run orvikctl video --sim "$sim" --roi 560x480 --exposure 8ms --count 100 --type rgb24 --format raw -o - -q |
    run ffmpeg -hide_banner -loglevel error -f rawvideo -pix_fmt bgr24 -s 560x480 -r 25 -i - film.mkv
  frames=$(ffprobe -v error -count_frames -show_entries stream=nb_read_frames -of csv=p=0 film.mkv)
  echo "the film has $frames frames"
  [ "$frames" -eq 100 ] || fail "not 100 frames"
fi
if command -v siril-cli >/dev/null; then
  printf 'requires 1.0.0\nseqstat jupiter stats.csv main\n' >look.ssf
  run siril-cli -d . -s look.ssf >siril.txt 2>&1 || { cat siril.txt; fail "siril"; }
  grep "Sequence found" siril.txt
  head -n 2 stats.csv
fi
