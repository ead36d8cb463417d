#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# The tests in the guest: the driver on libusb, usbfs and the USB core of the kernel.
#
#   tests.sh TREE BUILD PORT [FILTER]
set -u
tree=$1 build=$2 port=$3 filter=${4:-*}
export ORVIK_CONSOLE=/run/report/console ORVIK_SERVER_LOG=/run/report/server.log
export ORVIK_ATTACH="$build/vm/orvik_vm_attach 10.0.2.2 $port" ORVIK_TOOL="$build/orvikctl"
# One model of each kind: plain, cooled, with 16-bit registers, with commands, monochrome.
export ORVIK_FAMILIES="T15C T13C_C T06C T02C T10M" ORVIK_FOUR="T15C T06M T02C T13C_C"

# libusb detects hot plug through messages from udev.
mkdir -p /run/udev/rules.d
cp "$tree"/udev/*.rules /run/udev/rules.d/
/lib/systemd/systemd-udevd --daemon 2>/dev/null
udevadm trigger --subsystem-match=usb 2>/dev/null
udevadm settle

cd /run/tmp || exit 1
touch /run/report/begun
echo "guest: Linux $(uname -r), usbfs limit $(cat /sys/module/usbcore/parameters/usbfs_memory_mb) MiB"
"$build/vm/orvik_vm_test" --gtest_filter="$filter"
status=$?
dmesg >/run/report/dmesg.log
exit "$status"
