#!/usr/bin/env bash
# Builds the Debian packages from the tracked and the new files of the tree, as they are now, and
# lets lintian judge them.
#
#   scripts/package.sh [ARCHITECTURE]    another machine's architecture is cross-built
#
# The packages appear in build/packages; the tree stays as it is.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
here=$(dpkg --print-architecture)
architecture=${1:-$here}

version=$(sed -n 's/^project(orvik VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
[ "$version" = "$(dpkg-parsechangelog -S Version)" ] || {
  echo "CMakeLists.txt has the version $version; debian/changelog begins with another one" >&2
  exit 1
}

work=build/package-work/$architecture
source=$work/orvik-$version
rm -rf "$work"
mkdir -p "$source" build/packages
git ls-files -z --cached --others --exclude-standard |
  while IFS= read -r -d '' file; do [ ! -e "$file" ] || printf '%s\0' "$file"; done |
  tar --create --null --files-from=- | tar --extract --directory "$source"

if [ "$architecture" = "$here" ]; then
  options=(--build=full)
  # The development packages of some integrations exist for one architecture at a time only.
  profiles=$(cd integrations 2>/dev/null && printf 'pkg.orvik.%s,' * || true)
  [ -z "$profiles" ] || options+=(-P"${profiles%,}")
else
  options=(--build=any --host-arch="$architecture" -Pcross,nocheck)
fi
(cd "$source" && dpkg-buildpackage -us -uc -j"$(nproc)" "${options[@]}") >"$work/log" 2>&1 || {
  tail -60 "$work/log" >&2
  echo "the packages could not be built; all that was said is in $work/log" >&2
  exit 1
}
rm -f build/packages/orvik_*_"$architecture".* build/packages/*_"$architecture".deb
mv "$work"/*_"$version"* build/packages/
rm -r "$source"

# In a container root is often the only user.
lintian -EI --pedantic --allow-root \
  --fail-on error,warning "build/packages/orvik_${version}_$architecture.changes"
ls -1 build/packages/*_"$version"*
