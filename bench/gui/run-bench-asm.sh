#!/usr/bin/env bash
# The Assembler window with a 200,000-line source (the generator of bench/asm): open, keystrokes,
# wheel and Page Down painted (also during an Ultimate-rate run), an assembly with 20,000 errors,
# Go To Next Error, Replace All of 20,000 words, printing to PDF. Offscreen unless QT_QPA_PLATFORM
# says otherwise; settings in a temporary folder.
# usage: bench/gui/run-bench-asm.sh [BUILD_DIR]
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
build=${1:-$here/../../build}
cmake --build "$build" --target kelvane_bench_asm >/dev/null   # benchmarks are built on demand
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
python3 "$here/../asm/gen_source.py" 200000 20000 "$work/good.asm" > /dev/null
# 180,000 generated lines with an error line after every ninth: 200,000 lines, 20,000 errors,
# the word Q 20,000 times.
python3 "$here/../asm/gen_source.py" 180000 20000 "$work/base.asm" > /dev/null
awk '{ print } NR % 9 == 0 { printf "\tMOV Q,A\r\n" }' ORS='\n' "$work/base.asm" > "$work/errors.asm"
export QT_QPA_PLATFORM=${QT_QPA_PLATFORM:-offscreen}
export XDG_CONFIG_HOME="$work" XDG_DATA_HOME="$work"
"$build/kelvane_bench_asm" "$work/good.asm" "$work/errors.asm" Q 20000 "$work" 2>/dev/null
