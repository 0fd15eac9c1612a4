#!/usr/bin/env bash
# Each public header compiles alone as plain C++11, and needs no SQLite: headers.sh CXX COMPONENT
set -euo pipefail
cxx=$1 component=$2
warnings=(-Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror)

for header in "$component"/include/*.h; do
    name=${header##*/}
    for standard in c++11 c++14 c++17; do
        printf '#include <%s>\n#include <%s>\n' "$name" "$name" |
            "$cxx" -std=$standard "${warnings[@]}" -fsyntax-only -I"$component/include" -x c++ -
    done
    printf '#include <%s>\n' "$name" | "$cxx" -std=c++11 -I"$component/include" -M -x c++ - |
        grep -E '/(sqlite3|syslog)\.h' && { echo "$name includes that"; exit 1; }
done
exit 0
