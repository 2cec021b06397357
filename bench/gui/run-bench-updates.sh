#!/usr/bin/env bash
# Check For Updates with a large version log (offscreen unless QT_QPA_PLATFORM says otherwise):
# the answer handed to the window one byte at a time, then sent over loopback in 1-byte and in
# 1 KiB pieces; last, pages of one-character lines and of one single line, in 64 KiB pieces.
# usage: bench/gui/run-bench-updates.sh [BUILD_DIR] [MEGABYTES]
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
build=${1:-$here/../../build}
cmake --build "$build" --target kelvane_bench_updates >/dev/null   # benchmarks are built on demand
megabytes=${2:-5}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export QT_QPA_PLATFORM=${QT_QPA_PLATFORM:-offscreen}
export XDG_CONFIG_HOME="$work" XDG_DATA_HOME="$work" XDG_RUNTIME_DIR="$work"
"$build/kelvane_bench_updates" pieces "$megabytes" 2>/dev/null
"$build/kelvane_bench_updates" socket "$megabytes" 1 2>/dev/null
"$build/kelvane_bench_updates" socket "$megabytes" 1024 2>/dev/null
"$build/kelvane_bench_updates" socket "$megabytes" 65536 lines 2>/dev/null
"$build/kelvane_bench_updates" socket "$megabytes" 65536 line 2>/dev/null
