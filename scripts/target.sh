# shellcheck shell=bash
# Sourced, in place of needs.sh, by the scripts that build for the target.

. "$(dirname "${BASH_SOURCE[0]}")/needs.sh"

target_toolchain=cmake/toolchains/powerpc-e500mc.cmake
target_deps=build/target-deps
target_packages=(g++-powerpc-linux-gnu qemu-user googletest dpkg-dev tcl)

# toolchain VARIABLE: what the toolchain file sets it to.
toolchain() { sed -n "s/^set($1 \(.*\))\$/\1/p" "$target_toolchain"; }

# on_target PROGRAM [ARGUMENT...]: runs in the emulator what was built for the target.
on_target() {
    local emulator
    read -ra emulator < <(toolchain CMAKE_CROSSCOMPILING_EMULATOR)
    "${emulator[@]}" "$@"
}

# What the target's build links besides the cross compiler's own libraries: SQLite, of which Debian
# has no package for the target, and GoogleTest. They are built into a folder whose name holds all
# that they depend on, and moved to their place when they are complete: what is there is whole.

# prepare_target: makes build/target-deps/current, unless it is there.
prepare_target() {
    needs "${build_packages[@]}" "${target_packages[@]}"
    on_target /usr/powerpc-linux-gnu/lib/ld.so.1 --version >/dev/null 2>&1 ||
        die "qemu-ppc is missing or cannot run programs of the target; reinstall qemu-user"

    mkdir -p "$target_deps" || die "cannot write to $target_deps"
    exec {target_lock}>"$target_deps/lock" || die "cannot write to $target_deps"
    flock "$target_lock"
    local place
    place=$target_deps/$(target_deps_name)
    [[ -d $place ]] || make_target_deps "$place"
    ln -sfn "${place##*/}" "$target_deps/current.new"
    mv -T "$target_deps/current.new" "$target_deps/current"
    exec {target_lock}>&-
}

target_deps_name() {
    local sqlite recipe
    sqlite=$(dpkg-query -W -f '${source:Version}' libsqlite3-dev)
    recipe=$({
        dpkg-query -W googletest libc6-dev-powerpc-cross
        "$(toolchain CMAKE_C_COMPILER)" --version
        cat "$target_toolchain"
        declare -f fetch_sqlite build_sqlite build_googletest
    } | sha256sum)
    printf 'sqlite-%s-%.12s\n' "$sqlite" "$recipe"
}

# A process of its own, so that whatever ends it, its traps clear up.
make_target_deps() ( # PLACE
    local place=$1 log=build/target-deps.log needed=350 free work step result
    rm -rf "$target_deps"/new.* # left by a run that was killed
    free=$(($(stat -f -c '%a * %S' "$target_deps") >> 20))
    ((free >= needed)) ||
        die "$needed MiB of disk are needed in $target_deps, and $free are free"

    work=$(mktemp -d "$PWD/$target_deps/new.XXXXXX") || die "cannot write to $target_deps"
    trap 'rm -rf "$work"' EXIT
    trap 'exit 130' INT TERM HUP
    say "building SQLite and GoogleTest for the target"
    for step in fetch_sqlite build_sqlite build_googletest; do
        set +e # so that errexit holds within the step, which in a condition it would not
        (set -e; "$step" "$work") >"$log" 2>&1
        result=$?
        set -e
        ((result == 0)) && continue
        cat "$log" >&2
        grep -q 'No space left on device' "$log" && die "the disk that holds $target_deps is full"
        die "${step//_/ } failed, as said above and in $log"
    done
    mv -T "$work/prefix" "$place" || die "cannot write to $target_deps"
)

# The source package of the SQLite that this machine has. It is looked up with the machine's own
# package sources, asked for sources in place of packages, in lists apart: the machine's stay as
# they are.
fetch_sqlite() { # FOLDER
    local version list parts file sources=$1/sources
    version=$(dpkg-query -W -f '${source:Version}' libsqlite3-dev)
    eval "$(apt-config shell list Dir::Etc::sourcelist/f parts Dir::Etc::sourceparts/d)"
    mkdir -p "$sources" "$1/lists/partial" "$1/cache"
    for file in "$parts"/*.sources; do
        [[ -f $file ]] && sed 's/^Types:.*/Types: deb-src/I' "$file" >"$sources/${file##*/}"
    done
    for file in "$list" "$parts"/*.list; do
        [[ -f $file ]] && sed -n 's/^deb[[:space:]]/deb-src /p' "$file" >"$sources/${file##*/}"
    done
    grep -qs deb-src "$sources"/* || { say "this machine has no package sources"; return 1; }

    cd "$1"
    local apt=(apt-get -q
        -o Dir::Etc::sourcelist=/dev/null -o "Dir::Etc::sourceparts=$sources"
        -o "Dir::State::lists=$1/lists" -o "Dir::Cache=$1/cache"
        -o APT::Sandbox::User=root) # apt's own user need not have access to this folder
    "${apt[@]}" update
    "${apt[@]}" source --only-source --download-only "sqlite3=$version" || {
        say "no source package of sqlite3 $version, the version of libsqlite3-dev here: the package" \
            "sources of this machine are out of reach, or hold another version (apt-get upgrade)"
        return 1
    }
    dpkg-source --no-check -x ./*.dsc sqlite3 # apt has checked it
}

# As the package's own rules configure it, but for the Tcl binding and the shell.
build_sqlite() { # FOLDER
    local compiler flags options
    cd "$root"
    compiler=$(toolchain CMAKE_C_COMPILER)
    flags=$(toolchain CMAKE_C_FLAGS_INIT)
    options=$(grep -o -- '-DSQLITE_[A-Z0-9_]*\(=[0-9]*\)\?' "$1/sqlite3/debian/rules" | tr '\n' ' ')
    mkdir "$1/sqlite3/target"
    cd "$1/sqlite3/target"
    CC=$compiler CFLAGS="-O2 -fno-strict-aliasing $flags $options" ../configure \
        --host="${compiler%-gcc}" --prefix="$1/prefix" --disable-static --disable-tcl \
        --disable-readline --enable-threadsafe --enable-load-extension --enable-fts4 --enable-fts5
    CROSS_BUILDING=yes make -j "$(nproc)" lib_install
    rm "$1/prefix/lib/libsqlite3.la"
    install -D -m 644 -t "$1/prefix/include" sqlite3.h
}

build_googletest() { # FOLDER
    cmake -S /usr/src/googletest -B "$1/googletest" -DCMAKE_TOOLCHAIN_FILE="$root/$target_toolchain" \
        -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX="$1/prefix" -DBUILD_GMOCK=OFF
    cmake --build "$1/googletest" -j "$(nproc)"
    cmake --install "$1/googletest"
}
