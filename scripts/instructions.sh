#!/bin/sh
# Instructions for one operation of the kernel, counted by callgrind on the release build: the difference of two runs, so
# that what starting costs drops out. Needs valgrind; build first (cmake --preset release && cmake --build --preset release).
set -eu
cd "$(dirname "$0")/.."
count=build/release/benchmarks/ku-count
[ -x "$count" ] || { echo "$count isn't built" >&2; exit 1; }
command -v valgrind >/dev/null || { echo "valgrind isn't installed" >&2; exit 1; }

total() {
  valgrind --tool=callgrind --toggle-collect=measured --callgrind-out-file=/dev/null "$count" "$1" "$2" 2>&1 |
    sed -n 's/.*Collected : \([0-9]*\).*/\1/p'
}

printf '%-24s %s\n' operation instructions
for operation in $("$count" 2>&1 | sed 1d); do
  few=$(total "$operation" 1000)
  many=$(total "$operation" 11000)
  printf '%-24s %s\n' "$operation" $(((many - few) / 10000))
done
