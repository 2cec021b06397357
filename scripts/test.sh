#!/usr/bin/env bash
# Installs what is missing, builds, and runs every test. Window tests run offscreen; tests that
# need a session bus get their own.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/scripts/build.sh"
cd "$root/build"
export QT_QPA_PLATFORM=offscreen
dbus-run-session -- ctest --output-on-failure -j "$(nproc)"
