#!/usr/bin/env bash
# Installs what is missing, then configures and builds everything into build/.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/scripts/install-deps.sh"
cmake -S "$root" -B "$root/build" -G Ninja -DCMAKE_BUILD_TYPE=Release "$@"
cmake --build "$root/build" -j "$(nproc)"
