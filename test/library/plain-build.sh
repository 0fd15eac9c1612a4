#!/usr/bin/env bash
# An application built by the compiler alone, from any folder, by any path, at any optimisation,
# gets the same lines: plain-build.sh CXX PROJECT
set -euo pipefail
cxx=$1 project=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cp -r "$project/components" "$work/"
cp "$project"/test/library/plain-build/*.cpp "$work/"

build_and_run() { # FOLDER PATH-TO-PROJECT FLAG...
    local folder=$1 path=$2
    shift 2
    (cd "$folder" && "$cxx" -std=c++11 "$@" -I"$path"components/sql/sqlwrapper/include \
        "$path"components/sql/sqlwrapper/src/*.cpp "$path"app.cpp "$path"platform.cpp \
        -lsqlite3 -o "$work/app")
    "$work/app"
}

mkdir "$work/elsewhere"
expected=$(cat "$project/test/library/plain-build/expected.txt")
check() {
    local output
    output=$(build_and_run "$@")
    [[ $output == "$expected" ]] && return 0
    diff <(printf '%s\n' "$expected") <(printf '%s\n' "$output")
    echo "differs when built with: $*"
    exit 1
}

check "$work" "" -O0
check "$work" "$work/" -O2
check "$work/elsewhere" ../ -Os
check "$work/components/sql/sqlwrapper/src" ../../../../ -O3 -DNDEBUG
