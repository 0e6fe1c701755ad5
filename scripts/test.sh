#!/usr/bin/env bash
# Installs, builds and runs every test: the whole suite, the engine again under
# AddressSanitizer and UndefinedBehaviorSanitizer, and the extra checks in
# scripts/test.d (fuzzing and the like).
set -euo pipefail
here=$(cd "$(dirname "$0")/.." && pwd)
cd "$here"
say() { printf '\033[1m==> %s\033[0m\n' "$*"; }
jobs=$(nproc)

OCHREL_BUILD_DIR=build "$here/scripts/setup.sh" -DOCHREL_TESTS=ON -DOCHREL_BENCH=ON

say "Running the tests"
QT_QPA_PLATFORM=offscreen ctest --test-dir build --output-on-failure -j "$jobs" --timeout 600

say "Building the engine with AddressSanitizer and UndefinedBehaviorSanitizer"
cmake -S . -B build-asan -G Ninja -DCMAKE_BUILD_TYPE=Debug -DOCHREL_WITH_QT=OFF -DOCHREL_SANITIZE=ON \
  -DCMAKE_CXX_FLAGS="-O1" >/dev/null
ninja -C build-asan
say "Running the engine tests under the sanitizers"
ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
  ctest --test-dir build-asan --output-on-failure -j "$jobs" --timeout 900

for extra in scripts/test.d/*.sh; do
  [ -e "$extra" ] || continue
  say "Running $(basename "$extra")"
  bash "$extra"
done
say "All tests passed"
