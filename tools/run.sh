#!/usr/bin/env bash
# One command: install what is missing, build, start the window.
set -euo pipefail
top=$(cd "$(dirname "$0")/.." && pwd)
"$top/tools/install-deps.sh"
"$top/tools/build.sh"
if [ -z "${DISPLAY:-}" ] && [ -z "${WAYLAND_DISPLAY:-}" ] && [ -z "${QT_QPA_PLATFORM:-}" ]; then
  cat >&2 <<MSG
Quarrylantern is built, but this session has no display (neither DISPLAY nor
WAYLAND_DISPLAY is set), so the window cannot open.
- On a desktop, run this command from a terminal inside the desktop session.
- Over ssh, use 'ssh -X' or run under Xvfb:  xvfb-run $top/build/app/quarrylantern
- Without any display, the headless tool writes the same reports:
      $top/build/app/quarrylantern-report --help
MSG
  exit 2
fi
exec "$top/build/app/quarrylantern"
