#!/usr/bin/env bash
# Builds the image readers' fuzz targets with clang (libFuzzer, AddressSanitizer,
# UndefinedBehaviorSanitizer) in build-fuzz/ and runs each for a bounded time on
# a freshly written seed corpus. Fails on the first crash, leak or hang.
set -euo pipefail
here=$(cd "$(dirname "$0")/../.." && pwd)
cd "$here"
seconds=${OCHREL_FUZZ_SECONDS:-25}
CXX=${OCHREL_FUZZ_CXX:-clang++} cmake -S fuzz -B build-fuzz -G Ninja >/dev/null
ninja -C build-fuzz
rm -rf build-fuzz/seeds build-fuzz/corpus build-fuzz/crashes
mkdir -p build-fuzz/corpus build-fuzz/crashes
build-fuzz/make_seeds build-fuzz/seeds
status=0
for f in bmp pcx tga png jpg; do
  mkdir -p "build-fuzz/corpus/$f"
  echo "fuzzing the $f reader for ${seconds}s"
  if ! ASAN_OPTIONS=detect_leaks=1:allocator_may_return_null=1 \
      UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
      "build-fuzz/fuzz_$f" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2560 -max_len=65536 \
      -print_final_stats=1 -artifact_prefix="build-fuzz/crashes/$f-" \
      "build-fuzz/corpus/$f" "build-fuzz/seeds/$f" > "build-fuzz/$f.log" 2>&1; then
    echo "the $f reader failed under the fuzzer; the input is in build-fuzz/crashes, the log in build-fuzz/$f.log"
    tail -n 40 "build-fuzz/$f.log"
    status=1
  else
    grep -E 'stat::number_of_executed_units|cov:' "build-fuzz/$f.log" | tail -n 2 || true
  fi
done
exit $status
