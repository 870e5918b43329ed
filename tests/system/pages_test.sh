#!/bin/sh
# Every page's links to other files of the project lead to one.
set -eu
cd "$(dirname "$0")/../.."
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
git ls-files '*.md' | while read -r page; do
    grep -oE '\]\([^)#: ]+(#[^)]*)?\)' "$page" | sed -E 's/^\]\(//; s/(#.*)?\)$//' |
        while read -r target; do
            [ -e "$(dirname "$page")/$target" ] || echo "$page: $target"
        done
done >"$scratch/broken"
cat "$scratch/broken" >&2
[ ! -s "$scratch/broken" ]
