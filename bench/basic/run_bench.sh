#!/usr/bin/env bash
# Times `kelvane-cli basic SOURCE` on a generated source of 20,000 lines with 2,000 variables
# (wall, user and system seconds per run; the goal is under one second).
# Usage: bench/basic/run_bench.sh [BUILD_DIR] [RUNS]
set -euo pipefail
here="$(cd "$(dirname "$0")" && pwd)"
build="${1:-$here/../../build}"
runs="${2:-5}"
cli="$build/kelvane-cli"
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT
python3 "$here/gen_program.py" 20000 2000 "$work/bench.bas"
TIMEFORMAT="%R s wall, %U s user, %S s system"
for i in $(seq 1 "$runs"); do
  echo -n "run $i: "
  { time { "$cli" basic "$work/bench.bas" > "$work/out.txt" ||
           { echo "exit status $?"; cat "$work/out.txt"; }; }; } 2>&1
done
sed -n 2p "$work/out.txt"
wc -c "$work/bench.bas" "$work/bench.asm" | sed 's|'"$work"'/||'
