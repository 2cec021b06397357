#!/usr/bin/env bash
# The simulation log at Ultimate rate in the main window (offscreen unless QT_QPA_PLATFORM says
# otherwise), with the endless delay loop (DCX B / MOV A,B / ORA C / JNZ / JMP): no logging, a sink
# that drops the log's bytes, "log.txt" itself against plain 1 MiB writes in the same folder, the
# viewer open; then the viewer opening a 450,000-row .log and its repaints after scrolling.
# usage: bench/gui/run-bench-log.sh [BUILD_DIR] [SECONDS] [FOLDER]
#   FOLDER: where log.txt and the plain writes go (a temporary folder in the build's file system
#   unless told); a 2 s logged run can write a few GB there, removed at once.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
build=${1:-$here/../../build}
cmake --build "$build" --target kelvane_bench_log >/dev/null   # benchmarks are built on demand
seconds=${2:-5}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
folder=${3:-$work}
printf '\x0b\x78\xb1\xc2\x00\x00\xc3\x00\x00' > "$work/delay.obj"
export QT_QPA_PLATFORM=${QT_QPA_PLATFORM:-offscreen}
export XDG_CONFIG_HOME="$work" XDG_DATA_HOME="$work"   # the user's own settings stay untouched
"$build/kelvane_bench_log" "$work/delay.obj" "$folder" "$seconds" 2>/dev/null
