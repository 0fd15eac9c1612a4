#!/usr/bin/env bash
# Runs the class tests under every checker: checkers.sh --quick | --full | --only CHECKER
set -euo pipefail
. "$(dirname "$0")/../../scripts/lib/machine.sh"

all=(threads gcc-asan clang-asan debug-stl-unsigned-char valgrind-signed-char target-ubsan)
quick=(threads)
cases=0
failures=0

fails() { # CHECKER WHAT
    printf 'failure %s: %s\n' "$1" "$2"
    failures=$((failures + 1))
}

# Runs each class test that was built in a folder.
run_tests() { # CHECKER FOLDER [PREFIX...]
    local checker=$1 tests=$2/components/sql/sqlwrapper/test test log
    shift 2
    for test in "$tests"/*Test; do
        log=$root/build/faults/$checker-${test##*/}.log
        if LOCPATH=$root/$tests/locales "$@" "$test" --gtest_brief=1 >"$log" 2>&1; then
            cases=$((cases + $(sed -nE 's/.* ([0-9]+) tests? from .* ran\..*/\1/p' "$log" | tail -1)))
        else
            fails "$checker" "${test##*/}, see $log"
        fi
    done
}

# Builds the class tests with these flags, and runs them.
tests_with() { # CHECKER COMPILER FLAGS [PREFIX...]
    local checker=$1 compiler=$2 flags=$3 folder=build/faults/$1 log=build/faults/$1.log
    shift 3
    if { cmake -S . -B "$folder" -DCMAKE_CXX_COMPILER="$compiler" -DCMAKE_BUILD_TYPE=Debug \
        -DCMAKE_CXX_FLAGS="$flags" -DCMAKE_PREFIX_PATH="$root/$folder-gtest" \
        -DSQLWRAPPER_BUILD_EXAMPLES=OFF &&
        cmake --build "$folder/components/sql/sqlwrapper" -j 2; } >"$log" 2>&1; then
        run_tests "$checker" "$folder" "$@"
    else
        fails "$checker" "does not build, see $log"
    fi
}

checker_gcc-asan() { tests_with gcc-asan g++ "-fsanitize=address,undefined -fno-sanitize-recover=all"; }
checker_clang-asan() {
    tests_with clang-asan clang++ "-fsanitize=address,undefined -fno-sanitize-recover=all"
}

# The containers of such a build are others, so GoogleTest has to be built with it. Plain char is
# unsigned here, and signed under valgrind.
checker_debug-stl-unsigned-char() {
    local checker=debug-stl-unsigned-char flags="-D_GLIBCXX_DEBUG -funsigned-char"
    local gtest=build/faults/$checker-gtest log=build/faults/$checker.log
    if { cmake -S /usr/src/googletest -B "$gtest/build" -DCMAKE_CXX_FLAGS="$flags" \
        -DBUILD_GMOCK=OFF -DCMAKE_INSTALL_PREFIX="$root/$gtest" &&
        cmake --build "$gtest/build" -j 2 && cmake --install "$gtest/build"; } >"$log" 2>&1; then
        tests_with "$checker" g++ "$flags"
    else
        fails "$checker" "GoogleTest does not build, see $log"
    fi
}

# Tests that count allocations have an operator new of their own, which is to stay in its place.
checker_valgrind-signed-char() {
    tests_with valgrind-signed-char g++ "-O1 -fsigned-char" valgrind -q --error-exitcode=9 \
        --soname-synonyms=somalloc=nouserintercepts \
        --leak-check=full --errors-for-leak-kinds=definite,indirect,possible
}

# It traps there: the runtime of the sanitizer does not link.
checker_target-ubsan() {
    local tests=() source emulator
    for source in components/sql/sqlwrapper/test/*Test.cpp; do
        source=${source##*/}
        tests+=("${source%.cpp}")
    done
    prepare_target
    build ppc-ubsan "${tests[@]}"
    read -ra emulator < <(toolchain CMAKE_CROSSCOMPILING_EMULATOR)
    run_tests target-ubsan build/ppc-ubsan "${emulator[@]}"
}

checker_threads() {
    local program=build/faults/threads log=build/faults/threads.log
    if ! clang++ -std=c++17 -O1 -g -fsanitize=thread -Icomponents/sql/sqlwrapper/include \
        components/sql/sqlwrapper/src/*.cpp test/faults/threads.cpp test/faults/Platform.cpp \
        -lsqlite3 -o "$program" >"$log" 2>&1; then
        fails threads "does not build, see $log"
    elif "$program" "$mode" >"$log" 2>&1; then
        cases=$((cases + $(sed -n 's/^cases //p' "$log")))
    else
        fails threads "see $log"
    fi
}

mode=$1
case $mode in
    --quick) wanted=("${quick[@]}") ;;
    --full) wanted=("${all[@]}") ;;
    --only) wanted=("$2") mode=--quick ;;
    *) die "usage: checkers.sh --quick | --full | --only CHECKER" ;;
esac
needs "${build_packages[@]}" clang libclang-rt-14-dev libgtest-dev googletest locales python3 sqlite3 \
    valgrind
mkdir -p build/faults
for checker in "${wanted[@]}"; do
    [[ " ${all[*]} " == *" $checker "* ]] || die "no checker '$checker'; there are: ${all[*]}"
    "checker_$checker"
done
echo "figure ${wanted[*]}"
echo "cases $cases"
exit $((failures > 0))
