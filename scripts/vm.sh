#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Runs vm/tests.sh in a guest under QEMU: Debian's kernel, this machine's files read-only, and
# virtual cameras that the kernel imports by USB/IP.
#
#   scripts/vm.sh BUILD_FOLDER [FILTER]
#
# Ends with 0 when the guest's tests pass, 1 when they fail or do not end, 77 when the machine
# cannot run the guest.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
tree=$PWD
build=$(realpath "$1")
filter=${2:-*}
work=$build/vm
limit=${ORVIK_VM_SECONDS:-900}

skip() {
  echo "vm: skipped: $*"
  exit 77
}

command -v qemu-system-x86_64 >/dev/null || skip "no qemu-system-x86_64"
[ "$(uname -m)" = x86_64 ] || skip "the guest's kernel is for x86_64"

# The kernel comes out of its package; it need not be installed.
fetch_kernel() {
  local package
  package=$(apt-cache depends linux-image-amd64 | sed -n 's/.*Depends: \(linux-image-.*\)/\1/p' |
    head -1)
  [ -n "$package" ] || skip "no package linux-image-amd64"
  [ ! -e "$work/kernel/$package" ] || return 0
  rm -rf "$work/kernel"
  mkdir -p "$work/kernel/root"
  (cd "$work/kernel" && apt-get download -qq "$package" 2>/dev/null) || skip "no $package to be had"
  dpkg-deb -x "$work/kernel/$package"_*.deb "$work/kernel/root"
  rm "$work/kernel/$package"_*.deb
  touch "$work/kernel/$package"
}

# Modules in the order in which they need each other.
modules=(drivers/virtio/virtio_ring drivers/virtio/virtio drivers/virtio/virtio_pci_legacy_dev
  drivers/virtio/virtio_pci_modern_dev drivers/virtio/virtio_pci net/core/failover
  drivers/net/net_failover drivers/net/virtio_net net/9p/9pnet net/9p/9pnet_virtio
  fs/netfs/netfs fs/fscache/fscache fs/9p/9p drivers/usb/common/usb-common
  drivers/usb/core/usbcore drivers/usb/usbip/usbip-core drivers/usb/usbip/vhci-hcd)

make_initramfs() {
  local root=$work/initramfs module file
  rm -rf "$root"
  mkdir -p "$root"/{bin,modules,proc,sys,dev}
  cp "$(command -v busybox)" "$root/bin/busybox"
  cp vm/init "$root/init"
  chmod +x "$root/init"
  for module in "${modules[@]}"; do
    file=$(find "$work/kernel/root/lib/modules" -path "*/kernel/$module.ko")
    [ -n "$file" ] || continue # built into this kernel
    cp "$file" "$root/modules/"
    basename "$file" >>"$root/modules/order"
  done
  printf 'ORVIK_%s="%s"\n' TREE "$tree" BUILD "$build" PORT "$port" FILTER "$filter" >"$root/settings"
  (cd "$root" && find . | busybox cpio -o -H newc 2>/dev/null | gzip -1) >"$work/initramfs.gz"
}

# The server lives on this machine; the guest reaches its loopback address as 10.0.2.2. What is
# written into the folder's `console` in the guest arrives at the server's standard input.
start_server() {
  rm -rf "$work/report"
  mkdir -p "$work/report"
  : >"$work/report/console"
  tail -n +1 -f "$work/report/console" |
    "$build/orvik-simcam" --port 0 --empty >"$work/report/server.log" 2>&1 &
  for _ in $(seq 50); do
    port=$(sed -n 's/^Listening on .*:\([0-9]*\)\.$/\1/p' "$work/report/server.log")
    [ -z "$port" ] || return 0
    sleep 0.1
  done
  echo "vm: the server does not start" >&2
  exit 1
}

stop_server() {
  pkill -P $$ 2>/dev/null || true
}
trap stop_server EXIT

mkdir -p "$work"
fetch_kernel
start_server
make_initramfs
kernel=$(find "$work/kernel/root/boot" -name 'vmlinuz-*')
timeout "$limit" qemu-system-x86_64 -accel tcg,thread=multi -cpu max -smp 2 -m 3072 \
  -nographic -no-reboot -kernel "$kernel" -initrd "$work/initramfs.gz" \
  -append "console=ttyS0 quiet loglevel=3 panic=-1 usbcore.usbfs_memory_mb=16" \
  -netdev user,id=net -device virtio-net-pci,netdev=net \
  -virtfs "local,path=/,mount_tag=host,security_model=none,readonly=on,multidevs=remap" \
  -virtfs "local,path=$work/report,mount_tag=report,security_model=none,multidevs=remap" \
  </dev/null | sed -u 's/\r$//' || true

status=$(cat "$work/report/status" 2>/dev/null || true)
[ -n "$status" ] || {
  [ -e "$work/report/begun" ] || skip "the guest does not start here"
  echo "vm: the guest did not come to its end within $limit seconds" >&2
  exit 1
}
exit "$status"
