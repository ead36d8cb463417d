#!/usr/bin/env bash
# What scripts/package_try.sh runs within the fresh root, where the packages lie beside it.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")"
export HOME=/opt/home DEBIAN_FRONTEND=noninteractive LC_ALL=C.UTF-8
place=/opt/place
mkdir -p $HOME $place

# Every file but those in which apt, dpkg and man-db keep what they know and did, those that no start
# of the machine survives, and those here.
files() {
  find / -xdev \( -path /opt -o -path /proc -o -path /sys -o -path /dev -o -path /run -o -path /tmp \
    -o -path /var/lib/apt -o -path /var/lib/dpkg -o -path /var/log -o -path /var/cache \) -prune \
    -o -print | sort
}

step() { printf '\n== %s\n' "$*"; }
run() {
  echo "\$ $*"
  "$@"
}

files >before
step "installing"
packages=$(for package in *.deb; do dpkg-deb -f "$package" Package; done)
apt-get install -y -qq --no-install-recommends ./*.deb >log 2>&1 || {
  cat log
  exit 1
}
# shellcheck disable=SC2086
dpkg-query -W $packages

step "capturing"
cd $place
run orvikctl list --sim T15C
run orvikctl snap --sim T15C,scene=moon -o x.fits
[ "$(head -c 30 x.fits)" = "SIMPLE  =                    T" ]

step "a program in C, with pkg-config and with CMake"
cat >frame.c <<'TEXT'
#include <orvik/orvik_sim.h>
#include <stdio.h>
int main(void) {
  if (OrvikSimPlug("T15C", "") < 0 || OrvikOpenCamera(0) != Orvik_OK) return 1;
  return printf("opened one of %d cameras\n", OrvikGetNumOfConnectedCameras()) < 0;
}
TEXT
# shellcheck disable=SC2046
cc frame.c -o frame $(pkg-config --cflags --libs orvik_sim)
run ./frame
cat >CMakeLists.txt <<'TEXT'
cmake_minimum_required(VERSION 3.25)
project(frame C)
find_package(Orvik 0.1 REQUIRED)
add_executable(frame frame.c)
target_link_libraries(frame PRIVATE Orvik::orvik Orvik::orvik_sim)
TEXT
cmake -S . -B made >/dev/null && cmake --build made >/dev/null
run made/frame

step "the first minutes of an observer: INDI"
export ORVIK_SIM=T15C,scene=moon
indiserver -p 7625 indi_orvik_ccd >server.log 2>&1 &
server=$!
trap 'kill $server 2>/dev/null || true' EXIT
device="Orvik Vek T15C 56454B01"
echo "\$ ORVIK_SIM=$ORVIK_SIM indiserver -p 7625 indi_orvik_ccd &"
set_property() { run indi_setprop -h 127.0.0.1 -p 7625 "$device.$1"; }
is() { indi_getprop -h 127.0.0.1 -p 7625 -t 5 "$device.$1" 2>/dev/null | grep -q "=$2\$"; }
eventually() { for _ in $(seq 60); do ! "$@" || return 0; sleep 0.5; done; cat server.log; return 1; }
eventually is CONNECTION.CONNECT Off
set_property CONNECTION.CONNECT=On
eventually is CONNECTION.CONNECT On
set_property UPLOAD_MODE.UPLOAD_LOCAL=On
set_property "UPLOAD_SETTINGS.UPLOAD_DIR=$place;UPLOAD_PREFIX=moon_XXX"
set_property CCD_EXPOSURE.CCD_EXPOSURE_VALUE=0.02
eventually test -s moon_001.fits
kill $server
run ls -l moon_001.fits
[ "$(head -c 30 moon_001.fits)" = "SIMPLE  =                    T" ]

step "Python and GStreamer"
run python3 -m orvik
run gst-launch-1.0 -q orviksrc num-buffers=3 ! video/x-bayer ! fakesink
unset ORVIK_SIM

step "the server: Alpaca, the page, the service"
orvik-server --sim T15C,scene=moon --listen 127.0.0.1:0 --no-discovery >server.log 2>&1 &
server=$!
echo "\$ orvik-server --sim T15C,scene=moon &"
eventually grep -q "^http:" server.log
address=$(sed -n 's/^\(http:.*\)/\1/p' server.log)
run curl -fsS "${address}api/v1/camera/0/name" | tee answer
grep -q '"Value":"Vek T15C' answer
run curl -fsS -o page "$address"
grep -qi "<!doctype html>" page
echo
kill $server
wait $server
getent passwd orvik-server
unit=/lib/systemd/system/orvik-server.service
run systemd-analyze verify $unit
# Ten times the exposure that systemd shows; 100 is that of a service without any protection.
run systemd-analyze security --offline=yes --threshold=20 $unit | tail -1

step "completions, man pages, rules, documents"
run bash -ic 'source /usr/share/bash-completion/bash_completion; _completion_loader orvikctl
  COMP_WORDS=(orvikctl snap --type r) COMP_CWORD=3; _orvikctl; echo "${COMPREPLY[@]}"' 2>/dev/null |
  tee completed
grep -qx "raw8 rgb24 raw16" completed
run zsh -ic 'autoload -U compinit; compinit -u
  echo $_comps[orvikctl] $_comps[orvik-simcam] $_comps[orvik-server]' | tee completed
grep -qx "_orvikctl _orvik-simcam _orvik-server" completed
for page in orvikctl orvik-simcam orvik-server; do
  echo "\$ man $page"
  MANWIDTH=80 man $page >page 2>&1
  grep -q "^NAME" page
  ! grep -q "No manual entry" page
  head -4 page
done
test -s /usr/lib/udev/rules.d/70-orvik.rules
test -s /usr/share/doc/orvik-doc/html/index.html
test -s /usr/share/doc/orvik-doc/examples/first_frame.c

step "purging"
cd /opt
# shellcheck disable=SC2086
{ apt-get purge -y -qq $packages && apt-get autoremove --purge -y -qq; } >log 2>&1 || {
  cat log
  exit 1
}
files >after
diff before after && echo "nothing is left"
