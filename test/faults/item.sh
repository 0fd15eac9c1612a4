# shellcheck shell=bash disable=SC2034,SC2154
# Sourced, after machine.sh, by the items that run the class tests. Such an item lists its points in
# `all`, and those of the quick form in `sample` if it tries fewer. It defines `try POINT`, and ends
# with `run_item "$@"`.

cases=0
failures=0
quick=
sample=()

fails() { # POINT WHAT
    printf 'failure %s: %s\n' "$1" "$2"
    failures=$((failures + 1))
}
figure() { printf 'figure %s\n' "$*"; }

# run_item --quick | --full | --only POINT: all points, or one.
run_item() {
    local point wanted=("${all[@]}")
    case $#:${1:-} in
        1:--quick)
            quick=yes
            ((${#sample[@]} == 0)) || wanted=("${sample[@]}")
            ;;
        1:--full) ;;
        2:--only)
            wanted=("$2")
            [[ " ${all[*]} " == *" $2 "* ]] ||
                wrong_usage "there is no point '$2'; points are ${all[*]}"
            ;;
        *) wrong_usage "say --quick, --full or --only POINT" ;;
    esac
    mkdir -p build/faults
    for point in "${wanted[@]}"; do try "$point"; done
    echo "cases $cases"
    exit $((failures > 0))
}

# run_tests POINT FOLDER TEST... -- [PREFIX...]: runs class tests that were built in a folder. Those
# that fail must be listed in test/faults/differences, and those that are listed must fail. The quick
# form does not check the latter, because it does not run all tests.
run_tests() {
    local point=$1 folder=$root/$2 log=$root/build/faults/$1.log test tests=() output ran
    shift 2
    while [[ $1 != -- ]]; do
        tests+=("$1")
        shift
    done
    shift
    : >"$log"
    for test in "${tests[@]}"; do
        output=$(LOCPATH=$folder/components/sql/sqlwrapper/test/locales \
            "$@" "$folder"/components/sql/*/test/"$test" --gtest_brief=1 2>&1) ||
            grep -q '^\[  FAILED  \]' <<<"$output" || fails "$point" "$test crashed, see $log"
        printf '%s\n' "$output" >>"$log"
        ran=$(sed -nE 's/.* ([0-9]+) tests? from .* ran\..*/\1/p' <<<"$output")
        cases=$((cases + ${ran:-0})) # none of a program that crashed
    done
    compare "$point" "$log"
}

compare() { # POINT LOG
    local test failed listed
    failed=$(sed -nE 's/^\[  FAILED  \] ([^, ]+).*\(.*/\1/p' "$2" | sort -u)
    # A difference listed for one word of a point's name applies to the point: newest-dqs0 is a dqs0 too.
    listed=$(sed -nE "s/^(${1//-/|}) +\| +([^ |]+).*/\2/p" test/faults/differences | sort -u)
    while read -r test; do
        [[ -z $test ]] || fails "$1" "$test differs, which is not listed; see $2"
    done < <(comm -13 <(echo "$listed") <(echo "$failed"))
    while read -r test; do
        [[ -z $test || $quick ]] || fails "$1" "$test is listed to differ and does not"
    done < <(comm -23 <(echo "$listed") <(echo "$failed"))
    differences=$(grep -c . <<<"$listed" || true)
}

# class_tests: the names of all tests of classes.
class_tests() {
    local source
    for source in components/sql/*/test/*Test.cpp; do basename "$source" .cpp; done
}
