# shellcheck shell=bash
# Sourced by the tests: TEST.sh FOLDER PROGRAM... runs the functions test_*, each in a folder of its
# own below FOLDER.
set -euo pipefail

export TZ=UTC
unset SQLWRAPPER_TRACE_LEVEL
work=$1
shift
program=("$@")

fail() {
    printf '%s\n' "$*" >&2
    exit 1
}

# expect WHAT EXPECTED ACTUAL
expect() {
    [[ $2 == "$3" ]] || fail "$1"$'\nexpected: '"$2"$'\nactual:   '"$3"
}

sql() { sqlite3 inventory.db "$1"; }

# All that the database holds.
contents() { sqlite3 inventory.db .dump 'pragma user_version'; }

# run ARGUMENT...: leaves the outputs in the files out and err, and the exit status in $status.
run() {
    status=0
    "${program[@]}" --database inventory.db "$@" >out 2>err || status=$?
}

# succeeds ARGUMENT...
succeeds() {
    run "$@"
    expect "exit status of: $*" 0 "$status"
    expect "standard error of: $*" "" "$(<err)"
}

# refuses STATUS LINE ARGUMENT...: the line is all that is said.
refuses() {
    local expected=$1 line=$2
    shift 2
    run "$@"
    expect "standard error of: $*" "package-inventory: $line" "$(<err)"
    expect "lines on standard error of: $*" 1 "$(wc -l <err)"
    expect "standard output of: $*" "" "$(<out)"
    expect "exit status of: $*" "$expected" "$status"
}

# Two packages of one name, one that is held, one without size, section and list of files, and one
# that has been removed.
print_status() {
    cat <<'END'
Package: alpha
Essential: yes
Status: install ok installed
Section: admin
Installed-Size: 1000
Architecture: amd64
Version: 1.0-1
Description: first of all
 It goes on: here,
 .
 and here.

Package: beta
Status: install ok installed
Section: libs
Installed-Size: 3000
Architecture: amd64
Multi-Arch: same
Version: 2:2.0~rc1

Package: beta
Status: install ok installed
Section: libs
Installed-Size: 2500
Architecture: i386
Multi-Arch: same
Version: 2:2.0~rc1

Package: gamma
Status: install ok installed
Architecture: all
Version: 3

Package: delta
Status: deinstall ok config-files
Section: admin
Installed-Size: 7
Architecture: amd64
Version: 4

Package: held
Status: hold ok installed
Section: it's
Installed-Size: 3500
Architecture: amd64
Version: 5
END
}

write_status() {
    print_status >status
    mkdir -p info
    touch -d '2024-02-29 12:00:00' info/alpha.list
    touch -d '2023-01-31 00:00:01' info/beta:amd64.list
    touch -d '2023-01-30 00:00:01' info/beta:i386.list
    touch -d '1999-12-31 23:59:59' info/held.list
}

run_tests() {
    local test result failed=0
    for test in $(compgen -A function test_); do
        rm -rf "${work:?}/$test"
        mkdir -p "$work/$test"
        set +e # a test ends at its first failure, but not the others with it
        (
            set -e
            cd "$work/$test"
            "$test"
        )
        result=$?
        set -e
        if ((result == 0)); then
            printf 'passed  %s\n' "$test"
        else
            printf 'FAILED  %s\n' "$test"
            failed=1
        fi
    done
    return $failed
}
