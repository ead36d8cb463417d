#!/usr/bin/env bash
# bench.sh BUILD_DIR [ARGS...]: runs every benchmark program of a build and prints what they say
# in ratios. ARGS go to Google Benchmark, for example --benchmark_filter=demosaic.
set -euo pipefail
build=$(cd "$1" && pwd)
shift
cd "$(dirname "${BASH_SOURCE[0]}")/.."
mkdir -p bench-results

# Short and often, in random order: what disturbs the machine then disturbs all cases alike.
defaults=(--benchmark_min_time=0.05 --benchmark_repetitions=5
  --benchmark_enable_random_interleaving=true)

results=()
for program in "$build"/bench/orvik_bench_*; do
  [ -x "$program" ] || continue
  result=bench-results/$(basename "$program").json
  echo "running $(basename "$program")" >&2
  "$program" "${defaults[@]}" "$@" --benchmark_out="$result" --benchmark_out_format=json >/dev/null
  results+=("$result")
done
if [ ${#results[@]} -eq 0 ]; then
  echo "no benchmark programs in $build/bench" >&2
  exit 1
fi
python3 scripts/bench_report.py "${results[@]}"
