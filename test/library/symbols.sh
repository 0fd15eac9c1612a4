#!/usr/bin/env bash
# Reads the symbol table of the built library: symbols.sh NM READELF LIBRARY
set -euo pipefail
nm=$1 readelf=$2 library=$3
failures=0

fail() {
    printf 'unexpected: %s\n' "$*"
    failures=$((failures + 1))
}

# SQLite, the system and the platform, each by name.
sqlite='busy_timeout close column_count column_int errmsg exec finalize free open_v2 prepare_v2 step'
system='ctime difftime isspace localtime_r snprintf strcmp strftime strstr strtod strtok strtoll syslog time'
platform='g_traceObject logAssertFailed'
# What the C++ runtime brings: its own versions, and what compilers call by themselves.
runtime='@(GLIBCXX|CXXABI|GCC)_'
compiler='^(_ITM_(de)?registerTMCloneTable|__gmon_start__|__cxa_finalize|__stack_chk_(fail|guard)|_GLOBAL_OFFSET_TABLE_|mem(chr|cmp|cpy|move|set)|strlen)$'

imports=$("$nm" -D --undefined-only "$library" | awk '{print $NF}')

allowed=" $(printf 'sqlite3_%s ' $sqlite)$system $platform "
while read -r symbol; do
    name=${symbol%%@*}
    [[ $allowed == *" $name "* || $symbol =~ $runtime || $name =~ $compiler ]] && continue
    fail "import $symbol"
done <<<"$imports"

for name in $(printf 'sqlite3_%s ' $sqlite) syslog $platform; do
    grep -qE "^$name(@|$)" <<<"$imports" || fail "no import of $name"
done

functions='sqliteRc2Str|runOneStepSqlStmt|queryNumber|type2Str|quoteStr|trim|trimleft|trimright|intToStr|listToVector'
classes='Database|Field|FieldSet|Record|RecordSet|Table|Time|Value'
while read -r name; do
    [[ $name =~ ^sql::($classes):: || $name =~ ^sql::($functions)(\[abi:cxx11\])?\( ]] ||
        fail "export $name"
done < <("$nm" -DC --defined-only "$library" | sed -E 's/^[^ ]* +[^ ]+ //')

dynamic=$("$readelf" -dW "$library")
[[ $dynamic == *'[libsqlwrapper.so.1]'* ]] || fail "another SONAME than libsqlwrapper.so.1"
while read -r needed; do
    [[ $needed =~ ^(libsqlite3|libstdc\+\+|libgcc_s|libc|libm|ld|libpthread)[.-] ]] ||
        fail "library $needed"
done < <(sed -nE 's/.*\(NEEDED\).*\[(.*)\]/\1/p' <<<"$dynamic")
[[ $dynamic != *TEXTREL* ]] || fail "text relocations"

# Nothing of the library runs before main.
grep -E '_GLOBAL__sub_I|__static_initialization|__do_global_ctors' \
    <<<"$("$nm" -C "$library" 2>/dev/null)" && fail "static initialisation"

exit $((failures > 0))
