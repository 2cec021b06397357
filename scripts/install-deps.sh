#!/usr/bin/env bash
# Installs the Debian packages the build and the tests need. Quick when all are present.
set -euo pipefail
pkgs=(build-essential cmake ninja-build pkg-config
      qt6-base-dev qt6-base-dev-tools libqt6opengl6-dev libgl-dev
      libqscintilla2-qt6-dev
      libgtest-dev googletest
      dbus dbus-x11 xvfb xauth
      libsystemd-dev python3-dbus python3-gi python3-gi-cairo gir1.2-gtk-3.0
      clang libclang-rt-dev lld
      srecord python3
      libcli11-dev nlohmann-json3-dev
      poppler-utils
      librsvg2-bin lintian desktop-file-utils appstream)
missing=()
for p in "${pkgs[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
  SUDO=""
  [ "$(id -u)" -ne 0 ] && SUDO="sudo"
  export DEBIAN_FRONTEND=noninteractive
  $SUDO apt-get update -qq
  $SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi
