#!/usr/bin/env bash
# Modules and the automation server at Ultimate rate, on a session bus of the benchmark's own:
# the plain rate, with the server up, with a module that answers readio/writeio only, with one
# round trip of objectrefresh per instruction beside a bare sd-bus client doing the same round
# trips, and 10,000 getmem calls from a client during a run. The modes alternate, ROUNDS times,
# so that a busy machine weighs on all of them alike.
# usage: bench/modules/run-bench-modules.sh [BUILD_DIR] [SECONDS] [ROUNDS]
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
build=$(cd "${1:-$here/../../build}" && pwd)
cmake --build "$build" --target kelvane_bench_modules kelvane_example_counter >/dev/null   # benchmarks are built on demand
seconds=${2:-3}
rounds=${3:-3}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export QT_QPA_PLATFORM=${QT_QPA_PLATFORM:-offscreen}
export XDG_CONFIG_HOME="$work" XDG_DATA_HOME="$work" XDG_RUNTIME_DIR="$work"   # the user's own settings stay untouched
export BUILD="$build" SECONDS_EACH="$seconds" ROUNDS="$rounds"
dbus-run-session -- bash -c '
  "$BUILD/kelvane_example_counter" --quiet bench.counter &
  "$BUILD/kelvane_example_counter" --quiet --io-only bench.io &
  trap "kill %1 %2" EXIT
  until busctl --user list | grep -q bench.io && busctl --user list | grep -q bench.counter; do sleep 0.1; done
  for round in $(seq "$ROUNDS"); do
    echo "round $round"
    for mode in none server ioonly refresh getmem; do
      "$BUILD/kelvane_bench_modules" "$mode" "$SECONDS_EACH" 2>/dev/null
    done
  done
' 2> >(grep -v "fd limit" >&2)
