#!/usr/bin/env bash
# Darks at a temperature: the sensor is cooled before them and warmed up after them.
source "$(dirname "$0")/night.sh"

count=$(full_or_quick 20 3) degrees=$(full_or_quick -10 15) ramp=$(full_or_quick 20 60)
exposure=$(full_or_quick 5s 200ms)
within=$(full_or_quick 1 2)  # without a settling time, the temperature may still swing
run orvikctl snap --sim T10C_C,scene=dark --cool "$degrees" --ramp "$ramp" $(full_or_quick --settle-time=20s --keep-cold) \
  --count "$count" --exposure "$exposure" --kind dark -o dark-%03d.fits
[ "$(ls dark-*.fits | wc -l)" -eq "$count" ] || fail "not $count darks"
measure header dark-*.fits "SET-TEMP=$degrees.0" "IMAGETYP=Dark Frame" GAMMA=50 DARKSUB=False
run "$python" - "$degrees" "$within" <<'PYTHON'
import glob, sys
from astropy.io import fits
found = [fits.getheader(name)["CCD-TEMP"] for name in sorted(glob.glob("dark-*.fits"))]
print("CCD-TEMP:", *found)
degrees, within = map(float, sys.argv[1:])
assert all(abs(each - degrees) <= within for each in found)
PYTHON
verify dark-*.fits
if command -v siril-cli >/dev/null; then
  printf 'requires 1.0.0\nsetext fits\nconvert dark\nstack dark rej 3 3 -nonorm -out=master\n' >stack.ssf
  run siril-cli -d . -s stack.ssf >siril.txt 2>&1 || { cat siril.txt; fail "siril"; }
  grep -E 'Stacked|Background noise' siril.txt
fi
