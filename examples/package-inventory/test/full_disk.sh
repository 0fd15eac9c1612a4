#!/usr/bin/env bash
# A disk that fills up at any point of the work leaves the inventory as it was.
# shellcheck source-path=SCRIPTDIR
. "$(dirname "$0")/support.sh"

full="the database 'inventory.db' has no room left on its disk; make room and try again"

# fills_up_during ARGUMENT...: gives the program more room each time, until it is enough.
fills_up_during() {
    local before room=0
    before=$(contents)
    while :; do
        export SQLW_TEST_ROOM=$room
        run "$@"
        ((status != 0)) || break
        refuses 1 "$full" "$@"
        expect "inventory after $room bytes" "$before" "$(contents)"
        expect "integrity after $room bytes" ok "$(sql 'pragma integrity_check')"
        ((room += 2048))
        ((room < 1024 * 1024)) || fail "not even $room bytes are enough"
    done
    ((room >= 8 * 1024)) || fail "$room bytes were enough"
}

test_first_inventory() {
    write_status
    : >inventory.db
    fills_up_during status
}

test_next_inventory() {
    write_status
    SQLW_TEST_ROOM=1000000 succeeds status
    sed -i -e 's/^Version: 3$/Version: 4/' -e 's/^Package: alpha$/Package: omega/' status
    fills_up_during status
    expect "packages" 5 "$(sql 'select count(*) from packages')"
    expect "version" 4 "$(sql "select version from packages where name = 'gamma'")"
}

test_restoring() {
    write_status
    SQLW_TEST_ROOM=1000000 succeeds status
    : >status
    SQLW_TEST_ROOM=1000000 succeeds status
    fills_up_during --restore
    expect "packages" 5 "$(sql 'select count(*) from packages')"
}

run_tests
