#!/usr/bin/env bash
# Makes locales with other decimal points in build/faults/locales, for LOCPATH.
set -euo pipefail
. "$(dirname "$0")/../../scripts/lib/common.sh"

needs locales tzdata
folder=build/faults/locales
mkdir -p "$folder"
for name in de_DE fr_FR hi_IN ps_AF; do
    [[ -d $folder/$name.UTF-8 ]] || localedef -i "$name" -f UTF-8 "$folder/$name.UTF-8"
done
