#!/usr/bin/env bash
# Times the disassembler on 64K images: the engine alone (bench_disasm, best/median wall time
# and processor time per form), then `kelvane-cli disasm` end to end on a random 64K image.
# Usage: bench/disasm/run_bench.sh [BUILD_DIR] [RUNS]
set -euo pipefail
here="$(cd "$(dirname "$0")" && pwd)"
build="${1:-$here/../../build}"
runs="${2:-5}"
ninja -C "$build" bench_disasm kelvane-cli >/dev/null
"$build/bench_disasm" 30
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT
head -c 65536 /dev/urandom > "$work/random64k.obj"
for form in "" "--source"; do
  for i in $(seq 1 "$runs"); do
    /usr/bin/time -f "kelvane-cli disasm ${form:-(listing)} run $i: %e s elapsed, %U s user, %S s system" \
      "$build/kelvane-cli" disasm "$work/random64k.obj" $form > /dev/null
  done
done
