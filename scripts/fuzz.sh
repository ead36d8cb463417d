#!/usr/bin/env bash
# fuzz.sh BUILD_DIR SECONDS: runs every fuzzer of a build for that long. An input that is new goes to
# BUILD_DIR/corpus; one that ends the program stays in BUILD_DIR as crash-*, and belongs into
# fuzz/corpus once it is mended.
set -euo pipefail
build=$(cd "$1" && pwd)
seconds=$2
cd "$(dirname "${BASH_SOURCE[0]}")/.."

for corpus in fuzz/corpus/*; do
  name=$(basename "$corpus")
  grown=$build/corpus/$name
  mkdir -p "$grown"
  echo "$name"
  "$build/fuzz/$name" -max_total_time="$seconds" -max_len=16384 -timeout=10 -rss_limit_mb=1024 \
    -print_final_stats=1 -artifact_prefix="$build/" "$grown" "$corpus" 2>&1 |
    grep -E '^(stat::number_of_executed_units|stat::peak_rss_mb|SUMMARY|==|#[0-9]+.*DONE|.*Test unit written)'
done
