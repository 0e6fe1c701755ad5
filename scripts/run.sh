#!/usr/bin/env bash
# Installs, builds and starts Ochrel, optionally with an image: scripts/run.sh [IMAGE]
set -euo pipefail
here=$(cd "$(dirname "$0")/.." && pwd)
image=${1:-}
[ -n "$image" ] && image=$(realpath "$image")
OCHREL_TARGETS="ochrel ochrel-cli" "$here/scripts/setup.sh"
build=${OCHREL_BUILD_DIR:-build}
if [ -z "${DISPLAY:-}" ] && [ -z "${WAYLAND_DISPLAY:-}" ]; then
  cat >&2 <<MSG

This machine has no display, so the Ochrel window cannot open here.
Two ways on:
  1. Run the program under a virtual display (Xvfb):
       xvfb-run -s "-screen 0 1280x1024x24" $here/$build/ochrel ${image}
  2. Work on files from the shell with the same engine:
       $here/$build/ochrel-cli --help
MSG
  exit 1
fi
printf '\033[1m==> Starting Ochrel\033[0m\n'
exec "$here/$build/ochrel" ${image:+"$image"}
