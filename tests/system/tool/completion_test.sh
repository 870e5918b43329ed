#!/usr/bin/env bash
# completion_test.sh TOOL: what bash and zsh (where it is installed) complete for the tool.
# shellcheck disable=SC2317 # the shells are called by name
set -euo pipefail
tool=$1
packaging=$(cd "$(dirname "$0")/../../../packaging/completion" && pwd)
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
ln -s "$tool" "$scratch/ondrel"
export PATH="$scratch:$PATH"
cd "$scratch"
touch alpha.doc alps.doc beta.doc
failures=0

# Expect SHELL "words of the line" "what is offered, sorted"; the last word is the one completed.
Expect() {
    local said
    said=$("Complete$1" "$2" | sort | xargs)
    if [ "$said" != "$3" ]; then
        printf '%s: after "%s" it offers "%s" and not "%s"\n' "$1" "$2" "$said" "$3" >&2
        failures=1
    fi
}

Completebash() {
    bash -c '
        compopt() { :; }
        . "$1/ondrel.bash"
        IFS=" " read -r -a COMP_WORDS <<<"$2"
        case $2 in *" ") COMP_WORDS+=("") ;; esac
        COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
        _ondrel
        printf "%s\n" "${COMPREPLY[@]}"' bash "$packaging" "$1"
}

# The functions of its completion system that are called, printing what they would offer.
Completezsh() {
    zsh -f -c '
        compadd() { shift; print -rl -- ${(M)@:#$words[CURRENT]*} }
        _files() { print -rl -- $words[CURRENT]*(N) }
        _describe() { local each; for each in ${(P)2}; do compadd -- ${each%%:*}; done }
        words=(${=2})
        [[ $2 == *" " ]] && words+=("")
        CURRENT=$#words
        . "$1/_ondrel"' zsh "$packaging" "$1"
}

Examine() {
    Expect "$1" "ondrel f" "find fork"
    Expect "$1" "ondrel fork " "export import list"
    Expect "$1" "ondrel fork e" "export"
    Expect "$1" "ondrel dump --l" "--layout"
    Expect "$1" "ondrel dump al" "alpha.doc alps.doc"
    Expect "$1" "ondrel fork export -" "$2"
    Expect "$1" "ondrel fork export -o be" "beta.doc"
    Expect "$1" "ondrel path --to w" "windows"
    Expect "$1" "ondrel path --from " "generic mac posix windows"
    Expect "$1" "ondrel links --relink be" "beta.doc"
    Expect "$1" "ondrel links --json al" "alpha.doc alps.doc"
    Expect "$1" "ondrel nonsense al" "$3"
}

Examine bash "--help --output -h -o" ""
if command -v zsh >/dev/null; then
    Examine zsh "--help --output" ""
fi
exit "$failures"
