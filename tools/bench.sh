#!/usr/bin/env bash
# Builds and runs every benchmark; each compares us with a peer in the same run
# and prints ratios.
set -euo pipefail
top=$(cd "$(dirname "$0")/.." && pwd)
"$top/tools/install-deps.sh"
"$top/tools/build.sh"
cmake --build "$top/build" --target bench_jet_read
