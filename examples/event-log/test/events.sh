#!/usr/bin/env bash
# Appends from several processes at once, rotates, backs up, and says in one line what is wrong with
# its input: events.sh LOG...
set -euo pipefail
log=("$@")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

fail() {
    printf '%s\n' "$*"
    exit 1
}

shows() { # EXPECTED ARGUMENT...: the events without their times
    local expected=$1 output
    shift
    output=$("${log[@]}" "$@" | sed -E 's/^([0-9]+)  [0-9]{4}(-[0-9]{2}){2} [0-9]{2}(:[0-9]{2}){2}  /\1 /')
    [[ $output == "$expected" ]] || fail "$* shows:" "$output" "in place of:" "$expected"
}

refuses() { # STATUS MESSAGE ARGUMENT...
    local wanted=$1 expected="event-log: $2" output status=0
    shift 2
    output=$("${log[@]}" "$@" 2>&1) || status=$?
    [[ $status == "$wanted" && $output == "$expected" ]] ||
        fail "status $status" "$output" "in place of status $wanted" "$expected" "for: $*"
}

holds() { # EXPECTED FILE QUERY
    local output
    output=$(sqlite3 "$2" "$3")
    [[ $output == "$1" ]] || fail "$3 on $2 gives $output, not $1"
}

# The last events are kept, numbered on.
for text in one "it's two" $'thr\nee' four five six seven; do
    "${log[@]}" board.db append gearbox "$text" 3
done
shows $'5 gearbox: five\n6 gearbox: six\n7 gearbox: seven' board.db show
shows $'6 gearbox: six\n7 gearbox: seven' board.db show 2
holds 3 board.db 'select count(*) from event'
"${log[@]}" board.db append pump $'tab\there' 2
shows $'7 gearbox: seven\n8 pump: tab\\x09here' board.db show

# A copy is a log itself, and the next copy replaces it. Both have the same text.
"${log[@]}" board.db backup copy.db
shows $'7 gearbox: seven\n8 pump: tab\\x09here' copy.db show
"${log[@]}" board.db append pump nine
"${log[@]}" board.db backup copy.db
[[ $(sqlite3 board.db .dump) == "$(sqlite3 copy.db .dump)" ]] || fail "the copy differs"

# Nothing is lost when processes append at once, while others read and copy.
writers=4 each=12
append_all() {
    local i
    for ((i = 1; i <= each; ++i)); do
        "${log[@]}" shared.db append "writer $1" "event $i" 1000 || return 1
    done
}
pids=()
for ((writer = 1; writer <= writers; ++writer)); do
    append_all "$writer" &
    pids+=($!)
done
for ((i = 1; i <= 5; ++i)); do
    "${log[@]}" shared.db show 1000 >shown.txt 2>/dev/null || continue # until the log is there
    "${log[@]}" shared.db backup shared-copy.db
    cut -d ' ' -f 1 shown.txt | diff - <(seq "$(wc -l <shown.txt)") || fail "events are missing"
done
for pid in "${pids[@]}"; do
    wait "$pid" || fail "a writer failed"
done
holds "$((writers * each))" shared.db 'select count(*) from event'
holds "1 $((writers * each))" shared.db "select min(id) || ' ' || max(id) from event"
holds "$each $each" shared.db "select min(n) || ' ' || max(n) from
    (select count(distinct text) n from event group by source)"

# Bad input.
sqlite3 others.db 'create table event (id integer); pragma user_version = 7'
sqlite3 older.db 'create table event (id integer primary key, at integer not null,
    source text not null); pragma user_version = 2'
sqlite3 half.db 'create table previous (id); pragma user_version = 2'
sqlite3 unstamped.db 'create table t (id)'
echo 'no database, though long enough for one: an SQLite file begins with "SQLite format 3"' >text.txt
mkdir folder
for command in show 'backup copy.db'; do
    # shellcheck disable=SC2086
    refuses 1 'none.db is not there' none.db $command
done
[[ ! -e none.db ]] || fail "a log was made by reading it"
refuses 1 'folder is a folder' folder append a b
refuses 1 'the name of the database file is empty' '' append a b
refuses 1 ':memory: is a database that nothing keeps; for a file of that name, write ./:memory:' \
    :memory: append a b
for name in ./:memory: ./file::memory:; do # files as any other
    "${log[@]}" "$name" append gearbox kept
    shows '1 gearbox: kept' "$name" show
done

# A URI is taken as SQLite takes it.
"${log[@]}" 'file:by%20uri.db?mode=rwc' append gearbox kept
shows '1 gearbox: kept' "file://$work/by uri.db?mode=ro" show
holds 1 'by uri.db' 'select count(*) from event'
"${log[@]}" 'file:by%20uri.db' backup file:uri-copy.db
shows '1 gearbox: kept' uri-copy.db show
refuses 1 'file:by%20uri.db is the log itself' 'by uri.db' backup file:by%20uri.db
refuses 1 'text.txt: file is not a database' text.txt backup file:new.db
refuses 1 'file:a.db?mode=memory is a database that nothing keeps' file:a.db?mode=memory append a b
refuses 1 'file:none.db is not there' file:none.db show
refuses 1 "file:///pool:a/b?vfs=none needs the VFS 'none', which is not loaded" \
    file:///pool:a/b?vfs=none append a b
refuses 1 'file:by%20uri.db?mode=ro: attempt to write a readonly database' \
    file:by%20uri.db?mode=ro append a b
ln -s circle circle
refuses 1 'circle cannot be reached: its symbolic links lead in a circle' circle show
mkfifo fifo
refuses 1 'fifo is not a regular file' board.db backup fifo
refuses 1 'none/log.db cannot be opened' none/log.db append a b
refuses 1 'text.txt: file is not a database' text.txt show
refuses 1 'text.txt: file is not a database' text.txt append a b
refuses 1 'others.db is not an event log: its version is 7, not 2' others.db append a b
refuses 1 'unstamped.db is not an event log: its version is 0, not 2' unstamped.db append a b
refuses 1 "older.db is not an event log: Column 'text' of table 'event' is not in the file, and each \
statement that writes it fails. Add it to the file as a plain column, or leave it out of the \
description." older.db show
refuses 1 "half.db is not an event log: Table 'event' is not in the file. Create it with \
Table::create." half.db show
refuses 1 './board.db is the log itself' board.db backup ./board.db
refuses 1 'others.db is not an event log: its version is 7, not 2' board.db backup others.db
refuses 1 'text.txt: file is not a database' text.txt backup new.db
refuses 1 'others.db is not an event log: its version is 7, not 2' others.db backup new.db
[[ ! -e new.db ]] || fail "a failed backup leaves a file"
refuses 2 'a file, a command and its arguments are needed (see --help)'
refuses 2 'a file, a command and its arguments are needed (see --help)' board.db erase
refuses 2 'a file, a command and its arguments are needed (see --help)' board.db append gearbox
refuses 2 "'0' is not a number from 1 to 999999 (see --help)" board.db show 0
refuses 2 "'many' is not a number from 1 to 999999 (see --help)" board.db append a b many
"${log[@]}" --help | grep -q '^usage: event-log FILE'
for arguments in --help 'board.db show'; do
    status=0
    # shellcheck disable=SC2086
    "${log[@]}" $arguments >/dev/full 2>full.txt || status=$?
    [[ $status == 1 && $(<full.txt) == 'event-log: the output could not be written' ]] ||
        fail "a full disk gives status $status: $(<full.txt)"
done

# Another program holds a lock at each step of an operation: the operation fails in one line, nothing
# of it remains, and once the lock is gone it works.
fails() { # ARGUMENT...
    local line
    ! line=$("${log[@]}" "$@" 2>&1) || fail "done: $*"
    (($(wc -l <<<"$line") == 1)) || fail "$* says: $line"
}

held() { # NAME STATEMENT: with what another connection takes its lock
    local file=$1.db before line='' pid pids=()
    cp board.db "$file"
    before=$(sqlite3 "$file" .dump)
    coproc shell { sqlite3 "$file"; }
    printf "%s; select 'held';\n" "$2" >&"${shell[1]}"
    until [[ $line == held ]]; do read -r line <&"${shell[0]}"; done
    fails "$file" append a b & pids+=($!)
    fails board.db backup "$file" & pids+=($!)
    for pid in "${pids[@]}"; do wait "$pid" || return 1; done
    printf '.quit\n' >&"${shell[1]}"
    wait
    [[ $(sqlite3 "$file" .dump) == "$before" ]] || fail "something remains in $file"
    "${log[@]}" "$file" append a b && "${log[@]}" board.db backup "$file"
}
pids=()
held writing 'begin immediate' & pids+=($!)
held exclusive 'begin exclusive' & pids+=($!)
held reading 'begin; select * from event' & pids+=($!)
for pid in "${pids[@]}"; do
    wait "$pid" || fail "a lock was not taken well"
done
