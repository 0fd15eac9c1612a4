#!/usr/bin/env bash
# The library is loaded as safely as the system can: hardening.sh READELF LIBRARY
set -euo pipefail
readelf=$1 library=$2
failures=0

fail() {
    printf '%s\n' "$*"
    failures=$((failures + 1))
}

dynamic=$("$readelf" -dW "$library")
segments=$("$readelf" -lW "$library")
[[ $segments == *GNU_RELRO* && $dynamic == *BIND_NOW* ]] || fail "not full RELRO"
[[ ! $dynamic =~ RPATH|RUNPATH ]] || fail "a run path"
[[ $dynamic != *TEXTREL* ]] || fail "text relocations"
grep -qE 'GNU_STACK.* RW  ' <<<"$segments" || fail "an executable stack"

exit $((failures > 0))
