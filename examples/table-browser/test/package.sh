#!/usr/bin/env bash
# Prints tables of a database that others made just as the shell of SQLite does:
# package.sh DATABASE BROWSER...
set -euo pipefail
database=$1
shift
before=$(sha256sum "$database")

# compare TABLE COLUMN:TYPE,... CLAUSES OPTION...: the clauses are what the options stand for in SQL.
compare() {
    local table=$1 description=$2 clauses=$3 column name width
    local columns='' widths=() expected output
    shift 3
    for column in ${description//,/ }; do
        name=${column%:*}
        columns+=${columns:+, }$name
        width=$(sqlite3 -readonly "$database" "select max(length('$name'), max(length($name)))
                                               from (select * from $table $clauses)")
        [[ $column == *:text ]] || width=-$width # numbers stand to the right
        widths+=("$width")
    done
    expected=$(sqlite3 -readonly -nullvalue null -cmd '.mode column --wrap 0' -cmd '.headers on' \
        -cmd ".width ${widths[*]}" "$database" "select $columns from $table $clauses" |
        sed -e 2d -e 's/ *$//')
    output=$("${browser[@]}" "$database" "$table" "$description" "$@")
    (($(wc -l <<<"$expected") > 1)) || { echo "the shell prints nothing for $table $clauses"; exit 1; }
    [[ $output == "$expected" ]] || {
        diff <(echo "$expected") <(echo "$output") || true
        echo "differs from the shell of SQLite: $table $description $clauses"
        exit 1
    }
}

browser=("$@")
compare phrases id:integer,tabkeys:text,phrase:text,freq:integer,user_freq:integer ''
compare phrases phrase:text,id:integer "where tabkeys like 'a%'" --where "tabkeys like 'a%'"
compare phrases tabkeys:text,phrase:text 'order by tabkeys desc, id limit 20' \
    --order 'tabkeys desc, id' --count 20
compare phrases id:integer,freq:float "where id > 100 and tabkeys <> 'o''clock' order by id limit 3" \
    --where "id > 100 and tabkeys <> 'o''clock'" --order id --count 3
compare ime attr:text,val:text 'order by attr' --order attr

[[ $(sha256sum "$database") == "$before" ]] || { echo "the database was changed"; exit 1; }
