#!/usr/bin/env bash
# Each failure is one line that says what to do, and leaves the inventory as it was.
# shellcheck source-path=SCRIPTDIR
. "$(dirname "$0")/support.sh"

# keeps STATUS LINE ARGUMENT...: refuses, with the database the same to the last byte.
keeps() {
    cp inventory.db before.db
    refuses "$@"
    cmp before.db inventory.db || fail "the inventory has changed"
}

# An inventory, and the status that it was taken from.
recorded() {
    write_status
    succeeds status
}

# An inventory, and a status in which a line is another: damaged NUMBER TEXT
damaged() {
    recorded
    sed -i "$1s/.*/$2/" status
}

repair="repair the file (copies are in /var/backups) or name another"

# Wrong usage

test_wrong_usage() {
    refuses 2 "unknown option '--nonsense' (see --help)" --nonsense
    refuses 2 "unknown option '--help=me' (see --help)" --help=me
    refuses 2 "unknown option '-x' (see --help)" -x
    refuses 2 "option '--top' needs a value (see --help)" --top
    refuses 2 "--top needs a number from 0 to 1000000, not 'ten' (see --help)" --top ten
    refuses 2 "--top needs a number from 0 to 1000000, not '-1' (see --help)" --top -1
    refuses 2 "--top needs a number from 0 to 1000000, not '' (see --help)" --top ''
    refuses 2 "--wait needs a number from 0 to 3600, not '3601' (see --help)" --wait 3601
    refuses 2 "--wait needs a number from 0 to 3600, not '1s' (see --help)" --wait 1s
    refuses 2 "--database needs a name, not an empty text (see --help)" --database=
    refuses 2 "one STATUS-FILE is enough, and there is also 'two' (see --help)" one two
    refuses 2 "--restore reads no STATUS-FILE (see --help)" --restore status
    [[ ! -e inventory.db ]] || fail "a database was made"
}

test_info_that_is_no_folder() {
    write_status
    refuses 2 "--info needs a folder, and 'nowhere' is not one (see --help)" --info nowhere status
    refuses 2 "--info needs a folder, and 'status' is not one (see --help)" --info status status
    [[ ! -e inventory.db ]] || fail "a database was made"
}

test_help() {
    succeeds --help
    expect "first line" "Usage: package-inventory [OPTION]... [STATUS-FILE]" "$(head -n 1 out)"
    [[ ! -e inventory.db ]] || fail "a database was made"
}

# The source

test_missing_source() {
    recorded
    keeps 1 "cannot read 'nowhere/status': No such file or directory; name a status file of dpkg" \
        nowhere/status
}

test_source_that_is_a_folder() {
    recorded
    keeps 1 "cannot read '.': Is a directory; name a status file of dpkg" .
}

test_bad_source_makes_no_database() {
    refuses 1 "cannot read 'status': No such file or directory; name a status file of dpkg" status
    [[ ! -e inventory.db ]] || fail "a database was made"
}

test_line_without_field() {
    damaged 5 'garbage'
    keeps 1 "status:5: 'garbage' is neither a field nor the continuation of one; $repair" status
    damaged 5 ': garbage'
    keeps 1 "status:5: ': garbage' is neither a field nor the continuation of one; $repair" status
    damaged 5 'two words: garbage'
    keeps 1 "status:5: 'two words: garbage' is neither a field nor the continuation of one; $repair" \
        status
}

test_long_line_is_cut() {
    damaged 5 "$(printf '%0100d' 0)"
    keeps 1 "status:5: '$(printf '%040d' 0)...' is neither a field nor the continuation of one; \
$repair" status
}

test_continuation_without_field() {
    damaged 11 '\n lost'
    keeps 1 "status:12: a continuation line without a field above it; $repair" status
}

test_second_field_of_a_name() {
    damaged 5 'package: alpha'
    keeps 1 "status:5: a second field 'package' in one package; $repair" status
}

test_control_characters() {
    damaged 5 'Section: ad\x00min'
    keeps 1 "status:5: a control character; $repair" status
    damaged 5 'Section: ad\x1b[2Jmin'
    keeps 1 "status:5: a control character; $repair" status
}

test_bad_size() {
    local size
    for size in 12k -1 1099511627777 99999999999999999999 1.5; do
        damaged 5 "Installed-Size: $size"
        keeps 1 "status:5: '$size' is not a size in KiB; $repair" status
    done
}

test_bad_names() {
    damaged 1 'Package: ..\/..\/etc'
    keeps 1 "status:1: '../../etc' is not the name of a package; $repair" status
    damaged 6 'Architecture: a b'
    keeps 1 "status:6: 'a b' is not an architecture; $repair" status
    damaged 2 'Essential: perhaps'
    keeps 1 "status:2: 'perhaps' is neither 'yes' nor 'no'; $repair" status
    damaged 3 'Status: installed'
    keeps 1 "status:3: 'installed' is not the status of a package; $repair" status
}

test_missing_fields() {
    local line field
    for line in 1:Package 3:Status 6:Architecture 7:Version; do
        field=${line#*:}
        damaged "${line%:*}" 'X: y'
        keeps 1 "status:1: a package without the field '$field'; $repair" status
        damaged "${line%:*}" "$field:"
        keeps 1 "status:${line%:*}: nothing in the field '$field'; $repair" status
    done
}

test_package_twice() {
    recorded
    sed -i 's/^Architecture: i386$/Architecture: amd64/' status
    keeps 1 "status:21: the package 'beta' for a second time; $repair" status
}

test_file_that_is_cut_off() {
    recorded
    truncate -s -3 status
    keeps 1 "status:$(($(wc -l <status) + 1)): the file ends in the middle of a line; $repair" status
}

# The database

test_folder_that_is_missing() {
    write_status
    refuses 1 "cannot open the database 'nowhere/a.db'; check that its folder is there and may be \
written, or name another with --database" --database nowhere/a.db status
}

test_database_that_is_not_a_file() {
    write_status
    refuses 1 ". is a folder; name another database with --database" --database . status
    mkfifo fifo
    refuses 1 "fifo is not a regular file; name another database with --database" \
        --database fifo status
}

test_database_that_nothing_keeps() {
    write_status
    refuses 1 ":memory: is a database that nothing keeps; for a file of that name, write \
./:memory:; name another database with --database" --database :memory: status
    succeeds --database ./:memory: status
    expect "stamp" 1 "$(sqlite3 ./:memory: 'pragma user_version')"
    refuses 1 "file:a.db?mode=memory is a database that nothing keeps; name another database with \
--database" --database file:a.db?mode=memory status
    succeeds --database ./file::memory: status
    expect "stamp" 1 "$(sqlite3 ./file::memory: 'pragma user_version')"
}

test_database_by_uri() {
    write_status
    succeeds --database "file:a%20b.db?mode=rwc" status
    expect "stamp" 1 "$(sqlite3 'a b.db' 'pragma user_version')"
    refuses 1 "file:///pool:a/b?vfs=none needs the VFS 'none', which is not loaded; name another \
database with --database" --database file:///pool:a/b?vfs=none status
}

test_file_name_with_line_break() {
    write_status
    refuses 1 "cannot open the database 'no\x0awhere/a.db'; check that its folder is there and may be \
written, or name another with --database" --database $'no\nwhere/a.db' status
}

test_file_that_is_not_a_database() {
    write_status
    cp status inventory.db
    keeps 1 "'inventory.db' is not a database; name another with --database" status
}

test_damaged_database() {
    write_status
    succeeds status
    printf '%0100d' 0 | dd of=inventory.db bs=1 seek=4096 conv=notrunc status=none
    keeps 1 "the database 'inventory.db' is damaged; put back a copy, or name another with \
--database" status
}

test_database_of_another_version() {
    write_status
    succeeds status
    sql 'pragma user_version = 2'
    keeps 1 "the database 'inventory.db' has the version 2 where this program needs 1; name another \
with --database" status
    sql 'pragma user_version = 0'
    keeps 1 "the database 'inventory.db' has the version 0 where this program needs 1; name another \
with --database" status
    sql 'pragma user_version = -1'
    keeps 1 "the database 'inventory.db' is not an inventory; name another with --database" status
}

test_database_of_another_program() {
    local line="the database 'inventory.db' holds something other than an inventory; name another \
with --database" table
    write_status
    sql 'pragma user_version = 1; create table packages (id integer primary key, price real)'
    keeps 1 "$line" status
    for table in packages previous_packages sections; do
        rm inventory.db
        recorded
        sql "alter table $table add column more"
        keeps 1 "$line" status
    done
}

test_nothing_to_restore() {
    refuses 1 "inventory.db is not there; name another database with --database" --restore
    [[ ! -e inventory.db ]] || fail "a database was made"
}

# hold STATEMENT: another connection runs the statement and keeps its lock until release.
hold() {
    coproc shell { sqlite3 inventory.db; }
    printf "%s; select 'held';\n" "$1" >&"${shell[1]}"
    local answer
    read -r answer <&"${shell[0]}"
    expect "answer of the shell" held "$answer"
}

# release COMMAND...: the shell runs its commands, and then gives up the lock and ends.
release() {
    printf '%s\n' "$@" 'commit;' .quit >&"${shell[1]}"
}

in_use="the database 'inventory.db' is in use by another program; try again when that is done, or \
wait longer with --wait"

test_locked_database() {
    recorded
    hold 'begin exclusive'
    keeps 1 "$in_use" --wait 0
    keeps 1 "$in_use" --restore --wait 0
    release
}

test_database_that_another_program_writes() {
    recorded
    hold 'begin immediate'
    keeps 1 "$in_use" --wait 0
    release
}

test_waits_as_long_as_it_is_told() {
    recorded
    hold 'begin exclusive'
    local begin=${EPOCHREALTIME/[.,]/}
    keeps 1 "$in_use" --wait 1
    local taken=$((${EPOCHREALTIME/[.,]/} - begin))
    ((taken >= 1000000 && taken < 4000000)) || fail "it took $taken microseconds"
    release
}

test_goes_on_when_the_lock_is_gone() {
    recorded
    hold 'begin exclusive'
    release '.shell sleep 0.5'
    succeeds --wait 20 status
}

test_input_output_error() {
    recorded
    # More than 1 KiB cannot be written to a file, which is an error here and not the end.
    program=(bash -c 'trap "" XFSZ; ulimit -f 1; exec "$@"' bash "${program[@]}")
    keeps 1 "the database 'inventory.db' failed: disk I/O error; the system log has the statement" \
        status
}

test_report_that_cannot_be_written() {
    write_status
    status=0
    "${program[@]}" --database inventory.db status >/dev/full 2>err || status=$?
    expect "exit status" 1 "$status"
    expect "standard error" "package-inventory: the inventory is up to date, but its report could \
not be written; check where standard output goes" "$(<err)"
    expect "packages" 5 "$(sql 'select count(*) from packages')"
}

test_help_that_cannot_be_written() {
    status=0
    "${program[@]}" --help >/dev/full 2>err || status=$?
    expect "exit status" 1 "$status"
    expect "standard error" "package-inventory: the help could not be written; check where standard \
output goes" "$(<err)"
}

test_report_to_a_closed_pipe() {
    write_status
    set +o pipefail
    { sleep 0.5; run_to_pipe status; } | true
    expect "exit status" 1 "$(<status.txt)"
    expect "standard error" "package-inventory: the inventory is up to date, but its report could \
not be written; check where standard output goes" "$(<err)"
}

run_to_pipe() {
    local result=0
    "${program[@]}" --database inventory.db "$@" 2>err || result=$?
    echo $result >status.txt
}

run_tests
