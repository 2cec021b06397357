#!/usr/bin/env bash
# Pictures of every window of the program and of the dialogs it owns, under Xvfb, in colour
# themes, at scale 1 and 2: shots/THEME/NAME@1x.png and @2x.png.
#   scripts/screenshots.sh [OUTPUT] [THEME...]
# OUTPUT defaults to build/shots; the themes default to "Original Dark", "Mono Dark" and
# "Bricks Set". BUILD names the build folder (default build/), which gets kelvane_screenshots.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${BUILD:-$root/build}
out=${1:-$build/shots}
shift || true
themes=("$@")
[ ${#themes[@]} -gt 0 ] || themes=("Original Dark" "Mono Dark" "Bricks Set")
if [ ! -f "$build/build.ninja" ] && [ ! -f "$build/Makefile" ]; then
    cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release
fi
cmake --build "$build" --target kelvane_screenshots
mkdir -p "$out"
for scale in 1 2; do
    QT_SCALE_FACTOR=$scale xvfb-run -a -s "-screen 0 1920x1200x24" \
        "$build/kelvane_screenshots" "$out" "$root/examples/sum.hex" "${themes[@]}"
done
echo "pictures in $out"
