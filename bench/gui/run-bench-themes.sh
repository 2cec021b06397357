#!/usr/bin/env bash
# A click in Change Color Theme with every window open while an endless delay loop runs at
# Ultimate rate (offscreen unless QT_QPA_PLATFORM says otherwise): the time of each click, of the
# click with every window repainted, and the instructions run between two clicks.
# usage: bench/gui/run-bench-themes.sh [BUILD_DIR] [CLICKS]
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
build=${1:-$here/../../build}
cmake --build "$build" --target kelvane_bench_themes >/dev/null   # benchmarks are built on demand
clicks=${2:-20}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
printf '\x0b\x78\xb1\xc2\x00\x00\xc3\x00\x00' > "$work/delay.obj"
export QT_QPA_PLATFORM=${QT_QPA_PLATFORM:-offscreen}
export XDG_CONFIG_HOME="$work" XDG_DATA_HOME="$work"   # the user's own settings stay untouched
"$build/kelvane_bench_themes" "$work/delay.obj" "$clicks" 2>/dev/null
