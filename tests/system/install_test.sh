#!/bin/sh
# install_test.sh BUILD-FOLDER COMPILER: installs a build to a scratch prefix, builds an application
# against it both ways that users do (find_package, pkg-config), runs it, and compiles each installed
# header by itself.
set -eu
build=$1
compiler=$2
consumer=$(cd "$(dirname "$0")/consumer" && pwd)
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
prefix=$scratch/prefix

cmake --install "$build" --prefix "$prefix" >/dev/null
pkgconfig=$(dirname "$(find "$prefix" -name ondrelold.pc)")

Expect() {
    said=$("$1" "$scratch/document")
    if [ "$said" != "12345678 hello" ]; then
        printf '%s said: %s\n' "$1" "$said" >&2
        exit 1
    fi
}

cmake -S "$consumer" -B "$scratch/build" -DCMAKE_PREFIX_PATH="$prefix" \
      -DCMAKE_CXX_COMPILER="$compiler" >/dev/null
cmake --build "$scratch/build" >/dev/null
Expect "$scratch/build/consumer"

# The installed tree may be moved: the .pc files find themselves.
mv "$prefix" "$scratch/moved"
pkgconfig=$scratch/moved${pkgconfig#"$prefix"}
export PKG_CONFIG_PATH="$pkgconfig"
libraries=$(pkg-config --variable=libdir ondrelold)
# shellcheck disable=SC2046 # a list of options
"$compiler" -std=c++20 "$consumer/main.cc" -o "$scratch/direct" \
    $(pkg-config --cflags --libs ondrelold) "-Wl,-rpath,$libraries"
Expect "$scratch/direct"

# inline.h is the end of fil.h.
include=$(pkg-config --variable=includedir ondrelold)
cd "$include"
find ondrel -name '*.h' ! -path ondrel/fil/inline.h | sort >"$scratch/headers"
[ -s "$scratch/headers" ]
while read -r header; do
    printf '#include "%s"\n' "$header" >"$scratch/header.cc"
    "$compiler" -std=c++20 -fsyntax-only -Wall -Wextra -Wpedantic -Werror -I. "$scratch/header.cc" || {
        printf '%s cannot be included by itself\n' "$header" >&2
        exit 1
    }
done <"$scratch/headers"
