#!/bin/sh
# Formats every C++ source of the project with the house style (.clang-format).
# --check only reports the files that would change, with status 1 if any.
set -e
cd "$(dirname "$0")/.."
files=$(git ls-files 'src/*.cpp' 'src/*.h' 'tests/*.cpp' 'tests/*.h' 'bench/*.cpp' 'bench/*.h' 'fuzz/*.cpp')
if [ "$1" = "--check" ]; then
  exec clang-format --dry-run -Werror $files
fi
clang-format -i $files
