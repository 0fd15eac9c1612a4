#!/usr/bin/env bash
# Database files move between host and target: each writes one, then reads that of the other, and
# continues it.
#     exchange.sh FOLDER HOST-EXAMPLES TARGET-EXAMPLES EMULATOR...
# The programs are the examples, the packages are those of this machine.
set -euo pipefail
folder=$1 host_examples=$2 target_examples=$3
shift 3
emulator=("$@")
export TZ=UTC

on_host() { "$host_examples/$1/$1" "${@:2}"; }
on_target() { "${emulator[@]}" "$target_examples/$1/$1" "${@:2}"; }

# inventory SIDE FILE STATUS: brings the file up to date, and prints the report except for the line that
# says how long that took.
inventory() {
    "on_$1" package-inventory --database "$2" --info info --top 100 "$3" | sed '/^Written to /d'
}

# dump SIDE FILE: every cell, as the library reads it.
dump() {
    local package=id:integer,name:text,architecture:text,version:text,section:text
    package+=,installed_size:integer,share:float,essential:bool,files_changed:time
    "on_$1" table-browser "$2" packages "$package" --order id
    "on_$1" table-browser "$2" previous_packages "$package" --order id
    "on_$1" table-browser "$2" sections name:text,packages:integer,installed_size:integer --order name
}

same() { # WHAT ONE OTHER
    cmp -s "$2" "$3" && return
    printf '%s:\n' "$1"
    diff -a "$2" "$3" | head -n 20
    exit 1
}

# Each file reads the same on both sides, and the two read the same.
compare() { # WHEN
    local file side
    for file in host target; do
        for side in host target; do dump "$side" "$file.db" >"$file-on-$side.dump"; done
        same "the file of the $file reads otherwise $1" "$file-on-host.dump" "$file-on-target.dump"
    done
    same "the files of host and target differ $1" host-on-host.dump target-on-target.dump
    same "the reports of host and target differ $1" host.report target.report
}

rm -rf "$folder"
mkdir -p "$folder/info"
cd "$folder"
cp -p /var/lib/dpkg/info/*.list info
cp /var/lib/dpkg/status first
# Later, some packages are gone and some have another version.
awk -v RS= -v ORS='\n\n' 'NR % 50 == 0 { next } NR % 7 == 0 { sub(/\nVersion: /, "&99:") } 1' first >later

inventory host host.db first >host.report
inventory target target.db first >target.report
compare "after the first run"

inventory host target.db later >host.report
inventory target host.db later >target.report
grep -q '^Since the last run: .* removed$' host.report
compare "after the other side went on with it"

printf 'host and target read the same %s rows from the files of each other\n' "$(wc -l <host-on-host.dump)"
