#!/usr/bin/env bash
# Reads the symbol table of a built library: symbols.sh NM READELF LIBRARY EXPORTS IMPORTS
# EXPORTS is its linker's version script, IMPORTS lists what each library must and what it may import.
set -euo pipefail
nm=$1 readelf=$2 library=$3 exports=$4 imports=$5
name=$(basename "$library" .so)
failures=0

fail() {
    printf 'unexpected: %s\n' "$*"
    failures=$((failures + 1))
}

# What the C++ runtime brings: its own versions, and what compilers call by themselves.
runtime='@(GLIBCXX|CXXABI|GCC)_'
compiler='^(_ITM_(de)?registerTMCloneTable|__gmon_start__|__cxa_finalize|__stack_chk_(fail|guard)|_GLOBAL_OFFSET_TABLE_|mem(chr|cmp|cpy|move|set)|strlen)$'
must=$(sed -n "s/^${name#lib} must: //p" "$imports")
known=" $must $(sed -n "s/^${name#lib} may: //p" "$imports") "
known=${known//$'\n'/ }

dynamic=$("$readelf" -dW "$library")
imported=$("$nm" -D --undefined-only "$library" | awk '{print $NF}')
while read -r symbol; do
    name=${symbol%%@*}
    [[ $known == *" $name "* || $symbol =~ $runtime || $name =~ $compiler ]] && continue
    [[ $name == _ZN*3sql* && $dynamic == *NEEDED*libsqlwrapper.so* ]] || fail "import $symbol"
done <<<"$imported"
for name in $must; do
    grep -qE "^$name(@|$)" <<<"$imported" || fail "no import of $name"
done

mapfile -t patterns < <(sed -nE 's/^ *(sql::[^;]*);$/\1/p' "$exports")
exported=$("$nm" -DC --defined-only "$library" | sed -E 's/^[^ ]* +[^ ]+ //')
while read -r name; do
    # shellcheck disable=SC2053 # patterns they are
    for pattern in "${patterns[@]}"; do [[ $name != $pattern ]] || continue 2; done
    fail "export $name"
done <<<"$exported"
for pattern in "${patterns[@]}"; do
    [[ $'\n'$exported == *$'\n'$pattern ]] || fail "no export for $pattern"
done

soname=${library##*/}.1
[[ $dynamic == *"soname: [$soname]"* ]] || fail "another SONAME than $soname"
while read -r needed; do
    [[ $needed =~ ^(libsqlite3|libsqlwrapper|libstdc\+\+|libgcc_s|libc|libm|ld|libpthread)[.-] ]] ||
        fail "library $needed"
done < <(sed -nE 's/.*\(NEEDED\).*\[(.*)\]/\1/p' <<<"$dynamic")
[[ $dynamic != *TEXTREL* ]] || fail "text relocations"

# Nothing of the library runs before main.
grep -E '_GLOBAL__sub_I|__static_initialization|__do_global_ctors' \
    <<<"$("$nm" -C "$library" 2>/dev/null)" && fail "static initialisation"

exit $((failures > 0))
