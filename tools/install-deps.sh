#!/usr/bin/env bash
# Installs the Debian 12 packages the build, the program and the tests need.
# Safe to run again: apt is asked only when something is missing.
set -euo pipefail

PACKAGES=(
  # build
  g++ cmake ninja-build pkg-config
  # the window
  qt6-base-dev qt6-base-dev-tools libgl-dev xdg-utils
  # compound files (VBA projects, workbooks) and code pages
  libgsf-1-dev
  # tests and benchmarks
  libgtest-dev libgmock-dev libbenchmark-dev
  # oracles used by tests only: an independent Jet reader and an .xls reader
  mdbtools mdbtools-dev python3 python3-xlrd python3-olefile libreoffice-calc-nogui
  # screenshots of the window without a display
  xvfb xauth x11-apps imagemagick
  # fuzzing with sanitizers
  clang libclang-rt-14-dev
)

missing=()
for p in "${PACKAGES[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0

SUDO=""
if [ "$(id -u)" -ne 0 ]; then
  command -v sudo >/dev/null || { echo "Please run as root or install sudo: missing packages ${missing[*]}" >&2; exit 1; }
  SUDO=sudo
fi
echo "Installing: ${missing[*]}"
$SUDO apt-get update -qq
DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}"
