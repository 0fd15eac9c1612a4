#!/usr/bin/env bash
# Takes the database out of the Debian package ibus-table-emoji, unless it is there: fetch.sh FILE
set -euo pipefail
file=$1
package=ibus-table-emoji
database=usr/share/ibus-table/tables/emoji-table.db
[[ ! -e $file ]] || exit 0

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
apt-get -q download "$package" || {
    apt-get -q update
    apt-get -q download "$package"
} || { echo "the package $package cannot be had"; exit 1; }
dpkg-deb --extract ./*.deb .
mv "$database" "$file"
