#!/usr/bin/env bash
# Installs the build into an empty place and uses it as programs do: through pkg-config, through the
# CMake package; and compares the exported names with the interface.
# usage: check_install.sh BUILD_DIR SOURCE_DIR C_COMPILER SANITIZERS
set -euo pipefail
build=$1 source=$2 compiler=$3 sanitizers=$4
place=$(mktemp -d)
trap 'rm -rf "$place"' EXIT
export XDG_CONFIG_HOME=$place/config

cmake --install "$build" --prefix "$place/prefix" >/dev/null
library_dir=$(dirname "$(find "$place/prefix" -name liborvik.so)")
export PKG_CONFIG_PATH=$library_dir/pkgconfig LD_LIBRARY_PATH=$library_dir
flags=()
[ -z "$sanitizers" ] || flags=("-fsanitize=$sanitizers")

echo "soname"
readelf -d "$library_dir/liborvik.so" | grep -q 'SONAME.*\[liborvik.so.0\]'

echo "pkg-config, C99"
# shellcheck disable=SC2046
"$compiler" -std=c99 -Wall -Wextra -Wpedantic -Werror "${flags[@]}" "$source/frame.c" \
  -o "$place/frame" $(pkg-config --cflags --libs orvik_sim orvik)
"$place/frame"

echo "udev rules and examples"
test -s "$place/prefix/lib/udev/rules.d/70-orvik.rules"
find "$place/prefix/share" -name first_frame.c | grep -q .

echo "CMake package"
mkdir "$place/consumer"
cat >"$place/consumer/CMakeLists.txt" <<TEXT
cmake_minimum_required(VERSION 3.25)
project(consumer C)
find_package(Orvik 0.1 REQUIRED)
add_executable(frame $source/frame.c)
target_compile_options(frame PRIVATE ${flags[*]:-})
target_link_options(frame PRIVATE ${flags[*]:-})
target_link_libraries(frame PRIVATE Orvik::orvik Orvik::orvik_sim)
TEXT
cmake -S "$place/consumer" -B "$place/consumer/build" -G Ninja -DCMAKE_C_COMPILER="$compiler" \
  -DCMAKE_PREFIX_PATH="$place/prefix" >/dev/null
cmake --build "$place/consumer/build" >/dev/null
"$place/consumer/build/frame"

echo "exported names"
exported() { nm -D --defined-only "$library_dir/$1" | awk '$2 == "T" {sub(/@.*/, "", $3); print $3}' | sort; }
declared() { grep -oE '\b(Orvik[A-Z][A-Za-z0-9]*)\(' "$place/prefix/include/orvik/$1" | tr -d '(' | sort -u; }
diff <({ declared orvik.h && declared orvik_service.h && declared orvik_devices.h && declared orvik_frames.h; } | sort -u | grep -v '^OrvikSim') \
  <(exported liborvik.so | grep -v '^orvik_private_')
diff <(declared orvik_sim.h | grep '^OrvikSim') <(exported liborvik_sim.so)
