#!/usr/bin/env bash
# Checks that need no build (--fast), and clang-tidy on top of them (needs build/release).
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

scripts/sources.sh | xargs clang-format-14 --dry-run --Werror
python3 scripts/check_includes.py
python3 scripts/check_repository.py
python3 scripts/check_documents.py
if [ "${1:-}" != --fast ]; then
  scripts/sources.sh | grep -E '^(src|sim|tools)/.*\.cpp$' |
    xargs -P "$(nproc)" -n 4 clang-tidy-14 --quiet --warnings-as-errors='*' -p build/release
fi
echo "checks passed"
