#!/usr/bin/env bash
# Makes the reference, FOLDER/html, and the manual pages, FOLDER/man: docs/build.sh FOLDER
# Needs doxygen and Graphviz.
set -euo pipefail
mkdir -p "$1"
output=$(cd "$1" && pwd)
cd "$(dirname "$0")/.."
export SQLW_OUTPUT=$output SQLW_VERSION SQLW_BRIEF
SQLW_VERSION=$(sed -n 's/^project(sqlwrapper VERSION \([^ ]*\).*/\1/p' CMakeLists.txt)
SQLW_BRIEF=$(sed -n 's/^ *DESCRIPTION "\(.*\)".*/\1/p' CMakeLists.txt)
rm -rf "$output/html" "$output/man" "$output/man.doxygen"

# The program that the README shows, for the first page.
awk '/^```cpp$/ { block = 1; next } /^```$/ && block { exit } block' README.md >"$output/program.cpp"
doxygen docs/Doxyfile

# Drawings become parts of their pages, so that they are as wide as there is room.
for page in "$output"/html/*.html; do
    grep -q '^<iframe.*\.svg"' "$page" || continue
    awk -v folder="$output/html/" '
        /^<iframe.*\.svg"/ {
            match($0, /src="[^"]*"/)
            file = folder substr($0, RSTART + 5, RLENGTH - 6)
            drawing = 0
            while ((getline line < file) > 0) {
                drawing = drawing || line ~ /^<svg/
                if (drawing)
                    print line
            }
            close(file)
            sub(/^.*<\/iframe>/, "")
        }
        { print }' "$page" >"$page.new"
    mv "$page.new" "$page"
done
rm "$output"/html/dot_*.svg
# Lists that say no more than the pages of the classes, and that nothing leads to.
rm -f "$output"/html/{*-members,dir_*,graph_legend}.html

# The manual has a page for each class, and one for all else in the namespace.
doxygen - <<END
@INCLUDE = docs/Doxyfile
FILTER_PATTERNS = "*.h=awk -f docs/reference/comments.awk -v quote=DoubleQuote"
INPUT = components/sql/sqlwrapper/include docs/reference/classes.dox
LAYOUT_FILE =
HAVE_DOT = NO
ALIASES = "drawing{1}=" "ownership{1}="
GENERATE_HTML = NO
GENERATE_MAN = YES
MAN_OUTPUT = man.doxygen
END
mkdir -p "$output/man/man3" "$output/man/man7"
for page in "$output"/man.doxygen/man3/*.3; do
    name=$(basename "$page" .3)
    name=${name/#sql_/sql::}
    [[ $name != sql ]] || name=sqlwrapper
    # The day on which the page was made is no day of the library, and doxygen is not its author.
    sed -e "s/^\.TH \"[^\"]*\" 3 \"[^\"]*\" \"[^\"]*\"/.TH \"$name\" 3 \"\" \"sqlwrapper $SQLW_VERSION\"/" \
        -e '/^\.SH "Author"/,$d' -e 's/DoubleQuote/\\(dq/g' -e "s/^'/\\\\\&'/" \
        -e "s/^sql \\\\-/sqlwrapper \\\\-/" "$page" >"$output/man/man3/$name.3"
done
rm -r "$output/man.doxygen"
sed "s/^\.TH SQLWRAPPER 7 \"\" \"sqlwrapper\"/.TH SQLWRAPPER 7 \"\" \"sqlwrapper $SQLW_VERSION\"/" \
    docs/man/sqlwrapper.7 >"$output/man/man7/sqlwrapper.7"
