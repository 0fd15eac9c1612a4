#!/usr/bin/env bash
# What the program records and reports.
# shellcheck source-path=SCRIPTDIR
. "$(dirname "$0")/support.sh"

# report: what the last run printed, without the time that it took.
report() { sed 's/ in [0-9]*\.[0-9][0-9] s$/ in TIME/' out; }

# later: a status in which alpha is newer and larger, gamma is gone, epsilon has come, beta:i386 was
# installed again, and held has moved to another section and is essential.
write_later_status() {
    write_status
    sed -i -e 's/^Version: 1\.0-1$/Version: 1.0-2/' -e 's/^Installed-Size: 1000$/Installed-Size: 2024/' \
        -e 's/^Package: gamma$/Package: epsilon/' -e "s/^Section: it's$/Section: net\nEssential: yes/" status
    touch -d '2024-03-01 12:00:00' info/beta:i386.list
}

test_every_column_of_every_installed_package() {
    write_status
    succeeds status
    expect "packages" "\
1|alpha|amd64|1.0-1|admin|1000|10.0|1|1709208000
2|beta|amd64|2:2.0~rc1|libs|3000|30.0|0|1675123201
3|beta|i386|2:2.0~rc1|libs|2500|25.0|0|1675036801
4|gamma|all|3|NULL|NULL|NULL|0|NULL
5|held|amd64|5|it's|3500|35.0|0|946684799" \
        "$(sqlite3 -nullvalue NULL inventory.db 'select * from packages order by id')"
    expect "types" "integer|text|text|text|text|integer|real|integer|integer" \
        "$(sql 'select typeof(id), typeof(name), typeof(architecture), typeof(version),
            typeof(section), typeof(installed_size), typeof(share), typeof(essential),
            typeof(files_changed) from packages where id = 1')"
}

test_sections_with_counts_and_sizes() {
    write_status
    succeeds status
    expect "sections" "\
(none)|1|NULL
admin|1|1000
it's|1|3500
libs|2|5500" "$(sqlite3 -nullvalue NULL inventory.db 'select * from sections order by name')"
}

test_version_stamp() {
    write_status
    succeeds status
    expect "stamp" 1 "$(sql 'pragma user_version')"
}

test_report_of_first_run() {
    write_status
    succeeds status
    expect "report" "\
5 packages installed, 9.8 MiB in all, 1 essential

    Size   Share  Installed   Largest packages
 3.4 MiB  35.0 %  1999-12-31  held 5
 2.9 MiB  30.0 %  2023-01-31  beta 2:2.0~rc1
 2.4 MiB  25.0 %  2023-01-30  beta:i386 2:2.0~rc1
1000 KiB  10.0 %  2024-02-29  alpha 1.0-1
       -       -  -           gamma 3

    Size   Share  Packages  Largest sections
 5.4 MiB  55.0 %         2  libs
 3.4 MiB  35.0 %         1  it's
1000 KiB  10.0 %         1  admin
       -   0.0 %         1  (none)

This is the first inventory: the next run will show what changed.

Written to inventory.db in TIME" "$(report)"
}

test_second_run_reports_what_changed() {
    write_status
    succeeds status
    write_later_status
    succeeds --top 1 status
    expect "report" "\
5 packages installed, 10.8 MiB in all, 2 essential

   Size   Share  Installed   Largest packages
3.4 MiB  31.7 %  1999-12-31  held 5
7.3 MiB  68.3 %              4 others

   Size   Share  Packages  Largest sections
5.4 MiB  49.9 %         2  libs
5.4 MiB  50.1 %         3  3 others

Since the last run: 1 added, 3 changed, 1 removed
  + epsilon   3
  ~ alpha     1.0-1 -> 1.0-2, 1000 KiB -> 2.0 MiB
  ~ 2 others
  - gamma     3

Written to inventory.db in TIME" "$(report)"

    write_status
    succeeds --top 5 status
    write_later_status
    succeeds status
    expect "changes" "\
  ~ alpha      1.0-1 -> 1.0-2, 1000 KiB -> 2.0 MiB
  ~ beta:i386  2:2.0~rc1 installed again on 2024-03-01
  ~ held       it's -> net, now essential" "$(grep '^  ~' out)"
}

test_third_run_finds_nothing_changed() {
    write_status
    succeeds status
    succeeds status
    grep -qx 'Nothing changed since the last run.' out || fail "$(<out)"
}

test_previous_inventory_is_kept() {
    write_status
    succeeds status
    local before
    before=$(sql 'select * from packages')
    write_later_status
    succeeds status
    expect "previous packages" "$before" "$(sql 'select * from previous_packages')"
}

test_packages_keep_their_numbers() {
    write_status
    succeeds status
    write_later_status
    tac status | awk -v RS= '{ print > "stanza" NR }' # and none depends on the order
    for stanza in stanza*; do
        tac "$stanza"
        echo
    done >status
    sed -i '/^ /d' status
    succeeds status
    expect "numbers" "\
1|alpha|amd64
2|beta|amd64
3|beta|i386
5|held|amd64
6|epsilon|all" "$(sql 'select id, name, architecture from packages order by id')"
}

test_restores_the_previous_inventory() {
    write_status
    succeeds status
    local before
    before=$(sql 'select * from packages; select * from sections')
    write_later_status
    succeeds status
    succeeds --restore
    expect "inventory" "$before" "$(sql 'select * from packages; select * from sections')"
    grep -qx 'The inventory is back to what it was before the last run.' out || fail "$(<out)"
    succeeds status
    grep -qx 'Since the last run: 1 added, 3 changed, 1 removed' out || fail "$(<out)"
}

test_lists_one_section() {
    write_status
    succeeds --section "it's" status
    expect "packages" "3.4 MiB  35.0 %  1999-12-31  held 5" "$(sed -n 4p out)"
    expect "heading" "   Size   Share  Installed   Largest packages in it's" "$(sed -n 3p out)"
    succeeds --section '(none)' status
    expect "packages without a section" "   -      -  -          gamma 3" "$(sed -n 4p out)"
    succeeds --section nowhere status
    expect "packages" "No packages in nowhere" "$(sed -n 3p out)"
}

test_database_is_beside_the_program() {
    write_status
    cp "${program[-1]}" .
    "${program[@]::${#program[@]}-1}" ./"$(basename "${program[-1]}")" status >out
    expect "stamp" 1 "$(sqlite3 package-inventory.db 'pragma user_version')"
}

test_nothing_installed() {
    : >status
    succeeds status
    expect "totals" "0 packages installed, 0 KiB in all, 0 essential" "$(head -n 1 out)"
    expect "packages" 0 "$(sql 'select count(*) from packages')"
}

test_progress_on_a_terminal_alone() {
    write_status
    succeeds status
    ! grep -q $'\r' out || fail "a carriage return in: $(<out)"

    local command line='' part
    command=$(printf '%q ' "${program[@]}" --database inventory.db status)
    script -qec "$command" /dev/null </dev/null >terminal
    for part in 'reading packages: 1' 'waiting for the database' 'keeping the previous inventory'; do
        grep -q $'\r'"$part" terminal || fail "no '$part' in: $(head -n 1 terminal | cat -v)"
    done

    # Each part is written over the one before it, and the report over them all.
    while read -r -d $'\r' part; do
        line=$part${line:${#part}}
    done < <(head -n 1 terminal)
    expect "first line on the terminal" "$(head -n 1 out)" "$line"
}

test_progress_fits_the_terminal() {
    write_status
    local command
    command="stty cols 20; $(printf '%q ' "${program[@]}" --database inventory.db status)"
    script -qec "$command" /dev/null </dev/null >terminal
    grep -q $'\r''waiting for the dat *'$'\r' terminal || fail "$(head -n 1 terminal | cat -v)"
}

run_tests
