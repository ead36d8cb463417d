#!/usr/bin/env bash
set -u
tree=$1 build=$2 port=$3
mkdir -p /run/udev
/lib/systemd/systemd-udevd --daemon
udevadm trigger --subsystem-match=usb
"$build/vm/attach" 10.0.2.2 "$port" 1-1
udevadm settle
cd /run/tmp
time timeout 60 "$build/orvikctl" snap --exposure 20ms -o a.fits
time timeout 60 "$build/orvikctl" video --duration 10s --type raw8 -o b.ser
ls -la
dmesg | tail -30 > /run/report/dmesg.log
