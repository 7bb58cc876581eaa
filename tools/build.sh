#!/usr/bin/env bash
# Configures and builds the project into ./build (Ninja, RelWithDebInfo).
set -euo pipefail
top=$(cd "$(dirname "$0")/.." && pwd)
cd "$top"
cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo "$@" >/dev/null
cmake --build build -j "$(nproc)"
