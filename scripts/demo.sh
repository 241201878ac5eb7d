#!/bin/bash
# Installs what is missing, builds the release and runs the example programs on the data they come with.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source scripts/packages.sh

need "$packages_to_build"

step "Release build"
configure build/scripts/demo release gcc g++ -DKU_BUILD_TESTS=OFF -DKU_BUILD_BENCHMARKS=OFF
cmake --build build/scripts/demo -j "$(nproc)"

# show <status> <text> <program> [<argument>...]: runs the program in examples/data; it has to end with the status
show()
{
  local wanted=$1 program=$PWD/build/scripts/demo/examples/$3 status=0
  step "$2: $3 ${*:4}"
  (cd examples/data && "$program" "${@:4}") || status=$?
  if [ $status != "$wanted" ]; then
    echo "$3 ended with status $status, not $wanted" >&2
    exit 1
  fi
}

# One row for each thing to see.
show 0 "Sudoku" ku-sudoku sudoku.txt
show 0 "The map of the United States" ku-colour --show usa.col
show 0 "Graphs whose number of colours is known" ku-colour petersen.col myciel3.col myciel4.col myciel5.col \
  queen5_5.col queen6_6.col queen7_7.col
show 3 "A graph that is too hard, for two seconds" ku-colour --time 2 queen10_10.col
show 0 "Sums of words" ku-cryptarithm SEND+MORE=MONEY DONALD+GERALD=ROBERT
show 0 "Queens" ku-queens 12
show 0 "A magic square" ku-magic 4
show 0 "An all-interval series" ku-interval 12
show 0 "A Golomb ruler" ku-golomb 8 34
show 0 "A knapsack" ku-knapsack p01.knapsack
show 0 "A timetable with wishes" ku-timetable school.timetable
show 0 "The shortest Golomb ruler with nine marks" ku-golomb 9
show 0 "Cars down the line" ku-cars ten.cars
show 0 "A magic sequence" ku-sequence 10
show 0 "A job shop" ku-jobshop ft06.jobs
show 0 "A tour" ku-tour ten.tour
show 0 "Building a house" ku-project house.project
show 0 "A picture" ku-nonogram ship.nonogram
show 0 "A roster for two weeks" ku-roster ward.roster
show 0 "A latin square" ku-quasigroup twenty.quasigroup
show 0 "A hard random problem, with restarts" ku-restart --seed 2
show 0 "The same without" ku-restart --plain --seed 2
show 0 "Who does which job, in C" ku-assign staff.costs
