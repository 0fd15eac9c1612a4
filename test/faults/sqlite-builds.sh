#!/usr/bin/env bash
# Runs the class tests on SQLite as others build it: sqlite-builds.sh --quick | --full | --only BUILD
# What differs must stand in test/faults/sqlite-differences, with its reason.
set -euo pipefail
. "$(dirname "$0")/../../scripts/lib/machine.sh"

all=(dqs0 threadsafe0 threadsafe2 newest)
quick=(dqs0)
folder=$root/build/faults/sqlite
cases=0
failures=0

fails() { # BUILD WHAT
    printf 'failure %s: %s\n' "$1" "$2"
    failures=$((failures + 1))
}

# As Debian builds it, but for one option.
build_dqs0() { scripts/lib/sqlite "$1" host debian --debian -DSQLITE_DQS=0; }
build_threadsafe0() {
    # What waits for other threads is not there without threads.
    scripts/lib/sqlite "$1" host debian --debian -DSQLITE_THREADSAFE=0 -USQLITE_ENABLE_UNLOCK_NOTIFY
}
build_threadsafe2() { scripts/lib/sqlite "$1" host debian --debian -DSQLITE_THREADSAFE=2; }
# The newest one that a package of the npm registry brings along.
build_newest() { scripts/lib/sqlite "$1" host npm:better-sqlite3 --debian; }

# Compares the tests that fail with those that are listed to differ.
compare() { # BUILD
    local build=$1 tests=build/dev/components/sql/sqlwrapper/test test log=build/faults/$1.log
    local locales=$root/$tests/locales expected
    : >"$log"
    for test in "$tests"/*Test; do
        LD_LIBRARY_PATH=$folder/$build/lib LOCPATH=$locales "$test" --gtest_brief=1 >>"$log" 2>&1 || true
    done
    cases=$((cases + $(sed -nE 's/.* ([0-9]+) tests? from .* ran\..*/\1/p' "$log" | paste -sd+ | bc)))
    expected=$(sed -nE "s/^$build +\| +([^ |]+).*/\1/p" test/faults/sqlite-differences | sort)
    local differing
    differing=$(sed -nE 's/^\[  FAILED  \] ([^, ]+).*\(.*/\1/p' "$log" | sort -u)
    while read -r test; do
        [[ -z $test ]] || fails "$build" "$test differs, which is not listed; see $log"
    done < <(comm -13 <(echo "$expected") <(echo "$differing"))
    while read -r test; do
        [[ -z $test ]] || fails "$build" "$test is listed to differ and does not"
    done < <(comm -23 <(echo "$expected") <(echo "$differing"))
    local version
    version=$(sed -nE 's/^#define SQLITE_VERSION +"(.*)"/\1/p' "$folder/$build/include/sqlite3.h")
    echo "figure $build: SQLite $version, $(grep -c . <<<"$differing" || true) documented differences"
}

case $1 in
    --quick) wanted=("${quick[@]}") ;;
    --full) wanted=("${all[@]}") ;;
    --only) wanted=("$2") ;;
    *) die "usage: sqlite-builds.sh --quick | --full | --only BUILD" ;;
esac
needs "${build_packages[@]}" gcc libgtest-dev locales python3 sqlite3 bc
mkdir -p "$folder"
build dev
for build in "${wanted[@]}"; do
    [[ " ${all[*]} " == *" $build "* ]] || die "no build '$build'; there are: ${all[*]}"
    if "build_$build" "build/faults/sqlite/$build" >"$folder/$build.log" 2>&1; then
        compare "$build"
    else
        tail -5 "$folder/$build.log"
        fails "$build" "could not be built, see build/faults/sqlite/$build.log"
    fi
done
echo "cases $cases"
exit $((failures > 0))
