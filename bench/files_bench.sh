#!/usr/bin/env bash
# Decode and encode of a 24-megapixel picture in each of the five formats:
# ochrel-cli against ImageMagick's convert, and for JPEG and PNG also against
# the command-line tools of libjpeg-turbo (djpeg, cjpeg) and of libpng (netpbm's
# pngtopnm, pnmtopng). Best of N runs each; ratio = other / ochrel-cli (above 1
# means ochrel-cli is faster).
#
#   bench/files_bench.sh [path/to/ochrel-cli] [runs]
set -euo pipefail
here=$(cd "$(dirname "$0")/.." && pwd)
cli=$(realpath "${1:-$here/build/ochrel-cli}")
runs=${2:-3}
[ -x "$cli" ] || { echo "no ochrel-cli at $cli (build it first)" >&2; exit 1; }
for p in convert djpeg cjpeg pngtopnm pnmtopng; do
  command -v "$p" >/dev/null || { echo "$p is missing (see scripts/packages.txt)" >&2; exit 1; }
done
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

echo "making a 6000x4000 picture..."
convert -size 1500x1000 plasma:fractal -seed 7 -blur 0x1 -resize 6000x4000! -depth 8 src.ppm
convert src.ppm bmp3:src.bmp
convert src.ppm -quality 75 src.jpg
convert src.ppm src.png
convert src.ppm src.pcx
"$cli" convert src.bmp src.tga  # ImageMagick writes TGA rows upside down; timing is the same

# Best wall time of a shell command in milliseconds.
best() {
  local b=999999999 s e
  for ((i = 0; i < runs; i++)); do
    s=$(date +%s%N)
    bash -c "$1" >/dev/null 2>&1 || { echo "failed: $1" >&2; return 1; }
    e=$(date +%s%N)
    (( (e - s) / 1000000 < b )) && b=$(( (e - s) / 1000000 ))
  done
  echo "$b"
}
row() {  # label, ochrel command, other command, other's name
  local a o
  a=$(best "$2")
  o=$(best "$3")
  printf "%-18s %10d %10d   %-10s %6.2f\n" "$1" "$a" "$o" "$4" "$(echo "scale=3; $o / $a" | bc)"
}

printf "\n%-18s %10s %10s   %-10s %6s\n" "operation" "ochrel ms" "other ms" "other" "ratio"
for f in jpg bmp pcx tga png; do
  row "decode $f" "'$cli' info src.$f" "convert src.$f null:" "convert"
done
row "decode jpg" "'$cli' convert src.jpg out.bmp" "djpeg -bmp -outfile out.bmp src.jpg" "djpeg"
row "decode png" "'$cli' convert src.png out.bmp" "pngtopnm src.png > out.ppm" "pngtopnm"
for f in jpg bmp pcx tga png; do
  q=""; [ "$f" = jpg ] && q="--quality 75"
  row "encode $f" "'$cli' convert src.bmp out.$f $q" "convert src.bmp -quality 75 out2.$f" "convert"
done
row "encode jpg" "'$cli' convert src.bmp out.jpg --quality 75" "cjpeg -quality 75 -outfile out2.jpg src.bmp" "cjpeg"
row "encode png" "'$cli' convert src.bmp out.png" "pnmtopng src.ppm > out2.png" "pnmtopng"
ls -l out.* | awk '{print "  " $9 ": " $5 " bytes"}'
