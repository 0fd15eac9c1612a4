# Sourced by the other scripts: what they have in common.

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$root" || exit 1

say() { printf '%s\n' "$*"; }
die() {
    printf '%s: %s\n' "${0##*/}" "$*" >&2
    exit 1
}

# needs PACKAGE...: installs the Debian packages that are missing.
needs() {
    local package missing=()
    command -v dpkg-query >/dev/null ||
        die "this is not a Debian system; install what these packages hold: $*"
    for package in "$@"; do
        [[ $(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null) == installed ]] ||
            missing+=("$package")
    done
    ((${#missing[@]})) || return 0

    local sudo=()
    if ((EUID != 0)); then
        command -v sudo >/dev/null || die "as root, run: apt-get install ${missing[*]}"
        sudo=(sudo)
    fi
    say "installing ${missing[*]}"
    "${sudo[@]}" apt-get -q -q update || die "the package lists could not be updated"
    DEBIAN_FRONTEND=noninteractive "${sudo[@]}" apt-get -q -q -y --no-install-recommends \
        install "${missing[@]}" >/dev/null || die "could not install ${missing[*]}"
}

# build PRESET [TARGET...]: configures and builds, and shows what went wrong if it did.
build() {
    local preset=$1 log="build/$1.log"
    shift
    mkdir -p build
    { cmake --preset "$preset" && cmake --build "build/$preset" -j "$(nproc)" ${1:+--target "$@"}; } \
        >"$log" 2>&1 && return 0
    cat "$log" >&2
    die "the build of '$preset' failed"
}

build_packages=(g++ cmake make libsqlite3-dev)
