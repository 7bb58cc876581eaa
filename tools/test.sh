#!/usr/bin/env bash
# One command: install what is missing, build, run every test through CTest.
# Under CI (CI=true) a short fuzzing pass follows, so that a regression one
# of the kept fuzz inputs reaches shows at once.
set -euo pipefail
top=$(cd "$(dirname "$0")/.." && pwd)
"$top/tools/install-deps.sh"
"$top/tools/build.sh"
cd "$top/build"
export QT_QPA_PLATFORM=offscreen
ctest --output-on-failure -j "$(nproc)" "$@"
if [[ ${CI:-} == true ]]; then
  "$top/tools/fuzz-ci.sh" 12
fi
