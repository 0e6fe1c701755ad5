#!/usr/bin/env bash
# Times ochrel-cli against ImageMagick's convert on the same 24-megapixel
# picture, operation by operation, in one run, and prints a table.
#
#   bench/image_vs_magick.sh [BUILD_DIR] [RUNS]
#
# Both sides read and write BMP files, so both tables include the same I/O.
# Each figure is the best wall-clock time of RUNS runs (default 3).
set -euo pipefail

build=${1:-build}
runs=${2:-3}
here=$(cd "$(dirname "$0")/.." && pwd)
cli="$here/$build/ochrel-cli"
magick=/usr/bin/convert  # the real one, not a stand-in earlier on PATH
[ -x "$cli" ] || { echo "no ochrel-cli at $cli (build it first)" >&2; exit 1; }
[ -x "$magick" ] || { echo "ImageMagick's convert is not installed (apt-get install imagemagick)" >&2; exit 1; }

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
in="$work/photo.bmp"

# A photograph-like input: a smooth plasma with fine grain, 6000 x 4000.
"$magick" -size 6000x4000 -seed 4711 plasma:fractal -blur 0x2 +noise Gaussian -attenuate 0.3 \
  -depth 8 -type TrueColor "BMP3:$in" 2>/dev/null ||
  "$magick" -size 6000x4000 -seed 4711 plasma:fractal -depth 8 -type TrueColor "BMP3:$in"

best() {  # best wall time in seconds of "$@" over $runs runs
  local b="" t0 t1 t
  for ((i = 0; i < runs; i++)); do
    t0=$(date +%s.%N)
    "$@" >/dev/null 2>&1 || { echo "FAILED"; return; }
    t1=$(date +%s.%N)
    t=$(awk -v a="$t0" -v b="$t1" 'BEGIN { print b - a }')
    if [ -z "$b" ] || awk -v t="$t" -v b="$b" 'BEGIN { exit !(t < b) }'; then b=$t; fi
  done
  printf '%.2f' "$b"
}

printf '%-34s %10s %12s %8s\n' "operation (24 MP, BMP in and out)" "ochrel-cli" "ImageMagick" "ratio"
row() {  # name, ochrel-cli args..., --, convert args...
  local name=$1
  shift
  local ours=() theirs=()
  while [ "$1" != "--" ]; do ours+=("$1"); shift; done
  shift
  theirs=("$@")
  local a b
  a=$(best "$cli" "${ours[@]}")
  b=$(best "$magick" "${theirs[@]}")
  local r="-"
  if [[ $a != FAILED && $b != FAILED ]]; then r=$(awk -v a="$a" -v b="$b" 'BEGIN { printf "%.2f", b / a }'); fi
  printf '%-34s %9ss %11ss %7sx\n' "$name" "$a" "$b" "$r"
}

o="$work/out.bmp"
row "read + write only" convert "$in" "$o" -- "$in" "BMP3:$o"
row "resize 50 %" resize "$in" "$o" 50 -- "$in" -scale 50% "BMP3:$o"
row "resize 173 %" resize "$in" "$o" 173 -- "$in" -filter Triangle -resize 173% "BMP3:$o"
row "rotate 17 degrees" filter "$in" "$o" --filter Rotate --set FilterRotateAngle=17 -- \
  "$in" -background black -rotate -17 "BMP3:$o"
row "grey" convert "$in" "$o" --to grey -- "$in" -colorspace Gray "BMP3:$o"
row "quantize 256, Floyd-Steinberg" convert "$in" "$o" --to paletted:101 -- \
  "$in" -dither FloydSteinberg -colors 256 "BMP3:$o"
row "quantize 256, remap (no dither)" convert "$in" "$o" --to paletted:103 -- "$in" +dither -colors 256 "BMP3:$o"
row "ordered dither, 3-3-2 palette" convert "$in" "$o" --to paletted:107 -- "$in" -ordered-dither o8x8,8,8,4 "BMP3:$o"
row "mono, error diffusion" convert "$in" "$o" --to mono:101 -- "$in" -dither FloydSteinberg -monochrome "BMP3:$o"
echo "(ratio = ImageMagick time / ochrel-cli time; above 1 means ochrel-cli is faster; $(nproc) cores, load $(cut -d' ' -f1 /proc/loadavg))"
