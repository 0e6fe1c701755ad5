#!/bin/bash
# Times the engine's operations against libvips (vips), Pillow and OpenCV side
# by side in one run on a generated 12-megapixel photo-like picture, and
# prints the table with ours / fastest peer. Each figure is the least of RUNS
# runs. Ours is timed in process (engine_time.cpp, built here against the
# engine library next to ochrel-cli), as the Python peers are; with BENCH_OURS=cli
# it is instead ochrel-cli reading and writing BMP less a plain BMP copy. vips
# is timed in process through its introspection binding, less its own copy of
# the picture (or, without the binding, its command less its command's copy).
# Usage: bench/engine_vs.sh [path/to/ochrel-cli] [RUNS]
# Needs the packages in scripts/bench-packages.txt.
set -u
HERE=$(cd "$(dirname "$0")" && pwd)
CLI=${1:-$HERE/../build/ochrel-cli}
RUNS=${2:-5}
PY=/usr/bin/python3
VIPS=$(command -v vips || true)
WORK=$(mktemp -d)
trap 'rm -rf "$WORK"' EXIT
export OCHREL_CONFIG_DIR=$WORK/config OCHREL_DATA_DIR=$WORK/data

"$PY" "$HERE/engine_vs.py" picture "$WORK/in.bmp"

least() {  # least wall time in ms of RUNS runs of a command; "fail" if it fails
  local best="" t0 t1 ms
  for _ in $(seq "$RUNS"); do
    t0=$(date +%s%N)
    "$@" >/dev/null 2>&1 || { echo fail; return; }
    t1=$(date +%s%N)
    ms=$(( (t1 - t0) / 100000 ))
    if [ -z "$best" ] || [ "$ms" -lt "$best" ]; then best=$ms; fi
  done
  echo "$best"  # in tenths of a millisecond
}

declare -A OURS PEER PEERNAME
ORDER=()
if [ "${BENCH_OURS:-}" = cli ]; then
  base=$(least "$CLI" convert "$WORK/in.bmp" "$WORK/o.bmp")
  # A conversion writes a smaller file: its I/O is taken as half the 24-bit copy
  # (the read) and half a copy of a picture of the result's depth (the write).
  "$CLI" convert "$WORK/in.bmp" "$WORK/grey.bmp" --to grey
  "$CLI" convert "$WORK/in.bmp" "$WORK/mono.bmp" --to mono:103
  base8=$(( base / 2 + $(least "$CLI" convert "$WORK/grey.bmp" "$WORK/o.bmp") / 2 ))
  base1=$(( base / 2 + $(least "$CLI" convert "$WORK/mono.bmp" "$WORK/o.bmp") / 2 ))
fi
ours() {  # row name, then ochrel-cli arguments with IN and OUT for the files
  local name=$1; shift
  local base=$base
  case "$*" in *--to\ grey*|*--to\ paletted*) base=$base8 ;; *--to\ mono*) base=$base1 ;; esac
  local args=("${@//IN/$WORK/in.bmp}")
  args=("${args[@]//OUT/$WORK/o.bmp}")
  local t; t=$(least "$CLI" "${args[@]}")
  ORDER+=("$name")
  [ "$t" = fail ] && { OURS[$name]=fail; return; }
  OURS[$name]=$(( t - base ))
}
ours_out() {  # row name, output extension: the codec's write, less the BMP write
  local name=$1 ext=$2 t
  t=$(least "$CLI" convert "$WORK/in.bmp" "$WORK/o.$ext")
  ORDER+=("$name"); OURS[$name]=$(( t - base ))
}
if [ "${BENCH_OURS:-}" != cli ]; then
  BUILD=$(dirname "$CLI")
  g++ -O2 -std=c++20 -ffp-contract=off -I"$BUILD/layer_include/engine" "$HERE/engine_time.cpp" \
    "$BUILD/libochrel_engine.a" -lpng -ljpeg -lz -ldeflate -lpthread -o "$WORK/engine_time" || exit 1
  ours() {  # row name, then ochrel-cli arguments: turned into an in-process task
    local name=$1 task=""; shift
    local args=("$@") i
    case "${args[0]}" in
      filter)
        for ((i = 3; i < ${#args[@]}; i++)); do
          case "${args[i]}" in
            --filter) task="filter:${args[i+1]}$task"; i=$((i+1)) ;;
            --set) task="$task:${args[i+1]}"; i=$((i+1)) ;;
            --seed) i=$((i+1)) ;;
          esac
        done ;;
      convert) task=${args[4]} ;;
    esac
    ORDER+=("$name"); TASKS+=("$name=$task")
  }
  # Encoders are timed into memory, as the peers' are (a file save adds the
  # safe replacement: a flush to disk and a rename).
  ours_out() { ORDER+=("$1"); TASKS+=("$1=encode:$2"); }
  TASKS=()
fi
ours "Emboss 3x3" filter IN OUT --filter Emboss --set FilterEmbossWidth=3
ours "Sharpen 3x3" filter IN OUT --filter Sharpen --set FilterSharpenWidth=3
ours "Remap to a fixed 256-colour palette" convert IN OUT --to paletted:106
ours "Add Noise" filter IN OUT --filter "Add Noise" --seed 1
ours "Invert" filter IN OUT --filter "Invert Colours"
ours "Unsharp Mask" filter IN OUT --filter "Unsharp Mask"
ours "Greyscale" convert IN OUT --to grey
ours "Rotate 17 bilinear" filter IN OUT --filter Rotate --set FilterRotateAngle=17
ours "Solarize" filter IN OUT --filter Solarize
ours "Contrast and Brightness" filter IN OUT --filter "Contrast and Brightness" --set FilterContrast=140 --set FilterBrightness=135
ours "Mono, error diffusion" convert IN OUT --to mono:101 --brightness 25 --contrast 25
ours "Resize 50 %" filter IN OUT --filter Resize --set ResizeHorizontal=50
ours "Resize 173 %" filter IN OUT --filter Resize --set ResizeHorizontal=173
ours "Gaussian Blur sigma 5" filter IN OUT --filter "Gaussian Blur"
ours "Quantize 256 + error diffusion" convert IN OUT --to paletted:101
ours "Quantize 256 remapped" convert IN OUT --to paletted:103
ours_out "TGA encode" tga
ours_out "PNG encode (zlib 6)" png
ours "Swirl" filter IN OUT --filter Swirl
ours "Oil Painting" filter IN OUT --filter "Oil Painting"
ours "Shade" filter IN OUT --filter Shade
ours "Vignette" filter IN OUT --filter Vignette
ours "Despeckle" filter IN OUT --filter Despeckle

if [ "${BENCH_OURS:-}" != cli ]; then
  while IFS=$'\t' read -r name ms; do
    if [ "$ms" = fail ]; then OURS[$name]=fail; else OURS[$name]=$(printf '%.0f' "$(echo "$ms * 10" | bc)"); fi
  done < <("$WORK/engine_time" "$WORK/in.bmp" "$RUNS" "$WORK" "${TASKS[@]}")
fi

offer() {  # row name, peer, tenths of a millisecond: keep the fastest peer
  local name=$1 who=$2 t=$3
  if [ -z "${PEER[$name]:-}" ] || [ "$t" -lt "${PEER[$name]}" ]; then PEER[$name]=$t; PEERNAME[$name]=$who; fi
}
"$PY" "$HERE/engine_vs.py" peers "$WORK/in.bmp" "$RUNS" > "$WORK/peers.txt"
while IFS=$'\t' read -r name who ms; do
  t=$(printf '%.0f' "$(echo "$ms * 10" | bc)")
  if [ "$name" = "(vips copy)" ]; then vbase=$t; vhow="vips in process"; else offer "$name" "$who" "$t"; fi
done < "$WORK/peers.txt"
# Without the introspection binding, vips is timed by its command instead.
if [ -n "$VIPS" ] && [ -z "${vbase:-}" ]; then
  vhow="vips command"
  V="$WORK/in.v"; O="$WORK/o.v"
  "$VIPS" copy "$WORK/in.bmp" "$V"
  vbase=$(least "$VIPS" copy "$V" "$O")
  printf '3 3 1 0\n-1 -1 0\n-1 0 1\n0 1 1\n' > "$WORK/emb.mat"
  printf '3 3 1 0\n-1 -1 -1\n-1 9 -1\n-1 -1 -1\n' > "$WORK/shp.mat"
  # A difference at or below zero is lost in the noise of the copy: left out.
  vrow() { local name=$1; shift; local t; t=$(least "$VIPS" "$@"); [ "$t" != fail ] && [ $(( t - vbase )) -gt 0 ] && offer "$name" vips $(( t - vbase )); }
  vrow "Emboss 3x3" conv "$V" "$O" "$WORK/emb.mat" --precision integer
  vrow "Sharpen 3x3" conv "$V" "$O" "$WORK/shp.mat" --precision integer
  vrow "Invert" invert "$V" "$O"
  vrow "Unsharp Mask" sharpen "$V" "$O"
  vrow "Greyscale" colourspace "$V" "$O" b-w
  vrow "Rotate 17 bilinear" rotate "$V" "$O" 17
  vrow "Contrast and Brightness" linear "$V" "$O" 1.1 5 --uchar
  vrow "Resize 50 %" resize "$V" "$O" 0.5
  vrow "Resize 173 %" resize "$V" "$O" 1.73
  vrow "Gaussian Blur sigma 5" gaussblur "$V" "$O" 5
fi

ms() { [ "$1" = fail ] && { echo fail; return; }; printf '%d.%d' $(( $1 / 10 )) $(( ($1 < 0 ? -$1 : $1) % 10 )); }
printf '| %-36s | %8s | %-18s | %5s |\n' operation ours "fastest peer" ratio
printf '|%s|%s|%s|%s|\n' "--------------------------------------" "---------:" "--------------------" "------:"
for name in "${ORDER[@]}"; do
  o=${OURS[$name]}; p=${PEER[$name]:-}
  if [ -z "$p" ]; then peer="-"; ratio="-"
  else peer="${PEERNAME[$name]} $(ms "$p")"
    if [ "$o" = fail ] || [ "$p" -le 0 ]; then ratio="-"; else ratio=$(echo "$o $p" | awk '{ printf "%.2f", $1 / $2 }'); fi
  fi
  printf '| %-36s | %8s | %-18s | %5s |\n' "$name" "$(ms "$o")" "$peer" "$ratio"
done
if [ "${BENCH_OURS:-}" = cli ]; then how="ours through ochrel-cli less its BMP copy of $(ms "$base") ms"; else how="ours in process"; fi
echo "(ms; $how; ${vhow:-vips} less its own copy of $(ms "${vbase:-0}") ms; least of $RUNS runs; load average at the end: $(cut -d' ' -f1-3 /proc/loadavg))"
