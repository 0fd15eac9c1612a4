# shellcheck shell=bash disable=SC2034
# What the scripts have in common. Each sources this file, or machine.sh, with its own arguments.

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
cd "$root" || exit 1
mkdir -p build
libraries=(components/sql/*)
libraries=("${libraries[@]##*/}")
build_packages=(g++ cmake make libsqlite3-dev)
docs_packages=(doxygen graphviz furo python3-breathe python3-myst-parser python3-sphinx
    python3-sphinx-copybutton)
test_packages=("${build_packages[@]}" libgtest-dev sqlite3 locales gnuplot-nox pkg-config python3)

say() { printf '%s\n' "$*"; }
complain() { printf '%s: %s\n' "${0##*/}" "$*" >&2; }
die() { complain "$@"; exit 1; }
wrong_usage() { complain "$@"; exit 2; }
refuse() { wrong_usage "unknown argument '$1'; see ${0##*/} --help"; }

# The comment at the head of a script is its help.
if [[ ${1:-} == --help ]]; then
    sed -n '2,/^[^#]/s/^#\( \|$\)//p' "$0"
    exit
fi

# alone NAME: waits until no other process holds NAME.lock, then holds it until `release`.
alone() {
    mkdir -p "$(dirname "$1")"
    exec {lock}>"$1.lock"
    flock "$lock"
}
release() { exec {lock}>&-; }

# quietly LOG COMMAND...: runs the command. If it fails, shows the log and ends. Not for conditions,
# in which a function would run without errexit.
quietly() {
    local log=$1 result
    shift
    set +e
    (set -e; "$@") >"$log" 2>&1
    result=$?
    set -e
    ((result)) || return 0
    cat "$log" >&2
    die "failed, as shown above and in $log: $*"
}

# needs PACKAGE...: installs the Debian packages that are missing.
needs() {
    local package missing=()
    command -v dpkg-query >/dev/null ||
        die "this is not a Debian system; install what these packages hold: $*"
    for package; do
        [[ $(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null) == installed ]] ||
            missing+=("$package")
    done
    ((${#missing[@]})) || return 0

    say "installing ${missing[*]}"
    alone build/packages
    as_root apt-get -q -q update &&
        as_root env DEBIAN_FRONTEND=noninteractive apt-get -q -q -y --no-install-recommends \
            -o DPkg::Lock::Timeout=600 install "${missing[@]}" >/dev/null ||
        die "could not install what is missing; as root, run: apt-get install ${missing[*]}"
    release
}
as_root() { if ((EUID)); then sudo "$@"; else "$@"; fi; }

# The names of the project's files, each ended by a NUL, even where it is not a checkout of git.
project_files() { find . \( -path ./build -o -path ./.git \) -prune -o -type f -printf '%P\0'; }
copy_project() { project_files | tar -c --null -T - | tar -x -C "$1"; } # FOLDER

# build_in FOLDER [CMAKE-OPTION...] [-- TARGET...]: configures and builds.
build_in() {
    local folder=$1 options=()
    shift
    while (($#)) && [[ $1 != -- ]]; do
        options+=("$1")
        shift
    done
    alone "$folder"
    quietly "$folder.log" cmake_build "$@"
    release
}
cmake_build() { # -- [TARGET...], with the folder and the options of build_in
    cmake -B "$folder" "${options[@]}"
    cmake --build "$folder" -j "$(nproc)" ${2:+--target "${@:2}"}
}

# build PRESET [TARGET...]
build() { build_in "build/$1" --preset "$1" -- "${@:2}"; }

# build_googletest FOLDER [CMAKE-OPTION...]: from Debian's sources, into a folder.
build_googletest() {
    needs googletest
    build_in "$1/build" -S /usr/src/googletest -DCMAKE_INSTALL_PREFIX="$root/$1" -DBUILD_GMOCK=OFF \
        "${@:2}" -- install
}

# known_to_ctest ARGUMENT...: refuses what ctest would silently ignore.
known_to_ctest() {
    local argument option=
    for argument; do
        if [[ $argument == -* ]]; then
            option=${argument%%=*}
            ctest --help | grep -E -- "^ .*(^|[ ,])$option([ =,]|\$)" >/dev/null || refuse "$argument"
        else
            [[ $option ]] || refuse "$argument"
        fi
    done
}
