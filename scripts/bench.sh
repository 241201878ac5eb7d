#!/bin/bash
# Measures the whole problems beside a peer (Gecode), and prints the ratios.
#
#   scripts/bench.sh [--docs] [--rounds N] [PROBLEM...]
#
#   --docs       puts the table and the chart into docs/ as well; meant for all the problems, on a quiet machine
#   --rounds N   runs each program N times in turn (3) and takes the shortest time of each problem
#
# Installs what is missing. The peer runs in two ways, with its default distance between copies of the state and with a
# copy at each node, and the faster one of each problem counts. All times are of CPU. What was measured stays in
# build/bench/. Ends with 1 where an answer is wrong, or where two search trees differ that should be the same.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source scripts/packages.sh

usage() { sed -n '2,11s/^# \{0,1\}//p' "$0"; }

docs=no rounds=3 names=()
while [ $# -gt 0 ]; do
  case $1 in
    --help)
      usage
      exit 0
      ;;
    --docs) docs=yes ;;
    --rounds)
      rounds=${2:-}
      shift
      ;;
    -*)
      usage >&2
      exit 2
      ;;
    *) names+=("$1") ;;
  esac
  shift
done
if ! [[ $rounds =~ ^[1-9][0-9]?$ ]] || [ $docs = yes -a ${#names[@]} -gt 0 ]; then
  usage >&2
  exit 2
fi

need "$packages_to_build
libgecode-dev     header gecode/int.hh
"

step "Building"
configure build/scripts/bench release gcc g++ -DKU_BUILD_TESTS=OFF -DKU_BUILD_EXAMPLES=OFF > /dev/null
cmake --build build/scripts/bench -j "$(nproc)" --target ku-bench gecode-bench
programs=build/scripts/bench/benchmarks/problems

out=build/bench
rm -rf "$out"
mkdir -p "$out"
status=0
# measure <name> <program> [<option>...]
measure()
{
  step "Round $round of $rounds: ${*:2}"
  "$programs/$2" "${@:3}" ${names[@]+"${names[@]}"} > "$out/$1.$round" || status=$?
  # A wrong answer is told in the table; all else ends the run.
  if [ $status -gt 1 ]; then
    exit $status
  fi
}
for ((round = 1; round <= rounds; round++)); do
  measure ku ku-bench
  measure far gecode-bench
  measure ku-again ku-bench
  measure near gecode-bench --distance 1
done

step "Ratios"
where=()
if [ $docs = yes ]; then
  where=(-v page=docs/performance.md -v chart=docs/performance-peer.svg -v growth=docs/performance-growth.svg)
fi
awk "${where[@]+"${where[@]}"}" -v out="$out" -v rounds="$rounds" -v cpu="$(sed -n 's/^model name[^:]*: //p;' /proc/cpuinfo | head -n 1)" \
  -f scripts/bench.awk "$out"/ku.* "$out"/ku-again.* "$out"/far.* "$out"/near.*
exit $status
