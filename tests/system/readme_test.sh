#!/bin/sh
# The first C++ block of the README is the part of examples/first.cc between its two marks.
set -eu
cd "$(dirname "$0")/../.."
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
awk '/^```cpp$/ { inside = 1; next } /^```$/ { if (inside) exit } inside' README.md >"$scratch/readme"
awk '/README begins/ { inside = 1; next } /README ends/ { exit } inside' examples/first.cc >"$scratch/example"
[ -s "$scratch/readme" ]
diff -u "$scratch/example" "$scratch/readme"
