#!/bin/bash
# Installs what is missing, builds the release and runs the example programs on the data they come with.
#
#   scripts/demo.sh
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source scripts/packages.sh

need "$packages_to_build"

step "Release build"
configure build/scripts/demo release gcc g++ -DKU_BUILD_TESTS=OFF -DKU_BUILD_BENCHMARKS=OFF
cmake --build build/scripts/demo -j "$(nproc)"

# show <text> <program> [<argument>...]: runs the program in examples/data
show()
{
  local program=$PWD/build/scripts/demo/examples/$2
  step "$1: $2 ${*:3}"
  (cd examples/data && "$program" "${@:3}")
}

show "Sudoku" ku-sudoku sudoku.txt
show "The map of the United States" ku-colour --show usa.col
show "Graphs with known numbers of colours" ku-colour petersen.col myciel3.col myciel4.col myciel5.col \
  queen5_5.col queen6_6.col queen7_7.col
