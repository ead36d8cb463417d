#!/usr/bin/env bash
# Find the camera, see what it is, and what it can do.
source "$(dirname "$0")/night.sh"

run_to 3 env ORVIK_SIM= orvikctl list                # nothing is plugged in
run orvikctl list --sim T15C --sim T10C_C | tee list.txt
holds '0 .*Vek T15C' list.txt && holds '1 .*Vek T10C COOL' list.txt || fail "the order of the cameras"
run_to 3 orvikctl info --sim T15C --sim T10C_C       # which one?
run orvikctl info --sim T15C --sim T10C_C --camera 1
run orvikctl controls --sim T10C_C | tee controls.txt
holds 'TargetTemp' controls.txt || fail "no cooler"
