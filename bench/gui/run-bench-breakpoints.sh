#!/usr/bin/env bash
# The Breakpoints Manager at speed (offscreen unless QT_QPA_PLATFORM says otherwise): a 20,000-line
# listing on view, a 64K program without a listing, following a program through its listing at
# rates 5 and 6 with and without the window, and a rate-6 run with ten breakpoints, whose stop is
# compared with `kelvane-cli run --trace` at the same point of the trace.
# usage: bench/gui/run-bench-breakpoints.sh [BUILD_DIR] [SECONDS] [OUTER]
#   SECONDS: length of each following run (3); OUTER: outer loop count of the breakpoint program
#   (200, about 52 million instructions before the breakpoint).
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
build=${1:-$here/../../build}
cmake --build "$build" --target kelvane_bench_breakpoints >/dev/null   # benchmarks are built on demand
seconds=${2:-3}
outer=${3:-200}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export QT_QPA_PLATFORM=${QT_QPA_PLATFORM:-offscreen}
export XDG_CONFIG_HOME="$work" XDG_DATA_HOME="$work"   # the user's own settings stay untouched
out=$("$build/kelvane_bench_breakpoints" "$work" "$seconds" "$outer" 2>/dev/null)
echo "$out" | grep -v '^breakpoint-state'

state=$(echo "$out" | grep '^breakpoint-state')
count=$(echo "$state" | sed -n 's/.* count=\([0-9]*\) .*/\1/p')
cycles=$(echo "$state" | sed -n 's/.* cycles=\([0-9]*\) .*/\1/p')
pc=$(echo "$state" | sed -n 's/.* pc=\([0-9A-F]*\) .*/\1/p')
row=$(echo "$state" | sed -n 's/.* row=//p')
# Row N of the trace is the state at the stop; row N+1 starts with the address the stop left in pc.
rows=$("$build/kelvane-cli" run "$work/bp.obj" --max-instructions $((count + 1)) --trace 2>/dev/null | tail -n 2)
last=$(echo "$rows" | head -n 1)
next=$(echo "$rows" | tail -n 1)
field=$(( ${#count} > 7 ? ${#count} : 7 ))
clicycles=$("$build/kelvane-cli" run "$work/bp.obj" --max-instructions "$count" 2>&1 >/dev/null |
            sed -n 's/.*simulation is \([0-9]*\) clock cycles.*/\1/p')
verdict=same
[ "${last:$((field + 4))}" = "$row" ] || verdict=different
[ "${next:$field:4}" = "$pc" ] || verdict=different
[ "$clicycles" = "$cycles" ] || verdict=different
echo "stop compared with kelvane-cli run --trace at instruction $count: $verdict"
echo "  window: pc $pc, $cycles cycles, $row"
echo "  trace:  pc ${next:$field:4}, $clicycles cycles, ${last:$((field + 4))}"
