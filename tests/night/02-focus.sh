#!/usr/bin/env bash
# Focus: the stars become small and wide again while the focuser turns.
source "$(dirname "$0")/night.sh"

turn=$(full_or_quick 20 6)  # seconds from one end of the focuser to the other
run orvikctl focus --sim "T15C,scene=stars,seeing=1.5,focus=6:-6:$turn" --roi 640x480 \
  --exposure 100ms --duration "${turn}s" --json >focus.jsonl
tail -n 1 focus.jsonl
run "$python" - "$turn" <<'PYTHON'
import json, sys
lines = [json.loads(line) for line in open("focus.jsonl")]
course = [(line["time"], line["hfr"]) for line in lines if line.get("hfr")]
best = min(course, key=lambda each: each[1])
print(f"HFR {course[0][1]:.2f} at the beginning, best {best[1]:.2f} at {best[0]:.1f} s")
middle = float(sys.argv[1]) / 2
assert abs(best[0] - middle) < middle / 2, best
assert course[0][1] > 1.5 * best[1] < course[-1][1] / 1.5, course
PYTHON
