#!/usr/bin/env bash
# Builds and runs every benchmark; each compares us with a peer in the same run
# and prints ratios. With --scale the analysis bench also writes 10 MB, 100 MB
# and 1 GB databases (kept in build/bench-scale for later runs) and times them.
set -euo pipefail
top=$(cd "$(dirname "$0")/.." && pwd)
"$top/tools/install-deps.sh"
"$top/tools/build.sh"
cmake --build "$top/build" --target bench_jet_read
if [[ "${1:-}" == "--scale" ]]; then
  cmake --build "$top/build" --target bench_analysis_scale
else
  cmake --build "$top/build" --target bench_analysis
fi
