#!/usr/bin/env bash
# Runs the class tests under every checker: checkers.sh --quick | --full | --only CHECKER
set -euo pipefail
. "$(dirname "$0")/../../scripts/needs.sh"

all=(threads unsigned-char gcc-asan clang-asan debug-stl signed-char valgrind)
quick=(threads)
cases=0
failures=0

fails() { # CHECKER WHAT
    printf 'failure %s: %s\n' "$1" "$2"
    failures=$((failures + 1))
}

# Builds the class tests with these flags, and runs each of them.
tests_with() { # CHECKER COMPILER FLAGS [PREFIX]
    local checker=$1 compiler=$2 flags=$3 prefix=${4:-} folder=build/faults/$1 log=build/faults/$1.log
    local locales test
    { cmake -S . -B "$folder" -DCMAKE_CXX_COMPILER="$compiler" -DCMAKE_BUILD_TYPE=Debug \
        -DCMAKE_CXX_FLAGS="$flags" -DSQLWRAPPER_BUILD_EXAMPLES=OFF &&
        cmake --build "$folder/components/sql/sqlwrapper" -j 2; } >"$log" 2>&1 ||
        { fails "$checker" "does not build, see $log"; return; }
    locales=$root/$folder/components/sql/sqlwrapper/test/locales
    for test in "$folder"/components/sql/sqlwrapper/test/Sql*Test; do
        # shellcheck disable=SC2086
        if LOCPATH=$locales $prefix "$test" --gtest_brief=1 >"$log" 2>&1; then
            cases=$((cases + $(sed -nE 's/.* ([0-9]+) tests? from .* ran\..*/\1/p' "$log" | tail -1)))
        else
            cp "$log" "$folder/${test##*/}.log"
            fails "$checker" "${test##*/}, see $folder/${test##*/}.log"
        fi
    done
}

checker_gcc-asan() { tests_with gcc-asan g++ "-fsanitize=address,undefined -fno-sanitize-recover=all"; }
checker_clang-asan() {
    tests_with clang-asan clang++ "-fsanitize=address,undefined -fno-sanitize-recover=all"
}
checker_debug-stl() { tests_with debug-stl g++ "-D_GLIBCXX_DEBUG -DSQLW_TEST_OWN_GTEST"; }
checker_signed-char() { tests_with signed-char g++ -fsigned-char; }
checker_unsigned-char() { tests_with unsigned-char g++ -funsigned-char; }
checker_valgrind() {
    tests_with valgrind g++ -O1 "valgrind -q --error-exitcode=9 --leak-check=full --errors-for-leak-kinds=definite,possible"
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
needs "${build_packages[@]}" clang libclang-rt-14-dev libgtest-dev locales python3 sqlite3 valgrind
mkdir -p build/faults
for checker in "${wanted[@]}"; do
    [[ " ${all[*]} " == *" $checker "* ]] || die "no checker '$checker'; there are: ${all[*]}"
    "checker_$checker"
done
echo "figure ${wanted[*]}"
echo "cases $cases"
exit $((failures > 0))
