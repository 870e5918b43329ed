#!/bin/sh
# packages_test.sh BUILD-FOLDER COMPILER: makes the Debian packages of a build, installs them into a
# root folder of their own, runs what they hold, builds an application against them both ways that
# users do, looks at them with lintian where that is installed, and removes them again without a
# trace.
set -eu
build=$1
compiler=$2
here=$(cd "$(dirname "$0")" && pwd)
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

Fail() {
    printf '%s\n' "$*" >&2
    exit 1
}

mkdir "$scratch/packages"
cpack --config "$build/CPackConfig.cmake" -B "$scratch/packages" >"$scratch/log" 2>&1 || {
    cat "$scratch/log" >&2
    exit 1
}
cd "$scratch/packages"
[ "$(echo libondrel_*.deb libondrel-dev_*.deb ondrel_*.deb | wc -w)" -eq 3 ] || Fail "packages are missing"
[ -f "$(echo ondrel_*.deb)" ] || Fail "there is no package ondrel"

if command -v lintian >/dev/null; then
    root=
    [ "$(id -u)" -ne 0 ] || root=--allow-root
    # shellcheck disable=SC2086 # an option or nothing
    lintian $root --fail-on error,warning ./*.deb || Fail "lintian has found something"
fi

# A machine of our own, on which nothing but these packages is known.
root=$scratch/root
Dpkg() {
    PATH="$scratch/bin:$PATH:/usr/sbin:/sbin" dpkg --root="$root" --force-not-root --force-script-chrootless --force-depends \
        --log="$scratch/dpkg.log" "$@" >"$scratch/log" 2>"$scratch/complaints" || {
        cat "$scratch/log" "$scratch/complaints" >&2
        exit 1
    }
}
Files() {
    (cd "$root" && find . ! -type d ! -path './var/lib/dpkg/*' | sort)
}
# The machine that we are on keeps its linker's cache.
mkdir "$scratch/bin"
printf '#!/bin/sh\necho ldconfig >>"%s"\n' "$scratch/called" >"$scratch/bin/ldconfig"
chmod +x "$scratch/bin/ldconfig"
mkdir -p "$root/var/lib/dpkg/info" "$root/var/lib/dpkg/updates"
: >"$root/var/lib/dpkg/status"
Dpkg --install ./*.deb
grep -q ldconfig "$scratch/called" || Fail "the linker's cache was not renewed"
Files >"$scratch/files"
grep -q '^\./usr/bin/ondrel$' "$scratch/files" || Fail "the tool is not installed"

# What was installed runs, with the libraries that were installed beside it.
"$root/usr/bin/ondrel" --version | grep -q '^ondrel [0-9]' || Fail "the tool does not run"
"$root/usr/bin/ondrel" path --from mac --to posix Root:etc:hosts | grep -qx /etc/hosts ||
    Fail "the tool does not work"
ldd "$root/usr/bin/ondrel" | grep 'libOndrel' | grep -qvF "$root/" && Fail "other libraries are used"
status=0
"$root/usr/bin/ondrel-thumbnailer" "$scratch/missing" "$scratch/out.png" 128 2>/dev/null || status=$?
[ "$status" -eq 1 ] || Fail "the thumbnailer does not run"
for page in ondrel ondrel-thumbnailer; do
    gzip -t "$root/usr/share/man/man1/$page.1.gz" || Fail "the manual page of $page is damaged"
done

# An application against the package.
Expect() {
    said=$(LD_LIBRARY_PATH="$libraries" "$1" "$scratch/document")
    [ "$said" = "12345678 hello" ] || Fail "$1 said: $said"
}
pkgconfig=$(dirname "$(find "$root/usr" -name ondrelold.pc)")
export PKG_CONFIG_PATH="$pkgconfig"
libraries=$(pkg-config --variable=libdir ondrelold)
cmake -S "$here/consumer" -B "$scratch/build" -DCMAKE_PREFIX_PATH="$root/usr" \
    -DCMAKE_CXX_COMPILER="$compiler" >/dev/null
grep -q "Ondrel_DIR:PATH=$root/" "$scratch/build/CMakeCache.txt" || Fail "another package was found"
cmake --build "$scratch/build" >/dev/null
Expect "$scratch/build/consumer"
# shellcheck disable=SC2046 # a list of options
"$compiler" -std=c++20 "$here/consumer/main.cc" -o "$scratch/direct" \
    $(pkg-config --cflags --libs ondrelold)
Expect "$scratch/direct"

Dpkg --purge ondrel libondrel-dev libondrel
left=$(Files)
[ -z "$left" ] || Fail "left behind: $left"
[ ! -e "$root/usr" ] || Fail "folders are left behind: $(find "$root/usr")"
