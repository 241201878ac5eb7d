#!/bin/sh
# graphs.sh MAKE-GRAPHS DATA: the graphs in the folder DATA are those, and all those, that make-graphs writes.

folder=$(mktemp -d) || exit 1
trap 'rm -rf "$folder"' EXIT
mkdir "$folder/tree" && cp "$2"/*.col "$folder/tree" && mkdir "$folder/made" || exit 1
"$1" "$folder/made" && diff -r "$folder/tree" "$folder/made"
