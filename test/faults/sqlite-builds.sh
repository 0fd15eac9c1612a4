#!/usr/bin/env bash
# Runs the class tests on SQLite as others build it: sqlite-builds.sh --quick | --full | --only BUILD
# What differs must stand in test/faults/sqlite-differences, with its reason.
set -euo pipefail
. "$(dirname "$0")/../../scripts/target.sh"

all=(dqs0 threadsafe0 threadsafe2 newest)
quick=(dqs0)
folder=$root/build/faults/sqlite
cases=0
failures=0

fails() { # BUILD WHAT
    printf 'failure %s: %s\n' "$1" "$2"
    failures=$((failures + 1))
}

# The amalgamation of the SQLite that this machine has, from Debian's source package.
debian_amalgamation() {
    [[ -s $folder/debian/sqlite3.c ]] && return
    local work
    work=$(mktemp -d "$folder/new.XXXXXX")
    (fetch_sqlite "$work" && cd "$work/sqlite3" && ./configure --disable-tcl && make sqlite3.c) >&2
    mkdir -p "$folder/debian"
    mv "$work"/sqlite3/sqlite3.[ch] "$folder/debian/"
    rm -rf "$work"
}

# The newest one that a package of the npm registry brings along.
newest_amalgamation() {
    [[ -s $folder/newest/sqlite3.c ]] && return
    command -v npm >/dev/null || needs npm
    local work
    work=$(mktemp -d "$folder/new.XXXXXX")
    (cd "$work" && npm pack --silent better-sqlite3 && tar xzf better-sqlite3-*.tgz) >&2
    mkdir -p "$folder/newest"
    mv "$work"/package/deps/sqlite3/sqlite3.[ch] "$folder/newest/"
    rm -rf "$work"
}

# As Debian builds it, but for one option.
build_sqlite_with() { # BUILD SOURCE OPTION...
    local build=$1 source=$2 place=$folder/$1
    shift 2
    [[ -e $place/libsqlite3.so.0 ]] && return
    mkdir -p "$place"
    gcc -O1 -fPIC -shared -Wl,-soname,libsqlite3.so.0 -DSQLITE_ENABLE_COLUMN_METADATA \
        -DSQLITE_ENABLE_FTS3 -DSQLITE_ENABLE_UNLOCK_NOTIFY -DSQLITE_ENABLE_DBSTAT_VTAB "$@" \
        "$folder/$source/sqlite3.c" -o "$place/new.so" -ldl -lm -lpthread >&2
    mv "$place/new.so" "$place/libsqlite3.so.0"
}

build_dqs0() { debian_amalgamation && build_sqlite_with dqs0 debian -DSQLITE_DQS=0; }
build_threadsafe0() {
    debian_amalgamation
    # What waits for other threads is not there without threads.
    build_sqlite_with threadsafe0 debian -DSQLITE_THREADSAFE=0 -USQLITE_ENABLE_UNLOCK_NOTIFY
}
build_threadsafe2() { debian_amalgamation && build_sqlite_with threadsafe2 debian -DSQLITE_THREADSAFE=2; }
build_newest() { newest_amalgamation && build_sqlite_with newest newest; }

# Compares the tests that fail with those that are listed to differ.
compare() { # BUILD
    local build=$1 tests=build/dev/components/sql/sqlwrapper/test test log=build/faults/$1.log
    local locales=$root/$tests/locales expected
    : >"$log"
    for test in "$tests"/Sql*Test; do
        LD_LIBRARY_PATH=$folder/$build LOCPATH=$locales "$test" --gtest_brief=1 >>"$log" 2>&1 || true
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
    version=$(sed -nE 's/^#define SQLITE_VERSION +"(.*)"/\1/p' "$folder/$2/sqlite3.c")
    echo "figure $build: SQLite $version, $(grep -c . <<<"$differing" || true) documented differences"
}

case $1 in
    --quick) wanted=("${quick[@]}") ;;
    --full) wanted=("${all[@]}") ;;
    --only) wanted=("$2") ;;
    *) die "usage: sqlite-builds.sh --quick | --full | --only BUILD" ;;
esac
needs "${build_packages[@]}" gcc libgtest-dev locales python3 sqlite3 dpkg-dev tcl bc
mkdir -p "$folder"
build dev
for build in "${wanted[@]}"; do
    [[ " ${all[*]} " == *" $build "* ]] || die "no build '$build'; there are: ${all[*]}"
    if "build_$build" 2>"$folder/$build.log"; then
        source=debian
        [[ $build == newest ]] && source=newest
        compare "$build" "$source"
    else
        tail -5 "$folder/$build.log"
        fails "$build" "could not be built, see build/faults/sqlite/$build.log"
    fi
done
echo "cases $cases"
exit $((failures > 0))
