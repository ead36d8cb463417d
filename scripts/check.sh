#!/usr/bin/env bash
# Checks that need no build (--fast), and clang-tidy on top of them (needs build/tidy to be configured).
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

scripts/sources.sh | xargs clang-format-14 --dry-run --Werror
python3 scripts/check_includes.py
python3 scripts/check_repository.py
python3 scripts/check_documents.py
if [ "${1:-}" != --fast ]; then
  python3 scripts/tidy.py build/tidy
fi
echo "checks passed"
