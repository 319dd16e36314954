#!/usr/bin/env bash
# Installs every Debian package that building, running and testing Gleanmark
# needs. Safe to run again: packages already present are skipped.
set -euo pipefail

packages=(
  build-essential cmake ninja-build pkg-config clang-format
  qt6-base-dev qt6-base-dev-tools libqt6opengl6-dev libgl-dev libvulkan-dev
  qt6-webengine-dev qt6-webengine-dev-tools qt6-charts-dev
  libgumbo-dev zlib1g-dev
  libgmime-3.0-dev libpoppler-cpp-dev libarchive-dev libpsl-dev libidn2-dev libuchardet-dev
  libphonenumber-dev libxlsxwriter-dev libsqlite3-dev publicsuffix unzip
  libgtest-dev libgmock-dev googletest
  qt6-qpa-plugins libxkbcommon-dev fonts-dejavu-core
  xvfb xauth
  libqt6svg6 libqt6charts6 desktop-file-utils man-db groff-base dpkg-dev ripgrep parallel
)

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed'; then
    missing+=("$p")
  fi
done

if [ ${#missing[@]} -eq 0 ]; then
  exit 0
fi

echo "Installing: ${missing[*]}"
sudo=""
if [ "$(id -u)" -ne 0 ]; then sudo="sudo"; fi
export DEBIAN_FRONTEND=noninteractive
$sudo apt-get update -q
$sudo apt-get install -y -q --no-install-recommends "${missing[@]}"
