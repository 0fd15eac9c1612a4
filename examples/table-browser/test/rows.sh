#!/usr/bin/env bash
# Prints rows of all types, and says in one line what is wrong with its input: rows.sh BROWSER...
set -euo pipefail
browser=("$@")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
export TZ=UTC

sqlite3 some.db '
    create table "two words" (id integer, "select" text, price real, sold integer, "a:b" integer);
    insert into "two words" values (1, '"'it''s'"', 2.5, 1, 86400);
    insert into "two words" values (22, '"'Nüsse'"', 1250, 0, null);
    insert into "two words" values (3, '"'two' || char(10) || 'lines'"', null, null, 0);
    create view cheap as select id from "two words" where price < 100;'
: >empty.db
echo 'no database, though long enough for one: an SQLite file begins with "SQLite format 3"' >text.txt
mkdir folder

prints() { # EXPECTED ARGUMENT...
    local expected=$1 output
    shift
    output=$("${browser[@]}" "$@")
    [[ $output == "$expected" ]] || {
        diff <(echo "$expected") <(echo "$output") || true
        echo "unexpected output of: $*"
        exit 1
    }
}

refuses() { # STATUS MESSAGE ARGUMENT...
    local wanted=$1 expected="table-browser: $2" output status=0
    shift 2
    output=$("${browser[@]}" "$@" 2>&1) || status=$?
    [[ $status == "$wanted" && $output == "$expected" ]] || {
        printf 'status %s\n%s\nin place of status %s\n%s\nfor: %s\n' \
            "$status" "$output" "$wanted" "$expected" "$*"
        exit 1
    }
}

prints 'id  select         price  sold  a:b
 1  it'"'"'s             2.5  1     02-01-1970 00:00:00, Fri
22  Nüsse         1250.0  0     null
 3  two\x0alines    null  null  01-01-1970 00:00:00, Thu' \
    some.db 'two words' 'id:integer, select:text, price:float, sold:bool, a:b:time'
prints 'id
 1' some.db cheap id:integer
prints 'select
Nüsse
it'"'"'s' some.db 'two words' select:text --where 'price > 0' --order id\ desc --count 2
prints id some.db 'two words' id:integer --count 0

refuses 1 'none.db is not there' none.db t id:integer
refuses 1 'folder cannot be opened' folder t id:integer
refuses 1 'text.txt is not a database, or cannot be read' text.txt t id:integer
refuses 1 "empty.db has no table 't'" empty.db t id:integer
refuses 1 "some.db has no table 't'" some.db t id:integer
refuses 1 "some.db has no table 't'; drop'" some.db "t'; drop" id:integer
refuses 1 "table 'two words' has no column 'name'; it has: id select price sold a:b" \
    some.db 'two words' id:integer,name:text
refuses 1 'SQLite refuses this: select "id" from "two words" where id =' \
    some.db 'two words' id:integer --where 'id ='
refuses 1 'none\x0a.db is not there' $'none\n.db' t id:integer
refuses 2 'FILE, TABLE and columns are needed, and a value behind each option (see --help)' some.db t
refuses 2 'FILE, TABLE and columns are needed, and a value behind each option (see --help)' \
    some.db t id:integer --where
refuses 2 "there is no option '--limit' (see --help)" some.db t id:integer --limit 3
refuses 2 "there is no type 'int' (see --help)" some.db t id:int
refuses 2 "'id' is not of the form COLUMN:TYPE (see --help)" some.db t id
refuses 2 'no columns are given (see --help)' some.db t ,
refuses 2 "'-3' is no number of rows (see --help)" some.db t id:integer --count -3

"${browser[@]}" --help | grep -q '^usage: table-browser FILE'
status=0
"${browser[@]}" some.db cheap id:integer >/dev/full 2>full.txt || status=$?
[[ $status == 1 && $(<full.txt) == 'table-browser: the rows could not be written' ]]
