#!/usr/bin/env bash
# Lists the C and C++ sources of the project, one a line.
cd "$(dirname "${BASH_SOURCE[0]}")/.."
git ls-files --cached --others --exclude-standard -- '*.c' '*.h' '*.hpp' '*.cpp' |
  while IFS= read -r file; do [ -e "$file" ] && echo "$file"; done
