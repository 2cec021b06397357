#!/usr/bin/env bash
# Rate 6 in the main window: an endless delay loop (DCX B / MOV A,B / ORA C / JNZ / JMP) runs at
# Ultimate rate in the real window (offscreen unless QT_QPA_PLATFORM says otherwise) and is
# stopped from a timer after SECONDS; prints instructions per second from the statistics message,
# the worst lateness of a 20 ms timer during the run and the time Stop took to be served.
# --open Form2,Form20 opens those tool windows first and prints how often each one repainted;
# --program fill runs instead a loop that writes a byte on view of both editors and does an OUT
# on every pass (INR A / STA 0010H / OUT 01H / NOP / JMP).
# usage: bench/gui/run-bench-gui.sh [BUILD_DIR] [SECONDS] [RATE] [--open LIST] [--program delay|fill]
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
positional=() passed=() program=delay
while [ $# -gt 0 ]; do
  case "$1" in
    --open) passed+=(--open "$2"); shift 2 ;;
    --program) program=$2; shift 2 ;;
    *) positional+=("$1"); shift ;;
  esac
done
build=${positional[0]:-$here/../../build}
cmake --build "$build" --target kelvane_bench_gui >/dev/null   # benchmarks are built on demand
seconds=${positional[1]:-5}
rate=${positional[2]:-6}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
printf '\x0b\x78\xb1\xc2\x00\x00\xc3\x00\x00' > "$work/delay.obj"
printf '\x3c\x32\x10\x00\xd3\x01\x00\xc3\x00\x00' > "$work/fill.obj"
export QT_QPA_PLATFORM=${QT_QPA_PLATFORM:-offscreen}
export XDG_CONFIG_HOME="$work" XDG_DATA_HOME="$work"   # the user's own settings stay untouched
"$build/kelvane_bench_gui" "$work/$program.obj" "$seconds" "$rate" "${passed[@]}" 2>/dev/null
