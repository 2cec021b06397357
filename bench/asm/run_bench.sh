#!/usr/bin/env bash
# Times `kelvane-cli asm` on a generated source of 200,000 lines with 20,000 labels.
# Usage: bench/asm/run_bench.sh [BUILD_DIR] [RUNS]
set -euo pipefail
here="$(cd "$(dirname "$0")" && pwd)"
build="${1:-$here/../../build}"
runs="${2:-5}"
cli="$build/kelvane-cli"
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT
python3 "$here/gen_source.py" 200000 20000 "$work/bench.asm"
for i in $(seq 1 "$runs"); do
  start=$(date +%s.%N)
  "$cli" asm "$work/bench.asm" --hex || echo "exit status $?"
  end=$(date +%s.%N)
  echo "run $i: $(echo "$end - $start" | bc) s"
done
wc -c "$work/bench.lst" "$work/bench.obj" "$work/bench.hex" | sed 's|'"$work"'/||'
