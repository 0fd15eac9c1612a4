#!/usr/bin/env bash
# The inventory of this very machine agrees with what dpkg says of it.
# shellcheck source-path=SCRIPTDIR
. "$(dirname "$0")/support.sh"

status_file=/var/lib/dpkg/status

# What dpkg says, one package a line as in the database, and the program's run on the same status:
# should packages be installed or removed meanwhile, both are done again.
take_inventory() {
    local attempt
    for attempt in 1 2 3 4 5; do
        cp $status_file status.before
        succeeds $status_file
        dpkg-query -W -f '${db:Status-Status} ${Package}|${Architecture}|${Version}|${Section}|${Installed-Size}|${Essential}\n' |
            sed -n 's/^installed //p' | LC_ALL=C sort >dpkg
        find /var/lib/dpkg/info -name '*.list' -printf '%f|%Ts\n' | LC_ALL=C sort >lists
        ! cmp -s status.before $status_file || return 0
    done
    fail "the packages of this machine did not stay the same in $attempt attempts"
}

test_agrees_with_dpkg() {
    take_inventory
    [[ -s dpkg ]] || fail "dpkg knows of no package"

    # dpkg says yes, no or nothing.
    expect "packages" "$(sed -e 's/|no$/|/' dpkg)" "$(sql "
        select name, architecture, version, section, installed_size,
            iif(essential, 'yes', '') from packages" | LC_ALL=C sort)"
    expect "count" "$(wc -l <dpkg)" "$(sql 'select count(*) from packages')"
    expect "total size" "$(awk -F '|' '{ sum += $5 } END { print sum }' dpkg)" \
        "$(sql 'select sum(installed_size) from packages')"
    expect "sections" \
        "$(awk -F '|' '{ count[$4]++; size[$4] += $5 }
            END { for (name in count) print name "|" count[name] "|" size[name] }' dpkg | LC_ALL=C sort)" \
        "$(sql 'select * from sections' | LC_ALL=C sort)"

    # The times are those of the lists of files.
    expect "times" \
        "$(awk -F '|' 'NR == FNR { time[$1] = $2; next }
            { own = $1 ":" $2 ".list"; print $1 "|" $2 "|" (own in time ? time[own] : time[$1 ".list"]) }' \
            lists dpkg)" \
        "$(sql 'select name, architecture, files_changed from packages' | LC_ALL=C sort)"
}

test_agrees_with_itself() {
    take_inventory
    expect "sums of the sections" "$(sql 'select count(*), sum(installed_size) from packages')" \
        "$(sql 'select sum(packages), sum(installed_size) from sections')"
    expect "shares that are wrong" 0 "$(sql '
        select count(*) from packages where abs(share - 100.0 * installed_size /
            (select sum(installed_size) from packages)) > 1e-8')"
    expect "reported totals" "$(sql "
        select count(*) || ' packages installed, ' || sum(essential) || ' essential' from packages")" \
        "$(sed -n '1s/, [^,]* in all//p' out)"
    expect "reported packages" "$(sql "
        select name || iif(architecture in ('all', (select architecture from packages where
                architecture <> 'all' group by architecture order by count(*) desc limit 1)),
            '', ':' || architecture) || ' ' || version from packages
        order by installed_size desc, name, architecture limit 10")" "$(sed -n '4,13s/.*[0-9-]  //p' out)"
}

test_second_run_finds_nothing_changed() {
    take_inventory
    succeeds status.before --info /var/lib/dpkg/info
    grep -qx 'Nothing changed since the last run.' out || fail "$(<out)"
}

run_tests
