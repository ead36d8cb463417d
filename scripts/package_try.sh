#!/usr/bin/env bash
# Tries the packages of build/packages in a fresh root of Debian 12: installs them, uses them with
# virtual cameras, purges them, and looks for what is left. The root is removed again.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
version=$(dpkg-parsechangelog -S Version)
architecture=$(dpkg --print-architecture)

# Debian's part of this machine's own sources.
sources=$(apt-get indextargets "Created-By: Packages" "Origin: Debian" "Architecture: $architecture" \
  --format 'deb $(REPO_URI) $(RELEASE) $(COMPONENT)' | sort -u)
[ -n "$sources" ] || {
  echo "apt knows no Debian archive on this machine" >&2
  exit 1
}

bundle=$(mktemp -d)
trap 'rm -r "$bundle"' EXIT
for package in build/packages/*_"$version"_{"$architecture",all}.deb; do
  [[ $package == *-dbgsym_* ]] || cp "$package" "$bundle"
done
cp scripts/package_try_inside.sh "$bundle/inside.sh"

# What the trial itself needs is in the root from the beginning, and not ours.
mode=unshare
[ "$(id -u)" -ne 0 ] || mode=root
mmdebstrap --quiet --mode=$mode --variant=minbase --format=null \
  --include=bash-completion,g++,cmake,curl,gstreamer1.0-tools,indi-bin,make,man-db,pkg-config \
  --include=systemd,udev,zsh \
  --keyring=/usr/share/keyrings/debian-archive-keyring.gpg \
  --customize-hook="sync-in '$bundle' /opt" \
  --customize-hook='chroot "$1" bash /opt/inside.sh' \
  bookworm - - <<<"$sources"
