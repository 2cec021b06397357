#!/usr/bin/env bash
# Installs what is missing, builds, and starts Kelvane.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/scripts/build.sh"
exec "$root/build/kelvane" "$@"
