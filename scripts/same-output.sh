#!/usr/bin/env bash
# Byte identity of what ochrel-cli writes, for changes that must not change behaviour.
#
#   scripts/same-output.sh record CLI DIR [LIST]   run CLI over every filter (defaults and the
#       ends of each range), conversion, resize, generator and codec on small pictures of each
#       image type made by the CLI itself, in DIR; write one line per run (exit status, checksum
#       of the file written, checksum of what it printed) to LIST (default DIR/same-output.txt)
#   scripts/same-output.sh compare OLD NEW         name the runs whose lines differ; exit 1 if any
#
# Typical use: record with the build of main, record again after the change, compare.
set -euo pipefail

usage() { sed -n '2,10p' "$0" | sed 's/^# \{0,1\}//' >&2; exit 2; }

compare() {
  local old=$1 new=$2
  if diff -q "$old" "$new" >/dev/null; then
    echo "same output: $(wc -l <"$new") runs identical"
    return 0
  fi
  echo "different output:"
  # Runs present in both lists with different results, then runs only in one.
  join -t ' ' -j 1 <(sort "$old") <(sort "$new") | awk '{ n = (NF - 1) / 2; a = b = ""; for (i = 2; i <= n + 1; ++i) a = a " " $i; for (i = n + 2; i <= NF; ++i) b = b " " $i; if (a != b) print "  changed  " $1 ":" a " ->" b }'
  join -t ' ' -v 1 <(sort "$old") <(sort "$new") | awk -v f="$old" '{ print "  only in " f ": " $1 }' 
  join -t ' ' -v 2 <(sort "$old") <(sort "$new") | awk -v f="$new" '{ print "  only in " f ": " $1 }' 
  return 1
}

# One run: KEY OUTFILE ARGS... (tab-separated on one line). Prints "KEY rc=N out=SUM msg=SUM".
one() {
  local -a f
  IFS=$'\t' read -r -a f <<<"$1"
  local key=${f[0]} out=${f[1]}
  local msg rc=0
  rm -f "$out"
  msg=$("$CLI" "${f[@]:2}" 2>&1) || rc=$?
  # The settings file carries the time it was written.
  local sum=-
  if [ "$out" != - ] && [ -f "$out" ]; then
    case $out in
      *.ini) sum=$(grep -av '^;Last updated' "$out" | sha1sum | cut -c1-16) ;;
      *) sum=$(sha1sum <"$out" | cut -c1-16) ;;
    esac
  fi
  printf '%s rc=%s out=%s msg=%s\n' "$key" "$rc" "$sum" "$(printf '%s' "$msg" | sha1sum | cut -c1-16)"
}

# Runs the jobs on stdin, two at a time, appending their lines to the list.
run_jobs() {
  export -f one
  export CLI
  xargs -d '\n' -r -P 2 -n 1 bash -c 'one "$1"' _ >>"$LIST"
}

record() {
  CLI=$(realpath "$1")
  local dir=$2
  mkdir -p "$dir"
  dir=$(realpath "$dir")
  LIST=$(realpath -m "${3:-$dir/same-output.txt}")
  rm -rf "$dir/work"
  mkdir -p "$dir/work/cfg" "$dir/work/data" "$dir/work/batch"
  cd "$dir/work"
  : >"$LIST.tmp"
  LIST=$LIST.tmp
  # No stored settings or user data of whoever runs this.
  export OCHREL_CONFIG_DIR=$PWD/cfg OCHREL_DATA_DIR=$PWD/data HOME=$PWD XDG_CONFIG_HOME=$PWD/cfg \
    XDG_DATA_HOME=$PWD/data XDG_STATE_HOME=$PWD/data QT_QPA_PLATFORM=offscreen
  local T=$'\t'

  # The pictures: true colour (a texture and a gradient, odd sizes so rows pad), grey,
  # paletted at 8 and 4 bits, mono.
  {
    echo "make/tc${T}tc.bmp${T}texture${T}tc.bmp${T}--size${T}37x23"
    echo "make/tc2${T}tc2.bmp${T}gradient${T}tc2.bmp${T}--size${T}29x19${T}--set${T}GradientType=2"
    echo "make/stock-textures${T}tex.fft${T}textures${T}--make-stock${T}tex.fft"
    echo "make/stock-tiles${T}til.mtx${T}tiles${T}--make-stock${T}til.mtx"
    echo "make/settings${T}settings.ini${T}config${T}write${T}settings.ini"
  } | run_jobs
  {
    echo "make/grey${T}grey.bmp${T}convert${T}tc.bmp${T}grey.bmp${T}--to${T}grey"
    echo "make/pal8${T}pal8.bmp${T}convert${T}tc.bmp${T}pal8.bmp${T}--to${T}paletted:103"
    echo "make/pal4${T}pal4.bmp${T}convert${T}tc.bmp${T}pal4.bmp${T}--to${T}paletted:108"
    echo "make/mono${T}mono.bmp${T}convert${T}tc.bmp${T}mono.bmp${T}--to${T}mono:102"
  } | run_jobs
  local inputs="tc tc2 grey pal8 pal4 mono"

  {
    # Every filter at its defaults and at each end of each setting's range, on every picture
    # (a filter that does not take a picture's type says so; that message counts too).
    "$CLI" filters | awk -v T="$T" -v inputs="$inputs" '
      function runs(name, set, tag,   n, i, in_, slug) {
        n = split(inputs, in_, " ")
        slug = name; gsub(/ /, "_", slug)
        for (i = 1; i <= n; ++i)
          print "filter/" slug "/" tag "/" in_[i] T "f-" slug "-" tag "-" in_[i] ".bmp" T "filter" T in_[i] ".bmp" T \
            "f-" slug "-" tag "-" in_[i] ".bmp" T "--filter" T name T "--seed" T "7" set
      }
      /^[^ ]/ { name = $0; sub(/  \[.*/, "", name); runs(name, "", "default"); next }
      /^    [A-Za-z]/ { field = $1; lo = $2; hi = $4; sub(/,/, "", hi)
        runs(name, T "--set" T field "=" lo, field "=" lo)
        runs(name, T "--set" T field "=" hi, field "=" hi) }'
    for i in $inputs; do
      echo "filter/paper/$i${T}f-paper-$i.bmp${T}filter${T}$i.bmp${T}f-paper-$i.bmp${T}--filter${T}Rotate${T}--set${T}FilterRotateAngle=30${T}--paper${T}200,10,90"
    done
    # Every conversion from every picture; the error-diffused mono one also with its two levels
    # given, and from a settings file that changes them.
    for i in $inputs; do
      for to in true grey paletted:{101..109} mono:{101..103}; do
        echo "convert/$to/$i${T}c-${to/:/}-$i.bmp${T}convert${T}$i.bmp${T}c-${to/:/}-$i.bmp${T}--to${T}$to"
      done
      for level in 1 64 128; do
        echo "convert/mono:101/b$level-c$((129 - level))/$i${T}cm-$level-$i.bmp${T}convert${T}$i.bmp${T}cm-$level-$i.bmp${T}--to${T}mono:101${T}--brightness${T}$level${T}--contrast${T}$((129 - level))"
      done
      for p in 1 33 50 100 150 200; do
        echo "resize/$p/$i${T}r-$p-$i.bmp${T}resize${T}$i.bmp${T}r-$p-$i.bmp${T}$p"
      done
    done
    # Every codec: each picture written in each format, JPEG at several qualities.
    for i in $inputs; do
      for ext in bmp pcx tga png jpg; do
        echo "write/$ext/$i${T}w-$i.$ext${T}convert${T}$i.bmp${T}w-$i.$ext"
      done
      for q in 1 25 50 90 100; do
        echo "write/jpg-q$q/$i${T}w-$i-q$q.jpg${T}convert${T}$i.bmp${T}w-$i-q$q.jpg${T}--quality${T}$q"
      done
    done
    # Generators: gradients of every type in colour and grey, with their geometry moved.
    for g in 0 1 2 3; do
      for grey in "" "--grey"; do
        local tag=$g${grey:+-grey}
        echo "gradient/$tag${T}g-$tag.bmp${T}gradient${T}g-$tag.bmp${T}--size${T}41x27${grey:+$T$grey}${T}--set${T}GradientType=$g"
        echo "gradient/$tag/moved${T}gm-$tag.bmp${T}gradient${T}gm-$tag.bmp${T}--size${T}41x27${grey:+$T$grey}${T}--set${T}GradientType=$g${T}--set${T}CenterX=-30${T}--set${T}CenterY=20${T}--set${T}Angle=-100${T}--set${T}Midpoint=80${T}--set${T}EdgePad=20${T}--set${T}StartColour=255${T}--set${T}EndColour=16711680"
      done
    done
    # Textures of every type, and every item of the stock library.
    for t in 0 1 2 3 4 5; do
      echo "texture/type$t${T}t-$t.bmp${T}texture${T}t-$t.bmp${T}--size${T}45x33${T}--set${T}TextureType=$t"
    done
    "$CLI" textures tex.fft | while IFS= read -r item; do
      echo "texture/stock/${item// /_}${T}ts-${item// /_}.bmp${T}texture${T}ts-${item// /_}.bmp${T}--size${T}45x33${T}--library${T}tex.fft${T}--item${T}$item"
    done
    echo "textures/list${T}-${T}textures${T}tex.fft"
    # Every tile of the stock library.
    local n
    n=$("$CLI" tiles til.mtx | wc -l)
    for ((k = 0; k < n; ++k)); do
      echo "tile/$k${T}tl-$k.bmp${T}tile${T}tl-$k.bmp${T}--size${T}70x50${T}--library${T}til.mtx${T}--index${T}$k"
    done
    echo "tiles/list${T}-${T}tiles${T}til.mtx"
    # Shadows of every type and direction from a grey mask, and from true colour.
    for s in 0 1 2; do
      for d in 0 1 2 3 4 5 6 7; do
        echo "shadow/$s/$d${T}s-$s-$d.bmp${T}shadow${T}grey.bmp${T}s-$s-$d.bmp${T}--set${T}ShadowType=$s${T}--set${T}ShadowDirection=$d"
      done
      echo "shadow/$s/far${T}sf-$s.bmp${T}shadow${T}tc.bmp${T}sf-$s.bmp${T}--set${T}ShadowType=$s${T}--set${T}ShadowOffset=256${T}--set${T}ShadowSoft=5${T}--set${T}ShadowOpacity=255${T}--paint${T}255${T}--fill${T}65280${T}--paper${T}0"
      echo "shadow/$s/soft${T}ss-$s.bmp${T}shadow${T}grey.bmp${T}ss-$s.bmp${T}--set${T}ShadowType=$s${T}--set${T}ShadowOffset=0${T}--set${T}ShadowSoft=100${T}--set${T}ShadowOpacity=0"
    done
    # The settings as written and as read, defaults and a stored file that changes them.
    for name in JPEGQualityFactor DitherBrightness DitherContrast CreateBackups GradientType ShadowSoft; do
      echo "config/get/$name${T}-${T}config${T}get${T}$name"
    done
  } | run_jobs

  # Reading back what each codec wrote, and a batch run and standard output.
  {
    for f in w-*; do
      echo "read/$f${T}rb-$f.bmp${T}convert${T}$f${T}rb-$f.bmp"
    done
    echo "info${T}-${T}info$(for f in w-*; do printf '\t%s' "$f"; done)"
    echo "batch${T}batch/tc.png${T}filter${T}tc.bmp${T}tc2.bmp${T}grey.bmp${T}--out-dir${T}batch${T}--format${T}png${T}--filter${T}Swirl${T}--jobs${T}2"
  } | run_jobs
  for f in batch/*; do
    echo "batch/$(basename "$f") rc=- out=$(sha1sum <"$f" | cut -c1-16) msg=-" >>"$LIST"
  done
  echo "stdout/png rc=- out=$("$CLI" convert tc.bmp - --format png | sha1sum | cut -c1-16) msg=-" >>"$LIST"
  # A stored settings file that changes the dither levels and the JPEG quality.
  sed -e 's/^DitherBrightness = .*/DitherBrightness = 90/' -e 's/^DitherContrast = .*/DitherContrast = 7/' \
    -e 's/^JPEGQualityFactor = .*/JPEGQualityFactor = 33/' settings.ini >cfg/OCHREL.INI
  {
    echo "stored/mono:101${T}st-mono.bmp${T}convert${T}tc.bmp${T}st-mono.bmp${T}--to${T}mono:101"
    echo "stored/jpg${T}st.jpg${T}convert${T}tc.bmp${T}st.jpg"
    for name in DitherBrightness JPEGQualityFactor; do
      echo "stored/get/$name${T}-${T}config${T}get${T}$name"
    done
    echo "stored/write${T}st.ini${T}config${T}write${T}st.ini"
  } | run_jobs

  sort "$LIST" >"${LIST%.tmp}"
  rm -f "$LIST"
  echo "recorded $(wc -l <"${LIST%.tmp}") runs in ${LIST%.tmp}"
}

case ${1:-} in
  record) [ $# -ge 3 ] || usage; shift; record "$@" ;;
  compare) [ $# -eq 3 ] || usage; compare "$2" "$3" ;;
  *) usage ;;
esac
