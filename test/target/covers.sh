#!/usr/bin/env bash
# The scenario calls every function that the library exports: covers.sh NM LIBRARY SCENARIO
set -euo pipefail
nm=$1 library=$2 scenario=$3

missing=$(LC_ALL=C comm -23 \
    <("$nm" -DC --defined-only "$library" | sed -n 's/^[^ ]* T //p' | LC_ALL=C sort -u) \
    <("$nm" -DC --undefined-only "$scenario" | sed -n 's/^ *U //p' | LC_ALL=C sort -u))
[[ -z $missing ]] || {
    printf 'exported, but not called by the scenario:\n%s\n' "$missing"
    exit 1
}
