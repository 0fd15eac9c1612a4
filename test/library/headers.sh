#!/usr/bin/env bash
# Each public header compiles alone as plain C++11, and needs no SQLite: headers.sh CXX COMPONENTS
set -euo pipefail
cxx=$1 components=$2
warnings=(-Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror)

includes=("-I$components/sqlwrapper/include" "-I$components/sqlprepared/include")
for header in "$components"/*/include/*.h; do
    name=${header##*/}
    for standard in c++11 c++14 c++17; do
        printf '#include <%s>\n#include <%s>\n' "$name" "$name" |
            "$cxx" -std=$standard "${warnings[@]}" -fsyntax-only "${includes[@]}" -x c++ -
    done
    printf '#include <%s>\n' "$name" | "$cxx" -std=c++11 "${includes[@]}" -M -x c++ - |
        grep -E '/(sqlite3|syslog)\.h' && { echo "$name includes that"; exit 1; }
done
exit 0
