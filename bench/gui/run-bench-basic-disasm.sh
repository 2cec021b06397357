#!/usr/bin/env bash
# The BASIC editor window with a 20,000-line source (the generator of bench/basic): open, typing,
# scrolling, Compile, typing during an Ultimate-rate run; then the Disassembler window with a 64K
# random program: Disassemble in both forms until the listing is on view, the progress repaints,
# the scroll to the end, Disassemble during an Ultimate-rate run. Offscreen unless QT_QPA_PLATFORM
# says otherwise; settings in a temporary folder.
# usage: bench/gui/run-bench-basic-disasm.sh [BUILD_DIR]
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
build=${1:-$here/../../build}
cmake --build "$build" --target kelvane_bench_basic kelvane_bench_disasmwin >/dev/null   # benchmarks are built on demand
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
python3 "$here/../basic/gen_program.py" 20000 2000 "$work/bench.bas" > /dev/null
export QT_QPA_PLATFORM=${QT_QPA_PLATFORM:-offscreen}
export XDG_CONFIG_HOME="$work" XDG_DATA_HOME="$work"
"$build/kelvane_bench_basic" "$work/bench.bas" "$work" 2>/dev/null
"$build/kelvane_bench_disasmwin" "$work" 2>/dev/null
