#!/usr/bin/env bash
# Peripheral Devices at Ultimate rate in the real windows (offscreen unless QT_QPA_PLATFORM says
# otherwise): a counter to an output device and text to the terminal with no devices, with the
# devices' window closed and open, then random bytes flooding the terminal.
# usage: bench/gui/run-bench-devices.sh [BUILD_DIR] [SECONDS] [MEGABYTES]
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
build=${1:-$here/../../build}
cmake --build "$build" --target kelvane_bench_devices >/dev/null   # benchmarks are built on demand
seconds=${2:-5}
megabytes=${3:-100}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export QT_QPA_PLATFORM=${QT_QPA_PLATFORM:-offscreen}
export XDG_CONFIG_HOME="$work" XDG_DATA_HOME="$work"   # the user's own settings stay untouched
for mode in none closed open; do
  "$build/kelvane_bench_devices" "$mode" "$seconds" 2>/dev/null
done
"$build/kelvane_bench_devices" flood "$megabytes" 2>/dev/null
