#!/usr/bin/env bash
# Instructions per second of `kelvane-cli run` (no trace) on the workloads; best of three runs.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
cli=${1:-$here/../build/kelvane-cli}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
python3 "$here/workloads.py" "$work"
for w in delay bubble mul16; do
  best=0
  for i in 1 2 3; do
    start=$(date +%s.%N)
    count=$("$cli" run "$work/$w.obj" 2>&1 >/dev/null | sed -n 's/^Total number of executed instructions is \([0-9]*\)\./\1/p')
    end=$(date +%s.%N)
    rate=$(python3 -c "print(int($count / ($end - $start)))")
    [ "$rate" -gt "$best" ] && best=$rate
  done
  printf '%-8s %12d instructions  %6.1f million instructions/s\n' "$w" "$count" "$(python3 -c "print($best/1e6)")"
done
