#!/usr/bin/env bash
# The Interactive Assembler Editor with 20,000 rows (offscreen unless QT_QPA_PLATFORM says
# otherwise): Insert Line, Delete Line, Update, a scroll, a wheel notch and an Append, each from
# the click to the end of the repaint; Save Listing of 20,000 rows; settings in a temporary folder.
# usage: bench/gui/run-bench-form17.sh [BUILD_DIR] [SAMPLES]
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
build=${1:-$here/../../build}
cmake --build "$build" --target kelvane_bench_form17 >/dev/null   # benchmarks are built on demand
samples=${2:-200}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export QT_QPA_PLATFORM=${QT_QPA_PLATFORM:-offscreen}
export XDG_CONFIG_HOME="$work" XDG_DATA_HOME="$work"   # the user's own settings stay untouched
"$build/kelvane_bench_form17" "$work" "$samples" 2>/dev/null
