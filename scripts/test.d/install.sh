#!/usr/bin/env bash
# Checks the installed program as a person gets it: the desktop entry and the
# metadata validate, `cmake --install` into a scratch prefix (then moved, to
# prove the data is found beside the programs), the installed ochrel-cli works
# on a file, the installed ochrel opens a file under a virtual display, and the
# Debian package carries the programs with their library dependencies.
set -euo pipefail
here=$(cd "$(dirname "$0")/../.." && pwd)
build=${OCHREL_BUILD_DIR:-$here/build}
cd "$here"
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT
fail() { echo "install check failed: $*" >&2; exit 1; }

desktop-file-validate dist/org.ochrel.Ochrel.desktop
appstreamcli validate --no-net dist/org.ochrel.Ochrel.metainfo.xml >/dev/null

cmake --install "$build" --prefix "$tmp/first" >/dev/null
mv "$tmp/first" "$tmp/moved"
p=$tmp/moved
for f in bin/ochrel bin/ochrel-cli share/ochrel/OCHREL.CCL share/ochrel/html/referenc.htm \
    share/applications/org.ochrel.Ochrel.desktop share/metainfo/org.ochrel.Ochrel.metainfo.xml \
    share/icons/hicolor/scalable/apps/org.ochrel.Ochrel.svg share/icons/hicolor/48x48/apps/org.ochrel.Ochrel.png \
    share/man/man1/ochrel.1 share/man/man1/ochrel-cli.1 share/bash-completion/completions/ochrel-cli; do
  [ -e "$p/$f" ] || fail "$f is not installed"
done

export OCHREL_CONFIG_DIR=$tmp/config OCHREL_DATA_DIR=$tmp/data
"$p/bin/ochrel" --version | grep -q '^Ochrel ' || fail "ochrel --version"
env -u DISPLAY "$p/bin/ochrel" --help | grep -q 'usage: ochrel' || fail "ochrel --help"
"$p/bin/ochrel-cli" gradient "$tmp/ramp.png" --size 64x48 || fail "ochrel-cli gradient"
"$p/bin/ochrel-cli" convert "$tmp/ramp.png" "$tmp/ramp.bmp" --to grey || fail "ochrel-cli convert"
"$p/bin/ochrel-cli" info "$tmp/ramp.bmp" | grep -q 'bmp 64x48 8-bit grey' || fail "ochrel-cli info"

# The program starts on a file and has it open: it lists the file among the
# recent ones when it closes, and stocks the data folder from the moved tree.
mkdir -p "$tmp/config"
printf '[Varnwick Studio Paint]\nShowStartupWindow = 0\nShowTipOfTheDay = 0\nWarnNonBeta = 0\n' > "$tmp/config/OCHREL.INI"
OCHREL_QUIT_AFTER_MS=2500 timeout 60 xvfb-run -a -s "-screen 0 1280x1024x24" "$p/bin/ochrel" "$tmp/ramp.png" \
  || fail "ochrel did not start and close"
grep -qF "$tmp/ramp.png" "$tmp/config/OCHREL.INI" || fail "ochrel did not open the file"
[ -f "$tmp/data/OCHREL.CCL" ] && [ -f "$tmp/data/html/referenc.htm" ] || fail "the moved install's data was not found"

# The package: programs, data and launcher, with dependencies worked out from the libraries.
(cd "$tmp" && cpack --config "$build/CPackConfig.cmake" -G DEB -B "$tmp/pkg" >/dev/null)
deb=$(ls "$tmp"/pkg/ochrel_*.deb)
deps=$(dpkg-deb -f "$deb" Depends)
for lib in libqt6widgets6 libpng16 libjpeg62-turbo libdeflate0 libc6; do
  grep -q "$lib" <<<"$deps" || fail "the package doesn't depend on $lib ($deps)"
done
files=$(dpkg-deb -c "$deb")
for f in usr/bin/ochrel usr/bin/ochrel-cli usr/share/ochrel/OCHREL.CCL usr/share/applications/org.ochrel.Ochrel.desktop; do
  grep -q "\./$f\$" <<<"$files" || fail "the package lacks $f"
done
# Unpacked anywhere, the packaged programs run and find their data.
dpkg-deb -x "$deb" "$tmp/unpacked"
"$tmp/unpacked/usr/bin/ochrel-cli" --help | grep -q '^usage: ochrel-cli' || fail "the packaged ochrel-cli --help"
"$tmp/unpacked/usr/bin/ochrel" --version | grep -q '^Ochrel ' || fail "the packaged ochrel --version"
echo "install checks passed ($(basename "$deb"))"
