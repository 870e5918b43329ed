#!/bin/sh
# manual_test.sh TOOL: the manual page names every command and every option that the program's help
# names, and no other; groff (where it is installed) has nothing to complain of.
set -eu
tool=$1
cd "$(dirname "$0")/../../../packaging/man"
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

# Commands with their subcommands, and the help of each.
Walk() {
    # shellcheck disable=SC2086 # words of a command
    "$tool" $1 --help >"$scratch/help"
    grep -oE -- '--[a-z-]+' "$scratch/help" >>"$scratch/options"
    commands=$(awk '/^Commands:/ { inside = 1; next } /^$/ { inside = 0 } inside && /^  [^ ]/ { print $1 }' \
        "$scratch/help")
    [ -n "$commands" ] || printf '%s\n' "$1" >>"$scratch/commands"
    for each in $commands; do
        Walk "${1:+$1 }$each"
    done
}
Walk ""

status=0
Say() {
    printf '%s\n' "$*" >&2
    status=1
}
# Long options as they are read, from their spelling in roff.
sed 's/\\-/-/g' ondrel.1 >"$scratch/page"
while read -r command; do
    grep -qE "^\.B \"?$command\"?\$" "$scratch/page" || Say "no command '$command' in the manual"
done <"$scratch/commands"
sort -u "$scratch/options" | while read -r option; do
    grep -qE -- "$option([^a-z-]|\$)" "$scratch/page" || echo "no option $option in the manual"
done >"$scratch/missing"
grep -oE -- '--[a-z]+(-[a-z]+)*' "$scratch/page" | sort -u | while read -r option; do
    grep -qxF -- "$option" "$scratch/options" || echo "the manual tells of $option, the program not"
done >>"$scratch/missing"
[ ! -s "$scratch/missing" ] || Say "$(cat "$scratch/missing")"

if command -v groff >/dev/null; then
    for page in *.1; do
        groff -ww -man -Tutf8 -z "$page" 2>"$scratch/groff"
        [ ! -s "$scratch/groff" ] || Say "$(cat "$scratch/groff")"
    done
fi
exit "$status"
