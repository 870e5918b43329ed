# shellcheck shell=sh
# What ./check, ./demo, .ci/run and bench/run have in common; sourced from the project's root.
#
#   InstallPackages build test    installs what is missing of those sections of the one list
#   BuildPreset dev target ...    configures a preset and builds targets (none: all)
#
# Both say what they do and are silent where nothing is to do. They work as root, or through sudo
# where packages are missing.

Say() {
    printf -- '-- %s\n' "$*"
}

Fail() {
    printf '%s\n' "$*" >&2
    exit 1
}

# The packages of one section of the list.
PackagesOf() {
    sed 's/#.*//' packaging/packages.txt | awk -v section="[$1]" '
        $1 ~ /^\[/ { inside = ($1 == section); next }
        inside && NF { print $1 }'
}

# Prints the names that are not installed.
MissingOf() {
    for package in "$@"; do
        status=$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null) || status=missing
        [ "$status" = installed ] || printf '%s ' "$package"
    done
}

AptGet() {
    if [ "$(id -u)" -eq 0 ]; then
        DEBIAN_FRONTEND=noninteractive apt-get "$@"
    else
        sudo env DEBIAN_FRONTEND=noninteractive apt-get "$@"
    fi
}

InstallPackages() {
    wanted=
    for section in "$@"; do
        wanted="$wanted $(PackagesOf "$section")"
    done
    command -v dpkg-query >/dev/null ||
        Fail "This is no Debian system. The counterparts of these packages are needed:$wanted"
    # shellcheck disable=SC2086 # a list of words
    missing=$(MissingOf $wanted)
    [ -n "$missing" ] || return 0
    if [ "$(id -u)" -ne 0 ] && ! command -v sudo >/dev/null; then
        Fail "These packages are missing, and only root can install them: apt-get install $missing"
    fi
    Say "installing $missing"
    AptGet -qq update || Fail "The package lists could not be updated."
    # shellcheck disable=SC2086
    AptGet -qq -y --no-install-recommends -o Dpkg::Use-Pty=0 install $missing >/dev/null ||
        Fail "These packages could not be installed: $missing"
}

BuildPreset() {
    preset=$1
    shift
    Say "building (preset $preset)"
    log=$(mktemp)
    if ! cmake --preset "$preset" >"$log" 2>&1; then
        cat "$log" >&2
        rm -f "$log"
        return 1
    fi
    rm -f "$log"
    # A terminal sees ninja count; a log only what went wrong.
    quiet=--quiet
    [ ! -t 1 ] || quiet=
    # shellcheck disable=SC2086 # an option or nothing
    cmake --build --preset "$preset" ${1:+--target "$@"} -- $quiet
}
