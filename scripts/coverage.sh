#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Tells which lines of the library, the virtual camera and the tools the tests did not reach.
#
#   scripts/coverage.sh BUILD_FOLDER
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
report=$1/report

rm -rf "$report"
mkdir -p "$report"
# A line that only an exception's unwinding reaches is the compiler's, not ours.
gcovr --root . --filter '(src|sim|tools|include)/' --exclude-throw-branches \
  --exclude-unreachable-branches -j "$(nproc)" --html-details "$report/index.html" \
  --txt "$report/lines.txt" --json "$report/lines.json" "$1"
tail -3 "$report/lines.txt"
echo "The report is in $report/index.html; lines.txt names the lines that no test reaches."
