# shellcheck shell=bash disable=SC2034
# Sourced, in place of common.sh, by what builds for the target too.

# shellcheck source=scripts/lib/common.sh
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"

target_toolchain=cmake/toolchains/powerpc-e500mc.cmake
# The folder of the target's libraries that do not come with the cross compiler: the toolchain file
# looks for them there.
target_sqlite=build/target-deps/sqlite
target_googletest=build/target-deps/googletest

# toolchain VARIABLE: what the toolchain file sets it to.
toolchain() { sed -n "s/^set($1 \(.*\))\$/\1/p" "$root/$target_toolchain"; }

# on_target PROGRAM [ARGUMENT...]: runs in the emulator what was built for the target.
on_target() { "${emulator[@]}" "$@"; }
read -ra emulator < <(toolchain CMAKE_CROSSCOMPILING_EMULATOR)
tools=$(toolchain CMAKE_C_COMPILER)
tools=${tools%gcc} # what the names of the target's tools begin with

# prepare_target: brings the cross compiler, the emulator, and SQLite and GoogleTest for the target.
prepare_target() {
    needs "${build_packages[@]}" g++-powerpc-linux-gnu qemu-user
    on_target /usr/powerpc-linux-gnu/lib/ld.so.1 --version >/dev/null 2>&1 ||
        die "qemu-ppc is missing or cannot run programs of the target; reinstall qemu-user"
    scripts/lib/sqlite "$target_sqlite" target debian --debian
    build_googletest "$target_googletest" "-DCMAKE_TOOLCHAIN_FILE=$root/$target_toolchain" \
        -DCMAKE_BUILD_TYPE=Release
}

# use_machine host | target: prepares it, and sets what depends on it.
use_machine() {
    machine=$1
    case $1 in
        host)
            preset=release
            architecture=$(dpkg --print-architecture)
            triplet=$(gcc -dumpmachine)
            machine_options=(-DCMAKE_CXX_COMPILER=g++)
            consumer_options=("${machine_options[@]}")
            make_options=(CXX=g++)
            libraries_path=
            run_on_machine() { "$@"; }
            ;;
        target)
            prepare_target
            preset=ppc
            architecture=powerpc
            triplet=${tools%-}
            machine_options=("-DCMAKE_TOOLCHAIN_FILE=$root/$target_toolchain")
            # As in any cross build, the linker needs the folder of the libraries that the shared
            # library itself needs.
            local sqlite=$root/$target_sqlite/lib flags
            flags=-Wl,-rpath-link,$sqlite
            consumer_options=("${machine_options[@]}" "-DCMAKE_EXE_LINKER_FLAGS=$flags")
            make_options=(CXX="${tools}g++" CXXFLAGS=-mcpu=e500mc LDFLAGS="$flags -L$sqlite")
            libraries_path=:$sqlite
            run_on_machine() { on_target "$@"; }
            ;;
        *) wrong_usage "no machine '$1'; there are: host target" ;;
    esac
}
