# Sourced by each task of a night: a folder of its own, and a few words to write the tasks with.
# usage: TASK.sh [FOLDER_OF_ORVIKCTL]; the folder of the examples, and a Python with astropy, come
# from the environment. With ORVIK_QUICK=1 a task takes seconds, with fewer and shorter images.
set -euo pipefail
tasks=$(dirname "$(realpath "${BASH_SOURCE[0]}")")
[ $# -eq 0 ] || PATH=$(realpath "$1"):$PATH
PATH=$tasks:$PATH
python=${ORVIK_PYTHON:-/usr/bin/python3}
place=$(mktemp -d)
trap 'kill $(jobs -p) 2>/dev/null || true; wait; rm -rf "$place"' EXIT
cd "$place"
export XDG_CONFIG_HOME=$place/config
exec 3>&1  # for commands that are shown, wherever their output goes

# Chooses the first value, or the second one in a quick run.
full_or_quick() { if [ -z "${ORVIK_QUICK:-}" ]; then echo "$1"; else echo "$2"; fi; }

# Shows a command and runs it.
run() {
  show "$@"
  "$@"
}

show() {
  local word text='$'
  for word in "$@"; do
    [[ $word =~ ^[[:alnum:]_./:=,%-]+$ ]] || word=${word@Q}
    text+=" $word"
  done
  echo "$text" >&3
}

# The same for a command that has to end with the given code.
run_to() {
  local code=$1 ended=0
  shift
  show "$@"
  "$@" || ended=$?
  [ "$ended" -eq "$code" ] || fail "ended with $ended, not with $code"
}

# Waits, up to half a minute, until a command succeeds.
wait_until() {
  local turn
  for turn in {1..300}; do
    ! "$@" >/dev/null 2>&1 || return 0
    sleep 0.1
  done
  fail "in vain waited for: $*"
}

holds() { grep -q -- "$1" "$2"; }

fail() {
  echo "FAILED: $*" >&2
  exit 1
}

# Measures FITS files with astropy; see measure.py.
measure() { run "$python" "$tasks/measure.py" "$@"; }

# Lets a foreign program judge FITS files, where it is installed.
verify() {
  if command -v fitsverify >/dev/null; then run fitsverify -q "$@"; else echo "no fitsverify here"; fi
}
