#!/usr/bin/env bash
# Builds the Debian package kelvane_<version>_amd64.deb at the top of this repository: installs
# what is missing, builds a Release build (in build/, or in $KELVANE_BUILD_DIR) as
# scripts/build.sh does, packs it with CPack and checks it with lintian.
# Install it with:  sudo apt-get install ./kelvane_*_amd64.deb
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${KELVANE_BUILD_DIR:-$root/build}
"$root/scripts/install-deps.sh"
cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release \
      -DCMAKE_C_COMPILER="${CC:-clang}" -DCMAKE_CXX_COMPILER="${CXX:-clang++}" "$@"
cmake --build "$build" -j "$(nproc)" --target kelvane kelvane-cli kelvane_packagefiles
rm -f "$build"/package/kelvane_*.deb
cpack -G DEB -B "$build/package" --config "$build/CPackConfig.cmake"
deb=$(ls "$build"/package/kelvane_*_amd64.deb)
cp "$deb" "$root/"
deb="$root/$(basename "$deb")"
lintian "$deb" 2>/dev/null # fails on errors
echo "$deb"
