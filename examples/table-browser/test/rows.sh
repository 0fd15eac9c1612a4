#!/usr/bin/env bash
# Prints rows of all types, and says in one line what is wrong with its input: rows.sh BROWSER...
set -euo pipefail
browser=("$@")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
export TZ=UTC

sqlite3 some.db <<'END'
create table "two words" (id integer, "select" text, price real, sold integer, "a:b" integer);
insert into "two words" values (1, 'it''s', 2.5, 1, 86400);
insert into "two words" values (22, 'Nüsse', 1250, 0, null);
insert into "two words" values (3, 'two' || char(10) || 'lines', null, null, 0);
create view cheap as select id from "two words" where price < 100;
create table odd ("last, first" text, " blanks " text, """quoted"":" text, Mixed integer,
    twice integer as (Mixed * 2));
insert into odd values ('a', 'b', 'c', 4);
create table bare (id text primary key) without rowid;
create table texts (text text, number integer);
insert into texts values (null, 1), ('null', 2), ('\N', 3), ('日本', 4), ('e' || char(0x301), 5),
    (char(0x9b) || '2J' || char(0x202e), 6), (cast(x'9b' as text), 7);
create view large as with recursive n (i) as (select 1 union all select i + 1 from n limit 100000)
    select hex(zeroblob(500)) text from n;
END
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
22  Nüsse         1250.0  0     \N
 3  two\x0alines      \N  \N    01-01-1970 00:00:00, Thu' \
    some.db 'two words' 'id:integer, select:text, price:float, sold:bool, a:b:time'
prints 'id
 1' some.db cheap id:integer
prints 'select
Nüsse
it'"'"'s' some.db 'two words' select:text --where 'price > 0' --order id\ desc --count 2
prints id some.db 'two words' id:integer --count 0

# Names as SQL has them, generated columns, and the number of a row.
prints '"quoted":  Last, First   blanks   MIXED  twice  rowid  oid  _ROWID_
c          a            b             4      8      1    1        1' some.db ODD \
    '"""quoted"":":text, "Last, First":text ," blanks ":text,MIXED:integer,twice:integer,rowid:integer,oid:integer,_ROWID_:integer'
prints 'rowid
    3' some.db 'two words' rowid:integer --where id=3

# Different texts look different, and none disturbs the terminal.
prints 'text
\N
null
\\N' some.db texts text:text --where 'number <= 3'
prints 'text
\u009b2J\u202e
\x9b' some.db texts text:text --where 'number > 5'

# Wide and combining characters.
if ${WIDE_CHARACTERS:-true}; then
    prints $'text  number\n日本       4\ne\u0301          5' some.db texts text:text,number:integer \
        --where 'number in (4, 5)'
fi

refuses 1 'none.db is not there' none.db t id:integer
refuses 1 'folder is a folder' folder t id:integer
refuses 1 'text.txt cannot be read: file is not a database' text.txt t id:integer
refuses 1 "empty.db has no table 't'" empty.db t id:integer
refuses 1 "some.db has no table 't'" some.db t id:integer
refuses 1 "some.db has no table 't'; drop'" some.db "t'; drop" id:integer
refuses 1 "table 'two words' has no column 'name'; it has: id, select, price, sold, a:b" \
    some.db 'two words' id:integer,name:text
statement='select "two words"."id" from "two words" where'
refuses 1 "incomplete input, in: $statement id =" some.db 'two words' id:integer --where 'id ='
refuses 1 "no such column: price_, in: $statement price_ > 2" \
    some.db 'two words' id:integer --where 'price_ > 2'
refuses 1 'no such column: bare.rowid, in: select "bare"."rowid" from "bare"' \
    some.db bare rowid:integer
refuses 1 'none\x0a.db is not there' $'none\n.db' t id:integer
refuses 2 'FILE, TABLE and columns are needed, and a value after each option (see --help)' some.db t
refuses 2 'FILE, TABLE and columns are needed, and a value after each option (see --help)' \
    some.db t id:integer --where
refuses 2 "there is no option '--limit' (see --help)" some.db t id:integer --limit 3
refuses 2 "there is no type 'int' (see --help)" some.db t id:int
refuses 2 "'id' is not of the form COLUMN:TYPE (see --help)" some.db t id
refuses 2 'no columns are given (see --help)' some.db t ' '
refuses 2 "'' is not of the form COLUMN:TYPE (see --help)" some.db t id:integer,,price:float
refuses 2 "there is no type '' (see --help)" some.db t '"id":'
refuses 2 "'\"id\" integer' is not of the form COLUMN:TYPE (see --help)" some.db t '"id" integer'
refuses 2 'a double quote is missing at the end of "id:integer (see --help)' some.db t '"id:integer'
refuses 2 "'-3' is not a number of rows (see --help)" some.db t id:integer --count -3
refuses 2 '--count needs a value, not an empty text (see --help)' some.db t id:integer --count ''
refuses 2 '--where needs a value, not an empty text (see --help)' some.db t id:integer --where ''

# A URI is taken as SQLite takes it.
prints 'id
 1' 'file:some%2edb?immutable=1' cheap id:integer
refuses 1 'file:none.db is not there' file:none.db t id:integer
refuses 1 'file:some.db?mode=memory is a database that nothing keeps' file:some.db?mode=memory t \
    id:integer
refuses 1 "file:///pool:a/b?vfs=none needs the VFS 'none', which is not loaded" \
    file:///pool:a/b?vfs=none t id:integer

mkfifo fifo
refuses 1 'fifo is not a regular file' fifo t id:integer

head -c 5000 some.db >cut.db
refuses 1 'cut.db cannot be read: database disk image is malformed' cut.db t id:integer

cp some.db locked.db
coproc shell { sqlite3 locked.db; }
printf "begin exclusive; select 'held';\n" >&"${shell[1]}"
read -r _ <&"${shell[0]}"
refuses 1 'locked.db cannot be read: database is locked' locked.db cheap id:integer
printf '.quit\n' >&"${shell[1]}"

"${browser[@]}" --help | grep -q '^usage: table-browser FILE'
for arguments in --help 'some.db cheap id:integer'; do
    status=0
    # shellcheck disable=SC2086
    "${browser[@]}" $arguments >/dev/full 2>full.txt || status=$?
    [[ $status == 1 && $(<full.txt) == 'table-browser: the output could not be written' ]]
done

# Memory that ends, where the limit leaves enough to start (not so under an emulator).
limited=(bash -c 'ulimit -v 65536; exec "$@"' bash "${browser[@]}")
if "${limited[@]}" --help >help.txt 2>&1; then
    browser=("${limited[@]}")
    refuses 1 'out of memory, in: select "large"."text" from "large"' some.db large text:text
fi
