#!/usr/bin/env bash
# Ten minutes of exposure with its progress, given up after a while, and one that is waited for.
source "$(dirname "$0")/night.sh"

# A terminal, in which progress is shown. Some shells would stay in between and keep the signal.
script -qefc 'exec orvikctl snap --sim T15C,scene=stars --exposure 10min -o long.fits' screen.txt >/dev/null &
wait_until holds 'left' screen.txt
sleep "$(full_or_quick 20 2)"
run pkill -INT -P $! -f 'orvikctl snap'
wait $! || echo "ended with $?"
tr '\r' '\n' <screen.txt | grep left | tail -n 2
[ ! -e long.fits ] || fail "half an exposure was written"
run orvikctl snap --sim T15C,scene=stars --exposure "$(full_or_quick 10min 3s)" -o whole.fits
measure header whole.fits "EXPTIME=$(full_or_quick 600.0 3.0)"
verify whole.fits
