# Completion for bash. It asks the program for its help, and so knows every command and option that
# the program knows.

# The names in a section of a help text: _ondrel_names Commands "$help"
_ondrel_names() {
    local line inside=
    while IFS= read -r line; do
        case $line in
            "$1:") inside=yes ;;
            "  "[!\ ]*) [ -z "$inside" ] || printf '%s\n' "$line" ;;
            "   "*) ;;
            *) inside= ;;
        esac
    done <<<"$2" | case $1 in
        Commands) awk '{ print $1 }' ;;
        *) grep -oE '^ +(-[a-zA-Z], )?--[a-z-]+' | grep -oE -- '--?[a-zA-Z-]+' ;;
    esac
}

# What can stand behind an option: mac|windows|... as words, a name as itself, nothing for a flag.
_ondrel_value() {
    awk -v option="$1" '
        {
            for (i = 1; i <= 2; ++i)
                if ($i == option || $i == option ",") {
                    value = $(i + 1)
                    if (value ~ /^--/) value = $(i + 2)
                    if (value ~ /^[A-Z][A-Za-z.]*$/ || value ~ /[|]/) print value
                    exit
                }
        }' <<<"$2"
}

_ondrel() {
    local program=${COMP_WORDS[0]} current=${COMP_WORDS[COMP_CWORD]}
    local previous=${COMP_WORDS[COMP_CWORD - 1]} word help value
    local -a command=()
    COMPREPLY=()
    help=$("$program" --help 2>/dev/null) || return
    for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
        grep -qxF -- "$word" <<<"$(_ondrel_names Commands "$help")" || break
        command+=("$word")
        help=$("$program" "${command[@]}" --help 2>/dev/null) || return
    done
    if [[ $previous == -* ]]; then
        value=$(_ondrel_value "$previous" "$help")
        case $value in
            '') ;;
            *'|'*)
                mapfile -t COMPREPLY < <(compgen -W "${value//|/ }" -- "$current")
                return
                ;;
            *)
                mapfile -t COMPREPLY < <(compgen -f -- "$current")
                compopt -o filenames 2>/dev/null
                return
                ;;
        esac
    fi
    value=$(_ondrel_names Commands "$help")
    if [[ $current == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$(_ondrel_names Options "$help")" -- "$current")
    elif [ -n "$value" ]; then
        mapfile -t COMPREPLY < <(compgen -W "$value" -- "$current")
    else
        mapfile -t COMPREPLY < <(compgen -f -- "$current")
        compopt -o filenames 2>/dev/null
    fi
}

complete -F _ondrel ondrel
