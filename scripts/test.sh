#!/bin/bash
# Installs what is missing, builds and tests: with g++ as released, with clang under the sanitizers.
#
#   scripts/test.sh           all of it
#   scripts/test.sh --quick   the release build alone
#
# The last lines are those of ctest for the release build.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source scripts/packages.sh

quick=no
for argument in "$@"; do
  case $argument in
    --quick) quick=yes ;;
    *)
      sed -n '2,7s/^# \{0,1\}//p' "$0" >&2
      exit 2
      ;;
  esac
done

jobs=$(nproc)
tests() { ctest --test-dir "$1" --no-tests=error --no-label-summary --output-on-failure -j "$jobs" "${@:2}"; }

need "$packages_to_test"

step "Release build, g++, warnings as errors"
configure build/scripts/release release gcc g++ -DKU_WERROR=ON
cmake --build build/scripts/release -j "$jobs" -- -k 0

if [ $quick = no ]; then
  step "Clang, the libraries as released: no warning, and the same names in and out"
  configure build/scripts/clang release clang-14 clang++-14 -DKU_WERROR=ON
  cmake --build build/scripts/clang -j "$jobs" --target ku ku_static contract_data
  tests build/scripts/clang -R '^contract\.(exported|needed|headers|data)'

  step "Clang, everything with the address, leak and undefined-behaviour sanitizers"
  configure build/scripts/sanitize sanitize clang-14 clang++-14 -DKU_WERROR=ON
  cmake --build build/scripts/sanitize -j "$jobs" -- -k 0
  ASAN_OPTIONS=detect_leaks=1:strict_string_checks=1:detect_stack_use_after_return=1 \
    UBSAN_OPTIONS=print_stacktrace=1 tests build/scripts/sanitize
fi

step "Tests of the release build"
tests build/scripts/release
