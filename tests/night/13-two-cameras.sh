#!/usr/bin/env bash
# Two cameras in two programs, each with its own settings: the guide camera and the main one.
source "$(dirname "$0")/night.sh"

orvikctl video --sim T08M,scene=stars,serial=0000AAAA --exposure 50ms --gain 30 --duration 5s -o guide.ser &
run orvikctl snap --sim T15C,scene=stars,serial=0000BBBB --exposure 1s --gain 210 --count 3 -o main-%d.fits
wait $!
# Two of one model do not overwrite each other's settings.
run orvikctl set --sim T15C,serial=0000CCCC Gain=111
run orvikctl set --sim T15C,serial=0000DDDD Gain=222
run orvikctl get --sim T15C,serial=0000CCCC gain | tee one.txt
run orvikctl get --sim T15C,serial=0000BBBB gain | tee main.txt
holds 'Gain=111' one.txt && holds 'Gain=210' main.txt || fail "the settings of another camera"
verify main-*.fits
