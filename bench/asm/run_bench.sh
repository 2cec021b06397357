#!/usr/bin/env bash
# Times `kelvane-cli asm SOURCE --hex` on a generated source of 200,000 lines with 20,000 labels
# (wall, user and system seconds per run; the goal is under one second).
# Usage: bench/asm/run_bench.sh [BUILD_DIR] [RUNS]
set -euo pipefail
here="$(cd "$(dirname "$0")" && pwd)"
build="${1:-$here/../../build}"
runs="${2:-5}"
cli="$build/kelvane-cli"
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT
python3 "$here/gen_source.py" 200000 20000 "$work/bench.asm"
TIMEFORMAT="%R s wall, %U s user, %S s system"
for i in $(seq 1 "$runs"); do
  echo -n "run $i: "
  { time { "$cli" asm "$work/bench.asm" --hex || echo "exit status $?"; }; } 2>&1
done
wc -c "$work/bench.asm" "$work/bench.lst" "$work/bench.obj" "$work/bench.hex" | sed 's|'"$work"'/||'
