#!/usr/bin/env bash
# Builds the fuzz targets with clang (libFuzzer, AddressSanitizer,
# UndefinedBehaviorSanitizer) in build-fuzz/ and runs each for a bounded time on
# a freshly written seed corpus: the reader of every image format in the format
# table (one target, fuzz_image, told the format by OCHREL_FUZZ_FORMAT), then the readers of
# texture and tile libraries, the colour table, the settings file and the tip
# file. Two run at a time. Fails on any crash, leak or hang.
set -euo pipefail
here=$(cd "$(dirname "$0")/../.." && pwd)
cd "$here"
seconds=${OCHREL_FUZZ_SECONDS:-20}
CXX=${OCHREL_FUZZ_CXX:-clang++} cmake -S fuzz -B build-fuzz -G Ninja >/dev/null
ninja -C build-fuzz
rm -rf build-fuzz/seeds build-fuzz/corpus build-fuzz/crashes
mkdir -p build-fuzz/corpus build-fuzz/crashes
build-fuzz/make_seeds build-fuzz/seeds
mkdir -p build-fuzz/seeds/textures build-fuzz/seeds/colours build-fuzz/seeds/tips
cp data/Ochrel.FFT build-fuzz/seeds/textures/
cp data/Ochrel.MTX build-fuzz/seeds/tiles/
cp data/OCHREL.CCL build-fuzz/seeds/colours/
cp data/OCHREL.TIP build-fuzz/seeds/tips/

formats=$(cat build-fuzz/seeds/image-formats)

run() {
  local f=$1 maxlen=65536 target=build-fuzz/fuzz_$1
  [ "$f" = tiles ] && maxlen=262144
  case " $(echo $formats) " in *" $f "*) target=build-fuzz/fuzz_image ;; esac
  mkdir -p "build-fuzz/corpus/$f"
  if OCHREL_FUZZ_FORMAT=$f ASAN_OPTIONS=detect_leaks=1:allocator_may_return_null=1 \
      UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
      "$target" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2560 -max_len=$maxlen \
      -print_final_stats=1 -artifact_prefix="build-fuzz/crashes/$f-" \
      "build-fuzz/corpus/$f" "build-fuzz/seeds/$f" > "build-fuzz/$f.log" 2>&1; then
    echo "fuzzed the $f reader for ${seconds}s: $(grep -E 'stat::number_of_executed_units' "build-fuzz/$f.log" | tail -n 1)"
  else
    echo "the $f reader failed under the fuzzer; the input is in build-fuzz/crashes, the log in build-fuzz/$f.log"
    tail -n 40 "build-fuzz/$f.log"
    return 1
  fi
}

status=0
set -- $formats textures tiles colours settings tips
while [ $# -gt 0 ]; do
  run "$1" & first=$!
  second=
  if [ $# -gt 1 ]; then run "$2" & second=$!; fi
  wait $first || status=1
  if [ -n "$second" ]; then wait $second || status=1; fi
  shift $(( $# > 1 ? 2 : 1 ))
done
exit $status
