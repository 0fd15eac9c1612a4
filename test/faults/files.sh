#!/usr/bin/env bash
# Brings two real database files into build/faults/files: the inventory that the example makes, and
# one from a Debian package that nobody here wrote.
set -euo pipefail
. "$(dirname "$0")/../../scripts/lib/common.sh"

files=build/faults/files
mkdir -p "$files"
bash examples/table-browser/test/fetch.sh "$root/$files/emoji-table.db" >/dev/null

[[ -s $files/inventory.db ]] || {
    # Whole stanzas, and few enough for thousands of runs.
    awk 'BEGIN { RS = ""; ORS = "\n\n" } NR <= 150' /var/lib/dpkg/status >"$files/status"
    build/faults/host/examples/package-inventory/package-inventory \
        --database "$files/inventory.db" "$files/status" >/dev/null
}
