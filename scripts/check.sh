#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# Runs the checks of every submission and those that are too slow for that, all of them or those named, and ends with a
# table.
#   scripts/check.sh [STEP...]
#     asan-ubsan   all tests under the address, leak and undefined-behaviour sanitizers
#     tsan         all tests under the thread sanitizer
#     threads      those of the programs of tests that start threads; only if named, for tsan has them, too
#     clang        a build by clang, warnings are errors
#     tidy         clang-tidy by .clang-tidy
#     naming       its rule of names alone, in a few minutes; only if named, for tidy has it, too
#     format       clang-format by .clang-format
#     cppcheck     cppcheck, less the lines of scripts/cppcheck.suppressions
#     same-answer  scripts/same-answer.sh
#     demo         scripts/demo.sh
#     fault-sweep  scripts/fault-sweep.sh
#     fuzz         scripts/fuzz.sh, FUZZ_SECONDS=N for each fuzzer; 600 without
#     coverage     all tests; at least 95 % of the lines of Libraries/ must be reached
# JOBS=N sets the number of parallel jobs. Status 1 if a step failed.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source scripts/lib.sh

readonly ALL_STEPS=(format cppcheck naming tidy clang asan-ubsan threads tsan coverage same-answer fault-sweep demo fuzz)
readonly PART_OF_OTHERS=(naming threads) # run when named only
readonly FUZZ_SECONDS="${FUZZ_SECONDS:-600}"
readonly LEAST_COVERAGE=95 # per cent of lines

# sources: the tracked sources of the libraries, the program and the examples, without tests.
sources() {
    git ls-files 'Libraries/*.cpp' 'app/*.cpp' 'fit/*.cpp' 'examples/*.cpp' | grep -v /tests/
}

check_asan-ubsan() {
    require_packages "${BUILD_PACKAGES[@]}" "${TEST_PACKAGES[@]}"
    ASAN_OPTIONS="${ASAN_OPTIONS:-detect_leaks=1}" build_and_test asan-ubsan
}

check_tsan() {
    require_packages "${BUILD_PACKAGES[@]}" "${TEST_PACKAGES[@]}"
    # The sanitizer's own runtime finds no memory for 10,000 threads; this test runs in the step asan-ubsan.
    build_and_test tsan --exclude-regex 'nthread__10000'
}

check_threads() {
    local jobs
    jobs="$(jobs_count)"
    require_packages "${BUILD_PACKAGES[@]}" "${TEST_PACKAGES[@]}"
    say "Building and testing what starts threads in build/tsan with $jobs jobs"
    cmake --preset tsan
    cmake --build --preset tsan --parallel "$jobs" --target thread_tests
    ctest --preset tsan --parallel "$jobs" --no-tests=error --label-regex '^threads$' --exclude-regex 'nthread__10000'
}

check_demo() {
    scripts/demo.sh
}

check_clang() {
    require_packages "${BUILD_PACKAGES[@]}" "${TEST_PACKAGES[@]}" clang
    build clang
}

# run_tidy [OPTION...]: clang-tidy on all sources and, through them, their headers.
run_tidy() {
    require_packages "${BUILD_PACKAGES[@]}" clang clang-tidy
    cmake --preset tidy
    say "Running clang-tidy on $(sources | wc -l) sources"
    sources | xargs -P "$(jobs_count)" -n 1 clang-tidy --quiet -p build/tidy "$@"
}

check_tidy() {
    run_tidy
}

# Braces around statements are the format's.
check_naming() {
    run_tidy --checks='-*,readability-identifier-naming'
}

# The older clang-format of Debian 12 does not know braces.
check_format() {
    require_packages clang-format-16
    git ls-files '*.cpp' '*.h' | xargs clang-format-16 --dry-run --Werror
}

check_cppcheck() {
    require_packages cppcheck
    say "Running cppcheck on $(sources | wc -l) sources"
    sources | cppcheck --file-list=- --language=c++ --std=c++17 --enable=warning,performance,portability -I Libraries \
        -I . --suppressions-list=scripts/cppcheck.suppressions --error-exitcode=1 --quiet -j "$(jobs_count)"
}

check_same-answer() {
    scripts/same-answer.sh
}

check_fault-sweep() {
    scripts/fault-sweep.sh
}

check_fuzz() {
    scripts/fuzz.sh "$FUZZ_SECONDS"
}

# Every test program adds to a pool of four files of its own; a child that a signal ends adds nothing.
check_coverage() {
    local profiles="$PWD/build/coverage/profiles" merged=build/coverage/all.profdata
    local program objects=() report
    require_packages "${BUILD_PACKAGES[@]}" "${TEST_PACKAGES[@]}" clang libclang-rt-dev llvm
    rm -rf "$profiles"
    LLVM_PROFILE_FILE="$profiles/%4m.profraw" build_and_test coverage
    llvm-profdata merge --failure-mode=all -o "$merged" "$profiles"/*.profraw
    for program in build/coverage/bin/*; do
        [[ ! -f "$program" || ! -x "$program" ]] || objects+=(-object="$program")
    done
    report="$(llvm-cov report build/coverage/bin/selvane "${objects[@]}" -instr-profile="$merged" \
        -ignore-filename-regex='Libraries/[^/]*/tests/' Libraries)"
    say "Lines reached, by file"
    echo "$report" | awk 'NF >= 10 && $1 !~ /^-/ { printf "%8s  %s\n", $10, $1 }'
    echo "$report" | awk -v least="$LEAST_COVERAGE" '
        $1 == "TOTAL" { reached = $10 + 0; found = 1 }
        END {
            printf "\nLines of Libraries/ reached: %.2f %%, at least %d %% wanted\n", reached, least
            exit !(found && reached >= least)
        }'
}

steps=("$@")
if ((${#steps[@]} == 0)); then
    for step in "${ALL_STEPS[@]}"; do
        [[ " ${PART_OF_OTHERS[*]} " == *" $step "* ]] || steps+=("$step")
    done
fi
for step in "${steps[@]}"; do
    [[ " ${ALL_STEPS[*]} " == *" $step "* ]] || die "no step '$step'; there are: ${ALL_STEPS[*]}"
done

status=0
table=()
for step in "${steps[@]}"; do
    say "Step $step"
    began="$SECONDS"
    # A shell of its own, so that the first command that fails ends the step and not the script.
    set +e
    (set -e && "check_$step")
    code=$?
    set -e
    outcome=passed
    ((code == 0)) || outcome=FAILED status=1
    table+=("$(printf '%-12s %-8s %6d s' "$step" "$outcome" $((SECONDS - began)))")
done
say "Steps and their outcomes"
printf '%s\n' "${table[@]}"
exit "$status"
