#!/bin/sh
# guide_test.sh GUIDE: the code of docs/guide.md is that of examples/guide.cc, part by part, and the
# built program GUIDE says what the page tells.
set -eu
guide=$1
cd "$(dirname "$0")/../.."
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

# Both as "== NAME" and the part's lines.
awk '/^<!-- guide: / { print "== " $3; next }
     /^```cpp$/ { inside = 1; next } /^```$/ { inside = 0 } inside' docs/guide.md >"$scratch/page"
awk '/^\/\/ guide: / { print "== " $3; inside = 1; next }
     /^\/\/ guide end/ { inside = 0 } inside' examples/guide.cc >"$scratch/program"
[ "$(grep -c '^== ' "$scratch/page")" -ge 8 ]
diff -u "$scratch/program" "$scratch/page"

awk '/^<!-- guide output/ { wanted = 1 } /^```$/ { if (inside) exit; inside = wanted; next } inside' \
    docs/guide.md >"$scratch/told"
[ -s "$scratch/told" ]
mkdir "$scratch/folder"
"$guide" "$scratch/folder" >"$scratch/said"
diff -u "$scratch/told" "$scratch/said"
