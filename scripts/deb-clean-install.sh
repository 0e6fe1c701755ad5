#!/usr/bin/env bash
# Installs the Debian package into a fresh minimal Debian 12 (debootstrap, as
# root, with the Debian mirror reachable) and checks that apt pulls in what it
# needs and that both programs run there. Not part of the test command: it
# downloads a base system and takes a few minutes.
#   scripts/deb-clean-install.sh [BUILD_DIR] [CHROOT_DIR]
set -euo pipefail
here=$(cd "$(dirname "$0")/.." && pwd)
build=$(cd "${1:-$here/build}" && pwd)
root=${2:-$(mktemp -d)/bookworm}
fail() { echo "clean install check failed: $*" >&2; exit 1; }

command -v debootstrap >/dev/null || apt-get install -y debootstrap >/dev/null
[ -x "$root/usr/bin/apt-get" ] || debootstrap --variant=minbase bookworm "$root" http://deb.debian.org/debian >/dev/null
cp /etc/resolv.conf "$root/etc/"
pkg=$(mktemp -d)
(cd "$pkg" && cpack --config "$build/CPackConfig.cmake" -G DEB -B "$pkg" >/dev/null)
cp "$pkg"/ochrel_*.deb "$root/tmp/ochrel.deb"
mountpoint -q "$root/proc" || mount -t proc proc "$root/proc"
trap 'umount "$root/proc" 2>/dev/null || true' EXIT

chroot "$root" bash -c 'apt-get update -q >/dev/null && DEBIAN_FRONTEND=noninteractive apt-get install -y -q /tmp/ochrel.deb >/dev/null' \
  || fail "apt could not install the package"
chroot "$root" env HOME=/root OCHREL_CONFIG_DIR=/tmp/cfg OCHREL_DATA_DIR=/tmp/data bash -c '
  set -e
  ochrel --version | grep -q "^Ochrel "
  ochrel-cli gradient /tmp/r.png --size 64x48
  ochrel-cli convert /tmp/r.png /tmp/r.bmp --to grey
  ochrel-cli info /tmp/r.bmp | grep -q "bmp 64x48 8-bit grey"
  mkdir -p /tmp/cfg
  printf "[Varnwick Studio Paint]\nShowStartupWindow = 0\nShowTipOfTheDay = 0\nWarnNonBeta = 0\n" > /tmp/cfg/OCHREL.INI
  QT_QPA_PLATFORM=offscreen OCHREL_QUIT_AFTER_MS=2500 timeout 60 ochrel /tmp/r.png 2>/dev/null
  grep -q /tmp/r.png /tmp/cfg/OCHREL.INI
  test -f /tmp/data/OCHREL.CCL
  test -f /usr/share/applications/org.ochrel.Ochrel.desktop
' || fail "the installed programs did not run"
echo "clean install checks passed in $root"
