#!/usr/bin/env bash
# A short fuzzing pass for CI: builds the instrumented clang tree (as
# tools/fuzz.sh does) and runs every target for a few seconds, so that a
# regression an existing seed or kept input reaches shows at once.
#   tools/fuzz-ci.sh [seconds-per-target]   (default 12; about a minute and a half in all)
# LeakSanitizer stays off here: CI sandboxes often forbid the ptrace it needs.
# Exit status as tools/fuzz.sh: 0 clean, 1 a finding, 2 a build or usage problem.
set -uo pipefail
top=$(cd "$(dirname "$0")/.." && pwd)
seconds=${1:-12}
QL_FUZZ_LEAKS=${QL_FUZZ_LEAKS:-0} exec "$top/tools/fuzz.sh" "$seconds"
