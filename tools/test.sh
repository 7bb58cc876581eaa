#!/usr/bin/env bash
# One command: install what is missing, build, run every test through CTest.
set -euo pipefail
top=$(cd "$(dirname "$0")/.." && pwd)
"$top/tools/install-deps.sh"
"$top/tools/build.sh"
cd "$top/build"
export QT_QPA_PLATFORM=offscreen
ctest --output-on-failure -j "$(nproc)" "$@"
