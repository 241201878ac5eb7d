#!/bin/sh
# check.sh [-i READY] STATUS OUT ERR PROGRAM [ARGUMENT]...
#
# Runs the program and compares its exit status and what it writes to standard output (OUT) and to the error stream
# (ERR). An expectation is an extended regular expression that some line has to match, or @FILE, which has to be equal
# to the whole, or empty: nothing may be written. With -i the program gets SIGINT a moment after a line of its output
# matches READY, when the work behind that line has begun.

ready=
if [ "$1" = -i ]; then
  ready=$2
  shift 2
fi
status=$1 out=$2 err=$3
shift 3

folder=$(mktemp -d) || exit 1
trap 'rm -rf "$folder"' EXIT

if [ -n "$ready" ]; then
  "$@" >"$folder/out" 2>"$folder/err" </dev/null &
  pid=$!
  until grep -Eq "$ready" "$folder/out"; do
    kill -0 $pid 2>/dev/null || break
    sleep 0.05
  done
  sleep 0.5
  kill -INT $pid
  wait $pid
else
  "$@" >"$folder/out" 2>"$folder/err" </dev/null
fi
got=$?

failed=0
if [ $got -ne "$status" ]; then
  echo "exit status $got, expected $status"
  failed=1
fi

compare() # STREAM EXPECTATION
{
  case $2 in
    @*) diff -u "${2#@}" "$folder/$1" && return ;;
    '') [ ! -s "$folder/$1" ] && return ;;
    *) grep -Eq -- "$2" "$folder/$1" && return ;;
  esac
  echo "std$1 isn't as expected: $2"
  failed=1
}
compare out "$out"
compare err "$err"

if [ $failed -ne 0 ]; then
  echo "--- standard output"
  cat "$folder/out"
  echo "--- error stream"
  cat "$folder/err"
fi
exit $failed
