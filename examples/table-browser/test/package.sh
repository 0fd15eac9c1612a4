#!/usr/bin/env bash
# Prints tables of a database that others made just as the shell of SQLite does:
# package.sh DATABASE BROWSER...
set -euo pipefail
database=$1
shift
before=$(sha256sum "$database")

# The columns are as wide as their widest cell, which the shell counts in characters and the browser
# in columns of the terminal: cells are compared, not what separates them.
cells() { sed -e 's/^ *//' -e 's/ *$//' -e 's/   */\t/g'; }

# compare TABLE COLUMN:TYPE,... CLAUSES OPTION...: the clauses are what the options mean in SQL.
compare() {
    local table=$1 description=$2 clauses=$3 column columns='' expected output
    shift 3
    for column in ${description//,/ }; do
        columns+=${columns:+, }${column%:*}
    done
    expected=$(sqlite3 -readonly -nullvalue $'\1' -cmd '.mode column --wrap 0' -cmd '.headers on' \
        "$database" "select $columns from $table $clauses" | sed -e 2d -e 's/\\/\\\\/g' -e 's/\x01/\\N/g' | cells)
    output=$("${browser[@]}" "$database" "$table" "$description" "$@" | cells)
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
