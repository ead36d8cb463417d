#!/usr/bin/env bash
# Installs the build into an empty folder and uses it as programs do: through pkg-config and through
# the CMake package. Also compares the exported names with the interface.
# usage: check_install.sh BUILD_DIR SOURCE_DIR C_COMPILER CXX_COMPILER SANITIZERS
set -euo pipefail
build=$1 source=$2 compiler=$3 cxx_compiler=$4 sanitizers=$5
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

# A build with sanitizers needs its own compiler; without sanitizers any compiler can be used.
cxx_compilers=("$cxx_compiler")
if [ -z "$sanitizers" ]; then
  for other in g++ clang++; do
    command -v $other >/dev/null && cxx_compilers+=("$other") || echo "no $other here"
  done
fi
for cxx in "${cxx_compilers[@]}"; do
  for standard in 17 20; do
    echo "pkg-config, C++$standard, $cxx"
    # shellcheck disable=SC2046
    "$cxx" "-std=c++$standard" -Wall -Wextra -pedantic -Werror "${flags[@]}" "$source/classes.cpp" \
      -o "$place/classes" $(pkg-config --cflags --libs orvik_sim orvik)
    "$place/classes"
  done
done
# Each header can be included on its own: those in C by C++17, the wrapper by C++20.
for header in "$place/prefix/include/orvik"/*.h "$place/prefix/include/orvik"/cpp/*.hpp; do
  echo "#include <orvik/${header#"$place/prefix/include/orvik/"}>" >"$place/alone.cpp"
  standard=17
  [[ $header != *.hpp ]] || standard=20
  # shellcheck disable=SC2046
  "$cxx_compiler" "-std=c++$standard" -Wall -Wextra -pedantic -Werror -fsyntax-only "$place/alone.cpp" \
    $(pkg-config --cflags orvik)
done

echo "orvikctl finds its libraries, also where the prefix has been moved to"
mv "$place/prefix" "$place/moved"
env -u LD_LIBRARY_PATH "$place/moved/bin/orvikctl" list --sim T15C
env -u LD_LIBRARY_PATH ORVIK_SIM=T15C "$place/moved/bin/orvikctl" list
mv "$place/moved" "$place/prefix"

echo "licence, man page, and the documents that the headers refer to"
test -s "$place/prefix/share/man/man1/orvikctl.1"
for document in LICENSE $(grep -ohE '\bdocs/[a-z_]+\.md' "$place/prefix/include/orvik"/*.h | sort -u); do
  test -s "$(find "$place/prefix/share/doc" -path "*/orvik/$document")"
done

echo "udev rules and examples"
test -s "$place/prefix/lib/udev/rules.d/70-orvik.rules"
find "$place/prefix/share" -name first_frame.c | grep -q .

echo "pkg-config, the C++ wrapper"
for cxx in "${cxx_compilers[@]}"; do
  # shellcheck disable=SC2046
  "$cxx" -std=c++20 -Wall -Wextra -pedantic -Werror "${flags[@]}" \
    "$(find "$place/prefix/share" -name video.cpp)" -o "$place/video" \
    $(pkg-config --cflags --libs orvik_sim orvik)
  (cd "$place" && ./video 0.5 T15C)
done

echo "CMake package"
mkdir "$place/consumer"
cat >"$place/consumer/CMakeLists.txt" <<TEXT
cmake_minimum_required(VERSION 3.25)
project(consumer C CXX)
find_package(Orvik 0.1 REQUIRED)
set(CMAKE_CXX_STANDARD 17)
add_executable(frame $source/frame.c)
add_executable(classes $source/classes.cpp)
foreach(program frame classes)
  target_compile_options(\${program} PRIVATE ${flags[*]:-})
  target_link_options(\${program} PRIVATE ${flags[*]:-})
  target_link_libraries(\${program} PRIVATE Orvik::orvik Orvik::orvik_sim)
endforeach()
TEXT
cmake -S "$place/consumer" -B "$place/consumer/build" -G Ninja -DCMAKE_C_COMPILER="$compiler" \
  -DCMAKE_CXX_COMPILER="$cxx_compiler" \
  -DCMAKE_PREFIX_PATH="$place/prefix" >/dev/null
cmake --build "$place/consumer/build" >/dev/null
"$place/consumer/build/frame"
"$place/consumer/build/classes"

echo "exported names"
exported() { nm -D --defined-only "$library_dir/$1" | awk '$2 == "T" {sub(/@.*/, "", $3); print $3}' | grep -v '^_Z' | sort; }
declared() { grep -oE '\b(Orvik[A-Z][A-Za-z0-9]*)\(' "$place/prefix/include/orvik/$1" | tr -d '(' | sort -u; }
diff <({ declared orvik.h && declared orvik_service.h && declared orvik_devices.h && declared orvik_frames.h && declared orvik_settings.h; } | sort -u | grep -v '^OrvikSim') \
  <(exported liborvik.so | grep -v '^orvik_private_')
diff <(declared orvik_sim.h | grep '^OrvikSim') <(exported liborvik_sim.so)

echo "exported classes"
classes=$(sed -nE 's/^class ORVIK_API (C[A-Za-z0-9_]+).*/\1/p' "$place/prefix/include/orvik"/*.h | sort)
# Members, virtual tables and type information of the published classes, and no other C++ symbols.
exported_cxx() { nm -DC --defined-only "$library_dir/liborvik.so" | cut -d' ' -f3- | sed 's/@.*//' | grep -F '::'; }
other=$(exported_cxx | sed -E 's/^(vtable|typeinfo|typeinfo name) for //' |
  grep -vE "^orvik::($(paste -sd'|' <<<"$classes"))(::|$)" || true)
[ -z "$other" ] || { echo "exported as well: $other" >&2; exit 1; }
diff <(grep -v CAlgorithm <<<"$classes") \
  <(exported_cxx | sed -nE 's/^vtable for orvik:://p' | sort)
! nm -D --defined-only "$library_dir/liborvik_sim.so" | grep -F ' _Z'
