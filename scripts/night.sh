#!/usr/bin/env bash
# Installs a build into a fresh prefix and does all tasks of a night there, as they are meant: takes
# about half an hour. Writes what they print into TRANSCRIPTS.
# usage: scripts/night.sh BUILD TRANSCRIPTS [TASK...]; a task by the beginning of its name, as 03
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
build=$1 transcripts=$2
shift 2
prefix=$(mktemp -d)
trap 'rm -rf "$prefix"' EXIT
cmake --install "$build" --prefix "$prefix" >/dev/null
mkdir -p "$transcripts"
[ $# -gt 0 ] || set -- 0 1
all_done=0
for task in "${@/#/tests/night/}"; do
  for script in "$task"*.sh; do
    name=$(basename "$script" .sh) begun=$SECONDS ended=0
    "$script" "$prefix/bin" >"$transcripts/$name.txt" 2>&1 || ended=$?
    echo "$name: $((SECONDS - begun)) s, $([ $ended -eq 0 ] && echo done || echo FAILED)"
    [ $ended -eq 0 ] || tail -n 20 "$transcripts/$name.txt"
    [ $ended -eq 0 ] || all_done=1
  done
done
exit $all_done
