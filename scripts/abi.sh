#!/usr/bin/env bash
# Compares the binary interface of the libraries, C and C++, with the one that abi/ describes.
# usage: abi.sh [--renew]   --renew writes the present interface into abi/
# Works in build/abi.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
build=build/abi

cmake -S . -B $build -G Ninja -DCMAKE_BUILD_TYPE=None -DCMAKE_C_FLAGS="-O0 -g" \
  -DCMAKE_CXX_FLAGS="-O0 -g" -DORVIK_ABI=ON -DORVIK_BUILD_TOOLS=OFF -DORVIK_BUILD_TESTS=OFF >/dev/null
cmake --build $build --target orvik_abi orvik_sim_abi >/dev/null

# Types that no public header defines, and places in files, are not part of the interface.
describe() {
  abidw --suppressions abi/interface.suppr --headers-dir include/orvik --drop-private-types \
    --exported-interfaces-only --drop-undefined-syms --no-architecture --no-corpus-path --no-comp-dir-path --no-show-locs \
    --no-elf-needed --no-parameter-names --no-write-default-sizes --out-file "$2" "$1"
}

changed=0
for library in liborvik liborvik_sim; do
  baseline=abi/$library.abi
  if [ "${1:-}" = --renew ]; then
    mkdir -p abi
    describe "$build/abi/$library.so" "$baseline"
    sed -i "s#path='$PWD/#path='#" "$baseline"  # the same in every checkout
  else
    describe "$build/abi/$library.so" "$build/$library.abi"
    abidiff --no-show-locs --no-architecture "$baseline" "$build/$library.abi" || changed=1
  fi
done
[ $changed = 0 ] || {
  echo "The binary interface is not the one of abi/. Where that is meant: scripts/abi.sh --renew," >&2
  echo "and a line in CHANGELOG.md." >&2
  exit 1
}
echo "interface checked"
