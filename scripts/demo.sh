#!/usr/bin/env bash
# Captures from a virtual camera with the built orvikctl: demo.sh BUILD_DIR OUT_DIR
set -euo pipefail

if [ $# -ne 2 ]; then
  echo "usage: $0 BUILD_DIR OUT_DIR" >&2
  exit 2
fi
orvikctl=$1/orvikctl
out=$2
camera=T15C,serial=0D15EA5E
if [ ! -x "$orvikctl" ]; then
  echo "$0: there is no $orvikctl; build the project first" >&2
  exit 1
fi
mkdir -p "$out"

# The pictures do not depend on the user's settings, and the user's settings not on them.
XDG_CONFIG_HOME=$(mktemp -d)
export XDG_CONFIG_HOME
trap 'rm -rf "$XDG_CONFIG_HOME"' EXIT

files=(stars.fits stars.png moon.png planet.ser)
(cd "$out" && rm -f -- "${files[@]}")

# Shows a command as one would type it, and runs it.
run() {
  printf '\n$ orvikctl'
  printf ' %q' "$@"
  printf '\n'
  "$orvikctl" "$@"
}

run list --sim "$camera"
run info --sim "$camera"
run controls --sim "$camera"
run snap --sim "$camera,scene=stars" --exposure 1s --gain 200 --object "star field" \
  -o "$out/stars.fits"
run snap --sim "$camera,scene=stars" --exposure 1s --gain 200 --type y8 -o "$out/stars.png"
run snap --sim "$camera,scene=moon" --exposure 10ms --type rgb24 -o "$out/moon.png"
run video --sim "$camera,scene=planet" --exposure 5ms --roi 640x480 --count 100 \
  --object planet -o "$out/planet.ser"

printf '\nWritten to %s:\n' "$(cd "$out" && pwd)"
for file in "${files[@]}"; do
  if [ ! -s "$out/$file" ]; then
    echo "$0: $out/$file is missing" >&2
    exit 1
  fi
  printf '  %-12s %10d bytes\n' "$file" "$(stat -c %s "$out/$file")"
done

cat <<TEXT

To see the Moon live, with all controls, in a browser:

  $1/orvik-server --sim T15C,scene=moon

and then open http://127.0.0.1:11111/
TEXT
