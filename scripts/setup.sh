#!/usr/bin/env bash
# Installs what Ochrel needs (Debian 12) and builds it. Safe to run again:
# packages already present are skipped and the build is incremental.
set -euo pipefail
here=$(cd "$(dirname "$0")/.." && pwd)
cd "$here"

say() { printf '\033[1m==> %s\033[0m\n' "$*"; }

mapfile -t wanted < <(grep -v -E '^\s*(#|$)' scripts/packages.txt)
missing=()
for p in "${wanted[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
  say "Installing ${#missing[@]} Debian packages: ${missing[*]}"
  sudo_cmd=()
  if [ "$(id -u)" -ne 0 ]; then
    command -v sudo >/dev/null || { echo "Please run as root or install sudo." >&2; exit 1; }
    sudo_cmd=(sudo)
  fi
  export DEBIAN_FRONTEND=noninteractive
  "${sudo_cmd[@]}" apt-get update -qq
  "${sudo_cmd[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}"
else
  say "All Debian packages are present"
fi

build=${OCHREL_BUILD_DIR:-build}
say "Configuring ($build)"
cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo "$@" >/dev/null
say "Building${OCHREL_TARGETS:+ ($OCHREL_TARGETS)}"
# shellcheck disable=SC2086
ninja -C "$build" ${OCHREL_TARGETS:-}
