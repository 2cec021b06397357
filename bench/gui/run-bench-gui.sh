#!/usr/bin/env bash
# Rate 6 in the main window: an endless delay loop (DCX B / MOV A,B / ORA C / JNZ / JMP) runs at
# Ultimate rate in the real window (offscreen unless QT_QPA_PLATFORM says otherwise) and is
# stopped from a timer after SECONDS; prints instructions per second from the statistics message,
# the worst lateness of a 20 ms timer during the run and the time Stop took to be served.
# usage: bench/gui/run-bench-gui.sh [BUILD_DIR] [SECONDS] [RATE]
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
build=${1:-$here/../../build}
seconds=${2:-5}
rate=${3:-6}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
printf '\x0b\x78\xb1\xc2\x00\x00\xc3\x00\x00' > "$work/delay.obj"
export QT_QPA_PLATFORM=${QT_QPA_PLATFORM:-offscreen}
export XDG_CONFIG_HOME="$work" XDG_DATA_HOME="$work"   # the user's own settings stay untouched
"$build/kelvane_bench_gui" "$work/delay.obj" "$seconds" "$rate" 2>/dev/null
